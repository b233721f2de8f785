#include "commands/session/Configuration.hpp"

#include <filesystem>
#include <fstream>
#include <string>
#include <system_error>
#include <tav/host/FailureLog.hpp>
#include <vector>

#include "cli/Failure.hpp"
#include "cli/files.hpp"

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

}  // namespace

std::shared_ptr<nkr::tavcore::Config> load_configuration(const Options& options) {
  const std::string path = configuration_path(options);
  std::ifstream stream;
  open_to_read(stream, path, "the configuration");
  auto config = std::make_shared<nkr::tavcore::Config>();
  const tav::host::FailureLog log;
  const nkr_error_t result = config->load(path);
  if (result != NKR_OK) {
    const std::string reason = log.last();
    throw Failure(ExitCode::CONFIGURATION, "cannot use the configuration " + path,
                  reason.empty() ? "the section that HWConfigurationEntry names needs nbStepRevolutionElec, "
                                   "nbPolePair, reduction, diameter and device"
                                 : reason + "; share/tav/tav.ini shows the keys that a configuration has",
                  result);
  }
  return config;
}

}  // namespace tavctl
