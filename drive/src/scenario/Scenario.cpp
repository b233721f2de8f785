#include <algorithm>
#include <charconv>
#include <cstddef>
#include <fstream>
#include <limits>
#include <optional>
#include <tav/drive/Scenario.hpp>
#include <utility>

namespace tav::drive {
namespace {

using std::chrono::milliseconds;

constexpr std::int64_t kLongestTime = std::numeric_limits<std::int32_t>::max();  // 24 days, in ms

/** A mistake in a line: unwinds to whoever reads it. */
struct Mistake {
  std::string text;
};

bool is_blank(char c) {
  return c == ' ' || c == '\t' || c == '\r' || c == '\v' || c == '\f';
}

bool is_digit(char c) {
  return c >= '0' && c <= '9';
}

/** The words of a line: separated by blanks, those in quotation marks as one; # begins a comment. */
class Words {
 public:
  explicit Words(std::string_view line) : rest_(line) { advance(); }

  [[nodiscard]] bool empty() const { return !there_; }
  [[nodiscard]] const std::string& peek() const { return word_; }
  [[nodiscard]] bool quoted() const { return quoted_; }
  /** The next word is that one, and is taken. */
  bool take(std::string_view word) {
    if (!there_ || quoted_ || word_ != word) return false;
    advance();
    return true;
  }
  /** The next word, whatever it is. */
  std::string take_any(const char* what) {
    if (!there_) throw Mistake{std::string(what) + " is missing"};
    std::string word = std::exchange(word_, {});
    advance();
    return word;
  }

 private:
  void advance() {
    while (!rest_.empty() && is_blank(rest_.front())) rest_.remove_prefix(1);
    there_ = !rest_.empty() && rest_.front() != '#';
    word_.clear();
    if (!there_) return;
    quoted_ = rest_.front() == '"';
    if (quoted_) return advance_quoted();
    const auto end = std::find_if(rest_.begin(), rest_.end(), [](char c) { return is_blank(c) || c == '#'; });
    cut(static_cast<std::size_t>(end - rest_.begin()));
  }
  void advance_quoted() {
    rest_.remove_prefix(1);
    const std::size_t end = rest_.find('"');
    if (end == std::string_view::npos) throw Mistake{"a quotation mark is not closed"};
    cut(end);
    rest_.remove_prefix(1);
  }
  void cut(std::size_t size) {
    word_.assign(rest_.substr(0, size));
    rest_.remove_prefix(size);
  }

  std::string_view rest_;
  std::string word_;
  bool quoted_ = false;
  bool there_ = false;
};

/** A whole number in decimal or, with 0x, hexadecimal digits. */
std::optional<std::int64_t> whole_number(std::string_view text) {
  const bool negative = !text.empty() && text.front() == '-';
  if (negative) text.remove_prefix(1);
  const bool hexadecimal = text.size() > 2 && text[0] == '0' && (text[1] == 'x' || text[1] == 'X');
  if (hexadecimal) text.remove_prefix(2);
  std::uint32_t number = 0;
  const char* const end = text.data() + text.size();
  const auto [stop, error] = std::from_chars(text.data(), end, number, hexadecimal ? 16 : 10);
  if (error != std::errc() || stop != end) return std::nullopt;
  return negative ? -std::int64_t{number} : std::int64_t{number};
}

std::int64_t number_between(const std::string& word, std::int64_t low, std::int64_t high, const char* what) {
  const std::optional<std::int64_t> number = whole_number(word);
  if (number && *number >= low && *number <= high) return *number;
  throw Mistake{"\"" + word + "\" is not " + what};
}

/** "250", "250ms" or "1.5s". */
milliseconds time_in(const std::string& word) {
  const Mistake mistake{"\"" + word + "\" is not a time such as 250ms or 1.5s"};
  std::int64_t whole = 0;
  const char* const end = word.data() + word.size();
  const auto read = std::from_chars(word.data(), end, whole);
  if (read.ec != std::errc() || whole < 0 || whole > kLongestTime) throw mistake;
  std::string_view unit(read.ptr, static_cast<std::size_t>(end - read.ptr));
  std::int64_t thousandths = 0;
  if (!unit.empty() && unit.front() == '.') {
    unit.remove_prefix(1);
    if (unit.empty() || !is_digit(unit.front())) throw mistake;
    for (std::int64_t worth = 100; !unit.empty() && is_digit(unit.front()); worth /= 10) {
      thousandths += worth * (unit.front() - '0');
      unit.remove_prefix(1);
    }
  }
  if (unit == "s") {
    whole = whole * 1000 + thousandths;
  } else if ((unit != "ms" && !unit.empty()) || thousandths != 0) {
    throw mistake;
  }
  if (whole > kLongestTime) throw mistake;
  return milliseconds(whole);
}

milliseconds take_time(Words& words) {
  return time_in(words.take_any("a time"));
}

/** "0x6041", "0x1018:1" or "Identity Object Vendor Id" in quotation marks. */
ObjectReference take_object(Words& words) {
  const bool named = words.quoted();
  const std::string word = words.take_any("an object");
  ObjectReference object;
  if (named) {
    if (word.empty()) throw Mistake{"the name of an object is empty"};
    object.name = word;
    return object;
  }
  constexpr const char* kAddress = "an object: 0x6041, 0x1018:1, or its name in quotation marks";
  const std::size_t colon = word.find(':');
  object.index = static_cast<std::uint16_t>(number_between(word.substr(0, colon), 0, 0xFFFF, kAddress));
  if (colon != std::string::npos) {
    object.subindex = static_cast<std::uint8_t>(number_between(word.substr(colon + 1), 0, 0xFF, kAddress));
  }
  return object;
}

std::uint32_t take_code(Words& words, std::int64_t high, const char* what) {
  return static_cast<std::uint32_t>(number_between(words.take_any(what), 0, high, what));
}

void take_access(Words& words, Trigger& when) {
  if (!words.take("each")) {
    when.nth = static_cast<std::uint32_t>(number_between(words.take_any("the number of an access"), 1,
                                                         std::numeric_limits<std::uint32_t>::max(),
                                                         "the number of an access, from 1, or \"each\""));
  }
  if (words.take("read")) {
    when.kind = Trigger::Kind::READ;
  } else if (words.take("write")) {
    when.kind = Trigger::Kind::WRITE;
  } else if (words.take("any")) {
    when.kind = Trigger::Kind::ACCESS;
  } else {
    throw Mistake{"an access is a read, a write or any"};
  }
  when.any_object = words.take("*");
  if (!when.any_object) when.object = take_object(words);
}

void take_reply(Words& words, Action& action) {
  using Kind = Action::Kind;
  const std::string kind = words.take_any("what becomes of the reply");
  if (kind == "lost") {
    action.kind = Kind::REPLY_LOST;
  } else if (kind == "late") {
    action.kind = Kind::REPLY_LATE;
    action.duration = take_time(words);
  } else if (kind == "twice") {
    action.kind = Kind::REPLY_TWICE;
  } else if (kind == "abort") {
    action.kind = Kind::REPLY_ABORT;
    action.code = take_code(words, 0xFFFFFFFF, "an abort code");
  } else if (kind == "wrong-toggle") {
    action.kind = Kind::REPLY_WRONG_TOGGLE;
  } else if (kind == "wrong-index") {
    action.kind = Kind::REPLY_WRONG_INDEX;
  } else if (kind == "wrong-size") {
    action.kind = Kind::REPLY_WRONG_SIZE;
  } else {
    throw Mistake{"a reply is not \"" + kind +
                  "\" but lost, late, twice, abort, wrong-toggle, wrong-index or wrong-size"};
  }
}

void take_reset(Words& words, Action& action) {
  action.kind = words.take("amid") ? Action::Kind::RESET_AMID : Action::Kind::RESET;
}

void take_bus(Words& words, Action& action) {
  const std::string state = words.take_any("the state of the bus");
  if (state == "back") {
    action.kind = Action::Kind::BUS_BACK;
    return;
  }
  if (state != "off" && state != "gone") throw Mistake{"a bus is off, gone or back"};
  action.kind = state == "off" ? Action::Kind::BUS_OFF : Action::Kind::BUS_GONE;
  if (!words.empty()) action.duration = take_time(words);
}

constexpr const char* kErrorCode = "an error code of 16 bits";

void take_emergency(Words& words, Action& action) {
  action.kind = Action::Kind::EMERGENCY;
  action.code = take_code(words, 0xFFFF, kErrorCode);
}

void take_fault(Words& words, Action& action) {
  action.kind = Action::Kind::FAULT;
  action.code = take_code(words, 0xFFFF, kErrorCode);
  action.on = !words.take("passing");
}

void take_clear(Words& words, Action& action) {
  action.kind = Action::Kind::CLEAR;
  if (!words.empty()) action.code = take_code(words, 0xFFFF, kErrorCode);
}

void take_sto(Words& words, Action& action) {
  action.kind = Action::Kind::SAFE_TORQUE_OFF;
  action.on = words.take("on");
  if (!action.on && !words.take("off")) throw Mistake{"sto is on (demanded) or off"};
}

void take_sensor(Words& words, Action& action) {
  using Sensor = Action::Sensor;
  constexpr std::pair<const char*, Sensor> kSensors[] = {{"battery-voltage", Sensor::BATTERY_VOLTAGE},
                                                         {"phase-current", Sensor::PHASE_CURRENT},
                                                         {"mosfet-1", Sensor::MOSFET_1},
                                                         {"mosfet-2", Sensor::MOSFET_2},
                                                         {"driver", Sensor::DRIVER}};
  action.kind = Action::Kind::MEASURE;
  const std::string name = words.take_any("an input");
  for (const auto& [known, sensor] : kSensors) {
    if (name != known) continue;
    action.sensor = sensor;
    action.value = static_cast<std::int32_t>(
        number_between(words.take_any("a value"), std::numeric_limits<std::int32_t>::min(),
                       std::numeric_limits<std::int32_t>::max(), "a number (mV, mA or degrees Celsius)"));
    return;
  }
  throw Mistake{"no input is called \"" + name +
                "\": battery-voltage, phase-current, mosfet-1, mosfet-2, driver"};
}

void take_silence(Words& words, Action& action) {
  action.kind = Action::Kind::SILENCE;
  action.duration = take_time(words);
}

void take_set(Words& words, Action& action) {
  action.kind = Action::Kind::SET;
  action.object = take_object(words);
  action.text = words.take_any("a value");
}

Action take_action(Words& words) {
  constexpr std::pair<const char*, void (*)(Words&, Action&)> kActions[] = {
      {"reply", take_reply},     {"reset", take_reset}, {"bus", take_bus}, {"emcy", take_emergency},
      {"fault", take_fault},     {"clear", take_clear}, {"sto", take_sto}, {"input", take_sensor},
      {"silence", take_silence}, {"set", take_set},
  };
  const std::string name = words.take_any("what is to happen");
  Action action;
  for (const auto& [known, take] : kActions) {
    if (name != known) continue;
    take(words, action);
    if (!words.empty()) throw Mistake{"\"" + words.peek() + "\" is too much"};
    return action;
  }
  throw Mistake{"\"" + name +
                "\" is not known: reply, reset, bus, emcy, fault, clear, sto, input, silence or set"};
}

/** The event of a line; nothing for a line without one. */
std::optional<ScenarioEvent> event_in(std::string_view line) {
  Words words(line);
  if (words.empty()) return std::nullopt;
  ScenarioEvent event;
  if (words.take("at")) {
    event.when.time = take_time(words);
  } else if (words.take("access")) {
    take_access(words, event.when);
  }
  event.action = take_action(words);
  return event;
}

}  // namespace

bool read_scenario_line(std::string_view line, Scenario& scenario, std::string& problem) {
  try {
    if (std::optional<ScenarioEvent> event = event_in(line)) scenario.events.push_back(std::move(*event));
    return true;
  } catch (const Mistake& mistake) {
    problem = mistake.text;
    return false;
  }
}

bool read_scenario(std::istream& text, Scenario& scenario, std::string& problem) {
  Scenario read;
  std::string line;
  for (std::size_t number = 1; std::getline(text, line); ++number) {
    const std::size_t before = read.events.size();
    if (!read_scenario_line(line, read, problem)) {
      problem.insert(0, "line " + std::to_string(number) + ": ");
      return false;
    }
    if (read.events.size() > before) read.events.back().line = number;
  }
  scenario = std::move(read);
  return true;
}

bool read_scenario_file(const std::string& path, Scenario& scenario, std::string& problem) {
  std::ifstream file(path, std::ios::binary);
  if (!file) {
    problem = "cannot open " + path;
    return false;
  }
  if (read_scenario(file, scenario, problem)) return true;
  problem = path + ": " + problem;
  return false;
}

}  // namespace tav::drive
