// Motion orders in percent of the configured speed, and the snapshot of the drive.
#include <signal.h>

#include <cmath>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <tav/host/Interrupt.hpp>
#include <tav/host/Unit.hpp>
#include <tavcore/Controller.hpp>

#include "commands/AllCommands.hpp"
#include "commands/FaultResetOption.hpp"
#include "commands/session/Drive.hpp"
#include "commands/session/Quantities.hpp"
#include "text/Values.hpp"
#include "text/explained.hpp"

namespace tavctl {

namespace {

using Move = nkr::tavcore::IDiagnosticService::MoveEnum;

const std::map<std::string, Move>& directions() {
  static const std::map<std::string, Move> kDirections{
      {"forward", Move::FORWARD}, {"backward", Move::BACKWARD}, {"stop", Move::STOP}};
  return kDirections;
}

std::string direction_name(Move move) {
  for (const auto& [name, value] : directions()) {
    if (value == move) return name;
  }
  return "unknown";
}

struct MoveOptions {
  int percent = 0;
  std::string direction;
  std::optional<double> seconds;
  bool leave_running = false;
  bool reset_fault = false;
};

void see_maximum(const Session& session) {
  if (session.config()->getMaxMaintenanceSpeedValue() != 0) return;
  throw Failure(ExitCode::CONFIGURATION, "maxMaintenanceSpeedValue is 0 in the configuration",
                "It is the velocity that stands for 100 percent.");
}

/** Follows the drive for that time (none: for ever). False when the user asked to end. */
bool keep_moving(Unit& unit, std::optional<double> seconds) {
  constexpr double kMilli = 1000.0;
  const auto time =
      seconds ? std::chrono::milliseconds(std::llround(*seconds * kMilli)) : std::chrono::milliseconds::max();
  const Result followed = unit.follow(time);
  if (followed.code() == NKR_INTERRUPTED) return false;
  see(followed);
  return true;
}

ExitCode move(Context& context, const MoveOptions& options) {
  const SignalInterrupt interrupt({SIGINT, SIGTERM, SIGHUP, SIGPIPE, SIGTSTP});
  Session session(context, &interrupt);
  see_maximum(session);
  const Move order = directions().at(options.direction);
  Unit& unit = session.unit();
  if (order != Move::STOP) see(unit.enable({options.reset_fault}));
  session.check(unit.controller().setTavInfos(options.percent, order), "give the motion order");
  short target = 0;
  session.check(session.dispatcher()->getTargetVelocity(target), "read the target velocity back");
  Quantities quantities(session);
  session.output().fact("Target velocity", quantity_text(target, quantities.units().target_velocity),
                        "target_velocity", target);
  if (order == Move::STOP) {
    see(unit.stop());
    return ExitCode::OK;
  }
  if (options.leave_running) {
    see(unit.leave());
    return ExitCode::OK;
  }
  see(unit.adopt());
  const bool finished = keep_moving(unit, options.seconds);
  see(unit.disable());
  if (!finished) return ExitCode::INTERRUPTED;
  return session.was_limited() ? ExitCode::FINDINGS : ExitCode::OK;
}

/** A dispatcher for a controller that only looks: the target velocity 0 of the controller's end is not sent.
 */
class LookingDispatcher : public nkr::tavcore::CANOpenDispatcher {
 public:
  using CANOpenDispatcher::CANOpenDispatcher;
  nkr_error_t setTargetVelocity(const short& /*velocity*/) override { return NKR_OK; }
};

ExitCode drive_info(Context& context) {
  constexpr std::chrono::seconds kPatience{2};
  Session session(context);
  see_maximum(session);
  static_cast<void>(session.unit().wait_for_nmt_state(kPatience));
  const auto looking = std::make_shared<LookingDispatcher>(session.config(), session.unit().shared_client());
  session.check(looking->init(), "load the description");
  session.check(looking->_setNodeId(session.node()), "address the drive");
  nkr::tavcore::Controller controller;
  session.check(controller.init(session.config(), looking), "start the controller");

  bool enabled = false;
  bool usb = false;
  unsigned char nmt = 0;
  int odometry = 0;
  int position = 0;
  int velocity = 0;
  unsigned int reserved = 0;
  int percent = 0;
  Move direction = Move::STOP;
  session.check(
      controller.getTavInfos(enabled, nmt, usb, odometry, position, velocity, reserved, percent, direction),
      "read the snapshot");
  Output& output = session.output();
  const auto yes_no = [](bool value) { return value ? "yes" : "no"; };
  output.fact("Serial device", usb ? "present" : "absent", "usb_present", usb);
  output.fact("NMT state", nmt_name(nkr::canopencore::NMTState{nmt}), "nmt_state",
              json_of(nkr::canopencore::NMTState{nmt}));
  if (nmt == 0) {
    throw Failure(ExitCode::NO_ANSWER, "no heartbeat of the drive was heard (" + session.where() + ")",
                  "\"tavctl doctor\" looks for the cause.");
  }
  Quantities quantities(session);
  output.fact("Operation enabled", yes_no(enabled), "operation_enabled", enabled);
  output.fact("Odometry", std::to_string(odometry) + " mm", "odometry", odometry);
  output.fact("Position", quantity_text(position, quantities.units().position), "position", position);
  output.fact("Velocity", quantity_text(velocity, quantities.units().velocity), "velocity", velocity);
  output.fact("Speed", std::to_string(percent) + " %", "speed_percent", percent);
  output.fact("Direction", direction_name(direction), "direction", direction_name(direction));
  return ExitCode::OK;
}

}  // namespace

void add_motion(Command& program) {
  auto options = std::make_shared<MoveOptions>();
  Command& command = program.add(
      "move",
      "Enable the drive and move at PERCENT of the configured speed; stops after --for seconds or on Ctrl-C");
  command.option("PERCENT", options->percent, "Of maxMaintenanceSpeedValue; limited to 100").required();
  command.option("DIRECTION", options->direction, "forward, backward or stop")
      .required()
      .one_of({"forward", "backward", "stop"});
  command.option("--for", options->seconds, "Seconds; without it until Ctrl-C").range(0.0, 1e6);
  command.flag("--leave-running", options->leave_running,
               "Do not stop the drive at the end (nothing stops it then when this host dies)");
  add_fault_reset_option(command, options->reset_fault);
  command.on([options](Context& context) { return move(context, *options); });

  Command& info =
      program.add("drive-info", "Snapshot of the drive: state, distance travelled, speed and direction");
  info.on(drive_info);
}

}  // namespace tavctl
