#include <poll.h>
#include <pthread.h>
#include <signal.h>
#include <sys/signalfd.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <fstream>
#include <iostream>
#include <nkr/can/open_bus.hpp>
#include <nkr/tools/HardwareHelper.hpp>
#include <optional>
#include <sstream>
#include <string>
#include <tav/drive/Runner.hpp>
#include <tav/drive/VirtualDrive.hpp>
#include <vector>

#include "Arguments.hpp"
#include "Console.hpp"

namespace {

constexpr int kStopped = 0;
constexpr int kFailed = 1;
constexpr int kWrongUsage = 2;

std::string description_path(const tav::drive::Arguments& arguments) {
  if (!arguments.eds.empty()) return arguments.eds;
  const std::string here = "share/tav/tav.eds";
  return std::ifstream(here) ? here : std::string(TAV_INSTALLED_DATA "/tav/tav.eds");
}

/** Reads the mechanics of the unit from a configuration file: the encoder's, and gear and wheel where they
 * stand. */
bool read_mechanics(const std::string& path, tav::drive::Mechanics& mechanics,
                    tav::drive::MotorParameters& motor, std::string& problem) {
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
  double gear = 0;
  double millimetres = 0;
  if (hardware.getHWConfigurationMember("reduction", gear) == NKR_OK && gear > 0) motor.gear_ratio = gear;
  if (hardware.getHWConfigurationMember("diameter", millimetres) == NKR_OK && millimetres > 0) {
    motor.wheel_diameter = millimetres / 1000;
  }
  return true;
}

/** What the drive turns: an ideal motor, a preset, or what a file of parameters says. */
bool read_motor(const std::string& motor, tav::drive::MotorParameters parameters,
                std::optional<tav::drive::MotorParameters>& result, std::string& problem) {
  if (motor == "ideal") return true;
  const std::vector<std::string> presets = tav::drive::motor_presets();
  const bool preset = std::find(presets.begin(), presets.end(), motor) != presets.end();
  std::istringstream one_line("preset = " + motor);
  const bool read = preset ? tav::drive::read_motor_parameters(one_line, parameters, problem)
                           : tav::drive::read_motor_parameters_file(motor, parameters, problem);
  if (read) result = parameters;
  return read;
}

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

int fail(const std::string& problem) {
  std::cerr << "tav-drive: " << problem << '\n';
  return kFailed;
}

/** Says what a scenario could not do at its time. */
void report_refusals(tav::drive::VirtualDrive& drive) {
  for (const tav::drive::Event& event : drive.take_events()) {
    if (event.kind == tav::drive::Event::Kind::REFUSED) std::cerr << "tav-drive: " << event.text << std::endl;
  }
}

/** Serves the console and tells what the drive refuses until a signal ends the program. @return false when
 * the drive lost its bus instead */
bool wait_for_the_end(const tav::drive::Runner& runner, tav::drive::VirtualDrive& drive,
                      const EndingSignals& signals, tav::drive::Console* console) {
  constexpr int kMilliseconds = 250;
  while (runner.status() == NKR_OK) {
    report_refusals(drive);
    const int input = console != nullptr ? console->descriptor() : -1;
    std::array<pollfd, 2> watched{{{signals.descriptor(), POLLIN, 0}, {input, POLLIN, 0}}};
    poll(watched.data(), watched.size(), kMilliseconds);
    if (watched[0].revents != 0) return true;
    if (watched[1].revents != 0) console->read();
  }
  return false;
}

/** What is said of a drive that is on the bus is true: it hears requests. */
void wait_for_boot(const tav::drive::VirtualDrive& drive) {
  constexpr int kMilliseconds = 5;
  while (drive.nmt_state() == tav::drive::NMTState::INITIALISING) poll(nullptr, 0, kMilliseconds);
}

int run(const tav::drive::Arguments& arguments) {
  const EndingSignals signals;
  std::string problem;
  tav::drive::Settings settings;
  settings.node_id = arguments.node;
  settings.store_path = arguments.store;
  tav::drive::MotorParameters motor;
  if (!arguments.config.empty() && !read_mechanics(arguments.config, settings.mechanics, motor, problem)) {
    return fail(problem);
  }
  settings.timing.seed = arguments.seed;
  if (!tav::drive::timing_profile(arguments.timing, settings.timing)) return kWrongUsage;
  if (!read_motor(arguments.motor, motor, settings.motor, problem)) return fail(problem);
  const auto drive = tav::drive::VirtualDrive::from_file(description_path(arguments), settings, problem);
  if (!drive) return fail(problem);
  tav::drive::Scenario scenario;
  if (!arguments.scenario.empty() && !tav::drive::read_scenario_file(arguments.scenario, scenario, problem)) {
    return fail(problem);
  }
  if (!drive->play(scenario, problem)) return fail(arguments.scenario + ": " + problem);
  nkr_error_t result = NKR_OK;
  const auto bus = nkr::can::open_bus(arguments.bus, result, problem);
  if (!bus) return fail(arguments.bus + ": " + problem);
  tav::drive::Runner runner(*drive);
  result = runner.start(*bus);
  if (result != NKR_OK) return fail(arguments.bus + ": " + nkr_error_text(result));
  wait_for_boot(*drive);
  std::cout << "drive " << int{drive->node_id()} << " is on " << arguments.bus << " with the motor "
            << arguments.motor << " and " << arguments.timing << " timing; Ctrl-C switches it off" << std::endl;
  tav::drive::Console console(*drive);
  if (wait_for_the_end(runner, *drive, signals, arguments.console ? &console : nullptr)) return kStopped;
  const std::string advice = nkr::can::bus_advice(arguments.bus, runner.status());
  return fail(arguments.bus + ": " + nkr_error_text(runner.status()) + (advice.empty() ? "" : ": " + advice));
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
