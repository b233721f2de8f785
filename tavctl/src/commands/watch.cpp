#include <chrono>
#include <cstdio>
#include <memory>
#include <string>
#include <tav/host/Interrupt.hpp>
#include <tav/host/words.hpp>

#include "commands/AllCommands.hpp"
#include "commands/session/Drive.hpp"

namespace tavctl {

namespace {

struct WatchOptions {
  double interval = 0.5;
  long count = 0;
};

Json json_of(const Snapshot& now, double seconds) {
  return {{"seconds", seconds},
          {"nmt_state", nmt_name(now.nmt)},
          {"state", status_word_text(now.status_word)},
          {"status_word", now.status_word},
          {"target_velocity", now.target_velocity},
          {"velocity_demand", now.velocity_demand},
          {"velocity", now.velocity},
          {"position", now.position},
          {"error_register", now.error_register},
          {"errors", now.errors}};
}

std::string line_of(const Snapshot& now, double seconds) {
  char line[160];
  std::snprintf(line, sizeof line,
                "%8.1f s  %-22s  velocity %6d (demand %6d, target %6d)  position %11d  errors %d", seconds,
                status_word_text(now.status_word).c_str(), now.velocity, now.velocity_demand,
                now.target_velocity, now.position, now.errors);
  return line;
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

ExitCode watch(Context& context, const WatchOptions& options) {
  const SignalInterrupt interrupt;
  Session session(context, &interrupt);
  const auto interval = std::chrono::duration_cast<std::chrono::steady_clock::duration>(
      std::chrono::duration<double>(options.interval));
  const auto start = std::chrono::steady_clock::now();
  auto next = start;
  session.unit().forget_heard();
  for (long done = 0; options.count == 0 || done < options.count; ++done) {
    if (!interrupt.wait_until(next)) return ExitCode::OK;
    const double seconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
    tell_restart(session, seconds);
    const Snapshot now = read_snapshot(session);
    session.output().event(line_of(now, seconds), json_of(now, seconds));
    next += interval;
  }
  return ExitCode::OK;
}

}  // namespace

void add_watch(Command& program) {
  auto options = std::make_shared<WatchOptions>();
  Command& command = program.add("watch", "State, velocity, position and errors, live, until Ctrl-C");
  command.option("--interval", options->interval, "Seconds between two readings [0.5]").range(0.01, 3600.0);
  command.option("--count", options->count, "End after so many readings").range(1L, 1000000000L);
  command.on([options](Context& context) { return watch(context, *options); });
}

}  // namespace tavctl
