// The safety configuration of one drive as a document to be signed and archived.
#include "text/Report.hpp"

#include <ctime>
#include <fstream>
#include <memory>
#include <string>
#include <tav/host/pdo_mapping.hpp>
#include <tav/host/printable.hpp>

#include "cli/Format.hpp"
#include "cli/files.hpp"
#include "commands/safety/FileHash.hpp"
#include "commands/safety/SafetyCommands.hpp"
#include "commands/session/Safety.hpp"
#include "text/Record.hpp"
#include "text/SafetyFields.hpp"
#include "text/UnitTexts.hpp"

namespace tavctl {

namespace {

using nkr::tavcore::SafetyVerification;
using Row = std::vector<std::string>;

constexpr int kWordDigits = 8;
constexpr int kSignatureDigits = 4;

std::string now_text() {
  const std::time_t now = std::time(nullptr);
  std::tm parts{};
  gmtime_r(&now, &parts);
  char text[32];
  const std::size_t size = std::strftime(text, sizeof text, "%Y-%m-%d %H:%M:%S UTC", &parts);
  return std::string(text, size);
}

Report::Section origin(Session& session) {
  const std::string description = session.config()->getCANOpenEDSFilePath();
  return {"Made",
          {},
          {{"Time", now_text()},
           {"Tool", std::string("tavctl ") + TAV_VERSION},
           {"Bus", session.bus().name()},
           {"Device description", description},
           {"Its SHA-256", sha256_of_file(description)}},
          {}};
}

Report::Section identity(Session& session) {
  nkr::tavcore::CANOpenDispatcher::IdentityParameters identity{};
  session.check(session.dispatcher()->getIdentityParameters(identity), "read the identity");
  nkr::tavcore::CANOpenDispatcher::DeviceParameters device;
  session.check(session.dispatcher()->getDeviceParameters(device), "read the device strings");
  return {"Drive",
          {},
          {{"Node id", std::to_string(session.node())},
           {"Vendor id", hex(identity.vendor_id, kWordDigits)},
           {"Product code", hex(identity.product_code, kWordDigits)},
           {"Revision number", hex(identity.revision_number, kWordDigits)},
           {"Serial number", std::to_string(identity.serial_number)},
           {"Device name", printable(device.device_name)},
           {"Hardware version", printable(device.hardware_version)},
           {"Software version", printable(device.software_version)}},
          {}};
}

template <class Record, class Fields>
void add_rows(std::vector<Row>& rows, const std::string& name, Record record, Fields fields) {
  fields(
      [&](const char* key, const auto& field) {
        rows.push_back({name, label_of(key), field_value(field).text});
      },
      record);
}

Report::Section inputs(const SafetyFile& file) {
  std::vector<Row> rows;
  add_rows(rows, "Units", unit_texts(file.configuration.units), kUnitFields);
  add_rows(rows, "STO 1", file.configuration.sto, kStoFields);
  const auto add_all = [&](const char* function, const auto& records, auto fields) {
    for (std::size_t i = 0; i < records.size(); ++i) {
      add_rows(rows, std::string(function) + " " + std::to_string(i + 1), records[i], fields);
    }
  };
  add_all("SLS", file.configuration.sls, kHeldSlsFields);
  add_all("SDI", file.configuration.sdi, kSdiFields);
  add_all("SBC", file.configuration.sbc, kSbcFields);
  return {"Parameters", {"Function", "Parameter", "Value"}, std::move(rows), {}};
}

Report::Section mapping(Session& session, const SafetyFile& file) {
  constexpr std::uint32_t kFirstObject = 0x66F00100;
  constexpr std::uint32_t kSubIndices = 8;
  std::vector<Row> rows;
  for (std::uint32_t i = 0; i < file.configuration.mapping.size(); ++i) {
    const std::uint32_t code = file.configuration.mapping[i];
    if (code == 0) continue;
    const std::uint32_t object = kFirstObject + ((i / kSubIndices) << 16) + ((i % kSubIndices) << 8);
    const nkr::tools::ObjectID id(static_cast<std::uint16_t>(code >> 16),
                                  static_cast<std::uint8_t>(code >> 8));
    const nkr::tools::ObjectEntry* const function = session.description().find(id);
    rows.push_back({address_text(nkr::tools::ObjectID(static_cast<std::uint16_t>(object >> 16),
                                                      static_cast<std::uint8_t>(object >> 8))),
                    hex(code, kWordDigits), function != nullptr ? function->getName() : "unknown"});
  }
  const std::string remark = rows.empty() ? "No function is mapped: all 128 objects hold 0."
                                          : "All other of the 128 mapping objects hold 0.";
  return {"Mapping of the safety words", {"Object", "Code", "Function"}, std::move(rows), remark};
}

Report::Section srdos(const SafetyFile& file, bool valid) {
  std::vector<Row> rows;
  for (const auto& srdo : file.srdos) {
    std::string entries;
    for (const std::uint32_t entry : srdo.mapping)
      entries += (entries.empty() ? "" : " ") + hex(entry, kWordDigits);
    rows.push_back({std::to_string(srdo.number), std::to_string(srdo.direction),
                    std::to_string(srdo.refresh_time), std::to_string(srdo.validation_time),
                    hex(srdo.cob_id_1, 3), hex(srdo.cob_id_2, 3), entries});
  }
  return {"SRDOs",
          {"Number", "Direction", "Refresh ms", "Validation ms", "COB-ID 1", "COB-ID 2", "Mapping"},
          std::move(rows),
          valid ? "The SRDO configuration is declared valid (0x13FE holds 0xA5)."
                : "The SRDO configuration is NOT declared valid."};
}

Report::Section signatures(const SafetyVerification& verification) {
  std::vector<Row> rows;
  for (const auto& check : verification.checks) {
    rows.push_back({check.name, hex(check.stored, kSignatureDigits), hex(check.computed, kSignatureDigits),
                    check.agrees() ? "agree" : "DIFFER"});
  }
  return {"Signatures",
          {"Instance", "Held by the drive", "Computed anew", "Result"},
          std::move(rows),
          "Each signature stands twice: as the drive holds it, and computed anew, by other code, from the "
          "inputs above."};
}

Report::Section conclusion(const SafetyVerification& verification) {
  return {"Result",
          {},
          {{"All signatures agree", verification.passed() ? "yes" : "NO"},
           {"Name", "______________________________"},
           {"Date and signature", "______________________________"}},
          "This host configures and observes safety functions; it does not perform them."};
}

struct ReportArguments {
  std::string html;
  std::string text;
};

ExitCode report(Context& context, const ReportArguments& arguments) {
  Session session(context);
  const SafetyVerification verification = verified_safety(session);
  const SafetyFile file = file_of(verification);
  Report document("Safety configuration of a TAV drive unit");
  document.add(origin(session));
  document.add(identity(session));
  document.add(inputs(file));
  document.add(mapping(session, file));
  document.add(srdos(file, verification.srdo_configuration_valid()));
  document.add(signatures(verification));
  document.add(conclusion(verification));
  if (!arguments.html.empty()) write_file(arguments.html, document.as_html());
  if (!arguments.text.empty()) write_file(arguments.text, document.as_text());
  Output& output = session.output();
  if (arguments.html.empty() && arguments.text.empty()) output.line(document.as_text());
  output.put("configuration", json_of(file));
  output.put("report", document.as_text());
  output.put("passed", verification.passed());
  return verification.passed() ? ExitCode::OK : ExitCode::FINDINGS;
}

}  // namespace

void add_safety_report(Command& safety) {
  auto arguments = std::make_shared<ReportArguments>();
  Command& command =
      safety.add("report",
                 "The whole safety configuration as a document to be signed and archived; exit code 1 when a "
                 "signature differs");
  command.option("--html", arguments->html, "Write it to this file as a page");
  command.option("--text", arguments->text, "Write it to this file as plain text");
  command.on([arguments](Context& context) { return report(context, *arguments); });
}

}  // namespace tavctl
