#include <poll.h>
#include <pthread.h>
#include <signal.h>
#include <sys/signalfd.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <iostream>
#include <mutex>
#include <nkr/can/open_bus.hpp>
#include <string>
#include <tav/drive/FleetRunner.hpp>
#include <vector>

#include "Arguments.hpp"
#include "Console.hpp"
#include "DriveSet.hpp"
#include "Reports.hpp"

namespace {

using tav::drive::Arguments;
using tav::drive::Fleet;
using tav::drive::Reports;
using tav::drive::Time;

constexpr int kStopped = 0;
constexpr int kFailed = 1;
constexpr int kWrongUsage = 2;

/** The signals that end the program, as something to wait on. They are blocked from its construction on. */
class EndingSignals {
 public:
  EndingSignals() {
    sigset_t signals;
    sigemptyset(&signals);
    sigaddset(&signals, SIGINT);
    sigaddset(&signals, SIGTERM);
    pthread_sigmask(SIG_BLOCK, &signals, nullptr);
    descriptor_ = signalfd(-1, &signals, SFD_CLOEXEC);
  }
  ~EndingSignals() { close(descriptor_); }
  EndingSignals(const EndingSignals&) = delete;
  EndingSignals& operator=(const EndingSignals&) = delete;

  [[nodiscard]] int descriptor() const { return descriptor_; }

 private:
  int descriptor_ = -1;
};

int fail(const std::string& problem, int status = kFailed) {
  std::cerr << "tav-drive: " << problem << '\n';
  return status;
}

bool any_stopped(Fleet& fleet) {
  for (std::size_t i = 0; i < fleet.size(); ++i) {
    if (fleet.drive(i).scenario_stopped()) return true;
  }
  return false;
}

/** What is said of a drive that is on the bus is true: it hears requests. */
void wait_for_boot(Fleet& fleet) {
  constexpr int kMilliseconds = 5;
  for (std::size_t i = 0; i < fleet.size(); ++i) {
    while (fleet.drive(i).nmt_state() == tav::drive::NMTState::INITIALISING) poll(nullptr, 0, kMilliseconds);
  }
}

/** Serves the console and tells what the drives refuse until a signal, the time or the scenario ends the
 * program.
 * @return false when the drives lost their bus instead */
bool wait_for_the_end(const tav::drive::FleetRunner& runner, Fleet& fleet, Reports& reports,
                      const Arguments& arguments, const EndingSignals& signals) {
  constexpr std::int64_t kMilliseconds = 250;
  tav::drive::Console console(fleet.drive(0));
  const Time end = arguments.time.count() == 0 ? Time::max() : runner.began() + arguments.time;
  while (runner.status() == NKR_OK) {
    reports.take_events(fleet);
    const Time now = nkr::can::Clock::now();
    if (now >= end || any_stopped(fleet)) return true;
    const auto left = end == Time::max() ? std::chrono::milliseconds(kMilliseconds)
                                         : std::chrono::ceil<std::chrono::milliseconds>(end - now);
    const int input = arguments.console ? console.descriptor() : -1;
    std::array<pollfd, 2> watched{{{signals.descriptor(), POLLIN, 0}, {input, POLLIN, 0}}};
    poll(watched.data(), watched.size(),
         static_cast<int>(std::min<std::int64_t>(kMilliseconds, left.count())));
    if (watched[0].revents != 0) return true;
    if (watched[1].revents != 0) console.read();
  }
  return false;
}

/** Drives on a bus, as real time passes. */
int run_in_real_time(const Arguments& arguments, Fleet& fleet, Reports& reports,
                     const EndingSignals& signals) {
  std::string problem;
  nkr_error_t result = NKR_OK;
  const auto bus = nkr::can::open_bus(arguments.bus, result, problem);
  if (!bus) return fail(arguments.bus + ": " + problem);
  tav::drive::FleetRunner runner(fleet);
  runner.when_sent([&reports](const nkr::can::Frame& frame, Time when) { reports.frame(frame, when); });
  reports.begin(nkr::can::Clock::now());
  result = runner.start(*bus);
  if (result != NKR_OK) return fail(arguments.bus + ": " + nkr_error_text(result));
  wait_for_boot(fleet);
  const std::string motor =
      arguments.fleet.empty() ? "the motor " + arguments.motor : "the motors of the file";
  std::cout << names_of(fleet) << " on " << arguments.bus << " with " << motor << " and " << arguments.timing
            << " timing; Ctrl-C switches it off" << std::endl;
  if (wait_for_the_end(runner, fleet, reports, arguments, signals)) {
    runner.stop();
    const int status = reports.finish(fleet, nkr::can::Clock::now());
    return arguments.time.count() != 0 || !arguments.junit.empty() ? status : kStopped;
  }
  const std::string advice = nkr::can::bus_advice(arguments.bus, runner.status());
  return fail(arguments.bus + ": " + nkr_error_text(runner.status()) + (advice.empty() ? "" : ": " + advice));
}

/** Drives by themselves, as fast as the processor computes them. */
int run_in_virtual_time(const Arguments& arguments, Fleet& fleet, Reports& reports) {
  constexpr std::chrono::milliseconds kStep(10);
  fleet.connect(
      [&reports](const nkr::can::Frame& frame, Time when, std::size_t) { reports.frame(frame, when); });
  Time now{};
  const Time end = now + arguments.time;
  reports.begin(now);
  (void)fleet.power_on(now);
  while (now < end && !any_stopped(fleet)) {
    now = std::min(end, now + kStep);
    (void)fleet.advance(now);
    reports.take_events(fleet);
  }
  return reports.finish(fleet, now);
}

int run(Arguments arguments) {
  const EndingSignals signals;
  std::string problem;
  const int mistaken = arguments.time.count() != 0 || arguments.virtual_time ? kWrongUsage : kFailed;
  tav::drive::Scenario scenario;
  if (!arguments.scenario.empty() && !tav::drive::read_scenario_file(arguments.scenario, scenario, problem)) {
    return fail(problem, mistaken);
  }
  const bool limited = scenario.limit.count() != 0;
  if (limited && (arguments.time.count() == 0 || scenario.limit < arguments.time))
    arguments.time = scenario.limit;
  if (arguments.virtual_time && arguments.time.count() == 0) {
    return fail("--virtual-time ends with --for or the scenario's limit: how long?", kWrongUsage);
  }
  if (scenario.seed) arguments.seed = *scenario.seed;
  Fleet fleet;
  if (arguments.bit_rate != 0) {
    tav::drive::BusModel::NodeOptions drives;
    drives.restart = std::chrono::milliseconds(100);
    fleet.use_bus({arguments.bit_rate, arguments.bus_errors, arguments.seed}, drives, drives);
  }
  bool wrong_scenario = false;
  if (!tav::drive::make_drives(arguments, scenario, fleet, problem, wrong_scenario)) {
    return fail(problem, wrong_scenario ? mistaken : kFailed);
  }
  Reports reports(arguments);
  if (!reports.open(problem)) return fail(problem);
  return arguments.virtual_time ? run_in_virtual_time(arguments, fleet, reports)
                                : run_in_real_time(arguments, fleet, reports, signals);
}

}  // namespace

int main(int argc, char** argv) {
  const std::vector<std::string> words(argv + (argc > 0 ? 1 : 0), argv + argc);
  Arguments arguments;
  std::string problem;
  if (!tav::drive::read_arguments(words, arguments, problem)) {
    std::cerr << "tav-drive: " << problem << "\nTry: tav-drive --help\n";
    return kWrongUsage;
  }
  if (arguments.help) {
    std::cout << tav::drive::help_text();
    return kStopped;
  }
  if (arguments.version) {
    std::cout << "tav-drive " << TAV_VERSION << '\n';
    return kStopped;
  }
  return run(arguments);
}
