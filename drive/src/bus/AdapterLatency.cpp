#include <tav/drive/BusModel.hpp>

namespace tav::drive {
namespace {

struct Profile {
  const char* name;
  AdapterLatency latency;
};

using std::chrono::microseconds;

const Profile kProfiles[] = {{"ideal", {}},
                             {"pcie", {microseconds(100), microseconds(0)}},
                             {"usb-hs", {microseconds(125), microseconds(250)}},
                             {"usb-fs", {microseconds(400), microseconds(600)}},
                             {"slcan", {microseconds(4000), microseconds(12000)}}};

}  // namespace

std::vector<std::string> adapter_profiles() {
  std::vector<std::string> names;
  for (const Profile& profile : kProfiles) names.emplace_back(profile.name);
  return names;
}

bool adapter_latency(std::string_view name, AdapterLatency& latency) {
  for (const Profile& profile : kProfiles) {
    if (name != profile.name) continue;
    latency = profile.latency;
    return true;
  }
  return false;
}

}  // namespace tav::drive
