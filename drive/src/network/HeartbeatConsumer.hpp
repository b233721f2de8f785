#ifndef TAV_DRIVE_SRC_NETWORK_HEARTBEATCONSUMER_HPP
#define TAV_DRIVE_SRC_NETWORK_HEARTBEATCONSUMER_HPP

#include <cstdint>
#include <functional>
#include <vector>

#include "node/Part.hpp"

namespace tav::drive {

/**
 * Watches the heartbeats of the nodes in 0x1016 (CiA 301, 7.2.8.3.2.2): each from its first one on, and again
 * after a loss.
 */
class HeartbeatConsumer : public Part {
 public:
  struct Events {
    std::function<void(std::uint8_t node)> lost;
    std::function<void(std::uint8_t node)> returned;
  };
  HeartbeatConsumer(Context& context, Events events);

  /** A frame that concerns nobody but who watches that node, and nobody does. */
  [[nodiscard]] bool is_unheard(const nkr::can::Frame& frame) const;

  void reset(Reset kind) override;
  void receive(const nkr::can::Frame& frame) override;
  [[nodiscard]] Time next_due() const override;
  void run() override;

 private:
  struct Watch {
    Variable<std::uint32_t> setting;  ///< node << 16 | milliseconds
    Time deadline = Time::max();      ///< Time::max(): not watching
    std::uint8_t lost = 0;            ///< the node that fell silent; 0: none
    [[nodiscard]] std::uint8_t node() const { return static_cast<std::uint8_t>(setting.get() >> 16); }
    [[nodiscard]] std::uint16_t milliseconds() const { return static_cast<std::uint16_t>(setting.get()); }
  };

  void start_over(Watch& watch);
  [[nodiscard]] Abort refuses(const Watch& watch, const Bytes& bytes) const;

  Context& context_;
  Events events_;
  std::vector<Watch> watches_;
};

}  // namespace tav::drive

#endif
