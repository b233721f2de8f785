#include <fstream>
#include <memory>
#include <nkr/tools/DescriptionDiff.hpp>
#include <nkr/tools/EDSLint.hpp>
#include <nkr/tools/EDSParser.hpp>
#include <optional>
#include <string>

#include "cli/Format.hpp"
#include "cli/files.hpp"
#include "commands/AllCommands.hpp"
#include "commands/session/Drive.hpp"
#include "text/ObjectTable.hpp"

namespace tavctl {

namespace {

using nkr::tools::Diagnostic;

std::string severity_name(Diagnostic::Severity severity) {
  switch (severity) {
    case Diagnostic::Severity::ERROR:
      return "error";
    case Diagnostic::Severity::WARNING:
      return "warning";
    case Diagnostic::Severity::NOTE:
      return "note";
  }
  return {};
}

Json json_of(const Diagnostic& diagnostic) {
  return {{"severity", severity_name(diagnostic.severity)},
          {"code", diagnostic.code},
          {"deviation", diagnostic.deviation},
          {"line", diagnostic.line},
          {"section", diagnostic.section},
          {"key", diagnostic.key},
          {"problem", diagnostic.problem},
          {"taken", diagnostic.taken},
          {"cure", diagnostic.cure}};
}

/** "tav.eds:12: warning: [6041] HighLimit: problem; taken: what was; cure: what to write [code]". */
std::string line_of(const std::string& file, const Diagnostic& diagnostic) {
  std::string line = file + ':';
  if (diagnostic.line > 0) line += std::to_string(diagnostic.line) + ':';
  line += ' ' + severity_name(diagnostic.severity) + ": ";
  if (!diagnostic.section.empty()) line += '[' + diagnostic.section + "] ";
  if (!diagnostic.key.empty()) line += diagnostic.key + ": ";
  line += diagnostic.problem;
  if (!diagnostic.taken.empty()) line += "; taken: " + diagnostic.taken;
  if (!diagnostic.cure.empty()) line += "; cure: " + diagnostic.cure;
  return line + " [" + diagnostic.code + "]";
}

std::string verdict_of(const nkr::tools::LintResult& result) {
  if (result.conforming) return "conforms to CiA 306";
  return result.readable ? "readable, does not conform to CiA 306" : "not readable";
}

ExitCode lint(Context& context, const std::string& file, bool no_notes) {
  std::ifstream stream;
  open_to_read(stream, file);
  const nkr::tools::LintResult result = nkr::tools::lint_description(stream);
  Json problems = Json::array();
  std::size_t hidden = 0;
  for (const Diagnostic& diagnostic : result.diagnostics) {
    if (no_notes && diagnostic.severity == Diagnostic::Severity::NOTE) {
      ++hidden;
      continue;
    }
    context.output.line(line_of(file, diagnostic));
    problems.push_back(json_of(diagnostic));
  }
  const std::size_t count = problems.size();
  context.output.put("file", file);
  context.output.put("readable", result.readable);
  context.output.put("conforming", result.conforming);
  context.output.put("notes_not_shown", hidden);
  context.output.put("problems", std::move(problems));
  context.output.line(file + ": " + std::to_string(count) + (count == 1 ? " remark" : " remarks") +
                      (hidden == 0 ? "" : ", and notes that are not shown: " + std::to_string(hidden)) +
                      "; " + verdict_of(result));
  return result.conforming ? ExitCode::OK : ExitCode::FINDINGS;
}

void print_device(Output& output, const nkr::tools::EDSParser& description) {
  struct Info {
    const char* label;
    const char* key;
    const char* json;
  };
  constexpr Info kInfos[] = {
      {"Vendor", "VendorName", "vendor"},         {"Vendor id", "VendorNumber", "vendor_id"},
      {"Product", "ProductName", "product"},      {"Product code", "ProductNumber", "product_code"},
      {"Revision", "RevisionNumber", "revision"}, {"Order code", "OrderCode", "order_code"}};
  for (const Info& info : kInfos) {
    const auto value = description.getInfo("DeviceInfo", info.key);
    if (value) output.fact(info.label, *value, info.json, *value);
  }
  output.line("");
}

/** What a DCF says of the place of its device; nothing for an EDS. */
void print_commissioning(Output& output, const nkr::tools::EDSParser& description) {
  struct Setting {
    const char* label;
    const char* key;
    const char* json;
  };
  constexpr Setting kSettings[] = {{"Node id", "NodeID", "node_id"},
                                   {"Node name", "NodeName", "node_name"},
                                   {"Bit rate", "Baudrate", "bit_rate"},
                                   {"Network", "NetNumber", "network"},
                                   {"Network name", "NetworkName", "network_name"},
                                   {"Manager", "CANopenManager", "manager"},
                                   {"Serial number", "LSS_SerialNumber", "serial_number"}};
  constexpr std::size_t kLabelWidth = 24;
  Json commissioning;
  const auto tell = [&](const Setting& setting, const std::optional<std::string>& value) {
    if (!value || value->empty()) return;
    output.line(padded(setting.label, kLabelWidth) + *value);
    commissioning[setting.json] = *value;
  };
  for (const Setting& setting : kSettings) {
    auto value = description.getInfo("DeviceComissioning", setting.key);
    // Most people spell it with a second m.
    if (!value) value = description.getInfo("DeviceCommissioning", setting.key);
    tell(setting, value);
  }
  tell({"Made from", "LastEDS", "last_eds"}, description.getInfo("FileInfo", "LastEDS"));
  output.put("commissioning", commissioning);
  if (!commissioning.empty()) output.line("");
}

ExitCode show(Context& context, const std::string& file) {
  const auto description = description_in(file);
  print_device(context.output, *description);
  print_commissioning(context.output, *description);
  print_objects(context.output, *description, "");
  return ExitCode::OK;
}

using nkr::tools::DescriptionDifference;
using nkr::tools::Impact;

struct ImpactWords {
  const char* name;     ///< for programs
  const char* heading;  ///< for people
};

ImpactWords words_of(Impact impact) {
  switch (impact) {
    case Impact::BREAKS:
      return {"breaks", "What breaks a running machine:"};
    case Impact::CHANGES:
      return {"changes", "What the device does otherwise:"};
    case Impact::ADDS:
      return {"adds", "What is new:"};
    case Impact::TEXT:
      return {"text", "Texts:"};
  }
  return {};
}

/** "0x6040:00 controlword, AccessType: rw -> ro" */
std::string line_of(const DescriptionDifference& difference) {
  const std::string place = difference.object ? address_text(*difference.object) + ' ' + difference.place
                                              : '[' + difference.place + ']';
  if (difference.key.empty()) return place + (difference.after ? ": is new" : ": is gone");
  return place + ", " + difference.key + ": " + difference.before.value_or("(none)") + " -> " +
         difference.after.value_or("(none)");
}

Json json_of(const DescriptionDifference& difference) {
  const auto text = [](const std::optional<std::string>& value) { return value ? Json(*value) : Json(); };
  Json json{{"impact", words_of(difference.impact).name}};
  if (difference.object) {
    json["index"] = difference.object->index();
    json["subindex"] = difference.object->subindex();
    json["name"] = difference.place;
  } else {
    json["section"] = difference.place;
  }
  json["key"] = difference.key.empty() ? Json() : Json(difference.key);
  json["before"] = text(difference.before);
  json["after"] = text(difference.after);
  return json;
}

ExitCode diff(Context& context, const std::string& before, const std::string& after) {
  const auto differences = compare_descriptions(*description_in(before), *description_in(after));
  Json list = Json::array();
  std::optional<Impact> impact;
  for (const DescriptionDifference& difference : differences) {
    if (difference.impact != impact) context.output.line(words_of(difference.impact).heading);
    impact = difference.impact;
    context.output.line("  " + line_of(difference));
    list.push_back(json_of(difference));
  }
  if (differences.empty()) context.output.line("No difference.");
  context.output.put("equal", differences.empty());
  context.output.put("differences", std::move(list));
  return differences.empty() ? ExitCode::OK : ExitCode::FINDINGS;
}

}  // namespace

void add_eds(Command& program) {
  Command& eds = program.add("eds", "Check and show description files (EDS, DCF)");
  auto file = std::make_shared<std::string>();
  auto no_notes = std::make_shared<bool>(false);
  Command& lint_command = eds.add(
      "lint",
      "Every deviation from CiA 306, with its line, what is taken instead, and its cure (1 if there is any)");
  lint_command.option("FILE", *file, "EDS or DCF").required();
  lint_command.flag("--no-notes", *no_notes, "Show errors and warnings alone");
  lint_command.on([file, no_notes](Context& context) { return lint(context, *file, *no_notes); });
  Command& show_command = eds.add("show", "The device, what a DCF commissions, and all objects");
  show_command.option("FILE", *file, "EDS or DCF").required();
  show_command.on([file](Context& context) { return show(context, *file); });
  auto other = std::make_shared<std::string>();
  Command& diff_command = eds.add(
      "diff", "What differs from A to B by index, first what breaks a running machine (1 if anything does)");
  diff_command.option("A", *file, "EDS or DCF in use").required();
  diff_command.option("B", *other, "EDS or DCF to compare it with").required();
  diff_command.on([file, other](Context& context) { return diff(context, *file, *other); });
}

}  // namespace tavctl
