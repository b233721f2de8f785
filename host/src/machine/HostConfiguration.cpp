#include <algorithm>
#include <fstream>
#include <tav/host/HostConfiguration.hpp>
#include <tav/host/nearest.hpp>
#include <tav/host/readable.hpp>
#include <tav/host/words.hpp>
#include <utility>

#include "ConfigurationReader.hpp"

namespace tav::host {

namespace {

Result unusable(std::string detail) {
  Explanation failed;
  failed.cause = Cause::CONFIGURATION;
  failed.code = NKR_NOT_AVAILABLE;
  failed.action = "use the configuration";
  failed.detail = std::move(detail);
  return Result(std::move(failed));
}

std::vector<std::string> names_of(const std::vector<UnitConfiguration>& units) {
  std::vector<std::string> names;
  for (const UnitConfiguration& unit : units) {
    if (!unit.name.empty()) names.push_back(unit.name);
  }
  return names;
}

}  // namespace

std::shared_ptr<nkr::tavcore::Config> UnitConfiguration::config() const {
  return std::make_shared<nkr::tavcore::Config>(nkr::tavcore::Config::from_values(values));
}

std::string text(const ConfigurationRemark& remark, const std::string& file) {
  std::vector<std::string> words;
  if (!file.empty()) {
    words.push_back(file + (remark.line == 0 ? "" : ':' + std::to_string(remark.line)) + ':');
  }
  if (!remark.section.empty()) words.push_back('[' + remark.section + ']');
  if (!remark.key.empty()) words.push_back(remark.key);
  words.push_back(remark.found);
  std::string result;
  for (const std::string& word : words) result += (result.empty() ? "" : " ") + word;
  return remark.help.empty() ? result : result + ": " + remark.help;
}

Result HostConfiguration::read(const std::string& path) {
  const std::string why = why_unreadable(path);
  std::ifstream stream;
  if (why.empty()) stream.open(path, std::ios::binary);
  if (!stream.is_open()) return unusable(path + (why.empty() ? "" : ": " + why));
  return read(stream, path);
}

Result HostConfiguration::read(std::istream& stream, const std::string& path) {
  *this = {};
  path_ = path;
  nkr::tools::INIText content;
  if (!nkr::tools::INIText::read(stream, content)) return unusable(path + ": it is no text");
  ConfigurationReader reader(content, path);
  units_ = reader.read_units();
  vehicle_ = reader.read_vehicle(units_);
  remarks_ = reader.remarks();
  std::string mistakes;
  for (const ConfigurationRemark& remark : remarks_) {
    if (remark.is_mistake) mistakes += '\n' + text(remark, path);
  }
  return mistakes.empty() ? Result() : unusable(path + mistakes);
}

Result HostConfiguration::select(const std::string& name, UnitConfiguration& unit) const {
  const auto found = std::find_if(units_.begin(), units_.end(),
                                  [&name](const UnitConfiguration& one) { return one.name == name; });
  const bool is_only = name.empty() && units_.size() == 1;
  if (found != units_.end() || is_only) {
    unit = is_only ? units_.front() : *found;
    return {};
  }
  const std::vector<std::string> names = names_of(units_);
  if (name.empty()) return unusable(path_ + ": it describes several drives, choose one: " + joined(names));
  const std::string nearest = did_you_mean(nearest_names(name, names));
  return unusable(path_ + ": it has no [unit " + name + ']' +
                  (names.empty() ? ": it describes one drive, in [default]"
                                 : ", but " + joined(names) + (nearest.empty() ? "" : ": " + nearest)));
}

}  // namespace tav::host
