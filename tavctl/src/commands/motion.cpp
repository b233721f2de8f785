// Motion orders in percent of the configured speed, and the snapshot of the drive.
#include "session/Motion.hpp"

#include <algorithm>
#include <chrono>
#include <map>
#include <memory>
#include <optional>
#include <string>

#include "commands/AllCommands.hpp"
#include "model/DriveWords.hpp"
#include "session/DriveState.hpp"
#include "session/Session.hpp"

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
};

void see_maximum(const Session& session) {
  if (session.config()->getMaxMaintenanceSpeedValue() != 0) return;
  throw Failure(ExitCode::CONFIGURATION, "maxMaintenanceSpeedValue is 0 in the configuration",
                "It is the velocity that stands for 100 percent.");
}

/** Sees that the drive stays enabled for that time (none: for ever). False when the user asked to end. */
bool keep_moving(Motion& motion, std::optional<double> seconds) {
  constexpr std::chrono::milliseconds kLook{100};
  using Clock = std::chrono::steady_clock;
  const Clock::time_point start = Clock::now();
  const auto left = [&] { return std::chrono::duration<double>(*seconds) - (Clock::now() - start); };
  while (!seconds || left().count() > 0) {
    motion.see_enabled();
    const auto pause = seconds ? std::min<std::chrono::duration<double>>(left(), kLook) : kLook;
    if (!motion.interrupt().wait_for(std::chrono::ceil<std::chrono::milliseconds>(pause))) return false;
  }
  return true;
}

ExitCode move(Context& context, const MoveOptions& options) {
  Session session(context);
  see_maximum(session);
  const Move order = directions().at(options.direction);
  Motion motion(session, options.leave_running ? AtEnd::LEAVE_RUNNING : AtEnd::STOP);
  if (order != Move::STOP) motion.enable();
  session.check(motion.controller().setTavInfos(options.percent, order), "give the motion order");
  short target = 0;
  session.check(motion.controller().getTargetVelocity(target), "read the target velocity back");
  session.output().fact("Target velocity", std::to_string(target), "target_velocity", target);
  if (options.leave_running || order == Move::STOP) return ExitCode::OK;

  const bool finished = keep_moving(motion, options.seconds);
  motion.stop();
  return finished ? ExitCode::OK : ExitCode::INTERRUPTED;
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
  static_cast<void>(heard_nmt_state(session, kPatience));
  const auto looking = std::make_shared<LookingDispatcher>(session.config(), session.shared_client());
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
  output.fact("NMT state", nmt_name(nkr::canopencore::NMTState{nmt}), "nmt_state", nmt);
  if (nmt == 0) {
    throw Failure(ExitCode::NO_ANSWER, "no heartbeat of the drive was heard (" + session.where() + ")",
                  "\"tavctl doctor\" looks for the cause.");
  }
  output.fact("Operation enabled", yes_no(enabled), "operation_enabled", enabled);
  output.fact("Odometry", std::to_string(odometry), "odometry", odometry);
  output.fact("Position", std::to_string(position), "position", position);
  output.fact("Velocity", std::to_string(velocity), "velocity", velocity);
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
  command.on([options](Context& context) { return move(context, *options); });

  Command& info =
      program.add("drive-info", "Snapshot of the drive: state, distance travelled, speed and direction");
  info.on(drive_info);
}

}  // namespace tavctl
