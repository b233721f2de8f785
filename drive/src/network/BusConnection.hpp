#ifndef TAV_DRIVE_SRC_NETWORK_BUSCONNECTION_HPP
#define TAV_DRIVE_SRC_NETWORK_BUSCONNECTION_HPP

#include <functional>
#include <nkr/can/Bus.hpp>
#include <vector>

#include "node/Part.hpp"
#include "node/Random.hpp"

namespace tav::drive {

/** The drive's end of the bus: what it sends goes out here, unless a scenario disturbs it. */
class BusConnection : public Part {
 public:
  struct Effects {
    std::function<void(const nkr::can::Frame&)> transmit;
    std::function<void(nkr::can::BusState)> bus_state;     ///< what the bus is to be from now on
    std::function<void()> reset;                           ///< the node starts anew
    std::function<void()> lost;                            ///< the bus went off
    std::function<void()> returned;                        ///< the bus that was off works again
    std::function<void(const nkr::can::Frame&)> received;  ///< a frame came that reaches the drive
  };
  /** What becomes of the answer to one access. */
  struct ReplyFault {
    bool lost = false;
    bool twice = false;
    bool wrong_toggle = false;
    bool wrong_index = false;
    bool wrong_size = false;
    bool reset_amid = false;
    Duration late{0};
  };

  BusConnection(Context& context, Effects effects);

  void transmit(const nkr::can::Frame& frame) { transmit(frame, Duration::zero()); }
  /** An SDO reply: it takes as long as such a drive takes, and what was done for it. */
  void reply(const nkr::can::Frame& frame);
  /** A frame comes from the bus: the drive gets what a scenario leaves of it, when it does. */
  void receive_from_bus(const nkr::can::Frame& frame);
  /** The access that begins now is answered with this fault. */
  void disturb(const Access& access, const ReplyFault& fault);
  void silence(Duration duration);
  /** The bus is off or the interface gone; for good when the duration is 0. */
  void cut(nkr::can::BusState state, Duration duration);
  void restore();

  void reset(Reset kind) override;
  [[nodiscard]] Time next_due() const override;
  void run() override;

 private:
  struct LateFrame {
    nkr::can::Frame frame;
    Time due;
    bool passed = false;    ///< what a scenario makes of it is made
    bool incoming = false;  ///< from the bus
  };

  void transmit(const nkr::can::Frame& frame, Duration delay);
  void send(const nkr::can::Frame& frame, Duration delay = Duration::zero());
  void put_on_bus(const nkr::can::Frame& frame);
  void take_from_bus(const nkr::can::Frame& frame);
  [[nodiscard]] bool accepts(const nkr::can::Frame& frame);
  void send_reply(nkr::can::Frame reply, Duration delay);
  bool resets(const nkr::can::Frame& reply);
  [[nodiscard]] bool goes_on(const nkr::can::Frame& reply) const;

  Context& context_;
  Effects effects_;
  Access access_{};
  ReplyFault fault_;
  bool awaits_reply_ = false;       // the first of the access is yet to come
  bool resets_on_request_ = false;  // the next request of the access finds the node starting anew
  std::vector<LateFrame> late_;
  Time silent_until_ = Time::min();
  Time last_reply_ = Time::min();  // of those that took their time
  Random turnaround_;
  nkr::can::BusState state_ = nkr::can::BusState::ERROR_ACTIVE;
  Time back_at_ = Time::max();
};

}  // namespace tav::drive

#endif
