#include <chrono>
#include <cstdio>
#include <memory>
#include <optional>
#include <string>
#include <tav/host/DifferentialDrive.hpp>
#include <tav/host/Interrupt.hpp>
#include <vector>

#include "commands/AllCommands.hpp"
#include "commands/session/ArrowKeys.hpp"
#include "commands/session/Configuration.hpp"
#include "commands/session/GroupSession.hpp"
#include "text/explained.hpp"

namespace tavctl {

namespace {

using Clock = std::chrono::steady_clock;

constexpr std::chrono::milliseconds kRefresh{20};
/** A key that is held repeats sooner. */
constexpr std::chrono::milliseconds kReleased{300};
constexpr double kKeyVelocity = 0.2;  // m/s
constexpr double kKeyTurning = 0.5;   // rad/s
constexpr double kMillimetres = 1000;

struct VehicleOptions {
  std::optional<double> velocity;
  std::optional<double> turning_rate;
  std::optional<double> seconds;
  std::optional<unsigned> bit_rate;
  bool keys = false;
  bool reset_faults = false;
};

struct Motion {
  double velocity = 0;
  double turning_rate = 0;
};

/** Drives; the odometry takes every cycle in. False when the user asked to end. */
bool drive_on(DifferentialDrive& vehicle, const Motion& motion, std::optional<double> seconds,
              const Interrupt& interrupt) {
  const auto end = seconds ? Clock::now() + std::chrono::duration_cast<Clock::duration>(
                                                std::chrono::duration<double>(*seconds))
                           : Clock::time_point::max();
  while (Clock::now() < end) {
    see(vehicle.set(motion.velocity, motion.turning_rate));
    vehicle.update();
    if (!interrupt.wait_for(kRefresh)) return false;
  }
  return true;
}

Motion motion_of(ArrowKeys::Key key, const Motion& full) {
  switch (key) {
    case ArrowKeys::Key::UP:
      return {full.velocity, 0};
    case ArrowKeys::Key::DOWN:
      return {-full.velocity, 0};
    case ArrowKeys::Key::LEFT:
      return {0, full.turning_rate};
    case ArrowKeys::Key::RIGHT:
      return {0, -full.turning_rate};
    default:
      return {};
  }
}

void drive_by_keys(DifferentialDrive& vehicle, const Motion& full, const Interrupt& interrupt,
                   Output& output) {
  output.note("arrow keys drive while they are held; space stops, q ends");
  ArrowKeys keys;
  Motion motion;
  auto pressed = Clock::now();
  while (!interrupt.requested()) {
    const auto key = keys.wait(kRefresh);
    if (key == ArrowKeys::Key::END) return;
    if (key) {
      motion = motion_of(*key, full);
      pressed = Clock::now();
    } else if (Clock::now() - pressed > kReleased) {
      motion = {};
    }
    see(vehicle.set(motion.velocity, motion.turning_rate));
    vehicle.update();
  }
}

VehicleConfiguration vehicle_of(const HostConfiguration& file) {
  if (file.vehicle()) return *file.vehicle();
  throw Failure(ExitCode::CONFIGURATION, "the configuration " + file.path() + " describes no vehicle",
                "a section [vehicle] with trackWidth, left and right: docs/configuration.md");
}

ExitCode drive_vehicle(Context& context, const VehicleOptions& options) {
  const bool by_keys = options.keys || (!options.velocity && !options.turning_rate);
  if (by_keys && !ArrowKeys::are_there()) {
    throw Failure(ExitCode::USAGE, "no motion given, and no terminal for the arrow keys",
                  "--v METRES_PER_SECOND and --omega RADIANS_PER_SECOND");
  }
  const HostConfiguration file = load_machine(context);
  const VehicleConfiguration configuration = vehicle_of(file);
  const SignalInterrupt interrupt;
  GroupSession session(context, file, {configuration.left, configuration.right}, interrupt);
  VehicleGeometry geometry;
  geometry.left = Wheel::of(session.configuration(0), 0);
  geometry.right = Wheel::of(session.configuration(1), 1);
  geometry.track_width = configuration.track_width / kMillimetres;
  Group& group = session.start(GroupSettings{}, options.bit_rate);
  DifferentialDrive vehicle(group, geometry);
  see(group.enable({options.reset_faults}));
  bool finished = true;
  if (by_keys) {
    drive_by_keys(vehicle,
                  {options.velocity.value_or(kKeyVelocity), options.turning_rate.value_or(kKeyTurning)},
                  interrupt, session.output());
  } else {
    finished = drive_on(vehicle, {options.velocity.value_or(0), options.turning_rate.value_or(0)},
                        options.seconds, interrupt);
  }
  see(group.stop());
  const Pose pose = vehicle.update();
  char text[96];
  std::snprintf(text, sizeof text, "x %.3f m, y %.3f m, heading %.3f rad", pose.x, pose.y, pose.heading);
  session.output().fact("Odometry", text, "pose", {{"x", pose.x}, {"y", pose.y}, {"heading", pose.heading}});
  return finished ? ExitCode::OK : ExitCode::INTERRUPTED;
}

}  // namespace

void add_drive(Command& program) {
  auto options = std::make_shared<VehicleOptions>();
  Command& command = program.add(
      "drive",
      "Drive the vehicle of the configuration: by --v and --omega, or by the arrow keys (300 ms without a "
      "key stop it); odometry at the end");
  command.option("--v", options->velocity, "Metres a second, forward positive [keys: 0.2]")
      .range(-100.0, 100.0);
  command.option("--omega", options->turning_rate, "Radians a second, counter-clockwise positive [keys: 0.5]")
      .range(-100.0, 100.0);
  command.flag("--keys", options->keys, "By the arrow keys, with --v and --omega as their speeds");
  command.option("--for", options->seconds, "Seconds; without it until Ctrl-C").range(0.0, 1e6);
  command.option("--bit-rate", options->bit_rate, "Of the bus, bit/s [the interface's, or 500000]")
      .range(10'000U, 1'000'000U);
  command.flag("--fault-reset", options->reset_faults, "Reset drives in FAULT first");
  command.on([options](Context& context) { return drive_vehicle(context, *options); });
}

}  // namespace tavctl
