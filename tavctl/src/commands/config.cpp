// The whole configuration of a drive as a DCF: saved, loaded, compared, verified.
#include <algorithm>
#include <fstream>
#include <memory>
#include <sstream>
#include <string>
#include <tav/host/configuration.hpp>
#include <tav/host/configuration_objects.hpp>

#include "cli/Format.hpp"
#include "cli/Progress.hpp"
#include "cli/files.hpp"
#include "commands/AllCommands.hpp"
#include "commands/session/Drive.hpp"
#include "commands/session/Quantities.hpp"
#include "commands/session/Safety.hpp"
#include "commands/session/Session.hpp"
#include "text/SafetyChecks.hpp"
#include "text/explained.hpp"

namespace tavctl {

namespace {

using nkr::tools::DCFDocument;

void print_failures(Output& output, const std::string& verb, const std::vector<TransferFailure>& failures) {
  Json rows = Json::array();
  for (const TransferFailure& failure : failures) {
    output.note("not " + verb + ": " + object_text(*failure.object) + ": " + result_text(failure.result));
    rows.push_back({{"object", failure.object->getName()},
                    {"address", address_text(failure.object->getObjectID())},
                    {"result", result_text(failure.result)}});
  }
  output.put("failures", std::move(rows));
}

/** A value as text with its unit, where units apply to the object. */
std::string in_unit(const nkr::tools::ObjectEntry& object, const std::string& text, Quantities& quantities) {
  const bool applies = scale_of(DriveUnits(), object.getObjectID()) != nullptr;
  const auto number = applies ? typed_integer(text, object.getDataType()) : std::nullopt;
  return number ? quantity_text(*number, *scale_of(quantities.units(), object.getObjectID())) : text;
}

/** By name, both sides, in columns. */
void print_differences(Session& session, const std::vector<ConfigurationDifference>& differences) {
  Output& output = session.output();
  Quantities quantities(session);
  struct Row {
    std::string name, file, drive;
  };
  std::vector<Row> rows;
  Json json = Json::array();
  std::size_t name_width = 0;
  std::size_t file_width = 0;
  for (const ConfigurationDifference& difference : differences) {
    const nkr::tools::ObjectEntry& object = *difference.object;
    Row row{object_text(object), in_unit(object, difference.wanted, quantities),
            in_unit(object, difference.held, quantities)};
    name_width = std::max(name_width, row.name.size());
    file_width = std::max(file_width, row.file.size());
    json.push_back({{"object", object.getName()},
                    {"address", address_text(object.getObjectID())},
                    {"file", row.file},
                    {"drive", row.drive}});
    rows.push_back(std::move(row));
  }
  for (const Row& row : rows) {
    output.line(padded(row.name + ": the file says", name_width + 16) +
                padded(row.file + ',', file_width + 2) + "the drive holds " + row.drive);
  }
  output.put("differences", std::move(json));
}

std::vector<ConfigurationDifference> compared(Session& session, const std::vector<ConfiguredValue>& values) {
  Progress progress(session.output(), "comparing objects");
  return compare_configuration(session.unit(), values, progress.counter());
}

std::vector<ConfiguredValue> values_in(const Session& session, const std::string& path) {
  std::ifstream readable;
  open_to_read(readable, path);
  std::vector<ConfiguredValue> values;
  see(load_configured_values(path, session.description(), session.node(), values));
  return values;
}

/** The description as a document, which the values make a DCF. */
DCFDocument document_of(const Session& session) {
  const std::string path = session.config()->getCANOpenEDSFilePath();
  std::ifstream stream;
  open_to_read(stream, path, "the description");
  DCFDocument document;
  if (!document.parse(stream)) {
    throw Failure(ExitCode::CONFIGURATION, "cannot read the description " + path);
  }
  return document;
}

void write_document(const DCFDocument& document, const std::string& path) {
  std::ostringstream stream;
  if (!document.write(stream)) throw Failure(ExitCode::CONFIGURATION, "cannot write " + path);
  write_file(path, stream.str());
}

ExitCode save(Context& context, const std::string& path) {
  Session session(context);
  const ReadConfiguration configuration = [&session] {
    Progress progress(session.output(), "reading objects");
    return read_configuration(session.unit(), progress.counter());
  }();
  if (configuration.values.empty() && !configuration.failures.empty()) {
    throw session.failure(configuration.failures.front().result, "read the configuration");
  }
  DCFDocument document = document_of(session);
  bool complete = document.setNodeId(session.node()) &&
                  document.set("FileInfo", "LastEDS", session.config()->getCANOpenEDSFilePath());
  for (const ConfiguredValue& value : configuration.values) {
    complete = document.setParameterValue(value.object->getObjectID(), value.text) && complete;
  }
  if (!complete) throw Failure(ExitCode::CONFIGURATION, "a value of the drive cannot stand in a DCF");
  write_document(document, path);
  print_failures(session.output(), "read", configuration.failures);
  session.output().fact("Saved", std::to_string(configuration.values.size()) + " objects to " + path, "saved",
                        configuration.values.size());
  return configuration.failures.empty() ? ExitCode::OK : ExitCode::FINDINGS;
}

/** Half a configuration leaves the other half as whatever it was. */
void see_complete(const Session& session, const std::string& path, std::size_t held) {
  const std::size_t all = configuration_objects(session.description()).size();
  if (held >= all) return;
  throw Failure(ExitCode::CONFIGURATION,
                path + " holds " + std::to_string(held) + " of the " + std::to_string(all) +
                    " objects that make a configuration",
                "--partial loads it all the same: all other objects stay as they are");
}

/** A safety function whose signature does not fit gives no torque, and the drive says no word why. */
bool is_safe(Session& session) {
  const nkr::tavcore::SafetyVerification verification = verified_safety(session);
  session.output().put("safety_passed", verification.passed());
  if (verification.passed()) return true;
  print_checks(session.output(), verification);
  session.output().note(
      "WARNING: safety signatures do not fit the parameters that were loaded: the drive gives no torque");
  return false;
}

ExitCode load(Context& context, const std::string& path, bool partial) {
  using NMTCommand = nkr::tavcore::INMTService::NMTCommand;
  Session session(context);
  const std::vector<ConfiguredValue> values = values_in(session, path);
  if (!partial) see_complete(session, path, values.size());
  see_not_enabled(session, "load a configuration");
  session.output().note("entering pre-operational: a configuration is not taken while operational");
  session.check(session.dispatcher()->setNMTState(NMTCommand::ENTER_PRE_OPERATIONAL),
                "enter pre-operational");
  const std::vector<TransferFailure> failures = [&] {
    Progress progress(session.output(), "writing objects");
    return write_configuration(session.unit(), values, progress.counter());
  }();
  print_failures(session.output(), "written", failures);
  const std::vector<ConfigurationDifference> differences = compared(session, values);
  print_differences(session, differences);
  session.output().fact("Loaded", std::to_string(values.size()) + " objects from " + path, "loaded",
                        values.size());
  session.output().note("the drive forgets it at its next reset unless it is stored: tavctl store");
  const bool safe = is_safe(session);
  return failures.empty() && differences.empty() && safe ? ExitCode::OK : ExitCode::FINDINGS;
}

ExitCode compare(Context& context, const std::string& path) {
  Session session(context);
  const std::vector<ConfiguredValue> values = values_in(session, path);
  const std::vector<ConfigurationDifference> differences = compared(session, values);
  print_differences(session, differences);
  const bool equal = differences.empty();
  session.output().fact(
      "Compared",
      std::to_string(values.size()) + " objects, " + std::to_string(differences.size()) + " differ", "equal",
      equal);
  return equal ? ExitCode::OK : ExitCode::FINDINGS;
}

ExitCode verify(Context& context, const std::string& path) {
  const ExitCode result = compare(context, path);
  if (result == ExitCode::OK) context.output.line("The drive holds this configuration.");
  return result;
}

void add_file_command(Command& parent, const std::string& name, const std::string& description,
                      ExitCode (*action)(Context&, const std::string&)) {
  auto path = std::make_shared<std::string>();
  Command& command = parent.add(name, description);
  command.option("FILE", *path, "DCF").required();
  command.on([path, action](Context& context) { return action(context, *path); });
}

void add_load(Command& config) {
  auto path = std::make_shared<std::string>();
  auto partial = std::make_shared<bool>(false);
  Command& command = config.add(
      "load",
      "Write the configuration in FILE to the drive, in a safe order, read all of it back, and verify the "
      "safety signatures (1 when anything differs)");
  command.option("FILE", *path, "DCF").required();
  command.flag("--partial", *partial, "Take a file that holds a part of the configuration only");
  command.on([path, partial](Context& context) { return load(context, *path, *partial); });
}

}  // namespace

void add_config(Command& program) {
  Command& config = program.add("config", "The whole configuration of a drive as a file (DCF, CiA 306)");
  add_file_command(config, "save", "Read the drive's configuration and write it to FILE", save);
  add_load(config);
  add_file_command(config, "diff", "Where the drive differs from FILE; exit code 1 if anywhere", compare);
  add_file_command(config, "verify", "Whether the drive holds the configuration in FILE; exit code 1 if not",
                   verify);
}

}  // namespace tavctl
