// What the safety functions are set to, and whether their signatures fit: from the drive, or from a file.
#include <memory>
#include <string>

#include "cli/Format.hpp"
#include "commands/safety/SafetyCommands.hpp"
#include "commands/session/Safety.hpp"
#include "text/Record.hpp"
#include "text/SafetyChecks.hpp"
#include "text/SafetyFields.hpp"
#include "text/SafetyFile.hpp"
#include "text/UnitTexts.hpp"

namespace tavctl {

namespace {

using Units = nkr::tavcore::CANOpenDispatcher::UnitParameters;

template <class Record, class Fields>
void print_record(Output& output, const std::string& title, Record record, Fields fields,
                  const Units& units = {}) {
  output.line(title);
  fields(
      [&](const char* key, const auto& field) {
        output.line("  " + padded(label_of(key), 32) +
                    safety_field_text(key, field_value(field), units.velocity_unit, units.time_unit));
      },
      record);
}

template <class Records, class Fields>
void print_records(Output& output, const std::string& function, const Records& records, Fields fields,
                   const Units& units) {
  for (std::size_t i = 0; i < records.size(); ++i) {
    print_record(output, function + " " + std::to_string(i + 1), records[i], fields, units);
  }
}

void print_configuration(Output& output, const SafetyFile& file) {
  const Units& units = file.configuration.units;
  output.put("configuration", json_of(file));
  print_record(output, "Units", unit_texts(units), kUnitFields);
  print_record(output, "STO 1", file.configuration.sto, kStoFields);
  print_records(output, "SLS", file.configuration.sls, kHeldSlsFields, units);
  print_records(output, "SDI", file.configuration.sdi, kSdiFields, units);
  print_records(output, "SBC", file.configuration.sbc, kSbcFields, units);
  output.line("");
}

ExitCode show(Context& context) {
  Session session(context);
  const nkr::tavcore::SafetyVerification verification = verified_safety(session);
  print_configuration(session.output(), file_of(verification));
  print_checks(session.output(), verification);
  return ExitCode::OK;
}

ExitCode verify(Context& context, const std::string& expected) {
  std::optional<SafetyFile> file;
  if (!expected.empty()) file = load_safety_file(expected);
  Session session(context);
  const nkr::tavcore::SafetyVerification verification = verified_safety(session, file);
  print_checks(session.output(), verification);
  const bool passed = verification.passed();
  session.output().fact("Verification", passed ? "passed" : "FAILED", "passed", passed);
  return passed ? ExitCode::OK : ExitCode::FINDINGS;
}

ExitCode signatures(Context& context, const std::string& path) {
  constexpr int kDigits = 4;
  for (const NamedSignature& signature : computed_signatures(load_safety_file(path))) {
    context.output.fact(signature.name, hex(signature.value, kDigits), signature.name,
                        hex(signature.value, kDigits));
  }
  return ExitCode::OK;
}

}  // namespace

void add_safety_inspection(Command& safety) {
  Command& show_command = safety.add(
      "show", "All parameters, units and signatures, stored and computed; --json makes a file of them");
  show_command.on(show);

  auto expected = std::make_shared<std::string>();
  Command& verify_command =
      safety.add("verify", "Whether the drive's signatures fit what it holds; exit code 1 when not");
  verify_command.option("--expected", *expected,
                        "Compare with this configuration too (of safety show --json)");
  verify_command.on([expected](Context& context) { return verify(context, *expected); });

  auto from = std::make_shared<std::string>();
  Command& signatures_command =
      safety.add("signatures", "The signatures of a configuration in a file, without a drive");
  signatures_command.option("--from", *from, "Configuration (of safety show --json)").required();
  signatures_command.on([from](Context& context) { return signatures(context, *from); });
}

}  // namespace tavctl
