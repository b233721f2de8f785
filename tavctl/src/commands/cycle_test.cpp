#include <chrono>
#include <memory>
#include <optional>
#include <string>
#include <tav/host/Interrupt.hpp>
#include <tav/host/number.hpp>
#include <tav/host/real_time.hpp>
#include <vector>

#include "commands/AllCommands.hpp"
#include "commands/session/Configuration.hpp"
#include "commands/session/GroupSession.hpp"
#include "text/explained.hpp"

namespace tavctl {

namespace {

using std::chrono::microseconds;

/** A share of complete cycles below this does not carry a motion. */
constexpr double kLeastSuccess = 0.98;

struct CycleTestOptions {
  std::string period = "10ms";
  std::optional<int> units;
  double seconds = 10;
  std::optional<unsigned> bit_rate;
  bool real_time = false;
};

/** "2ms", "500us", "0.01s". */
microseconds period_of(const std::string& text) {
  struct Unit {
    const char* name;
    double microseconds;
  };
  constexpr double kLongest = 1e6;
  for (const Unit& unit : {Unit{"us", 1}, Unit{"ms", 1e3}, Unit{"s", 1e6}}) {
    const std::string name = unit.name;
    if (text.size() <= name.size() || text.compare(text.size() - name.size(), name.size(), name) != 0)
      continue;
    const auto number = typed_real(text.substr(0, text.size() - name.size()));
    const double period = number.value_or(0) * unit.microseconds;
    if (period >= 100 && period <= kLongest) return microseconds(static_cast<long>(period));
  }
  throw Failure(ExitCode::USAGE, "\"" + text + "\" is no period", "such as 2ms or 500us; 100us to 1s");
}

std::vector<std::string> names_of(const HostConfiguration& file, std::optional<int> count) {
  std::vector<std::string> names;
  for (const UnitConfiguration& unit : file.units()) {
    if (!unit.name.empty()) names.push_back(unit.name);
  }
  if (!count) return names;
  if (static_cast<std::size_t>(*count) > std::max<std::size_t>(names.size(), 1)) {
    throw Failure(
        ExitCode::CONFIGURATION,
        "the configuration " + file.path() + " describes " + std::to_string(names.size()) + " units",
        "a section [unit NAME] describes each of several drives: docs/configuration.md");
  }
  if (!names.empty()) names.resize(static_cast<std::size_t>(*count));
  return names;
}

ExitCode verdict(Output& output, const GroupStatistics& statistics) {
  const double success = statistics.success();
  const bool is_fit = success >= kLeastSuccess && statistics.missed == 0;
  output.fact("Complete", std::to_string(success * 100) + " %", "success", success);
  output.fact("Verdict", is_fit ? "fit for this period" : "not fit for this period: take a longer one",
              "is_fit", is_fit);
  return is_fit ? ExitCode::OK : ExitCode::FINDINGS;
}

ExitCode cycle_test(Context& context, const CycleTestOptions& options) {
  GroupSettings settings;
  settings.period = period_of(options.period);
  if (options.real_time) settings.real_time = RealTimeSettings{};
  const HostConfiguration file = load_machine(context);
  const SignalInterrupt interrupt;
  GroupSession session(context, file, names_of(file, options.units), interrupt);
  Group& group = session.start(settings, options.bit_rate);
  const bool finished =
      interrupt.wait_for(std::chrono::milliseconds(static_cast<long>(options.seconds * 1000)));
  const GroupStatistics statistics = group.statistics();
  Output& output = session.output();
  const GroupLoad& load = group.preparation().load;
  output.fact("Bus load, worst case",
              std::to_string(static_cast<int>(load.share * 100)) + " % (" + std::to_string(load.bits) +
                  " bits a cycle)",
              "load_percent", load.share * 100);
  if (options.real_time) output.line(text(group.real_time()));
  print_statistics(output, statistics);
  if (!finished) return ExitCode::INTERRUPTED;
  return verdict(output, statistics);
}

}  // namespace

void add_cycle_test(Command& program) {
  auto options = std::make_shared<CycleTestOptions>();
  Command& command = program.add(
      "cycle-test",
      "Whether this host, its adapter and its bus carry the cycle of several drives: jitter, answers, misses "
      "(1 when not). The drives are started and not enabled");
  command.option("--period", options->period, "Of the cycle: 2ms, 500us [10ms]");
  command.option("--units", options->units, "The first so many of the configuration [all]").range(1, 127);
  command.option("--for", options->seconds, "Seconds [10]").range(0.1, 1e6);
  command.option("--bit-rate", options->bit_rate, "Of the bus, bit/s [the interface's, or 500000]")
      .range(10'000U, 1'000'000U);
  command.flag("--real-time", options->real_time, "Ask for SCHED_FIFO and locked memory");
  command.on([options](Context& context) { return cycle_test(context, *options); });
}

}  // namespace tavctl
