#include <fstream>
#include <memory>
#include <nkr/tools/EDSLint.hpp>
#include <nkr/tools/EDSParser.hpp>
#include <string>

#include "commands/AllCommands.hpp"
#include "model/Description.hpp"
#include "model/ObjectTable.hpp"

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
          {"line", diagnostic.line},
          {"section", diagnostic.section},
          {"problem", diagnostic.problem},
          {"taken", diagnostic.taken},
          {"cure", diagnostic.cure}};
}

/** "tav.eds:12: warning: [6041] problem; taken: what was; cure: what to write", as compilers write it. */
std::string line_of(const std::string& file, const Diagnostic& diagnostic) {
  std::string line = file + ':';
  if (diagnostic.line > 0) line += std::to_string(diagnostic.line) + ':';
  line += ' ' + severity_name(diagnostic.severity) + ": ";
  if (!diagnostic.section.empty()) line += '[' + diagnostic.section + "] ";
  line += diagnostic.problem;
  if (!diagnostic.taken.empty()) line += "; taken: " + diagnostic.taken;
  if (!diagnostic.cure.empty()) line += "; cure: " + diagnostic.cure;
  return line;
}

ExitCode lint(Context& context, const std::string& file) {
  std::ifstream stream(file, std::ios::binary);
  if (!stream) throw Failure(ExitCode::CONFIGURATION, "cannot open " + file);
  const nkr::tools::LintResult result = nkr::tools::lint_description(stream);
  Json problems = Json::array();
  for (const Diagnostic& diagnostic : result.diagnostics) {
    context.output.line(line_of(file, diagnostic));
    problems.push_back(json_of(diagnostic));
  }
  const std::size_t count = problems.size();
  context.output.put("file", file);
  context.output.put("readable", result.readable);
  context.output.put("conforming", result.conforming);
  context.output.put("problems", std::move(problems));
  context.output.line(file + ": " + std::to_string(count) + (count == 1 ? " remark; " : " remarks; ") +
                      (result.conforming ? "conforms to CiA 306"
                       : result.readable ? "readable, does not conform to CiA 306"
                                         : "not readable"));
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

ExitCode show(Context& context, const std::string& file) {
  const auto description = load_description(file);
  print_device(context.output, *description);
  print_objects(context.output, *description, "");
  return ExitCode::OK;
}

}  // namespace

void add_eds(Command& program) {
  Command& eds = program.add("eds", "Check and show description files (EDS, DCF)");
  auto file = std::make_shared<std::string>();
  Command& lint_command = eds.add(
      "lint",
      "Every deviation from CiA 306, with its line, what is taken instead, and its cure (1 if any; notes do "
      "not count)");
  lint_command.option("FILE", *file, "EDS or DCF").required();
  lint_command.on([file](Context& context) { return lint(context, *file); });
  Command& show_command = eds.add("show", "The device and all its objects");
  show_command.option("FILE", *file, "EDS or DCF").required();
  show_command.on([file](Context& context) { return show(context, *file); });
}

}  // namespace tavctl
