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

std::optional<unsigned> number_at(const Json& links, const std::string& place) {
  const Json::json_pointer pointer(place);
  if (!links.contains(pointer) || !links.at(pointer).is_number_unsigned()) return std::nullopt;
  return links.at(pointer).get<unsigned>();
}

}  // namespace

BusInfo parse_link(const std::string& json) {
  const Json links = Json::parse(json, nullptr, false);
  if (links.is_discarded()) return {};
  const std::string data = "/0/linkinfo/info_data";
  BusInfo info;
  info.bit_rate = number_at(links, data + "/bittiming/bitrate");
  info.restart_ms = number_at(links, data + "/restart_ms");
  info.tx_errors = number_at(links, data + "/berr_counter/tx");
  info.rx_errors = number_at(links, data + "/berr_counter/rx");
  const Json::json_pointer state(data + "/state");
  if (links.contains(state) && links.at(state).is_string()) info.state = links.at(state).get<std::string>();
  return info;
}

BusInfo bus_info_of(const std::string& bus_name) {
  if (!is_interface_name(bus_name) || bus_name == "virtual") return {};
  return parse_link(output_of("ip -details -json link show " + bus_name + " 2>/dev/null"));
}

}  // namespace tavctl
