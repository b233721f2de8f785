#include "Arguments.hpp"

#include <algorithm>
#include <charconv>
#include <tav/drive/Timing.hpp>
#include <utility>

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

/** Seconds such as "60" or "1.5", with or without an s. */
bool read_seconds(std::string text, std::chrono::milliseconds& time) {
  constexpr std::int64_t kMost = 1000000000;
  if (!text.empty() && text.back() == 's') text.pop_back();
  const std::size_t point = text.find('.');
  std::string thousandths = point == std::string::npos ? "" : text.substr(point + 1);
  if (thousandths.size() > 3 || (point != std::string::npos && thousandths.empty())) return false;
  thousandths.resize(3, '0');
  const std::string digits = text.substr(0, point) + thousandths;
  std::int64_t count = 0;
  const char* const end = digits.data() + digits.size();
  const auto [stop, error] = std::from_chars(digits.data(), end, count);
  if (error != std::errc() || stop != end || point == 0 || text.empty() || count <= 0 || count > kMost)
    return false;
  time = std::chrono::milliseconds(count);
  return true;
}

/** Texts that are read when all words are taken. */
struct Texts {
  std::string node;
  std::string seed;
  std::string time;
  std::string bit_rate;
  std::string bus_errors;
};

/** Where the value of an option goes; null for an option that does not exist. */
std::string* place_of(const std::string& option, Arguments& arguments, Texts& texts) {
  const std::pair<const char*, std::string*> kPlaces[] = {
      {"--bus", &arguments.bus},       {"--eds", &arguments.eds},           {"--config", &arguments.config},
      {"--store", &arguments.store},   {"--scenario", &arguments.scenario}, {"--motor", &arguments.motor},
      {"--timing", &arguments.timing}, {"--fleet", &arguments.fleet},       {"--junit", &arguments.junit},
      {"--log", &arguments.log},       {"--events", &arguments.events},     {"--node", &texts.node},
      {"--bitrate", &texts.bit_rate},  {"--bus-errors", &texts.bus_errors}, {"--seed", &texts.seed},
      {"--for", &texts.time}};
  for (const auto& [name, place] : kPlaces) {
    if (option == name) return place;
  }
  return nullptr;
}

/** Where an option without a value is noted; null for another word. */
bool* flag_of(const std::string& word, Arguments& arguments) {
  if (word == "--help" || word == "-h") return &arguments.help;
  if (word == "--version") return &arguments.version;
  if (word == "--console") return &arguments.console;
  if (word == "--virtual-time") return &arguments.virtual_time;
  return nullptr;
}

bool read_words(const std::vector<std::string>& words, Arguments& arguments, Texts& texts,
                std::string& problem) {
  for (std::size_t i = 0; i < words.size(); ++i) {
    if (bool* const flag = flag_of(words[i], arguments)) {
      *flag = true;
      continue;
    }
    const std::size_t sign = words[i].find('=');
    const std::string option = words[i].substr(0, sign);
    std::string* const place = place_of(option, arguments, texts);
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

/** What is wrong with the values; empty when nothing is. */
std::string mistake_in(const Texts& texts, Arguments& arguments) {
  if (!texts.node.empty()) {
    arguments.nodes = read_nodes(texts.node);
    if (arguments.nodes.empty()) return "--node " + texts.node + ": a node id is a number from 1 to 127";
  }
  const char* const end = texts.seed.data() + texts.seed.size();
  if (!texts.seed.empty()) {
    const auto [stop, error] = std::from_chars(texts.seed.data(), end, arguments.seed);
    if (error != std::errc() || stop != end) return "--seed " + texts.seed + ": a seed is a whole number";
  }
  if (!texts.time.empty() && !read_seconds(texts.time, arguments.time)) {
    return "--for " + texts.time + ": a time is a number of seconds above 0, such as 60 or 1.5";
  }
  if (!texts.bit_rate.empty()) {
    const char* const last = texts.bit_rate.data() + texts.bit_rate.size();
    const auto [stop, error] = std::from_chars(texts.bit_rate.data(), last, arguments.bit_rate);
    if (error != std::errc() || stop != last || arguments.bit_rate < 10000 || arguments.bit_rate > 1000000) {
      return "--bitrate " + texts.bit_rate + ": a bit rate is a number from 10000 to 1000000";
    }
  }
  if (!texts.bus_errors.empty()) {
    unsigned percent = 0;
    const char* const last = texts.bus_errors.data() + texts.bus_errors.size();
    const auto [stop, error] = std::from_chars(texts.bus_errors.data(), last, percent);
    if (error != std::errc() || stop != last || percent > 90) {
      return "--bus-errors " + texts.bus_errors + ": so many percent of the frames, from 0 to 90";
    }
    arguments.bus_errors = percent / 100.0;
  }
  const std::vector<std::string> profiles = timing_profiles();
  if (std::find(profiles.begin(), profiles.end(), arguments.timing) == profiles.end()) {
    return "--timing " + arguments.timing + ": a drive is ideal, typical or slow";
  }
  return {};
}

/** What does not go together; empty when all does. */
std::string contradiction(const Arguments& arguments) {
  if (arguments.virtual_time) {
    if (!arguments.bus.empty()) return "--virtual-time passes on no bus outside the program: leave --bus out";
    if (arguments.bus_errors > 0 && arguments.bit_rate == 0)
      return "--bus-errors are on a bus with --bitrate";
    if (arguments.console) return "--console is for drives in real time";
    return {};
  }
  if (arguments.bit_rate != 0) return "--bitrate is that of the bus in virtual time: --virtual-time";
  if (arguments.bus.empty()) return "--bus is missing: where shall the drive be?";
  if (arguments.bus == "virtual") {
    return "the bus \"virtual\" lives inside one program, where the drive would be alone; use unix:PATH";
  }
  return {};
}

}  // namespace

std::vector<std::uint8_t> read_nodes(const std::string& text) {
  std::vector<std::uint8_t> nodes;
  for (std::size_t begin = 0; begin <= text.size();) {
    const std::size_t end = std::min(text.find(',', begin), text.size());
    const std::string part = text.substr(begin, end - begin);
    const std::size_t dots = part.find("..");
    std::uint8_t first = 0;
    std::uint8_t last = 0;
    if (!read_node(part.substr(0, dots), first)) return {};
    last = first;
    if (dots != std::string::npos && !read_node(part.substr(dots + 2), last)) return {};
    if (last < first) return {};
    for (unsigned node = first; node <= last; ++node) {
      const auto id = static_cast<std::uint8_t>(node);
      if (std::find(nodes.begin(), nodes.end(), id) != nodes.end()) return {};
      nodes.push_back(id);
    }
    begin = end + 1;
  }
  return nodes;
}

bool read_arguments(const std::vector<std::string>& words, Arguments& arguments, std::string& problem) {
  Texts texts;
  if (!read_words(words, arguments, texts, problem)) return false;
  if (arguments.help || arguments.version) return true;
  problem = mistake_in(texts, arguments);
  if (problem.empty()) problem = contradiction(arguments);
  return problem.empty();
}

std::string help_text() {
  return R"(tav-drive - virtual drives on a CAN bus

Usage: tav-drive --bus BUS [--node ID] [--eds FILE] [--config FILE] [--store FILE]
                 [--motor MOTOR] [--timing PROFILE] [--seed N] [--fleet FILE]
                 [--scenario FILE] [--console] [--for SECONDS] [--junit FILE] [--log FILE] [--events FILE]
       tav-drive --virtual-time --for SECONDS --scenario FILE [the same without --bus and --console]

  --bus BUS      unix:PATH   a bus between programs of this machine; no rights needed
                 can0 ...    a SocketCAN interface (vcan0 too)
  --node ID      CANopen node id, 1 to 127; without it the description's own. Several: 1..10 or 1,2,5
  --eds FILE     the description of the drive (default: share/tav/tav.eds, else the installed one)
  --config FILE  take the mechanics (steps, pole pairs, gear, wheel) from the hardware section of this file
  --motor MOTOR  what the drive turns: a preset (agv-200mm, the default; agv-200mm-heavy, agv-200mm-24v), a file
                 of parameters (docs/virtual-drive.md), or "ideal": what is demanded is there at once
  --timing PROFILE
                 how long it takes to boot, to answer, to store ...: typical (the default), slow, or "ideal": no time
  --seed N       of what is random in that (default: 1)
  --store FILE   keep what is stored in the drive in this file; without it a restart forgets it. Of several drives
                 each has its own: FILE.3
  --fleet FILE   the drives, one a line: node 3 [motor M] [timing T] [seed N] [store FILE]
  --scenario FILE
                 faults, disturbances and what is expected, one a line (docs/virtual-drive.md)
  --console      take such lines from standard input too, and do them at once ("help" lists them)
  --for SECONDS  end after that time
  --virtual-time no real time passes, and there is no bus but that between the drives
  --bitrate N    with --virtual-time: the drives are on a bus of so many bit/s; without it frames take no time
  --bus-errors P so many percent of the frames are disturbed on it
  --junit FILE   how the checks of the scenario ended, as JUnit has it
  --log FILE     what the drives send, as candump writes it
  --events FILE  what the drives did, and why, in words; one JSON object a line when the name ends in .json
  --version      the version
  --help         this text

The drive runs until Ctrl-C, or for its time. It behaves as a drive that was switched on at that moment: it sends its
boot-up message and then a heartbeat.

Example, in two terminals:
  tav-drive --bus unix:/tmp/bus --node 1 --console
  tavctl --bus unix:/tmp/bus --node 1 info

Exit status: 0 stopped by the user, or all checks passed; 1 the bus or a file cannot be used, or a check failed;
2 wrong usage, or with --for a mistake in the scenario; 3 what a scenario waited for did not happen.
)";
}

}  // namespace tav::drive
