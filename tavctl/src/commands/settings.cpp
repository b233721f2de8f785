// Units, polarity and option codes: shown, or set and read back.
#include <algorithm>
#include <array>
#include <cctype>
#include <limits>
#include <memory>
#include <optional>
#include <string>
#include <tav/host/Quantity.hpp>
#include <vector>

#include "cli/Format.hpp"
#include "commands/AllCommands.hpp"
#include "commands/session/Drive.hpp"
#include "commands/session/Quantities.hpp"
#include "commands/session/Session.hpp"
#include "text/Record.hpp"
#include "text/SafetyFields.hpp"

namespace tavctl {

namespace {

using nkr::tavcore::CANOpenDispatcher;

[[noreturn]] void not_kept(const Session& session, const std::string& what) {
  throw Failure(ExitCode::REFUSED, "the drive did not keep " + what + " (" + session.where() + ")");
}

// --- units

struct UnitOptions {
  std::string time, position, velocity, acceleration;
  [[nodiscard]] bool any() const {
    return !(time.empty() && position.empty() && velocity.empty() && acceleration.empty());
  }
};

/** The unit that the user names, by name or number; the present one when none is named. Failure(REFUSED) for
 * a number that means nothing, and for a unit that measures something else. */
std::uint32_t chosen_unit(const std::string& text, UnitKind kind, const char* what, std::uint32_t present) {
  if (text.empty()) return present;
  const std::optional<std::int64_t> number = typed_integer(text);
  const auto unit = number ? std::optional(static_cast<std::uint32_t>(*number)) : unit_named(text);
  const std::string examples = "such as rpm, 0.1rpm, rev/s, mm/s, inc, deg, rev/s^2, ms";
  if (!unit) throw Failure(ExitCode::USAGE, "\"" + text + "\" is no unit", examples);
  const bool fits = !number || (*number >= 0 && *number <= std::numeric_limits<std::uint32_t>::max());
  if (!fits || !is_unit(*unit)) {
    throw Failure(ExitCode::REFUSED, text + " means no unit", "by name: " + examples);
  }
  if (unit_kind(*unit) == kind) return *unit;
  throw Failure(ExitCode::REFUSED, unit_text(*unit) + " is no unit of " + what, examples);
}

CANOpenDispatcher::UnitParameters read_units(Session& session) {
  CANOpenDispatcher::UnitParameters units{};
  session.check(session.dispatcher()->getUnitParameters(units), "read the units");
  return units;
}

void set_units(Session& session, const UnitOptions& options) {
  CANOpenDispatcher::UnitParameters units = read_units(session);
  units.time_unit = chosen_unit(options.time, UnitKind::TIME, "time", units.time_unit);
  units.position_unit = chosen_unit(options.position, UnitKind::POSITION, "position", units.position_unit);
  units.velocity_unit = chosen_unit(options.velocity, UnitKind::VELOCITY, "velocity", units.velocity_unit);
  units.acceleration_unit =
      chosen_unit(options.acceleration, UnitKind::ACCELERATION, "acceleration", units.acceleration_unit);
  session.check(session.dispatcher()->setUnitParameters(units), "set the units");
  CANOpenDispatcher::UnitParameters kept = read_units(session);
  if (!differing_fields(units, kept, kUnitFields).empty()) not_kept(session, "the units");
  // The safety functions' signatures cover the units, and setting units refreshes none.
  session.check(session.dispatcher()->updateAllSafetySignatures(), "refresh the safety signatures");
  session.output().note("the safety configuration signatures were refreshed: units are part of them");
  tell_not_stored(session.output());
}

/** Target velocity, demand and limits have a unit of their own (CiA 402-2, vl dimension factor). */
void tell_target_unit(Session& session) {
  Quantities quantities(session);
  const Scale& scale = quantities.units().target_velocity;
  const std::string factor = std::to_string(scale.numerator) + '/' + std::to_string(scale.denominator);
  const bool is_rpm = scale.numerator == scale.denominator;
  session.output().fact(
      "Target velocity unit", is_rpm ? "rpm" : "rpm times " + factor, "target_velocity_unit",
      {{"unit", "rpm"}, {"numerator", scale.numerator}, {"denominator", scale.denominator}});
}

ExitCode units(Context& context, const UnitOptions& options) {
  Session session(context);
  if (options.any()) {
    see_not_enabled(session, "change units");
    set_units(session, options);
  }
  const CANOpenDispatcher::UnitParameters present = read_units(session);
  kUnitFields(
      [&session](const char* key, std::uint32_t unit) {
        session.output().fact(label_of(key), padded(unit_text(unit), 12) + hex(unit, 8), key,
                              {{"unit", unit_text(unit)}, {"raw", unit}});
      },
      present);
  tell_target_unit(session);
  return ExitCode::OK;
}

// --- polarity

constexpr auto kPolarityFields = [](auto visit, auto& record) {
  visit("velocity", record.velocity_polarity);
  visit("position", record.position_polarity);
};

struct PolarityOptions {
  std::optional<bool> velocity, position;
};

CANOpenDispatcher::PolarityParameters read_polarity(Session& session) {
  CANOpenDispatcher::PolarityParameters polarity{};
  session.check(session.dispatcher()->getPolarityParameters(polarity), "read the polarity");
  return polarity;
}

ExitCode polarity(Context& context, const PolarityOptions& options) {
  Session session(context);
  CANOpenDispatcher::PolarityParameters wanted = read_polarity(session);
  if (options.velocity || options.position) {
    wanted.velocity_polarity = options.velocity.value_or(wanted.velocity_polarity);
    wanted.position_polarity = options.position.value_or(wanted.position_polarity);
    session.check(session.dispatcher()->setPolarityParameters(wanted), "set the polarity");
    tell_not_stored(session.output());
  }
  CANOpenDispatcher::PolarityParameters present = read_polarity(session);
  kPolarityFields(
      [&session](const std::string& key, bool inverted) {
        session.output().fact(label_of(key + "_polarity"), inverted ? "inverted" : "normal",
                              key + "_inverted", inverted);
      },
      present);
  if (!differing_fields(wanted, present, kPolarityFields).empty()) not_kept(session, "the polarity");
  return ExitCode::OK;
}

// --- option codes

/** One option code: its object's name in short, its accesses, and the meaning of its values from 0 on. */
struct OptionCode {
  const char* name;
  const char* label;
  nkr_error_t (*get)(const CANOpenDispatcher&, int&);
  nkr_error_t (*set)(const CANOpenDispatcher&, int);
  std::vector<const char*> meanings;
};

template <class Code, nkr_error_t (CANOpenDispatcher::*kGet)(Code&) const>
nkr_error_t get_code(const CANOpenDispatcher& drive, int& value) {
  Code code{};
  const nkr_error_t result = (drive.*kGet)(code);
  value = static_cast<int>(code);
  return result;
}

template <class Code, nkr_error_t (CANOpenDispatcher::*kSet)(const Code&) const>
nkr_error_t set_code(const CANOpenDispatcher& drive, int value) {
  return (drive.*kSet)(static_cast<Code>(value));
}

const std::array<OptionCode, 6>& option_codes() {
  using D = CANOpenDispatcher;
  const std::vector<const char*> ramps = {"coast", "slow-down ramp", "quick-stop ramp", "current limit",
                                          "voltage limit"};
  const std::vector<const char*> off = {"coast", "slow-down ramp"};
  static const std::array<OptionCode, 6> codes = {{
      {"abort-connection",
       "Abort connection",
       get_code<D::AbortConnectionOptionCode, &D::getAbortConnectionOptionCode>,
       set_code<D::AbortConnectionOptionCode, &D::setAbortConnectionOptionCode>,
       {"no action", "fault", "disable voltage", "quick stop"}},
      {"quick-stop",
       "Quick stop",
       get_code<D::QuickStopOptionCode, &D::getQuickStopOptionCode>,
       set_code<D::QuickStopOptionCode, &D::setQuickStopOptionCode>,
       {"coast", "slow-down ramp, then off", "quick-stop ramp, then off", "current limit, then off",
        "voltage limit, then off", "slow-down ramp and stay", "quick-stop ramp and stay",
        "current limit and stay", "voltage limit and stay"}},
      {"shutdown", "Shutdown", get_code<D::ShutdownOptionCode, &D::getShutdownOptionCode>,
       set_code<D::ShutdownOptionCode, &D::setShutdownOptionCode>, off},
      {"disable-operation", "Disable operation",
       get_code<D::DisableOperationOptionCode, &D::getDisableOperationOptionCode>,
       set_code<D::DisableOperationOptionCode, &D::setDisableOperationOptionCode>, off},
      {"halt", "Halt", get_code<D::HaltOptionCode, &D::getHaltOptionCode>,
       set_code<D::HaltOptionCode, &D::setHaltOptionCode>, ramps},
      {"fault-reaction", "Fault reaction",
       get_code<D::FaultReactionOptionCode, &D::getFaultReactionOptionCode>,
       set_code<D::FaultReactionOptionCode, &D::setFaultReactionOptionCode>, ramps},
  }};
  return codes;
}

using CodeOptions = std::array<std::string, 6>;

std::string meaning_of(const OptionCode& code, int value) {
  if (value < 0) return "manufacturer specific";
  return static_cast<std::size_t>(value) < code.meanings.size()
             ? code.meanings[static_cast<std::size_t>(value)]
             : "reserved";
}

/** Letters and digits alone, in lower case: "quick-stop ramp" and quick_stop_ramp are one. */
std::string plain(const std::string& text) {
  std::string result;
  for (const char sign : text) {
    const auto byte = static_cast<unsigned char>(sign);
    if (std::isalnum(byte) != 0) result += static_cast<char>(std::tolower(byte));
  }
  return result;
}

/** The value that the user says, by name or number. */
int value_of_code(const OptionCode& code, const std::string& text) {
  constexpr int kLowest = -32768;
  constexpr int kHighest = 32767;
  if (const auto number = typed_integer(text)) {
    if (*number >= kLowest && *number <= kHighest) return static_cast<int>(*number);
    throw Failure(ExitCode::REFUSED, text + " is no option code: -32768 to 32767");
  }
  std::vector<std::string> names;
  for (std::size_t i = 0; i < code.meanings.size(); ++i) {
    if (plain(code.meanings[i]) == plain(text)) return static_cast<int>(i);
    names.emplace_back(code.meanings[i]);
  }
  throw Failure(ExitCode::USAGE, "\"" + text + "\" is none of what the drive can do on " + code.name,
                "a number, or: " + joined(names));
}

ExitCode show_option_codes(Context& context, const CodeOptions& options) {
  Session session(context);
  const CANOpenDispatcher& drive = *session.dispatcher();
  bool any_set = false;
  std::array<std::optional<int>, 6> wanted;
  for (std::size_t i = 0; i < options.size(); ++i) {
    if (!options[i].empty()) wanted[i] = value_of_code(option_codes()[i], options[i]);
  }
  for (std::size_t i = 0; i < options.size(); ++i) {
    const OptionCode& code = option_codes()[i];
    const std::string what = std::string(code.name) + " option code";
    if (wanted[i]) session.check(code.set(drive, *wanted[i]), "set the " + what);
    any_set = any_set || wanted[i].has_value();
    int value = 0;
    session.check(code.get(drive, value), "read the " + what);
    std::string key = code.name;
    std::replace(key.begin(), key.end(), '-', '_');
    session.output().fact(code.label, padded(std::to_string(value), 4) + meaning_of(code, value), key,
                          {{"value", value}, {"name", meaning_of(code, value)}});
    if (wanted[i] && value != *wanted[i]) not_kept(session, "the " + what);
  }
  if (any_set) tell_not_stored(session.output());
  return ExitCode::OK;
}

}  // namespace

void add_settings(Command& program) {
  auto unit_options = std::make_shared<UnitOptions>();
  Command& unit_command = program.add("units", "Show the drive's units; set them (safety signatures follow)");
  unit_command.option("--time", unit_options->time, "By name (ms, s) or number (0xFD030000)");
  unit_command.option("--position", unit_options->position, "inc, rev, deg, mm ...");
  unit_command.option("--velocity", unit_options->velocity, "rpm, 0.1rpm, rev/s, mm/s ...");
  unit_command.option("--acceleration", unit_options->acceleration, "rev/s^2, mm/s^2 ...");
  unit_command.on([unit_options](Context& context) { return units(context, *unit_options); });

  auto polarity_options = std::make_shared<PolarityOptions>();
  Command& polarity_command = program.add("polarity", "Show or set the sense of velocity and position");
  const std::map<std::string, bool> senses = {{"normal", false}, {"inverted", true}};
  polarity_command.option("--velocity", polarity_options->velocity, "normal or inverted").named(senses);
  polarity_command.option("--position", polarity_options->position, "normal or inverted").named(senses);
  polarity_command.on([polarity_options](Context& context) { return polarity(context, *polarity_options); });

  auto code_options = std::make_shared<CodeOptions>();
  Command& code_command =
      program.add("option-codes", "Show or set what the drive does on stop, halt, fault and lost host");
  for (std::size_t i = 0; i < code_options->size(); ++i) {
    code_command.option(
        std::string("--") + option_codes()[i].name, (*code_options)[i],
        "New value, by name (\"" + std::string(option_codes()[i].meanings[1]) + "\") or number");
  }
  code_command.on([code_options](Context& context) { return show_option_codes(context, *code_options); });
}

}  // namespace tavctl
