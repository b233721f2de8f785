#include "commands/session/Configuration.hpp"

#include <filesystem>
#include <string>
#include <system_error>
#include <utility>
#include <vector>

#include "cli/Failure.hpp"
#include "text/host.hpp"

namespace tavctl {

namespace {

namespace fs = std::filesystem;

constexpr const char* kRelative = "share/tav/tav.ini";

/** Where a configuration is looked for when none is named, the first first. */
std::vector<fs::path> usual_places() {
  std::vector<fs::path> places{kRelative};
  std::error_code error;
  const fs::path program = fs::read_symlink("/proc/self/exe", error);
  if (!error) places.push_back(program.parent_path().parent_path() / kRelative);
  places.emplace_back(TAVCTL_INSTALLED_CONFIG);
  return places;
}

std::string configuration_path(const Options& options) {
  if (!options.config.empty()) return options.config;
  std::string tried;
  for (const fs::path& place : usual_places()) {
    std::error_code error;
    if (fs::is_regular_file(place, error)) return place.string();
    tried += (tried.empty() ? "" : ", ") + place.string();
  }
  throw Failure(ExitCode::CONFIGURATION, "no configuration found",
                "name one with --config FILE (looked for: " + tried + ")");
}

/** Each remark as a line of its own, as compilers write them. */
Failure unusable(const HostConfiguration& file, const Result& result) {
  const std::string what = "cannot use the configuration ";
  if (file.remarks().empty()) return {ExitCode::CONFIGURATION, what + result.explanation().detail};
  Failure::Facts facts;
  facts.json = Json::array();
  for (const ConfigurationRemark& remark : file.remarks()) {
    if (!remark.is_mistake) continue;
    facts.lines.emplace_back("line " + std::to_string(remark.line), text(remark, {}));
    facts.json.push_back({{"line", remark.line},
                          {"section", remark.section},
                          {"key", remark.key},
                          {"found", remark.found},
                          {"help", remark.help}});
  }
  Failure failure(ExitCode::CONFIGURATION, what + file.path(),
                  "share/tav/tav.ini shows the keys that a configuration has");
  if (!facts.lines.empty()) failure.set_facts(std::move(facts));
  return failure;
}

/** That of the options, or the file's only one. */
UnitConfiguration chosen(const HostConfiguration& file, const std::string& name) {
  UnitConfiguration unit;
  const Result result = file.select(name, unit);
  if (result.ok()) return unit;
  throw Failure(ExitCode::CONFIGURATION, "cannot use the configuration " + result.explanation().detail,
                "--unit NAME chooses one; TAVCTL_UNIT sets it once for all");
}

}  // namespace

HostConfiguration load_machine(const Context& context) {
  HostConfiguration file;
  const std::string path = configuration_path(context.options);
  const Result result = file.read(path);
  for (const ConfigurationRemark& remark : file.remarks()) {
    if (!remark.is_mistake) context.output.note("warning: " + text(remark, file.path()));
  }
  if (!result.ok()) throw unusable(file, result);
  return file;
}

UnitConfiguration load_configuration(const Context& context) {
  return chosen(load_machine(context), context.options.unit);
}

}  // namespace tavctl
