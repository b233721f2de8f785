#include <chrono>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "commands/AllCommands.hpp"
#include "model/DriveWords.hpp"
#include "model/Plot.hpp"
#include "session/DriveState.hpp"
#include "session/Motion.hpp"

namespace tavctl {

namespace {

using Clock = std::chrono::steady_clock;

constexpr std::chrono::milliseconds kSamplePeriod{50};

struct VelocityOptions {
  std::vector<int> values;
  std::optional<double> seconds;
  bool plot = false;
  bool leave_running = false;
};

VelocitySample sample(Session& session, Motion& motion, Clock::time_point start) {
  VelocitySample taken{std::chrono::duration<double>(Clock::now() - start).count(), 0, 0};
  short demand = 0;
  session.check(motion.controller().getVelocityDemand(demand), "read the velocity demand");
  session.check(motion.controller().getVelocityActualValue(taken.actual), "read the velocity");
  taken.demand = demand;
  return taken;
}

void command(Session& session, Motion& motion, short value) {
  session.check(motion.controller().setTargetVelocity(value), "set the target velocity");
  short kept = 0;
  session.check(motion.controller().getTargetVelocity(kept), "read the target velocity back");
  if (kept != value) {
    throw Failure(ExitCode::REFUSED, "the drive kept target velocity " + std::to_string(kept) +
                                         " instead of " + std::to_string(value));
  }
}

/** Follows the drive for that time (none: for ever). False when the user asked to end. */
bool follow(Session& session, Motion& motion, std::optional<double> seconds, Clock::time_point start,
            std::vector<VelocitySample>& samples) {
  const Clock::time_point begin = Clock::now();
  const auto over = [&] {
    return seconds && Clock::now() >= begin + std::chrono::duration<double>(*seconds);
  };
  for (auto next = begin; !over();) {
    samples.push_back(sample(session, motion, start));
    motion.see_enabled();
    next += kSamplePeriod;
    if (!motion.interrupt().wait_until(next)) return false;
  }
  return true;
}

void print_samples(Output& output, const std::vector<VelocitySample>& samples, bool plotted) {
  Json rows = Json::array();
  for (const VelocitySample& taken : samples) {
    rows.push_back({{"seconds", taken.seconds}, {"demand", taken.demand}, {"actual", taken.actual}});
  }
  output.put("samples", std::move(rows));
  if (!plotted) return;
  for (const std::string& line : plot(samples)) output.line(line);
}

/** The way to standstill belongs to the picture too. */
void follow_to_standstill(Session& session, Motion& motion, Clock::time_point start,
                          std::vector<VelocitySample>& samples) {
  session.check(motion.controller().setTargetVelocity(0), "stop the drive");
  const auto deadline = Clock::now() + std::chrono::seconds(10);
  do {
    samples.push_back(sample(session, motion, start));
    if (samples.back().actual == 0) return;
    static_cast<void>(motion.interrupt().wait_for(kSamplePeriod));
  } while (Clock::now() < deadline && !motion.interrupt().requested());
}

/** Turns at one velocity after the other. False when the user asked to end. */
bool follow_profile(Session& session, Motion& motion, const VelocityOptions& options, Clock::time_point start,
                    std::vector<VelocitySample>& samples) {
  // A drive that is left running needs nobody who follows it.
  const auto seconds =
      options.leave_running && !options.seconds ? std::optional<double>(0.0) : options.seconds;
  for (const int value : options.values) {
    command(session, motion, static_cast<short>(value));
    if (!follow(session, motion, seconds, start, samples)) return false;
  }
  return true;
}

ExitCode velocity(Context& context, const VelocityOptions& options) {
  if (options.values.size() > 1 && !options.seconds) {
    throw Failure(ExitCode::USAGE, "several velocities need a time", "--for SECONDS: the time of each");
  }
  Session session(context);
  Motion motion(session, options.leave_running ? AtEnd::LEAVE_RUNNING : AtEnd::STOP);
  motion.enable();
  const Clock::time_point start = Clock::now();
  std::vector<VelocitySample> samples;
  const bool finished = follow_profile(session, motion, options, start, samples);
  int reached = 0;
  session.check(motion.controller().getVelocityActualValue(reached), "read the velocity");
  if (options.leave_running) {
    session.output().note(
        "WARNING: the drive is left running and watches no host: stop it with tavctl disable");
  } else {
    follow_to_standstill(session, motion, start, samples);
    motion.stop();
  }
  print_samples(session.output(), samples, options.plot);
  session.output().fact("Target velocity", std::to_string(options.values.back()), "target_velocity",
                        options.values.back());
  session.output().fact("Velocity at the end", std::to_string(reached), "velocity", reached);
  return finished ? ExitCode::OK : ExitCode::INTERRUPTED;
}

}  // namespace

void add_velocity(Command& program) {
  auto options = std::make_shared<VelocityOptions>();
  Command& command = program.add("velocity",
                                 "Enable the drive, turn at VALUE (one after the other), and stop again: "
                                 "after --for seconds each, or on Ctrl-C");
  command.option("VALUE", options->values, "Target velocity in the drive's unit (tavctl units), signed")
      .required()
      .range(-32768, 32767);
  command.option("--for", options->seconds, "Seconds for each value; without it until Ctrl-C")
      .range(0.0, 1e6);
  command.flag("--plot", options->plot, "Draw demanded and actual velocity at the end");
  command.flag("--leave-running", options->leave_running,
               "Do not stop the drive at the end (nothing stops it then when this host dies)");
  command.on([options](Context& context) { return velocity(context, *options); });
}

}  // namespace tavctl
