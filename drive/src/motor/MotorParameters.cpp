#include <algorithm>
#include <charconv>
#include <cmath>
#include <fstream>
#include <istream>
#include <locale>
#include <optional>
#include <sstream>
#include <tav/drive/MotorParameters.hpp>

namespace tav::drive {
namespace {

using P = MotorParameters;

struct Preset {
  const char* name;
  MotorParameters parameters;
};

MotorParameters lift_table() {
  MotorParameters parameters;
  parameters.mass = 300;
  parameters.gear_ratio = 20;
  parameters.rolling_resistance = 0.025;
  return parameters;
}

MotorParameters supplied_24v() {
  MotorParameters parameters;
  parameters.battery_voltage = 24;
  parameters.battery_resistance = 0.03;
  parameters.mass = 30;
  return parameters;
}

const std::vector<Preset>& presets() {
  static const std::vector<Preset> kPresets{
      {"agv-200mm", {}}, {"agv-200mm-heavy", lift_table()}, {"agv-200mm-24v", supplied_24v()}};
  return kPresets;
}

std::string_view trimmed(std::string_view text) {
  constexpr std::string_view kBlanks = " \t\r\v\f";
  const std::size_t begin = text.find_first_not_of(kBlanks);
  if (begin == std::string_view::npos) return {};
  return text.substr(begin, text.find_last_not_of(kBlanks) - begin + 1);
}

/** A number in digits, with a point for the fraction, whatever the program's language. */
std::optional<double> number_in(std::string_view text) {
  constexpr std::size_t kLongest = 40;
  if (text.empty() || text.size() > kLongest) return std::nullopt;
  if (text.find_first_not_of("0123456789.eE+-") != std::string_view::npos) return std::nullopt;
  std::istringstream stream{std::string(text)};
  stream.imbue(std::locale::classic());
  double number = 0;
  stream >> number;
  if (stream.fail() || stream.peek() != std::istringstream::traits_type::eof() || !std::isfinite(number)) {
    return std::nullopt;
  }
  return number;
}

std::string text_of(double number) {
  std::ostringstream text;
  text.imbue(std::locale::classic());
  text << number;
  return text.str();
}

std::string names_of_presets() {
  std::string names;
  for (const Preset& preset : presets()) names += (names.empty() ? "" : ", ") + std::string(preset.name);
  return names;
}

/** What is wrong with a line; empty when nothing is. */
class LineReader {
 public:
  explicit LineReader(MotorParameters& parameters) : parameters_(parameters) {}

  std::string take(std::string_view line) {
    const std::string_view text = trimmed(line.substr(0, line.find('#')));
    if (text.empty()) return {};
    const std::size_t sign = text.find('=');
    if (sign == std::string_view::npos) return "\"" + std::string(text) + "\" is no \"name = value\"";
    const std::string name(trimmed(text.substr(0, sign)));
    const std::string value(trimmed(text.substr(sign + 1)));
    if (std::find(taken_.begin(), taken_.end(), name) != taken_.end()) return name + " stands twice";
    const bool first = taken_.empty();
    taken_.push_back(name);
    return name == "preset" ? take_preset(value, first) : take_value(name, value);
  }

 private:
  std::string take_preset(const std::string& name, bool first) {
    if (!first) return "the preset comes first: it would undo what stands before it";
    if (motor_preset(name, parameters_)) return {};
    return "no preset is called \"" + name + "\": " + names_of_presets();
  }

  std::string take_value(const std::string& name, const std::string& text) {
    const auto& list = motor_parameter_list();
    const auto parameter =
        std::find_if(list.begin(), list.end(), [&](const MotorParameter& one) { return one.name == name; });
    if (parameter == list.end()) return "no parameter is called \"" + name + "\"";
    const std::optional<double> value = number_in(text);
    if (value && *value >= parameter->low && *value <= parameter->high) {
      parameters_.*(parameter->value) = *value;
      return {};
    }
    const std::string unit = *parameter->unit == '\0' ? std::string() : " " + std::string(parameter->unit);
    return name + " is a number from " + text_of(parameter->low) + " to " + text_of(parameter->high) + unit +
           ", not \"" + text + "\"";
  }

  MotorParameters& parameters_;
  std::vector<std::string> taken_;
};

/** What two parameters that fit each alone do not fit together. */
std::string contradiction(const MotorParameters& parameters) {
  if (parameters.current_limit < parameters.nominal_current) {
    return "current_limit is below nominal_current";
  }
  const double chopper = parameters.chopper_voltage;
  if (chopper != 0 && chopper <= parameters.battery_voltage) {
    return "chopper_voltage is not above battery_voltage: the chopper would never rest";
  }
  return {};
}

}  // namespace

const std::vector<MotorParameter>& motor_parameter_list() {
  static const std::vector<MotorParameter> kList{
      {"resistance", "Ohm", 0.001, 100, &P::resistance},
      {"resistance_rise", "1/K", 0, 0.01, &P::resistance_rise},
      {"torque_constant", "Nm/A", 0.001, 10, &P::torque_constant},
      {"rotor_inertia", "kg m2", 1e-7, 10, &P::rotor_inertia},
      {"friction_torque", "Nm", 0, 100, &P::friction_torque},
      {"viscous_friction", "Nm s/rad", 0, 1, &P::viscous_friction},
      {"static_friction_ratio", "", 1, 3, &P::static_friction_ratio},
      {"nominal_current", "A", 0.01, 1000, &P::nominal_current},
      {"current_limit", "A", 0.01, 1000, &P::current_limit},
      {"overload_time_constant", "s", 0.1, 1e5, &P::overload_time_constant},
      {"gear_ratio", "", 0.01, 1000, &P::gear_ratio},
      {"wheel_diameter", "m", 0.001, 10, &P::wheel_diameter},
      {"wheel_inertia", "kg m2", 0, 1000, &P::wheel_inertia},
      {"mass", "kg", 0, 1e5, &P::mass},
      {"rolling_resistance", "", 0, 0.5, &P::rolling_resistance},
      {"slope", "%", -100, 100, &P::slope},
      {"battery_voltage", "V", 1, 1000, &P::battery_voltage},
      {"battery_resistance", "Ohm", 0, 10, &P::battery_resistance},
      {"link_capacitance", "F", 1e-6, 1, &P::link_capacitance},
      {"modulation", "", 0.1, 1, &P::modulation},
      {"takes_back", "0 or 1", 0, 1, &P::takes_back},
      {"chopper_voltage", "V", 0, 1000, &P::chopper_voltage},
      {"chopper_resistance", "Ohm", 0.01, 1000, &P::chopper_resistance},
      {"other_load", "W", 0, 1e5, &P::other_load},
      {"ambient", "C", -60, 150, &P::ambient},
      {"winding_to_housing", "K/W", 0, 100, &P::winding_to_housing},
      {"winding_time_constant", "s", 0.1, 1e5, &P::winding_time_constant},
      {"housing_to_ambient", "K/W", 0, 100, &P::housing_to_ambient},
      {"housing_time_constant", "s", 0.1, 1e5, &P::housing_time_constant},
      {"winding_limit", "C", 0, 500, &P::winding_limit},
      {"stage_resistance", "Ohm", 0, 1, &P::stage_resistance},
      {"switching_loss", "W/(A V)", 0, 1, &P::switching_loss},
      {"stage_to_sink", "K/W", 0, 100, &P::stage_to_sink},
      {"stage_time_constant", "s", 0.1, 1e5, &P::stage_time_constant},
      {"sink_to_ambient", "K/W", 0, 100, &P::sink_to_ambient},
      {"sink_time_constant", "s", 0.1, 1e5, &P::sink_time_constant},
      {"brake_torque", "Nm", 0, 1000, &P::brake_torque},
      {"brake_release_time", "s", 0, 10, &P::brake_release_time},
      {"brake_apply_time", "s", 0, 10, &P::brake_apply_time},
      {"velocity_filter", "s", 0, 1, &P::velocity_filter},
      {"bandwidth", "rad/s", 0.1, 500, &P::bandwidth},
      {"damping", "", 0.1, 5, &P::damping},
  };
  return kList;
}

std::vector<std::string> motor_presets() {
  std::vector<std::string> names;
  for (const Preset& preset : presets()) names.emplace_back(preset.name);
  return names;
}

bool motor_preset(std::string_view name, MotorParameters& parameters) {
  for (const Preset& preset : presets()) {
    if (name != preset.name) continue;
    parameters = preset.parameters;
    return true;
  }
  return false;
}

bool read_motor_parameters(std::istream& text, MotorParameters& parameters, std::string& problem) {
  MotorParameters read = parameters;
  LineReader reader(read);
  std::string mistakes;
  const auto add = [&](const std::string& mistake) {
    if (!mistake.empty()) mistakes += (mistakes.empty() ? "" : "\n") + mistake;
  };
  std::string line;
  std::size_t number = 1;
  for (; std::getline(text, line); ++number) {
    const std::string mistake = reader.take(line);
    if (!mistake.empty()) add("line " + std::to_string(number) + ": " + mistake);
  }
  const std::string clash = mistakes.empty() ? contradiction(read) : std::string();
  if (!clash.empty()) add("line " + std::to_string(number - 1) + ": " + clash);
  if (!mistakes.empty()) {
    problem = mistakes;
    return false;
  }
  parameters = read;
  return true;
}

bool read_motor_parameters_file(const std::string& path, MotorParameters& parameters, std::string& problem) {
  std::ifstream file(path, std::ios::binary);
  if (!file) {
    problem = "cannot open " + path;
    return false;
  }
  if (read_motor_parameters(file, parameters, problem)) return true;
  problem = path + ": " + problem;
  return false;
}

}  // namespace tav::drive
