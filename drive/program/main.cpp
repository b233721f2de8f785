#include <pthread.h>
#include <signal.h>
#include <time.h>

#include <fstream>
#include <iostream>
#include <nkr/can/open_bus.hpp>
#include <nkr/tools/HardwareHelper.hpp>
#include <string>
#include <tav/drive/Runner.hpp>
#include <tav/drive/VirtualDrive.hpp>
#include <vector>

#include "Arguments.hpp"

namespace {

constexpr int kStopped = 0;
constexpr int kFailed = 1;
constexpr int kWrongUsage = 2;

std::string description_path(const tav::drive::Arguments& arguments) {
  if (!arguments.eds.empty()) return arguments.eds;
  const std::string here = "share/tav/tav.eds";
  return std::ifstream(here) ? here : std::string(TAV_INSTALLED_DATA "/tav/tav.eds");
}

/** Reads the mechanics of the unit from a configuration file. */
bool read_mechanics(const std::string& path, tav::drive::Mechanics& mechanics, std::string& problem) {
  nkr::tools::HardwareHelper hardware(0);
  int steps = 0;
  int pole_pairs = 0;
  if (hardware.init(path) != NKR_OK) {
    problem = path + ": cannot be read, or has no hardware section";
    return false;
  }
  if (hardware.getHWConfigurationMember("nbStepRevolutionElec", steps) != NKR_OK || steps <= 0 ||
      hardware.getHWConfigurationMember("nbPolePair", pole_pairs) != NKR_OK || pole_pairs <= 0) {
    problem = path + ": nbStepRevolutionElec and nbPolePair must be numbers above 0";
    return false;
  }
  mechanics.steps_per_electrical_revolution = steps;
  mechanics.pole_pairs = pole_pairs;
  return true;
}

/** The signals that end the program; blocked, so that they are waited for. */
sigset_t ending_signals() {
  sigset_t signals;
  sigemptyset(&signals);
  sigaddset(&signals, SIGINT);
  sigaddset(&signals, SIGTERM);
  pthread_sigmask(SIG_BLOCK, &signals, nullptr);
  return signals;
}

int fail(const std::string& problem) {
  std::cerr << "tav-drive: " << problem << '\n';
  return kFailed;
}

int run(const tav::drive::Arguments& arguments) {
  const sigset_t signals = ending_signals();
  std::string problem;
  tav::drive::Settings settings;
  settings.node_id = arguments.node;
  settings.store_path = arguments.store;
  if (!arguments.config.empty() && !read_mechanics(arguments.config, settings.mechanics, problem)) {
    return fail(problem);
  }
  const auto drive = tav::drive::VirtualDrive::from_file(description_path(arguments), settings, problem);
  if (!drive) return fail(problem);
  nkr_error_t result = NKR_OK;
  const auto bus = nkr::can::open_bus(arguments.bus, result, problem);
  if (!bus) return fail(arguments.bus + ": " + problem);
  tav::drive::Runner runner(*drive);
  result = runner.start(*bus);
  if (result != NKR_OK) return fail(arguments.bus + ": " + nkr_error_text(result));
  std::cout << "drive " << int{drive->node_id()} << " is on " << arguments.bus << "; Ctrl-C switches it off"
            << std::endl;
  const timespec quarter_second{0, 250000000};
  while (sigtimedwait(&signals, nullptr, &quarter_second) < 0) {
    if (runner.status() == NKR_OK) continue;
    const std::string advice = nkr::can::bus_advice(arguments.bus, runner.status());
    return fail(arguments.bus + ": " + nkr_error_text(runner.status()) +
                (advice.empty() ? "" : ": " + advice));
  }
  return kStopped;
}

}  // namespace

int main(int argc, char** argv) {
  const std::vector<std::string> words(argv + (argc > 0 ? 1 : 0), argv + argc);
  tav::drive::Arguments arguments;
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
