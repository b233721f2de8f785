#ifndef TAVCTL_SESSION_MOTION_HPP
#define TAVCTL_SESSION_MOTION_HPP

#include <memory>
#include <tavcore/Controller.hpp>

#include "session/HostProtection.hpp"
#include "session/Interrupt.hpp"
#include "session/Session.hpp"

namespace tavctl {

/** What happens to the drive when a command that moved it ends. */
enum class AtEnd {
  STOP,           ///< target velocity 0, standstill, disabled when this command enabled it
  LEAVE_ENABLED,  ///< target velocity 0, the state is left
  LEAVE_RUNNING,  ///< everything is left as it is
};

/**
 * A session that may move the drive: through the controller, under the protection of the host's heartbeat,
 * with Ctrl-C as a request to stop. Whatever way it ends, the drive ends as `at_end` says.
 */
class Motion {
 public:
  explicit Motion(Session& session, AtEnd at_end = AtEnd::STOP);
  ~Motion();
  Motion(const Motion&) = delete;
  Motion& operator=(const Motion&) = delete;

  [[nodiscard]] nkr::tavcore::Controller& controller() { return *controller_; }
  [[nodiscard]] const Interrupt& interrupt() const { return interrupt_; }

  /** Takes the drive to OPERATION_ENABLED and lets it follow its ramp. Failure(WRONG_STATE) with the
   * transition that stalled and why. */
  void enable();
  /** Failure(WRONG_STATE) when the drive is no longer in OPERATION_ENABLED. */
  void see_enabled();
  /** Target velocity 0, and waits for standstill; disables the drive when enable() enabled it. Failure when
   * it does not come to rest. */
  void stop();

 private:
  void follow_ramp();
  void wait_for_standstill();

  Session& session_;
  AtEnd at_end_;
  Interrupt interrupt_;
  HostProtection protection_;
  std::unique_ptr<nkr::tavcore::Controller> controller_;
  bool enabled_here_ = false;
  bool stopped_ = false;
};

}  // namespace tavctl

#endif
