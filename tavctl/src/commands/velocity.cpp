#include <chrono>
#include <cmath>
#include <memory>
#include <optional>
#include <string>
#include <tav/host/Interrupt.hpp>
#include <tav/host/Unit.hpp>
#include <vector>

#include "commands/AllCommands.hpp"
#include "commands/FaultResetOption.hpp"
#include "commands/session/Session.hpp"
#include "text/Plot.hpp"
#include "text/explained.hpp"

namespace tavctl {

namespace {

using Clock = std::chrono::steady_clock;

constexpr std::chrono::milliseconds kSamplePeriod{50};

struct VelocityOptions {
  std::vector<int> values;
  std::optional<double> seconds;
  bool plot = false;
  bool leave_running = false;
  bool reset_fault = false;
};

using Samples = std::vector<VelocitySample>;

/** Takes each look as a sample. */
Unit::OnLook into(Samples& samples, Clock::time_point start) {
  return [&samples, start](const Look& look) {
    samples.push_back(
        {std::chrono::duration<double>(look.when - start).count(), look.velocity_demand, look.velocity});
  };
}

/** For ever, when no time is given. */
std::chrono::milliseconds time_of(std::optional<double> seconds) {
  constexpr double kMilli = 1000.0;
  return seconds ? std::chrono::milliseconds(std::llround(*seconds * kMilli))
                 : std::chrono::milliseconds::max();
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
void follow_to_standstill(Unit& unit, const Interrupt& interrupt, const Unit::OnLook& on_look) {
  constexpr std::chrono::seconds kLongest{10};
  if (interrupt.requested()) return;
  see(unit.set_velocity(0));
  const auto deadline = Clock::now() + kLongest;
  Look seen;
  do {
    const Result result = unit.look(seen);
    if (result.code() == NKR_INTERRUPTED) return;
    see(result);
    on_look(seen);
  } while (seen.velocity != 0 && Clock::now() < deadline && interrupt.wait_for(kSamplePeriod));
}

/** Turns at one velocity after the other. False when the user asked to end. */
bool follow_profile(Unit& unit, const VelocityOptions& options, const Unit::OnLook& on_look) {
  // A drive that is left running needs nobody who follows it.
  const bool follows = !options.leave_running || options.seconds;
  for (const int value : options.values) {
    see(unit.set_velocity(value));
    if (!follows) continue;
    const Result followed = unit.follow(time_of(options.seconds), on_look);
    if (followed.code() == NKR_INTERRUPTED) return false;
    see(followed);
  }
  return true;
}

ExitCode velocity(Context& context, const VelocityOptions& options) {
  if (options.values.size() > 1 && !options.seconds) {
    throw Failure(ExitCode::USAGE, "several velocities need a time", "--for SECONDS: the time of each");
  }
  const SignalInterrupt interrupt;
  Session session(context, &interrupt);
  Unit& unit = session.unit();
  see(unit.enable({options.reset_fault}));
  Samples samples;
  const Unit::OnLook on_look = into(samples, Clock::now());
  const bool finished = follow_profile(unit, options, on_look);
  int reached = 0;
  session.check(session.dispatcher()->getVelocityActualValue(reached), "read the velocity");
  if (options.leave_running) {
    see(unit.leave());
    session.output().note(
        "WARNING: the drive is left running and watches no host: stop it with tavctl disable");
  } else {
    follow_to_standstill(unit, interrupt, on_look);
    see(unit.disable());
  }
  print_samples(session.output(), samples, options.plot);
  session.output().fact("Target velocity", std::to_string(options.values.back()), "target_velocity",
                        options.values.back());
  session.output().fact("Velocity at the end", std::to_string(reached), "velocity", reached);
  if (!finished) return ExitCode::INTERRUPTED;
  return session.was_limited() ? ExitCode::FINDINGS : ExitCode::OK;
}

}  // namespace

void add_velocity(Command& program) {
  auto options = std::make_shared<VelocityOptions>();
  Command& command =
      program.add("velocity",
                  "Enable the drive, turn at VALUE (one after the other), and stop again: "
                  "after --for seconds each, or on Ctrl-C (1 when the drive's limits kept it from a value)");
  command.option("VALUE", options->values, "Target velocity in the drive's unit (tavctl units), signed")
      .required()
      .range(-32768, 32767);
  command.option("--for", options->seconds, "Seconds for each value; without it until Ctrl-C")
      .range(0.0, 1e6);
  command.flag("--plot", options->plot, "Draw demanded and actual velocity at the end");
  command.flag("--leave-running", options->leave_running,
               "Do not stop the drive at the end (nothing stops it then when this host dies)");
  add_fault_reset_option(command, options->reset_fault);
  command.on([options](Context& context) { return velocity(context, *options); });
}

}  // namespace tavctl
