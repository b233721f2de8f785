#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <tav/host/DrivePdo.hpp>
#include <tav/host/pdo_mapping.hpp>
#include <vector>

#include "cli/Format.hpp"
#include "commands/AllCommands.hpp"
#include "commands/RecordCommand.hpp"
#include "commands/session/Drive.hpp"
#include "text/explained.hpp"

namespace tavctl {

namespace {

using Dispatcher = nkr::tavcore::CANOpenDispatcher;

constexpr auto kCommunicationFields = [](auto visit, auto& record) {
  visit("cob_id_sync", record.cob_id_sync);
  visit("producer_heartbeat_time", record.producer_heartbeat_time);
};

constexpr auto kPdoFields = [](auto visit, auto& record) {
  visit("cob_id", record.cob_id.id);
  visit("valid", record.cob_id.valid);
  visit("rtr_not_allowed", record.cob_id.bit30);
  visit("transmission_type", record.transmission_type);
};

/** Only receive PDOs 1 to 5 have their event timer served. */
constexpr auto kTimedPdoFields = [](auto visit, auto& record) {
  kPdoFields(visit, record);
  visit("event_timer", record.event_timer);
};

/** The PDO that "rpdo" or "tpdo" and a number name. Failure(CONFIGURATION) when the drive has none such. */
DrivePdo pdo_of(const nkr::tools::EDSParser& description, const std::string& direction, int number) {
  const bool receive = direction == "rpdo";
  if (const auto pdo = described_pdo(description, receive, number)) return *pdo;
  throw Failure(ExitCode::CONFIGURATION, "the drive's description has no " + DrivePdo{receive, number}.name(),
                "\"tavctl pdo show\" lists the PDOs there are.");
}

void show_pdo(Session& session, const DrivePdo& pdo) {
  PdoParameters parameters{};
  session.check(pdo.get(*session.dispatcher(), parameters), "read the parameters of " + pdo.name());
  PdoMapping mapping{};
  session.check(pdo.get(*session.dispatcher(), mapping), "read the mapping of " + pdo.name());
  Output& output = session.output();
  output.line(pdo.name() + ": COB-ID " + hex(parameters.cob_id.id, 3) +
              (parameters.cob_id.valid ? "" : ", disabled") + ", transmission type " +
              std::to_string(parameters.transmission_type) +
              (pdo.has_timer() ? ", event timer " + std::to_string(parameters.event_timer) + " ms" : ""));
  Json entries = Json::array();
  for (const std::uint32_t entry : mapping.entries) {
    output.line("  " + mapping_entry_text(session.description(), entry));
    entries.push_back(
        {{"entry", hex(entry, 8)}, {"object", mapping_entry_text(session.description(), entry)}});
  }
  if (!output.json()) return;
  Json row = {{"pdo", pdo.receive ? "rpdo" : "tpdo"},
              {"number", pdo.number},
              {"cob_id", parameters.cob_id.id},
              {"valid", parameters.cob_id.valid},
              {"rtr_not_allowed", parameters.cob_id.bit30},
              {"transmission_type", parameters.transmission_type},
              {"mapping", std::move(entries)}};
  if (pdo.has_timer()) row["event_timer"] = parameters.event_timer;
  output.document()["pdos"].push_back(std::move(row));
}

struct PdoArguments {
  std::string direction;
  int number = 0;
  std::vector<std::string> rest;
  std::optional<std::uint32_t> cob_id;
};

/** The parameters that the PDO has, enabled; with another identifier when one is asked for. */
PdoParameters enabled_parameters(Session& session, const DrivePdo& pdo, const PdoArguments& arguments) {
  PdoParameters parameters{};
  session.check(pdo.get(*session.dispatcher(), parameters), "read the parameters of " + pdo.name());
  if (arguments.cob_id) parameters.cob_id.id = static_cast<std::uint16_t>(*arguments.cob_id);
  parameters.cob_id.valid = true;
  if (!is_pdo_identifier(parameters.cob_id.id)) {
    throw Failure(
        ExitCode::REFUSED,
        hex(parameters.cob_id.id, 3) + " is no identifier for " + pdo.name() + " (CiA 301, 7.3.5)",
        "give it one of its own: --cob-id 0x" + std::string(pdo.receive ? "200" : "180") + " to 0x57F");
  }
  return parameters;
}

ExitCode map_objects(Context& context, const PdoArguments& arguments) {
  Session session(context);
  const DrivePdo pdo = pdo_of(session.description(), arguments.direction, arguments.number);
  PdoMapping wanted{};
  see(mapping_entries(session.description(), arguments.rest, pdo.receive, wanted.entries));
  wanted.count = static_cast<std::uint8_t>(wanted.entries.size());
  const PdoParameters parameters = enabled_parameters(session, pdo, arguments);
  const MappingOutcome outcome = map_pdo(*session.dispatcher(), pdo, wanted, parameters);
  for (const std::string& what : outcome.remedied) {
    session.output().note("WARNING: " + pdo.name() + " was written, but " + what + "; written again");
  }
  session.check(outcome.result, "map " + pdo.name());
  show_pdo(session, pdo);
  tell_not_stored(session.output());
  if (outcome.different.empty()) return ExitCode::OK;
  throw Failure(ExitCode::REFUSED, pdo.name() + " is not as it was written: " + joined(outcome.different),
                "do not start the node before \"tavctl pdo show\" shows what you want");
}

std::shared_ptr<PdoArguments> add_pdo_arguments(Command& command) {
  auto arguments = std::make_shared<PdoArguments>();
  command.option("DIRECTION", arguments->direction, "rpdo (the drive receives) or tpdo (it transmits)")
      .required()
      .one_of({"rpdo", "tpdo"});
  command.option("NUMBER", arguments->number, "From 1").required();
  return arguments;
}

ExitCode set_pdo(Context& context, const PdoArguments& arguments) {
  Session session(context);
  const DrivePdo pdo = pdo_of(session.description(), arguments.direction, arguments.number);
  const auto get = [&pdo](Session& here, auto& record) { return pdo.get(*here.dispatcher(), record); };
  const auto set = [&pdo](Session& here, auto& record) { return pdo.set(*here.dispatcher(), record); };
  const std::string what =
      "the parameters of " + arguments.direction + " " + std::to_string(arguments.number);
  const auto change = [&](auto fields) {
    return set_drive_record<PdoParameters>(session, what, arguments.rest, fields, get, set);
  };
  return pdo.has_timer() ? change(kTimedPdoFields) : change(kPdoFields);
}

/** All of them; one whose objects the drive refuses to show is told, and the others are shown all the same.
 */
ExitCode show_pdos(Context& context) {
  Session session(context);
  ExitCode code = ExitCode::OK;
  for (const DrivePdo& pdo : described_pdos(session.description())) {
    try {
      show_pdo(session, pdo);
    } catch (const Failure& failure) {
      if (failure.exit_code() != ExitCode::REFUSED) throw;
      code = ExitCode::FINDINGS;
      session.output().note(std::string("WARNING: ") + failure.what() + ": " +
                            result_text(failure.code().value_or(NKR_ERROR)));
    }
  }
  return code;
}

}  // namespace

void add_communication(Command& program) {
  Command& comm = program.add("comm", "SYNC identifier and heartbeat of the drive");
  add_record_commands<Dispatcher::CommunicationParameters>(
      comm, "the communication parameters", kCommunicationFields,
      [](Session& session, auto& record) { return session.dispatcher()->getCommunicationParameters(record); },
      [](Session& session, auto& record) {
        return session.dispatcher()->setCommunicationParameters(record);
      });
}

void add_pdo(Command& program) {
  Command& pdo = program.add("pdo", "Process data objects of the drive");
  Command& show = pdo.add("show", "All PDOs with their parameters and what they carry");
  show.on(show_pdos);

  Command& set = pdo.add("set", "Change parameters of one PDO and read them back");
  auto set_arguments = add_pdo_arguments(set);
  set.option("KEY=VALUE", set_arguments->rest,
             "cob_id, valid, rtr_not_allowed, transmission_type, event_timer (receive PDO 1 to 5)")
      .required();
  set.on([set_arguments](Context& context) { return set_pdo(context, *set_arguments); });

  Command& map = pdo.add(
      "map", "Map objects to one PDO, in this order; it is enabled afterwards, and all of it is read back");
  auto map_arguments = add_pdo_arguments(map);
  map.option("OBJECT", map_arguments->rest, "Names or addresses; none: an empty PDO");
  map.option("--cob-id", map_arguments->cob_id, "Identifier instead of the one it has (0x181 ...)")
      .range(0U, 0x7FFU);
  map.on([map_arguments](Context& context) { return map_objects(context, *map_arguments); });
}

}  // namespace tavctl
