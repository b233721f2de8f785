#ifndef NKR_CAN_UNIX_UNIXPORT_HPP
#define NKR_CAN_UNIX_UNIXPORT_HPP

#include <memory>
#include <mutex>
#include <nkr/can/Bus.hpp>
#include <vector>

#include "system/ForkShield.hpp"
#include "system/Sleepers.hpp"
#include "unix/UnixMeeting.hpp"
#include "unix/unix_wire.hpp"

namespace nkr::can {

/** A member of a unix bus: one connection to its listener, made anew by the next call after its loss. */
class UnixPort : public Port {
 public:
  UnixPort(std::shared_ptr<UnixMeeting> meeting, std::vector<Filter> filters);

  /** Joins for the first time, and waits for the listener's welcome. 0 or errno; EAGAIN: none came. */
  int join_first(const Deadline& deadline);

  nkr_error_t send(const Frame& frame, const Deadline& deadline) override;
  nkr_error_t receive(Frame& frame, const Deadline& deadline,
                      std::chrono::system_clock::time_point* when) override;
  nkr_error_t drain(const FrameHandler& taken, const Deadline& deadline) override;
  [[nodiscard]] BusStatus status() const override;
  void close() override;

 private:
  using Lock = std::unique_lock<std::mutex>;
  using Connection = std::shared_ptr<const ShieldedDescriptor>;
  enum class Read { FRAME, NOTHING, GONE };

  // With mutex_ held; none but sleep waits.
  int join();
  void see_welcome();
  bool send_filters(const Descriptor& connection);
  void lose();
  Read read(Frame& frame, bool until_welcome = false);
  void take(const UnixMessage& message);
  [[nodiscard]] bool may_wait_in_the_listener() const { return unread_ >= window_; }
  bool sleep(Lock& lock, short events, Clock::time_point until);
  bool wait_to_send(Lock& lock, int error, Clock::time_point until);

  const std::shared_ptr<UnixMeeting> meeting_;
  const std::vector<Filter> filters_;

  mutable std::mutex mutex_;
  Sleepers sleepers_;
  Connection connection_;  ///< null from its loss until the port has joined again
  bool is_welcome_ = false;
  Clock::time_point next_join_;      ///< not to be tried before
  Clock::time_point welcome_until_;  ///< a listener that has not answered by then does not live
  nkr_error_t event_ = NKR_OK;       ///< not told to a receiver yet
  /** How many messages came since none was left: fewer than the window were never too many for the socket. */
  std::uint64_t unread_ = 0;
  std::uint64_t window_ = 1;
  std::uint64_t marks_ = 0;           ///< sent so far
  std::uint64_t marks_back_ = 0;      ///< the last one that the listener sent back
  std::uint64_t dropped_ = 0;         ///< as the present listener counts
  std::uint64_t dropped_before_ = 0;  ///< as its predecessors did
  bool closed_ = false;
};

}  // namespace nkr::can

#endif
