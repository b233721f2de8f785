#include "session/BusInfo.hpp"

#include <algorithm>
#include <array>
#include <cctype>
#include <cstdio>
#include <memory>

#include "cli/Output.hpp"

namespace tavctl {

namespace {

/** An interface name that can stand in a command line as it is. */
bool is_interface_name(const std::string& name) {
  const auto harmless = [](unsigned char c) {
    return std::isalnum(c) != 0 || c == '.' || c == '_' || c == '-';
  };
  return !name.empty() && name.size() < 16 && name.front() != '-' &&
         std::all_of(name.begin(), name.end(), harmless);
}

std::string output_of(const std::string& command) {
  const std::unique_ptr<FILE, int (*)(FILE*)> pipe(::popen(command.c_str(), "r"), ::pclose);
  std::string text;
  std::array<char, 512> part{};
  while (pipe && std::fgets(part.data(), static_cast<int>(part.size()), pipe.get()) != nullptr) {
    text += part.data();
  }
  return text;
}

}  // namespace

std::optional<unsigned> bit_rate_of(const std::string& bus_name) {
  if (!is_interface_name(bus_name) || bus_name == "virtual") return std::nullopt;
  const Json links =
      Json::parse(output_of("ip -details -json link show " + bus_name + " 2>/dev/null"), nullptr, false);
  const Json::json_pointer place("/0/linkinfo/info_data/bittiming/bitrate");
  if (links.is_discarded() || !links.contains(place) || !links.at(place).is_number_unsigned()) {
    return std::nullopt;
  }
  return links.at(place).get<unsigned>();
}

}  // namespace tavctl
