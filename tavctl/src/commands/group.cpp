#include <chrono>
#include <cstdio>
#include <memory>
#include <optional>
#include <string>
#include <tav/host/Interrupt.hpp>
#include <tav/host/number.hpp>
#include <tav/host/text.hpp>
#include <vector>

#include "commands/AllCommands.hpp"
#include "commands/session/Configuration.hpp"
#include "commands/session/GroupSession.hpp"
#include "text/explained.hpp"

namespace tavctl {

namespace {

using Clock = std::chrono::steady_clock;

/** Well within the set-points' time-out. */
constexpr std::chrono::milliseconds kRefresh{20};

struct GroupOptions {
  std::vector<std::string> orders;  ///< "left=300"
  std::optional<double> seconds;
  std::optional<unsigned> bit_rate;
  bool reset_faults = false;
  double interval = 0.5;
  long count = 0;
};

struct Orders {
  std::vector<std::string> names;
  std::vector<int> velocities;
};

Orders parsed(const std::vector<std::string>& texts) {
  Orders orders;
  for (const std::string& text : texts) {
    const std::size_t mark = text.find('=');
    const auto number = mark == std::string::npos ? std::nullopt : typed_real(text.substr(mark + 1));
    constexpr double kMost = 32767;
    if (mark == 0 || !number || !(*number >= -kMost && *number <= kMost)) {
      throw Failure(ExitCode::USAGE, "\"" + text + "\" is no unit with a velocity", "such as left=300");
    }
    orders.names.push_back(text.substr(0, mark));
    orders.velocities.push_back(static_cast<int>(*number));
  }
  return orders;
}

void print_units(Output& output, GroupSession& session, const GroupSnapshot& now) {
  Json rows = Json::array();
  for (std::size_t i = 0; i < now.units.size(); ++i) {
    const Feedback& unit = now.units[i];
    const std::string name = session.configuration(i).name;
    const int velocity = unit.last ? unit.last->velocity : 0;
    rows.push_back({{"name", name}, {"node", unit.node}, {"velocity", velocity}});
    output.line(name + " (node " + std::to_string(unit.node) + "): velocity " + std::to_string(velocity));
  }
  output.put("units", std::move(rows));
}

ExitCode group_velocity(Context& context, const GroupOptions& options) {
  const Orders orders = parsed(options.orders);
  const SignalInterrupt interrupt;
  GroupSession session(context, load_machine(context), orders.names, interrupt);
  Group& group = session.start(GroupSettings{}, options.bit_rate);
  see(group.enable({options.reset_faults}));
  const auto end = options.seconds ? Clock::now() + std::chrono::duration_cast<Clock::duration>(
                                                        std::chrono::duration<double>(*options.seconds))
                                   : Clock::time_point::max();
  bool goes_on = true;
  while (goes_on && Clock::now() < end) {
    see(group.set(orders.velocities));
    goes_on = interrupt.wait_for(kRefresh);
  }
  const GroupSnapshot reached = group.snapshot();
  see(group.stop());
  print_units(session.output(), session, reached);
  print_statistics(session.output(), group.statistics());
  return goes_on ? ExitCode::OK : ExitCode::INTERRUPTED;
}

ExitCode group_watch(Context& context, const GroupOptions& options) {
  const SignalInterrupt interrupt;
  GroupSession session(context, load_machine(context), {}, interrupt);
  const auto start = Clock::now();
  const auto interval =
      std::chrono::duration_cast<Clock::duration>(std::chrono::duration<double>(options.interval));
  auto next = start;
  for (long done = 0; options.count == 0 || done < options.count; ++done) {
    const double seconds = std::chrono::duration<double>(Clock::now() - start).count();
    for (std::size_t i = 0; i < session.size(); ++i) {
      Snapshot now;
      see(session.unit(i).read_state(now));
      const std::string& name = session.configuration(i).name;
      char line[160];
      std::snprintf(line, sizeof line, "%8.1f s  %-12s  %-22s  velocity %6d (target %6d)  position %11d",
                    seconds, name.c_str(), status_word_text(now.status_word).c_str(), now.velocity,
                    now.target_velocity, now.position);
      session.output().event(line, {{"seconds", seconds},
                                    {"name", name},
                                    {"node", session.unit(i).node_id()},
                                    {"state", status_word_text(now.status_word)},
                                    {"velocity", now.velocity},
                                    {"target_velocity", now.target_velocity},
                                    {"position", now.position}});
    }
    next += interval;
    if (!interrupt.wait_until(next)) return options.count == 0 ? ExitCode::OK : ExitCode::INTERRUPTED;
  }
  return ExitCode::OK;
}

}  // namespace

void add_group(Command& program) {
  Command& group = program.add("group", "Several drives together, each a [unit NAME] of the configuration");
  auto options = std::make_shared<GroupOptions>();
  Command& velocity = group.add(
      "velocity",
      "Enable these drives, all or none; turn each at its velocity, in the same cycles; and stop them again: "
      "after --for seconds, or on Ctrl-C");
  velocity
      .option("UNIT=VELOCITY", options->orders,
              "Name and target velocity, signed, in the drive's unit: left=300")
      .required();
  velocity.option("--for", options->seconds, "Seconds; without it until Ctrl-C").range(0.0, 1e6);
  velocity.option("--bit-rate", options->bit_rate, "Of the bus, bit/s [the interface's, or 500000]")
      .range(10'000U, 1'000'000U);
  velocity.flag("--fault-reset", options->reset_faults, "Reset drives in FAULT first");
  velocity.on([options](Context& context) { return group_velocity(context, *options); });
  Command& watch = group.add("watch", "What all drives of the configuration do, every --interval seconds");
  watch.option("--interval", options->interval, "Seconds [0.5]").range(0.01, 3600.0);
  watch.option("--count", options->count, "So often; 0: until Ctrl-C [0]").range(0, 1'000'000'000);
  watch.on([options](Context& context) { return group_watch(context, *options); });
}

}  // namespace tavctl
