#ifndef TAV_DRIVE_SRC_NETWORK_HEARTBEATPRODUCER_HPP
#define TAV_DRIVE_SRC_NETWORK_HEARTBEATPRODUCER_HPP

#include "node/Part.hpp"
#include "node/Random.hpp"

namespace tav::drive {

/** Sends the NMT state every 0x1017 milliseconds (CiA 301, 7.2.8.3.2.2), and the boot-up message. */
class HeartbeatProducer : public Part {
 public:
  explicit HeartbeatProducer(Context& context);

  /** The boot-up message: a heartbeat with the state 0. */
  void send_boot_up();

  void reset(Reset kind) override;
  [[nodiscard]] Time next_due() const override { return due_; }
  void run() override;

 private:
  void send(NMTState state);
  void schedule();
  void schedule_next();

  Context& context_;
  Variable<std::uint16_t> period_;
  Time nominal_{};  ///< when it would be due were it never late
  Time due_ = Time::max();
  Random late_;
};

}  // namespace tav::drive

#endif
