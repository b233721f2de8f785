#include <sys/stat.h>

#include <fstream>
#include <nkr/tools/HardwareHelper.hpp>
#include <nkr/tools/INIParser.hpp>
#include <string_view>

#include "text/IniLines.hpp"

namespace nkr::tools {

namespace {

bool stands_in_list(std::string_view list, std::string_view wanted) {
  for (;;) {
    const std::size_t comma = list.find(',');
    if (trim(list.substr(0, comma)) == wanted) return true;
    if (comma == std::string_view::npos) return false;
    list.remove_prefix(comma + 1);
  }
}

nkr_error_t answer(bool available) {
  return available ? NKR_OK : NKR_NOT_AVAILABLE;
}

}  // namespace

struct HardwareHelper::Content {
  INIParserClass ini;
  std::string section;
};

HardwareHelper::HardwareHelper(unsigned int /*contextId*/) : content_(std::make_unique<Content>()) {}
HardwareHelper::~HardwareHelper() = default;

nkr_error_t HardwareHelper::init(const std::string& path) {
  std::ifstream file(path);
  auto content = std::make_unique<Content>();
  if (!file.is_open() || !content->ini.parse(file, true)) return NKR_NOT_AVAILABLE;
  if (!content->ini.getString("HWConfigurationEntry", content->section, "default")) return NKR_NOT_AVAILABLE;
  if (!content->ini.hasSection(content->section)) return NKR_NOT_AVAILABLE;
  content_ = std::move(content);
  return NKR_OK;
}

nkr_error_t HardwareHelper::getHWConfigurationMember(const std::string& name, int& value) const {
  return answer(content_->ini.getInteger(name, value, content_->section));
}

nkr_error_t HardwareHelper::getHWConfigurationMember(const std::string& name, double& value) const {
  return answer(content_->ini.getDouble(name, value, content_->section));
}

nkr_error_t HardwareHelper::getHWConfigurationMember(const std::string& name, std::string& value) const {
  return answer(content_->ini.getString(name, value, content_->section));
}

nkr_error_t HardwareHelper::checkUSB(const std::string& device, bool& present) const {
  struct stat status = {};
  present = ::stat(device.c_str(), &status) == 0;
  return NKR_OK;
}

std::string HardwareHelper::convertVersionToString(const unsigned int& version) const {
  std::string text;
  for (unsigned shift = 32; shift != 0; shift -= 8) {
    if (!text.empty()) text += '.';
    text += std::to_string(version >> (shift - 8) & 0xFFU);
  }
  return text;
}

nkr_error_t HardwareHelper::checkHWCompatibility(const std::string& entry, unsigned int hwVersion,
                                                 bool& compatible) {
  std::string versions;
  if (!content_->ini.getString("compatibleHWVersions", versions, entry)) return NKR_NOT_AVAILABLE;
  compatible = stands_in_list(versions, convertVersionToString(hwVersion));
  return NKR_OK;
}

}  // namespace nkr::tools
