#include <signal.h>
#include <unistd.h>

#include <chrono>
#include <cmath>
#include <cstdio>
#include <memory>
#include <optional>
#include <string>
#include <tav/host/Interrupt.hpp>
#include <tav/host/Unit.hpp>
#include <tav/host/number.hpp>
#include <vector>

#include "cli/Terminal.hpp"
#include "commands/AllCommands.hpp"
#include "commands/FaultResetOption.hpp"
#include "commands/session/Quantities.hpp"
#include "commands/session/Session.hpp"
#include "text/Plot.hpp"
#include "text/explained.hpp"

namespace tavctl {

namespace {

using Clock = std::chrono::steady_clock;

constexpr std::chrono::milliseconds kSamplePeriod{50};
/** Of a plot that goes to no terminal. */
constexpr std::size_t kPlainWidth = 92;

struct VelocityOptions {
  std::vector<std::string> texts;
  std::vector<int> values;  ///< what is sent for them
  std::optional<double> seconds;
  bool plot = false;
  bool leave_running = false;
  bool reset_fault = false;
};

using Samples = std::vector<VelocitySample>;

/** Shows what the drive does while it turns: in place on a terminal, a line a sample elsewhere. */
class Picture {
 public:
  Picture(Session& session, const DriveUnits& units, bool plots)
      : session_(session), units_(units), plots_(plots), start_(Clock::now()) {}

  void take(const Look& look) {
    const double seconds = std::chrono::duration<double>(look.when - start_).count();
    samples_.push_back({seconds, look.velocity_demand, look.velocity});
    Output& output = session_.output();
    if (output.json()) {
      output.event({}, json_of(look, seconds));
    } else if (look.when >= next_) {
      next_ = look.when + (output.is_live() ? kRedraw : kLine);
      output.is_live() ? draw(look) : output.event(line_of(look, seconds), {});
    }
  }
  [[nodiscard]] const Samples& samples() const { return samples_; }
  [[nodiscard]] Unit::OnLook on_look() {
    return [this](const Look& look) { take(look); };
  }

 private:
  static constexpr std::chrono::milliseconds kRedraw{100};
  static constexpr std::chrono::milliseconds kLine{500};

  static Json json_of(const Look& look, double seconds) {
    return {{"seconds", seconds},
            {"state", status_word_text(look.status_word)},
            {"status_word", look.status_word},
            {"target_velocity", look.target_velocity},
            {"velocity_demand", look.velocity_demand},
            {"velocity", look.velocity}};
  }
  [[nodiscard]] std::string line_of(const Look& look, double seconds) const {
    char text[160];
    std::snprintf(text, sizeof text, "%8.1f s  %-20s  target %6d  demand %6d  actual %6d %s", seconds,
                  status_word_text(look.status_word).c_str(), look.target_velocity, look.velocity_demand,
                  look.velocity, unit_text(units_.velocity.unit).c_str());
    return text + std::string(session_.was_limited() ? "  limited" : "");
  }
  void draw(const Look& look) {
    const double seconds = std::chrono::duration<double>(look.when - start_).count();
    std::vector<std::string> lines;
    if (plots_) lines = plot(samples_, plot_width(terminal_width(STDOUT_FILENO)));
    int position = 0;
    const bool is_known = session_.dispatcher()->getPositionValue(position) == NKR_OK;
    lines.push_back(line_of(look, seconds) +
                    (is_known ? "  position " + quantity_text(position, units_.position) : ""));
    session_.output().live(lines);
  }

  Session& session_;
  const DriveUnits& units_;
  bool plots_;
  Clock::time_point start_;
  Clock::time_point next_;
  Samples samples_;
};

/** For ever, when no time is given. */
std::chrono::milliseconds time_of(std::optional<double> seconds) {
  constexpr double kMilli = 1000.0;
  return seconds ? std::chrono::milliseconds(std::llround(*seconds * kMilli))
                 : std::chrono::milliseconds::max();
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

/** "12%" of the configured maximum; any other text is a number of the drive, or one with a unit. */
int target_of(Session& session, Quantities& quantities, const std::string& text) {
  constexpr int kLowest = -32768;
  constexpr int kHighest = 32767;
  constexpr const char* kWhat = "target velocity";
  const Scale plain{kRpm};
  if (text.empty() || text.back() != '%') {
    const Scale& scale = has_unit(text) ? quantities.units().target_velocity : plain;
    return static_cast<int>(quantities.take(text, scale, kWhat, kLowest, kHighest));
  }
  const auto percent = typed_real(text.substr(0, text.size() - 1));
  if (!percent) throw Failure(ExitCode::USAGE, "\"" + text + "\" is no number", "such as 300, 12% or 1.2m/s");
  const double exact = *percent / 100.0 * session.config()->getMaxMaintenanceSpeedValue();
  if (!(exact >= kLowest && exact <= kHighest)) {
    throw Failure(ExitCode::REFUSED, text + " is no target velocity: -32768 to 32767");
  }
  const int value = static_cast<int>(std::lround(exact));
  session.output().note(std::string(kWhat) + ": " + text + " of maxMaintenanceSpeedValue is sent as " +
                        quantity_text(value, quantities.units().target_velocity));
  return value;
}

ExitCode velocity(Context& context, VelocityOptions options) {
  if (options.texts.size() > 1 && !options.seconds) {
    throw Failure(ExitCode::USAGE, "several velocities need a time", "--for SECONDS: the time of each");
  }
  // Ctrl-Z too: a program that sleeps would leave the drive to its own watch.
  const SignalInterrupt interrupt({SIGINT, SIGTERM, SIGHUP, SIGPIPE, SIGTSTP});
  Session session(context, &interrupt);
  Unit& unit = session.unit();
  Quantities quantities(session);
  for (const std::string& text : options.texts) {
    options.values.push_back(target_of(session, quantities, text));
  }
  see(unit.enable({options.reset_fault}));
  const DriveUnits& units = quantities.units();
  Picture picture(session, units, options.plot);
  const Unit::OnLook on_look = picture.on_look();
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
  if (options.plot) {
    const std::size_t width = session.output().is_live() ? terminal_width(STDOUT_FILENO) : kPlainWidth;
    for (const std::string& line : plot(picture.samples(), plot_width(width))) session.output().line(line);
  }
  session.output().fact("Target velocity", quantity_text(options.values.back(), units.target_velocity),
                        "target_velocity", options.values.back());
  session.output().fact("Velocity at the end", quantity_text(reached, units.velocity), "velocity", reached);
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
  command
      .option(
          "VALUE", options->texts,
          "Target velocity, signed: 300 (the drive's unit: tavctl units), 300rpm, 5rev/s, 1.2m/s, or 12% of "
          "maxMaintenanceSpeedValue")
      .required();
  command.option("--for", options->seconds, "Seconds for each value; without it until Ctrl-C")
      .range(0.0, 1e6);
  command.flag("--plot", options->plot, "Draw demanded and actual velocity at the end");
  command.flag("--leave-running", options->leave_running,
               "Do not stop the drive at the end (nothing stops it then when this host dies)");
  add_fault_reset_option(command, options->reset_fault);
  command.on([options](Context& context) { return velocity(context, *options); });
}

}  // namespace tavctl
