#include <memory>
#include <string>
#include <vector>

#include "commands/AllCommands.hpp"
#include "commands/RecordCommand.hpp"
#include "model/Description.hpp"
#include "model/Format.hpp"
#include "model/PdoMapping.hpp"

namespace tavctl {

namespace {

using Dispatcher = nkr::tavcore::CANOpenDispatcher;
using PDOId = Dispatcher::PDOId;

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

/** One PDO of the drive, and the library's operations on it. */
struct Pdo {
  bool receive;
  int number;

  [[nodiscard]] std::string name() const { return (receive ? "RPDO " : "TPDO ") + std::to_string(number); }
  [[nodiscard]] bool has_timer() const { return receive && number <= 5; }
  [[nodiscard]] std::uint16_t communication_index() const {
    return static_cast<std::uint16_t>((receive ? 0x1400 : 0x1800) + number - 1);
  }

  nkr_error_t get(Session& session, Dispatcher::PDOCommunicationParameters& parameters) const {
    return receive ? session.dispatcher()->getRPDOCommunicationParameters(PDOId{number}, parameters)
                   : session.dispatcher()->getTPDOCommunicationParameters(PDOId{number}, parameters);
  }
  nkr_error_t set(Session& session, const Dispatcher::PDOCommunicationParameters& parameters) const {
    return receive ? session.dispatcher()->setRPDOCommunicationParameters(PDOId{number}, parameters)
                   : session.dispatcher()->setTPDOCommunicationParameters(PDOId{number}, parameters);
  }
  nkr_error_t get(Session& session, Dispatcher::PDOMappingParameters& mapping) const {
    return receive ? session.dispatcher()->getRPDOMappingParameters(PDOId{number}, mapping)
                   : session.dispatcher()->getTPDOMappingParameters(PDOId{number}, mapping);
  }
  nkr_error_t set(Session& session, const Dispatcher::PDOMappingParameters& mapping) const {
    return receive ? session.dispatcher()->setRPDOMappingParameters(PDOId{number}, mapping)
                   : session.dispatcher()->setTPDOMappingParameters(PDOId{number}, mapping);
  }
};

/** The PDO that "rpdo" or "tpdo" and a number name. Failure(CONFIGURATION) when the drive has none such. */
Pdo pdo_of(const nkr::tools::EDSParser& description, const std::string& direction, int number) {
  const Pdo pdo{direction == "rpdo", number};
  constexpr int kPdos = 512;  // CiA 301: 1400h to 15FFh, 1800h to 19FFh
  if (number < 1 || number > kPdos ||
      description.find(nkr::tools::ObjectID(pdo.communication_index(), 1)) == nullptr) {
    throw Failure(ExitCode::CONFIGURATION, "the drive's description has no " + pdo.name(),
                  "\"tavctl pdo show\" lists the PDOs there are.");
  }
  return pdo;
}

std::vector<Pdo> all_pdos(const nkr::tools::EDSParser& description) {
  constexpr int kPdos = 512;
  std::vector<Pdo> pdos;
  for (const bool receive : {true, false}) {
    for (int number = 1; number <= kPdos; ++number) {
      const Pdo pdo{receive, number};
      if (description.find(nkr::tools::ObjectID(pdo.communication_index(), 1)) != nullptr)
        pdos.push_back(pdo);
    }
  }
  return pdos;
}

void show_pdo(Session& session, const Pdo& pdo) {
  Dispatcher::PDOCommunicationParameters parameters{};
  session.check(pdo.get(session, parameters), "read the parameters of " + pdo.name());
  Dispatcher::PDOMappingParameters mapping{};
  session.check(pdo.get(session, mapping), "read the mapping of " + pdo.name());
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

ExitCode map_pdo(Context& context, const std::string& direction, int number,
                 const std::vector<std::string>& objects) {
  Session session(context);
  const Pdo pdo = pdo_of(session.description(), direction, number);
  Dispatcher::PDOMappingParameters wanted{};
  wanted.entries = mapping_entries(session.description(), objects, pdo.receive);
  wanted.count = static_cast<std::uint8_t>(wanted.entries.size());
  session.check(pdo.set(session, wanted), "map " + pdo.name());
  Dispatcher::PDOMappingParameters held{};
  session.check(pdo.get(session, held), "read the mapping of " + pdo.name() + " back");
  show_pdo(session, pdo);
  if (held.entries != wanted.entries) {
    throw Failure(ExitCode::REFUSED,
                  "the drive holds another mapping of " + pdo.name() + " than was written");
  }
  return ExitCode::OK;
}

struct PdoArguments {
  std::string direction;
  int number = 0;
  std::vector<std::string> rest;
};

std::shared_ptr<PdoArguments> add_pdo_arguments(CLI::App& command) {
  auto arguments = std::make_shared<PdoArguments>();
  command.add_option("DIRECTION", arguments->direction, "rpdo (the drive receives) or tpdo (it transmits)")
      ->required()
      ->check(CLI::IsMember({"rpdo", "tpdo"}));
  command.add_option("NUMBER", arguments->number, "From 1")->required();
  return arguments;
}

ExitCode set_pdo(Context& context, const PdoArguments& arguments) {
  const auto pdo = [&](Session& session) {
    return pdo_of(session.description(), arguments.direction, arguments.number);
  };
  const auto get = [&](Session& session, auto& record) { return pdo(session).get(session, record); };
  const auto set = [&](Session& session, auto& record) { return pdo(session).set(session, record); };
  const std::string what =
      "the parameters of " + arguments.direction + " " + std::to_string(arguments.number);
  using Parameters = Dispatcher::PDOCommunicationParameters;
  if (Pdo{arguments.direction == "rpdo", arguments.number}.has_timer()) {
    return set_drive_record<Parameters>(context, what, arguments.rest, kTimedPdoFields, get, set);
  }
  return set_drive_record<Parameters>(context, what, arguments.rest, kPdoFields, get, set);
}

}  // namespace

void add_communication(Commands& commands) {
  CLI::App& comm = commands.add("comm", "SYNC identifier and heartbeat of the drive");
  add_record_commands<Dispatcher::CommunicationParameters>(
      commands, comm, "the communication parameters", kCommunicationFields,
      [](Session& session, auto& record) { return session.dispatcher()->getCommunicationParameters(record); },
      [](Session& session, auto& record) {
        return session.dispatcher()->setCommunicationParameters(record);
      });
}

void add_pdo(Commands& commands) {
  CLI::App& pdo = commands.add("pdo", "Process data objects of the drive");
  pdo.require_subcommand(1);
  CLI::App& show = Commands::add_below(pdo, "show", "All PDOs with their parameters and what they carry");
  commands.on(show, [](Context& context) {
    Session session(context);
    for (const Pdo& one : all_pdos(session.description())) show_pdo(session, one);
    return ExitCode::OK;
  });

  CLI::App& set = Commands::add_below(pdo, "set", "Change parameters of one PDO and read them back");
  auto set_arguments = add_pdo_arguments(set);
  set.add_option("KEY=VALUE", set_arguments->rest,
                 "cob_id, valid, rtr_not_allowed, transmission_type, event_timer (receive PDO 1 to 5)")
      ->required();
  commands.on(set, [set_arguments](Context& context) { return set_pdo(context, *set_arguments); });

  CLI::App& map = Commands::add_below(
      pdo, "map",
      "Map objects to one PDO, in this order, and read the mapping back; the PDO is enabled afterwards");
  auto map_arguments = add_pdo_arguments(map);
  map.add_option("OBJECT", map_arguments->rest, "Names or addresses; none: an empty PDO");
  commands.on(map, [map_arguments](Context& context) {
    return map_pdo(context, map_arguments->direction, map_arguments->number, map_arguments->rest);
  });
}

}  // namespace tavctl
