#include "Arguments.hpp"

#include <algorithm>
#include <charconv>
#include <cstdint>
#include <tav/drive/Timing.hpp>

namespace tav::drive {
namespace {

/** A node id in decimal or, with 0x, hexadecimal digits. */
bool read_node(const std::string& text, std::uint8_t& node) {
  const bool hexadecimal = text.size() > 2 && text[0] == '0' && (text[1] == 'x' || text[1] == 'X');
  const char* const begin = text.data() + (hexadecimal ? 2 : 0);
  const char* const end = text.data() + text.size();
  const auto [stop, error] = std::from_chars(begin, end, node, hexadecimal ? 16 : 10);
  return error == std::errc() && stop == end && node >= 1 && node <= 127;
}

bool read_seed(const std::string& text, std::uint64_t& seed) {
  const char* const end = text.data() + text.size();
  const auto [stop, error] = std::from_chars(text.data(), end, seed);
  return error == std::errc() && stop == end;
}

/** Where the value of an option goes; null for an option that does not exist. */
std::string* place_of(const std::string& option, Arguments& arguments, std::string& node,
                      std::string& seed) {
  if (option == "--bus") return &arguments.bus;
  if (option == "--eds") return &arguments.eds;
  if (option == "--config") return &arguments.config;
  if (option == "--store") return &arguments.store;
  if (option == "--scenario") return &arguments.scenario;
  if (option == "--motor") return &arguments.motor;
  if (option == "--timing") return &arguments.timing;
  if (option == "--seed") return &seed;
  if (option == "--node") return &node;
  return nullptr;
}

/** Where an option without a value is noted; null for another word. */
bool* flag_of(const std::string& word, Arguments& arguments) {
  if (word == "--help" || word == "-h") return &arguments.help;
  if (word == "--version") return &arguments.version;
  if (word == "--console") return &arguments.console;
  return nullptr;
}

bool read_words(const std::vector<std::string>& words, Arguments& arguments, std::string& node,
                std::string& seed, std::string& problem) {
  for (std::size_t i = 0; i < words.size(); ++i) {
    if (bool* const flag = flag_of(words[i], arguments)) {
      *flag = true;
      continue;
    }
    const std::size_t sign = words[i].find('=');
    const std::string option = words[i].substr(0, sign);
    std::string* const place = place_of(option, arguments, node, seed);
    if (place == nullptr) {
      problem = "unknown option " + words[i];
      return false;
    }
    if (sign == std::string::npos && i + 1 == words.size()) {
      problem = option + " needs a value";
      return false;
    }
    *place = sign == std::string::npos ? words[++i] : words[i].substr(sign + 1);
  }
  return true;
}

}  // namespace

bool read_arguments(const std::vector<std::string>& words, Arguments& arguments, std::string& problem) {
  std::string node;
  std::string seed;
  if (!read_words(words, arguments, node, seed, problem)) return false;
  if (arguments.help || arguments.version) return true;
  if (!node.empty() && !read_node(node, arguments.node)) {
    problem = "--node " + node + ": a node id is a number from 1 to 127";
    return false;
  }
  if (!seed.empty() && !read_seed(seed, arguments.seed)) {
    problem = "--seed " + seed + ": a seed is a whole number";
    return false;
  }
  const std::vector<std::string> profiles = timing_profiles();
  if (std::find(profiles.begin(), profiles.end(), arguments.timing) == profiles.end()) {
    problem = "--timing " + arguments.timing + ": a drive is ideal, typical or slow";
    return false;
  }
  if (arguments.bus.empty()) {
    problem = "--bus is missing: where shall the drive be?";
    return false;
  }
  if (arguments.bus == "virtual") {
    problem = "the bus \"virtual\" lives inside one program, where the drive would be alone; use unix:PATH";
    return false;
  }
  return true;
}

std::string help_text() {
  return R"(tav-drive - a virtual drive on a CAN bus

Usage: tav-drive --bus BUS [--node ID] [--eds FILE] [--config FILE] [--store FILE]
                 [--motor MOTOR] [--timing PROFILE] [--seed N] [--scenario FILE] [--console]

  --bus BUS      unix:PATH   a bus between programs of this machine; no rights needed
                 can0 ...    a SocketCAN interface (vcan0 too)
  --node ID      CANopen node id, 1 to 127; without it the description's own
  --eds FILE     the description of the drive (default: share/tav/tav.eds, else the installed one)
  --config FILE  take the mechanics (steps, pole pairs, gear, wheel) from the hardware section of this file
  --motor MOTOR  what the drive turns: a preset (agv-200mm, the default; agv-200mm-heavy, agv-200mm-24v), a file
                 of parameters (docs/virtual-drive.md), or "ideal": what is demanded is there at once
  --timing PROFILE
                 how long it takes to boot, to answer, to store ...: typical (the default), slow, or "ideal": no time
  --seed N       of what is random in that (default: 1)
  --store FILE   keep what is stored in the drive in this file; without it a restart forgets it
  --scenario FILE
                 faults and disturbances, one a line: at a time, or at an access (docs/virtual-drive.md)
  --console      take such lines from standard input too, and do them at once ("help" lists them)
  --version      the version
  --help         this text

The drive runs until Ctrl-C. It behaves as a drive that was switched on at that moment: it sends its
boot-up message and then a heartbeat.

Example, in two terminals:
  tav-drive --bus unix:/tmp/bus --node 1 --console
  tavctl --bus unix:/tmp/bus --node 1 info

Exit status: 0 stopped by the user, 1 the bus or a file cannot be used, 2 wrong usage.
)";
}

}  // namespace tav::drive
