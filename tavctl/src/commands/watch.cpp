#include <chrono>
#include <cstdio>
#include <memory>
#include <string>
#include <tav/host/Interrupt.hpp>
#include <tav/host/objects.hpp>
#include <tav/host/words.hpp>
#include <utility>
#include <vector>

#include "cli/Format.hpp"
#include "commands/AllCommands.hpp"
#include "commands/session/Drive.hpp"
#include "commands/session/Quantities.hpp"
#include "text/Record.hpp"

namespace tavctl {

namespace {

struct WatchOptions {
  double interval = 0.5;
  long count = 0;
  bool all = false;
};

/** What --all adds. */
struct Surroundings {
  std::vector<std::pair<std::string, std::string>> words;  ///< label and text
  Json json;
};

/** Supervised quantities, safety words and the bus. */
Surroundings read_surroundings(Session& session) {
  using Status = nkr::tavcore::CANOpenDispatcher::SystemErrorStatus;
  Surroundings all{{}, Json::object()};
  const auto tell = [&all](const std::string& label, const char* key, const std::string& text, Json value) {
    all.words.emplace_back(label, text);
    all.json[key] = std::move(value);
  };
  Status states[5] = {};
  session.check(
      session.dispatcher()->getSystemErrorState(states[0], states[1], states[2], states[3], states[4]),
      "read the system error states");
  constexpr std::pair<const char*, const char*> kSupervised[] = {
      {"Battery under-voltage", "battery_under_voltage"},
      {"Battery over-voltage", "battery_over_voltage"},
      {"Phase over-current", "phase_over_current"},
      {"MOSFET temperature", "mosfet_over_temperature"},
      {"Driver temperature", "driver_over_temperature"}};
  for (std::size_t i = 0; i < std::size(kSupervised); ++i) {
    const auto state = static_cast<std::uint32_t>(states[i]);
    tell(kSupervised[i].first, kSupervised[i].second, state == 0 ? "well" : "state " + std::to_string(state),
         state);
  }
  for (const auto& [name, key] : {std::pair<const char*, const char*>{
                                      "Safety controlwords safety_controlword_can1", "safety_control_word"},
                                  {"Safety statuswords safety_statusword_can1", "safety_status_word"}}) {
    Value value;
    if (read_object(session.unit(), {name, std::nullopt}, value).ok()) {
      tell(label_of(key), key, value.text, json_of(value));
    }
  }
  nkr_error_t opened = NKR_OK;
  const auto port = session.bus().open({{0x7FF, 0x7FF}}, opened);
  session.check(opened, "ask for the state of the bus");
  const nkr::can::BusStatus bus = port->status();
  tell("Bus", "bus_state",
       std::string(nkr::can::to_string(bus.state)) + ", error counters tx " + std::to_string(bus.tx_errors) +
           ", rx " + std::to_string(bus.rx_errors),
       nkr::can::to_string(bus.state));
  return all;
}

Json json_of(const Snapshot& now, double seconds) {
  return {{"seconds", seconds},
          {"nmt_state", tavctl::json_of(now.nmt)},
          {"state", status_word_text(now.status_word)},
          {"status_word", now.status_word},
          {"target_velocity", now.target_velocity},
          {"velocity_demand", now.velocity_demand},
          {"velocity", now.velocity},
          {"position", now.position},
          {"error_register", now.error_register},
          {"errors", now.errors}};
}

std::string line_of(const Snapshot& now, double seconds, const DriveUnits& units) {
  char line[200];
  std::snprintf(line, sizeof line,
                "%8.1f s  %-22s  velocity %6d %s (demand %6d, target %6d)  position %11d %s  errors %d",
                seconds, status_word_text(now.status_word).c_str(), now.velocity,
                unit_text(units.velocity.unit).c_str(), now.velocity_demand, now.target_velocity,
                now.position, unit_text(units.position.unit).c_str(), now.errors);
  return line;
}

/** One label a line, for a display in place. */
std::vector<std::string> block_of(const Snapshot& now, const DriveUnits& units, const Surroundings& all) {
  constexpr std::size_t kLabel = 24;
  std::vector<std::string> lines;
  const auto add = [&lines](const std::string& label, const std::string& text) {
    lines.push_back(padded(label, kLabel) + text);
  };
  add("NMT state", nmt_name(now.nmt));
  add("State", status_word_text(now.status_word));
  add("Target velocity", quantity_text(now.target_velocity, units.target_velocity));
  add("Velocity demand", quantity_text(now.velocity_demand, units.target_velocity));
  add("Velocity", quantity_text(now.velocity, units.velocity));
  add("Position", quantity_text(now.position, units.position));
  add("Error register", error_register_text(now.error_register));
  add("Errors", std::to_string(now.errors));
  for (const auto& [label, text] : all.words) add(label, text);
  return lines;
}

/** Its boot-up was heard: what was set up in it is gone, and its readings alone do not show it. */
void tell_restart(Session& session, double seconds) {
  const Heard heard = session.unit().heard();
  if (!heard.boot_up) return;
  session.unit().forget_heard();
  char line[80];
  std::snprintf(line, sizeof line, "%8.1f s  the drive restarted: its boot-up was heard", seconds);
  session.output().event(line, {{"seconds", seconds}, {"event", "restarted"}});
}

/** In place on a terminal, a line elsewhere. */
void show_sample(Session& session, const Snapshot& now, double seconds, const DriveUnits& units, bool all) {
  const Surroundings more = all ? read_surroundings(session) : Surroundings{{}, Json::object()};
  Output& output = session.output();
  if (output.is_live()) return output.live(block_of(now, units, more));
  std::string line = line_of(now, seconds, units);
  for (const auto& [label, text] : more.words) line += "  " + label + ": " + text;
  Json json = json_of(now, seconds);
  json.update(more.json);
  output.event(line, json);
}

void keep_watching(Session& session, const Interrupt& interrupt, const WatchOptions& options) {
  Quantities quantities(session);
  const DriveUnits& units = quantities.units();
  const auto interval = std::chrono::duration_cast<std::chrono::steady_clock::duration>(
      std::chrono::duration<double>(options.interval));
  const auto start = std::chrono::steady_clock::now();
  auto next = start;
  session.unit().forget_heard();
  for (long done = 0; options.count == 0 || done < options.count; ++done) {
    if (!interrupt.wait_until(next)) return;
    const double seconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
    tell_restart(session, seconds);
    show_sample(session, read_snapshot(session), seconds, units, options.all);
    next += interval;
  }
}

/** Ctrl-C is how watching ends, also in the middle of a reading. */
ExitCode watch(Context& context, const WatchOptions& options) {
  const SignalInterrupt interrupt;
  Session session(context, &interrupt);
  try {
    keep_watching(session, interrupt, options);
  } catch (const Failure& failure) {
    if (failure.exit_code() != ExitCode::INTERRUPTED) throw;
  }
  session.output().leave_live();
  return ExitCode::OK;
}

}  // namespace

void add_watch(Command& program) {
  auto options = std::make_shared<WatchOptions>();
  Command& command = program.add("watch", "State, velocity, position and errors, live, until Ctrl-C");
  command.option("--interval", options->interval, "Seconds between two readings [0.5]").range(0.01, 3600.0);
  command.option("--count", options->count, "End after so many readings").range(1L, 1000000000L);
  command.flag("--all", options->all,
               "Also supervised voltages, currents and temperatures, safety words, bus");
  command.on([options](Context& context) { return watch(context, *options); });
}

}  // namespace tavctl
