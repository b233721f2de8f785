#include <chrono>
#include <cstdio>
#include <memory>
#include <optional>
#include <string>
#include <tav/host/Interrupt.hpp>
#include <tav/host/words.hpp>

#include "cli/Format.hpp"
#include "commands/AllCommands.hpp"
#include "commands/session/Drive.hpp"
#include "text/EmergencyJson.hpp"

namespace tavctl {

namespace {

using nkr::canopen::Emergency;
using nkr::canopen::Event;
using std::chrono::system_clock;

struct EmcyOptions {
  std::optional<double> seconds;
  bool history_only = false;
  bool live_only = false;
};

std::string clock_text(system_clock::time_point when) {
  const std::time_t seconds = system_clock::to_time_t(when);
  const auto milliseconds =
      std::chrono::duration_cast<std::chrono::milliseconds>(when.time_since_epoch()).count() % 1000;
  std::tm local = {};
  ::localtime_r(&seconds, &local);
  char text[32];
  std::snprintf(text, sizeof text, "%02d:%02d:%02d.%03d", local.tm_hour, local.tm_min, local.tm_sec,
                static_cast<int>(milliseconds));
  return text;
}

/** The emergencies of all nodes as they come, from construction to destruction. */
class LiveEmergencies {
 public:
  explicit LiveEmergencies(Session& session) : session_(session) {
    subscription_ = session.client().subscribe([this](const Event& event) { tell(event); });
  }
  ~LiveEmergencies() { session_.client().unsubscribe(subscription_); }
  LiveEmergencies(const LiveEmergencies&) = delete;
  LiveEmergencies& operator=(const LiveEmergencies&) = delete;

 private:
  void tell(const Event& event) {
    if (event.kind == Event::Kind::BUS_OFF || event.kind == Event::Kind::INTERFACE_GONE ||
        event.kind == Event::Kind::BUS_RETURNED) {
      session_.output().note(std::string("bus: ") + to_string(event.kind));
    }
    if (event.kind != Event::Kind::EMERGENCY) return;
    const Emergency& emergency = event.emergency;
    Json json = emergency_json(emergency, session_.description());
    json["time"] = std::chrono::duration<double>(emergency.when.time_since_epoch()).count();
    session_.output().event(clock_text(emergency.when) + "  node " + std::to_string(emergency.node) + "  " +
                                emergency_line(emergency, session_.description()),
                            json);
  }

  Session& session_;
  int subscription_ = 0;
};

/** The drive's own list; whether it says that an error is present. */
bool tell_history(Session& session) {
  Output& output = session.output();
  unsigned char error_register = 0;
  session.check(session.dispatcher()->getErrorRegister(error_register), "read the error register");
  const std::vector<Emergency> history = errors_of(session);
  Json rows = Json::array();
  output.line("history of " + session.where() + (history.empty() ? ": none" : ", newest first:"));
  for (const Emergency& error : history) {
    const std::string vendor = vendor_text(error, session.description());
    output.line("  " + error_code_text(error.code) + (vendor.empty() ? "" : " (" + vendor + ')'));
    rows.push_back(
        {{"code", error.code}, {"text", nkr::canopen::emergency_text(error.code)}, {"vendor_text", vendor}});
  }
  output.line("error register: " + hex(error_register, 2) + " (" + error_register_text(error_register) + ')');
  output.put("history", std::move(rows));
  output.put("error_register", error_register);
  return error_register != 0;
}

/** A drive that does not answer is a reason to listen, not to end. */
bool history_says_present(Session& session, const EmcyOptions& options) {
  try {
    return tell_history(session);
  } catch (const Failure& failure) {
    if (options.history_only) throw;
    session.output().note(std::string("no history: ") + failure.what());
    return false;
  }
}

/** What was told and not taken back, of all nodes. */
bool tell_active(Session& session) {
  constexpr std::uint8_t kLastNode = 127;
  Json rows = Json::array();
  for (std::uint8_t node = 1; node <= kLastNode; ++node) {
    for (const Emergency& emergency : session.client().getActiveEmergencies(node)) {
      session.output().line("still present: node " + std::to_string(node) + ' ' +
                            error_code_text(emergency.code));
      rows.push_back(emergency_json(emergency, session.description()));
    }
  }
  const bool any = !rows.empty();
  session.output().put("present", std::move(rows));
  return any;
}

void wait(const Interrupt& interrupt, const EmcyOptions& options) {
  if (options.seconds) {
    static_cast<void>(
        interrupt.wait_for(std::chrono::milliseconds(static_cast<std::int64_t>(*options.seconds * 1000.0))));
    return;
  }
  while (interrupt.wait_for(std::chrono::hours(1))) continue;
}

ExitCode emcy(Context& context, const EmcyOptions& options) {
  const SignalInterrupt interrupt;
  Session session(context, &interrupt);
  bool present = false;
  {
    std::optional<LiveEmergencies> live;
    if (!options.history_only)
      live.emplace(session);  // first: what comes while the history is read is not lost
    if (!options.live_only) present = history_says_present(session, options);
    if (!options.history_only) {
      session.output().flush();
      wait(interrupt, options);
    }
  }
  if (!options.history_only) present = tell_active(session) || present;
  return present ? ExitCode::FINDINGS : ExitCode::OK;
}

}  // namespace

void add_emcy(Command& program) {
  auto options = std::make_shared<EmcyOptions>();
  Command& command = program.add(
      "emcy", "Emergency messages: the drive's history, then those of all nodes, live, until Ctrl-C");
  command.option("--for", options->seconds, "Listen for so many seconds").range(0.01, 1e6);
  const Option& history =
      command.flag("--history", options->history_only, "Only the drive's history (object 0x1003)");
  command.flag("--live", options->live_only, "Only what comes: nothing is sent").excludes(history);
  command.footer(
      "Each message: error code with its meaning (CiA 402) and class (CiA 301), error register, and the\n"
      "vendor's bytes. Exit code 1: an error is present.");
  command.on([options](Context& context) { return emcy(context, *options); });
}

}  // namespace tavctl
