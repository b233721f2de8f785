#include "DriveSet.hpp"

#include <algorithm>
#include <charconv>
#include <fstream>
#include <nkr/tools/HardwareHelper.hpp>
#include <optional>
#include <sstream>
#include <utility>
#include <vector>

namespace tav::drive {
namespace {

/** One drive of the set. */
struct Wanted {
  std::uint8_t node = 0;
  std::string motor;
  std::string timing;
  std::string store;
  std::uint64_t seed = 1;
};

std::string description_path(const Arguments& arguments) {
  if (!arguments.eds.empty()) return arguments.eds;
  const std::string here = "share/tav/tav.eds";
  return std::ifstream(here) ? here : std::string(TAV_INSTALLED_DATA "/tav/tav.eds");
}

/** Reads the mechanics of the unit from a configuration file: the encoder's, and gear and wheel where they
 * stand. */
bool read_mechanics(const std::string& path, Mechanics& mechanics, MotorParameters& motor,
                    std::string& problem) {
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
bool read_motor(const std::string& motor, MotorParameters parameters, std::optional<MotorParameters>& result,
                std::string& problem) {
  if (motor == "ideal") return true;
  // What the configuration says of gear and wheel holds for a preset, too.
  const double gear = parameters.gear_ratio;
  const double wheel = parameters.wheel_diameter;
  const MotorParameters delivered;
  if (motor_preset(motor, parameters)) {
    if (gear != delivered.gear_ratio) parameters.gear_ratio = gear;
    if (wheel != delivered.wheel_diameter) parameters.wheel_diameter = wheel;
  } else if (!read_motor_parameters_file(motor, parameters, problem)) {
    return false;
  }
  result = parameters;
  return true;
}

/** What a line of a fleet's file says; false, and the mistake, when it says none. */
bool read_line(const std::string& line, Wanted& wanted, std::string& mistake) {
  std::istringstream words(line);
  std::string key;
  std::string value;
  while (words >> key && key[0] != '#') {
    if (!(words >> value)) {
      mistake = "the value of \"" + key + "\" is missing";
      return false;
    }
    if (key == "node") {
      const std::vector<std::uint8_t> nodes = read_nodes(value);
      if (nodes.size() != 1) {
        mistake = "\"" + value + "\" is not a node id, 1 to 127";
        return false;
      }
      wanted.node = nodes[0];
    } else if (key == "motor") {
      wanted.motor = value;
    } else if (key == "store") {
      wanted.store = value;
    } else if (key == "timing") {
      Timing timing;
      wanted.timing = value;
      if (timing_profile(value, timing)) continue;
      mistake = "\"" + value + "\" is no timing: ideal, typical or slow";
      return false;
    } else if (key == "seed") {
      const char* const end = value.data() + value.size();
      const auto [stop, error] = std::from_chars(value.data(), end, wanted.seed);
      if (error == std::errc() && stop == end) continue;
      mistake = "\"" + value + "\" is not a seed, a whole number";
      return false;
    } else {
      mistake = "\"" + key + "\" is not known: node, motor, timing, seed or store";
      return false;
    }
  }
  if (wanted.node == 0) mistake = "which node? \"node 3 ...\"";
  return wanted.node != 0;
}

/** All drives of a fleet's file. */
bool read_fleet(const Arguments& arguments, std::vector<Wanted>& drives, std::string& problem) {
  std::ifstream file(arguments.fleet, std::ios::binary);
  if (!file) {
    problem = "cannot open " + arguments.fleet;
    return false;
  }
  std::string line;
  for (std::size_t number = 1; std::getline(file, line); ++number) {
    std::istringstream words(line);
    std::string first;
    if (!(words >> first) || first[0] == '#') continue;
    Wanted wanted{0, arguments.motor, arguments.timing, {}, arguments.seed + number};
    std::string mistake;
    const bool right = read_line(line, wanted, mistake);
    const auto same = [&](const Wanted& other) { return other.node == wanted.node; };
    if (right && std::any_of(drives.begin(), drives.end(), same)) mistake = "this node stands twice";
    if (mistake.empty()) {
      drives.push_back(wanted);
    } else {
      problem += (problem.empty() ? arguments.fleet + ": " : "\n") + "line " + std::to_string(number) + ": " +
                 mistake;
    }
  }
  if (problem.empty() && drives.empty()) problem = arguments.fleet + ": no drive stands in it";
  return problem.empty();
}

bool list_drives(const Arguments& arguments, std::vector<Wanted>& drives, std::string& problem) {
  if (!arguments.fleet.empty()) return read_fleet(arguments, drives, problem);
  const bool several = arguments.nodes.size() > 1;
  for (const std::uint8_t node : arguments.nodes) {
    Wanted wanted{node, arguments.motor, arguments.timing, arguments.store, arguments.seed};
    if (several) wanted.seed += node;
    if (several && !arguments.store.empty()) wanted.store += "." + std::to_string(node);
    drives.push_back(wanted);
  }
  return true;
}

}  // namespace

bool make_drives(const Arguments& arguments, const Scenario& scenario, Fleet& fleet, std::string& problem,
                 bool& wrong_scenario) {
  wrong_scenario = false;
  std::vector<Wanted> drives;
  if (!list_drives(arguments, drives, problem)) return false;
  for (const Wanted& wanted : drives) {
    Settings settings;
    settings.node_id = wanted.node;
    settings.store_path = wanted.store;
    settings.logs_scenario = true;
    MotorParameters motor;
    if (!arguments.config.empty() && !read_mechanics(arguments.config, settings.mechanics, motor, problem)) {
      return false;
    }
    settings.timing.seed = wanted.seed;
    (void)timing_profile(wanted.timing, settings.timing);
    if (!read_motor(wanted.motor, motor, settings.motor, problem)) return false;
    auto drive = VirtualDrive::from_file(description_path(arguments), settings, problem);
    if (!drive) return false;
    if (!drive->play(scenario, problem)) {
      wrong_scenario = true;
      problem.insert(0, arguments.scenario + ": ");
      return false;
    }
    fleet.add(std::move(drive));
  }
  return true;
}

std::string names_of(Fleet& fleet) {
  const std::string first = std::to_string(int{fleet.drive(0).node_id()});
  if (fleet.size() == 1) return "drive " + first + " is";
  const std::string last = std::to_string(int{fleet.drive(fleet.size() - 1).node_id()});
  return std::to_string(fleet.size()) + " drives, " + first + " to " + last + ", are";
}

}  // namespace tav::drive
