#include <memory>
#include <string>
#include <tav/host/pdo_mapping.hpp>
#include <tav/host/words.hpp>
#include <vector>

#include "cli/Format.hpp"
#include "commands/safety/SafetyCommands.hpp"
#include "commands/session/Drive.hpp"
#include "commands/session/Safety.hpp"
#include "text/Record.hpp"
#include "text/SafetyFields.hpp"

namespace tavctl {

namespace {

using Dispatcher = nkr::tavcore::CANOpenDispatcher;
using NMTCommand = nkr::tavcore::INMTService::NMTCommand;

/** A drive takes no SRDO configuration while operational (EN 50325-5). */
void enter_pre_operational(Session& session) {
  see_not_enabled(session, "change the SRDO configuration");
  session.output().note("entering pre-operational: an SRDO configuration is not taken while operational");
  session.check(session.dispatcher()->setNMTState(NMTCommand::ENTER_PRE_OPERATIONAL),
                "enter pre-operational");
}

std::string direction_text(const Dispatcher::SRDOParameters& parameters,
                           Dispatcher::SRDODirection direction) {
  if (!parameters.enabled) return "off";
  return direction == Dispatcher::SRDODirection::TRANSMIT ? "transmit" : "receive";
}

void print_srdo(Session& session, int number) {
  constexpr int kSignatureDigits = 4;
  constexpr int kIdDigits = 3;
  const Dispatcher::SRDOId id{number};
  Dispatcher::SRDODirection direction{};
  Dispatcher::SRDOParameters parameters{};
  unsigned short signature = 0;
  Dispatcher::SRDOMapping mapping{};
  const std::string name = "SRDO " + std::to_string(number);
  session.check(session.dispatcher()->getSRDOParameters(id, direction, parameters, signature),
                "read " + name);
  session.check(session.dispatcher()->getSRDOMapping(id, mapping), "read the mapping of " + name);
  Output& output = session.output();
  output.line(name + ": " + direction_text(parameters, direction) + ", refresh " +
              std::to_string(parameters.refreshTime) + " ms, validation " +
              std::to_string(parameters.validationTime) + " ms, COB-IDs " +
              hex(parameters.cobId1, kIdDigits) + " " + hex(parameters.cobId2, kIdDigits) + ", signature " +
              hex(signature, kSignatureDigits));
  Json entries = Json::array();
  for (const std::uint32_t entry : mapping.entries) {
    output.line("  " + mapping_entry_text(session.description(), entry));
    entries.push_back(hex(entry, 8));
  }
  if (!output.json()) return;
  Json row = {{"number", number}, {"direction", direction_text(parameters, direction)}};
  kSrdoFields([&](const char* key, const auto& field) { row[key] = json_of(field_value(field)); },
              parameters);
  row["signature"] = hex(signature, kSignatureDigits);
  row["mapping"] = std::move(entries);
  output.document()["srdos"].push_back(std::move(row));
}

void print_validity(Session& session) {
  bool valid = false;
  session.check(session.dispatcher()->getSRDOConfigurationValidity(valid),
                "read the SRDO configuration's validity");
  session.output().fact("SRDO configuration", valid ? "declared valid" : "not valid", "valid", valid);
}

ExitCode show(Context& context) {
  Session session(context);
  for (const std::int32_t number : nkr::tavcore::all_srdos()) print_srdo(session, number);
  print_validity(session);
  return ExitCode::OK;
}

struct SetArguments {
  int number = 1;
  std::vector<std::string> assignments;
};

ExitCode set(Context& context, const SetArguments& arguments) {
  Session session(context);
  const Dispatcher::SRDOId id{arguments.number};
  const std::string name = "SRDO " + std::to_string(arguments.number);
  Dispatcher::SRDODirection direction{};
  Dispatcher::SRDOParameters wanted{};
  unsigned short signature = 0;
  session.check(session.dispatcher()->getSRDOParameters(id, direction, wanted, signature), "read " + name);
  assign_fields(arguments.assignments, wanted, kSrdoFields);
  enter_pre_operational(session);
  session.check(session.dispatcher()->setSRDOParameters(id, wanted), "write " + name);
  Dispatcher::SRDOParameters held{};
  session.check(session.dispatcher()->getSRDOParameters(id, direction, held, signature),
                "read " + name + " back");
  print_srdo(session, arguments.number);
  const std::vector<std::string> different = differing_fields(wanted, held, kSrdoFields);
  if (!different.empty()) {
    throw Failure(ExitCode::REFUSED,
                  "the drive holds other parameters of " + name + " than were written: " + joined(different));
  }
  see_signature(session, name);
  tell_not_stored(session.output());
  session.output().note(
      "the SRDO configuration is no longer valid: declare it with \"safety srdo validate\"");
  return ExitCode::OK;
}

ExitCode validate(Context& context) {
  Session session(context);
  enter_pre_operational(session);
  session.check(session.dispatcher()->setSRDOConfigurationValidity(), "declare the SRDO configuration valid");
  bool valid = false;
  session.check(session.dispatcher()->getSRDOConfigurationValidity(valid), "read the validity back");
  session.output().fact("SRDO configuration", valid ? "declared valid" : "not valid", "valid", valid);
  if (!valid) throw Failure(ExitCode::REFUSED, "the drive did not take the SRDO configuration as valid");
  return ExitCode::OK;
}

}  // namespace

void add_safety_srdo(Command& safety) {
  constexpr int kMostSrdos = 64;
  Command& srdo = safety.add("srdo", "Safety-relevant data objects (EN 50325-5)");
  srdo.add("show", "Parameters, mapping and signature of each, and the validity").on(show);

  auto arguments = std::make_shared<SetArguments>();
  Command& set_command = srdo.add(
      "set", "Change parameters of one SRDO; enters pre-operational, writes the signature, reads all back");
  set_command.option("NUMBER", arguments->number, "From 1").required().range(1, kMostSrdos);
  set_command
      .option("KEY=VALUE", arguments->assignments,
              "enabled, refresh_time, validation_time, transmission_type, cob_id_1, cob_id_2")
      .required();
  set_command.on([arguments](Context& context) { return set(context, *arguments); });

  Command& validate_command = srdo.add(
      "validate",
      "Declare the SRDO configuration valid; enters pre-operational, the drive checks the signatures");
  validate_command.on(validate);
}

}  // namespace tavctl
