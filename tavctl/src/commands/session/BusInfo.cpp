#include "commands/session/BusInfo.hpp"

#include <algorithm>
#include <array>
#include <cctype>
#include <cstdio>
#include <initializer_list>
#include <memory>
#include <sstream>

#include "cli/Json.hpp"

namespace tavctl {

namespace {

std::string output_of(const std::string& command) {
  const std::unique_ptr<FILE, int (*)(FILE*)> pipe(::popen(command.c_str(), "r"), ::pclose);
  std::string text;
  std::array<char, 512> part{};
  while (pipe && std::fgets(part.data(), static_cast<int>(part.size()), pipe.get()) != nullptr) {
    text += part.data();
  }
  return text;
}

std::optional<unsigned> number_of(const Json* json) {
  const auto number = json == nullptr ? std::nullopt : json->whole();
  return number ? std::optional<unsigned>(static_cast<unsigned>(*number)) : std::nullopt;
}

/** The value below these names, one below the other. */
const Json* below(const Json* json, std::initializer_list<const char*> names) {
  for (const char* const name : names) json = json == nullptr ? nullptr : json->find(name);
  return json;
}

}  // namespace

bool is_interface_name(const std::string& name) {
  const auto harmless = [](unsigned char c) {
    return std::isalnum(c) != 0 || c == '.' || c == '_' || c == '-';
  };
  return !name.empty() && name.size() < 16 && name.front() != '-' &&
         std::all_of(name.begin(), name.end(), harmless);
}

BusInfo parse_link(const std::string& json) {
  std::istringstream stream(json);
  const std::optional<Json> links = Json::parse(stream);
  if (!links || !links->is_array() || links->empty()) return {};
  const Json* const data = below(&(*links)[0], {"linkinfo", "info_data"});
  BusInfo info;
  info.bit_rate = number_of(below(data, {"bittiming", "bitrate"}));
  info.restart_ms = number_of(below(data, {"restart_ms"}));
  info.tx_errors = number_of(below(data, {"berr_counter", "tx"}));
  info.rx_errors = number_of(below(data, {"berr_counter", "rx"}));
  const Json* const state = below(data, {"state"});
  if (state != nullptr && state->is_text()) info.state = state->text();
  return info;
}

BusInfo bus_info_of(const std::string& bus_name) {
  if (!is_interface_name(bus_name) || bus_name == "virtual") return {};
  return parse_link(output_of("ip -details -json link show " + bus_name + " 2>/dev/null"));
}

}  // namespace tavctl
