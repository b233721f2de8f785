#ifndef TAV_HOST_UNIT_HPP
#define TAV_HOST_UNIT_HPP

#include <nkr/export.h>

#include <chrono>
#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <tav/host/Result.hpp>
#include <tav/host/State.hpp>
#include <tav/host/UnitSettings.hpp>
#include <vector>

namespace nkr::canopen {
struct Emergency;
}
namespace nkr::tavcore {
class Controller;
}
namespace nkr::tools {
class EDSParser;
}

namespace tav::host {

class Group;

/**
 * One drive on a bus: opened in the right order, protected against this program's death, turned, stopped.
 *
 * What moves, stops. The end of a unit stops the drive that it enabled and takes its power stage off: the
 * destructor, so also an exception that is caught; exit(); and the signals that the program handles
 * (SignalInterrupt, or a handler that asks an Interrupt). For what nobody can handle (SIGKILL, a crash, a
 * host that hangs) it is the drive that notices: while it is enabled it watches this host's heartbeat (object
 * 0x1016).
 *
 * One thread at a time may call, except host_node() and the parts that are handed out, which have rules of
 * their own. exit() may come on any thread: what another is at work on comes back with NKR_INTERRUPTED, when
 * the drive stands. Nothing throws for what a device, a file or a bus does. The C++ objects that were handed
 * out (client(), dispatcher() ...) may outlive the unit.
 */
class NKR_EXPORT Unit {
 public:
  /**
   * Opens configuration, description, bus, client and dispatcher. Sends nothing: whether the drive is there
   * is seen by the first operation that asks it.
   * @return null on failure: `result` says what could not be had, and why
   */
  [[nodiscard]] static std::unique_ptr<Unit> open(const UnitSettings& settings, Result& result);
  /** Stops the drive that it enabled, as disable() does, unless it was left. Never throws. A drive that could
   * not be seen to stand is told as Cause::MAY_STILL_MOVE; it then loses this host's heartbeat. */
  ~Unit();
  Unit(const Unit&) = delete;
  Unit& operator=(const Unit&) = delete;

  /** What enable() may do besides. */
  struct Enabling {
    bool reset_fault = false;  ///< a drive in FAULT is reset first; else it is refused (Cause::IN_FAULT)
  };
  /**
   * Looks whether the drive is there, lets it watch this host, sets target velocity 0, takes it to
   * OPERATION_ENABLED and lets it follow its ramp (control word bits 4 to 6). A drive that is enabled already
   * is taken over as it turns, which is told (Cause::TAKEN_OVER).
   *
   * That the drive would not stop when this program dies is told (Cause::UNPROTECTED) and no failure; a host
   * node id that was asked for and is in use is one.
   * @return with Cause::REFUSED while it is moved by a group; NEVER_HEARD, HOST_NODE_TAKEN, IN_FAULT, STALLED
   * with the transition and its reasons, INTERRUPTED, or what happened meanwhile: see follow()
   */
  Result enable(Enabling enabling);
  Result enable() { return enable(Enabling{}); }
  /** Whether enable() succeeded, and nothing ended it since. */
  [[nodiscard]] bool is_enabled() const;

  /**
   * Sets the target velocity, in the drive's unit, and reads it back.
   * @return with Cause::NOT_ENABLED, OUT_OF_RANGE (no INTEGER16), NOT_KEPT, PROTECTION_LOST
   */
  Result set_velocity(int velocity);

  /** Takes target velocity and control word as they are for those that follow() expects: after this program
   * itself changed them through controller(). */
  Result adopt();

  using OnLook = std::function<void(const Look&)>;
  /**
   * Follows the drive for that time: sees twenty times a second that it is enabled, that its target velocity
   * and its control word are as this unit set them, and that nobody else uses this host's node id. Limits
   * that keep it from its target are told (Cause::LIMITED). Does not stop the drive when it ends, but for
   * Cause::PROTECTION_LOST.
   * @param on_look  is given each look; may be empty
   * @return with Cause::FAULTED, RESTARTED, NMT_CHANGED, FELL_SILENT, LEFT_OPERATION, FOREIGN_TARGET,
   * FOREIGN_CONTROL_WORD, PROTECTION_LOST, INTERRUPTED or REQUEST
   */
  Result follow(std::chrono::milliseconds time, const OnLook& on_look = {});
  /** One look, judged as follow() does. */
  Result look(Look& look);

  /** Target velocity 0, and waits for standstill, 20 s at most (Cause::STILL_TURNING). A node that another
   * master stopped is taken to pre-operational first: it serves no SDO else. */
  Result stop();
  /** Stops, and takes the power stage off when enable() switched it on. The drive then watches this host no
   * more. */
  Result disable();
  /** Lets the drive be as it is, turning or not, and watching this host no more: the end of the unit changes
   * nothing of it. */
  Result leave();

  /**
   * Resets the drive's node and follows it to the id that it has after the reset: waits for its boot-up
   * message there, 10 s at most (Cause::NO_BOOT_UP), and addresses it there from then on. What was not stored
   * in the drive is lost.
   * @param after    0: the same id
   * @param command  RESET_NODE or RESET_COMMUNICATION
   */
  Result reset(std::uint8_t after = 0,
               nkr::canopencore::NMTCommand command = nkr::canopencore::NMTCommand::RESET_NODE);
  /** The NMT state that the drive's heartbeat tells; waits so long for a first one. UNKNOWN when none came.
   */
  [[nodiscard]] nkr::canopencore::NMTState wait_for_nmt_state(std::chrono::milliseconds patience);

  /** What the drive does, read object by object. */
  Result read_state(Snapshot& state);
  /** What its power stage says: state, last error, STO. */
  Result read_power(PowerFacts& facts);
  /** Its pre-defined error field (object 0x1003), newest first, as emergencies: the field holds the code and
   * the first two of the vendor's bytes, and neither time nor error register. */
  Result read_errors(std::vector<nkr::canopen::Emergency>& errors);

  /** What was heard of the drive since the unit was opened, enabled, or told to forget. */
  [[nodiscard]] Heard heard() const;
  /** What was heard so far is forgotten; a boot-up that comes is a restart. */
  void forget_heard();
  /** Whether the drive stops by itself when this program dies. */
  [[nodiscard]] bool is_protected() const;

  /** Result as a record: for accesses through the parts below. `action` reads "read the units". */
  Result check(nkr_error_t code, const std::string& action) const;

  /** Made and initialised when it is first asked for: its end commands a target velocity of 0. */
  [[nodiscard]] nkr::tavcore::Controller& controller();
  [[nodiscard]] nkr::canopen::Client& client() const;
  [[nodiscard]] const std::shared_ptr<nkr::canopen::Client>& shared_client() const;
  [[nodiscard]] const std::shared_ptr<nkr::tavcore::CANOpenDispatcher>& dispatcher() const;
  [[nodiscard]] const std::shared_ptr<nkr::tavcore::Config>& config() const;
  [[nodiscard]] const nkr::tools::EDSParser& description() const;
  [[nodiscard]] const std::shared_ptr<const nkr::tools::EDSParser>& shared_description() const;
  [[nodiscard]] nkr::can::Bus& bus() const;
  [[nodiscard]] const std::shared_ptr<HostNode>& host_node() const;
  /** Node id of the drive. */
  [[nodiscard]] std::uint8_t node_id() const;

 private:
  friend class Group;
  class Impl;
  explicit Unit(std::shared_ptr<Impl> impl);
  std::shared_ptr<Impl> impl_;
};

}  // namespace tav::host

#endif
