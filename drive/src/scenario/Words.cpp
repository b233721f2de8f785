#include "scenario/Words.hpp"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <limits>
#include <locale>
#include <optional>
#include <sstream>
#include <tav/drive/DriveStates.hpp>
#include <utility>

namespace tav::drive {
namespace {

using std::chrono::milliseconds;

constexpr std::int64_t kLongestTime = std::numeric_limits<std::int32_t>::max();  // 24 days, in ms

bool is_digit(char c) {
  return c >= '0' && c <= '9';
}

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

/** A name as the code has it: "operation-enabled" is OPERATION_ENABLED. */
std::string as_enumerator(std::string name) {
  for (char& c : name) {
    if (c >= 'a' && c <= 'z') c = static_cast<char>(c - 'a' + 'A');
    if (c == '-') c = '_';
  }
  return name;
}

template <class Number, std::size_t Count>
std::uint32_t take_named(Words& words, const std::pair<const char*, Number> (&names)[Count],
                         const char* what) {
  const std::string word = words.take_any(what);
  const std::string name = as_enumerator(word);
  std::string all;
  for (const auto& [known, number] : names) {
    if (name == known) return static_cast<std::uint32_t>(number);
    all += (all.empty() ? "" : ", ") + std::string(known);
  }
  throw Mistake{"\"" + word + "\" is not " + what + ": " + all};
}

std::optional<Signal> signal_called(const std::string& word) {
  constexpr std::pair<const char*, Signal> kSignals[] = {
      {"velocity", Signal::SPEED},  {"speed", Signal::SPEED},   {"position", Signal::POSITION},
      {"current", Signal::CURRENT}, {"torque", Signal::TORQUE}, {"voltage", Signal::VOLTAGE},
      {"winding", Signal::WINDING}, {"stage", Signal::STAGE},   {"brake", Signal::BRAKE},
      {"time", Signal::TIME}};
  for (const auto& [name, signal] : kSignals) {
    if (word == name) return signal;
  }
  return std::nullopt;
}

Condition::Term::Relation take_relation(Words& words) {
  using Relation = Condition::Term::Relation;
  constexpr std::pair<const char*, Relation> kRelations[] = {
      {"<", Relation::LESS},      {"<=", Relation::NOT_MORE}, {">", Relation::MORE},
      {">=", Relation::NOT_LESS}, {"=", Relation::EQUAL},     {"!=", Relation::OTHER}};
  const std::string word = words.take_any("a relation (<, <=, >, >=, = or !=)");
  for (const auto& [name, relation] : kRelations) {
    if (word == name) return relation;
  }
  throw Mistake{"\"" + word + "\" is not <, <=, >, >=, = or !="};
}

Condition::Term take_term(Words& words) {
  using Kind = Condition::Term::Kind;
  Condition::Term term;
  while (words.take("not")) term.negated = !term.negated;
  if (words.take("state")) {
    term.kind = Kind::POWER_STATE;
    term.code = take_power_state(words);
    return term;
  }
  if (words.take("nmt")) {
    term.kind = Kind::NMT_STATE;
    term.code = take_nmt_state(words);
    return term;
  }
  if (words.take("emcy")) {
    term.kind = Kind::EMERGENCY;
    term.code = static_cast<std::uint32_t>(take_number(words, 0, 0xFFFF, "an error code of 16 bits"));
    return term;
  }
  const std::optional<Signal> signal = words.quoted() ? std::nullopt : signal_called(words.peek());
  if (signal) {
    term.signal = *signal;
    (void)words.take_any("");
  } else {
    const bool address = !words.empty() && (words.quoted() || is_digit(words.peek().front()));
    if (!address) {
      const std::string word = words.take_any("a condition");
      throw Mistake{"\"" + word +
                    "\" is no condition: a signal (velocity, position, current, torque, voltage, "
                    "winding, stage, brake, time), an object, state, nmt or emcy"};
    }
    term.kind = Kind::OBJECT;
    term.object = take_object(words);
  }
  term.relation = take_relation(words);
  constexpr double kMost = 1e12;
  term.value = take_real(words, -kMost, kMost, "a number");
  return term;
}

struct NamedClass {
  const char* name;
  FrameClass::Kind kind;
};

constexpr NamedClass kClasses[] = {
    {"any", FrameClass::Kind::ANY},
    {"nmt", FrameClass::Kind::NMT},
    {"gfc", FrameClass::Kind::GFC},
    {"sync", FrameClass::Kind::SYNC},
    {"time", FrameClass::Kind::TIME},
    {"emcy", FrameClass::Kind::EMCY},
    {"srdo", FrameClass::Kind::SRDO},
    {"srdo-inverse", FrameClass::Kind::SRDO_INVERSE},
    {"sdo-request", FrameClass::Kind::SDO_REQUEST},
    {"sdo-reply", FrameClass::Kind::SDO_REPLY},
    {"heartbeat", FrameClass::Kind::HEARTBEAT},
    {"boot-up", FrameClass::Kind::BOOT_UP},
    {"lss", FrameClass::Kind::LSS},
};

/** "tpdo", "tpdo3". */
bool is_pdo(const std::string& word, const char* beginning, FrameClass::Kind kind, FrameClass& frame) {
  constexpr std::size_t kBeginning = 4;
  if (word.rfind(beginning, 0) != 0) return false;
  frame.kind = kind;
  if (word.size() > kBeginning) {
    frame.number = static_cast<std::uint32_t>(
        number_between(word.substr(kBeginning), 1, 512, "the number of a PDO, from 1 to 512"));
  }
  return true;
}

FrameClass identifiers_in(const std::string& word) {
  constexpr std::int64_t kMost = 0x7FF;
  constexpr const char* kWhat = "an identifier of 11 bits, or two with - between them";
  FrameClass frame;
  frame.kind = FrameClass::Kind::IDENTIFIER;
  const std::size_t dash = word.find('-');
  frame.number = static_cast<std::uint32_t>(number_between(word.substr(0, dash), 0, kMost, kWhat));
  frame.last = frame.number;
  if (dash != std::string::npos) {
    frame.last =
        static_cast<std::uint32_t>(number_between(word.substr(dash + 1), frame.number, kMost, kWhat));
  }
  return frame;
}

}  // namespace

bool is_blank(char c) {
  return c == ' ' || c == '\t' || c == '\r' || c == '\v' || c == '\f';
}

bool Words::take(std::string_view word) {
  if (!there_ || quoted_ || word_ != word) return false;
  advance();
  return true;
}

std::string Words::take_any(const char* what) {
  if (!there_) throw Mistake{std::string(what) + " is missing"};
  std::string word = std::exchange(word_, {});
  advance();
  return word;
}

void Words::advance() {
  while (!rest_.empty() && is_blank(rest_.front())) rest_.remove_prefix(1);
  there_ = !rest_.empty() && rest_.front() != '#';
  word_.clear();
  if (!there_) return;
  quoted_ = rest_.front() == '"';
  if (quoted_) return advance_quoted();
  const auto end = std::find_if(rest_.begin(), rest_.end(), [](char c) { return is_blank(c) || c == '#'; });
  cut(static_cast<std::size_t>(end - rest_.begin()));
}

void Words::advance_quoted() {
  rest_.remove_prefix(1);
  const std::size_t end = rest_.find('"');
  if (end == std::string_view::npos) throw Mistake{"a quotation mark is not closed"};
  cut(end);
  rest_.remove_prefix(1);
}

void Words::cut(std::size_t size) {
  word_.assign(rest_.substr(0, size));
  rest_.remove_prefix(size);
}

std::int64_t number_between(const std::string& word, std::int64_t low, std::int64_t high, const char* what) {
  const std::optional<std::int64_t> number = whole_number(word);
  if (number && *number >= low && *number <= high) return *number;
  throw Mistake{"\"" + word + "\" is not " + what};
}

std::int64_t take_number(Words& words, std::int64_t low, std::int64_t high, const char* what) {
  return number_between(words.take_any(what), low, high, what);
}

double take_real(Words& words, double low, double high, const char* what) {
  constexpr std::size_t kLongest = 40;
  const std::string word = words.take_any(what);
  const Mistake mistake{"\"" + word + "\" is not " + what};
  if (word.empty() || word.size() > kLongest) throw mistake;
  double number = 0;
  if (word.find_first_not_of("0123456789.eE+-") == std::string::npos) {
    std::istringstream stream(word);
    stream.imbue(std::locale::classic());
    stream >> number;
    if (stream.fail() || stream.peek() != std::istringstream::traits_type::eof()) throw mistake;
  } else {
    const std::optional<std::int64_t> whole = whole_number(word);
    if (!whole) throw mistake;
    number = static_cast<double>(*whole);
  }
  if (!(number >= low && number <= high)) throw mistake;
  return number;
}

milliseconds take_time(Words& words) {
  return time_in(words.take_any("a time"));
}

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

FrameClass take_frame_class(Words& words) {
  const std::string word = words.take_any("a class of frames");
  FrameClass frame;
  const auto known = std::find_if(std::begin(kClasses), std::end(kClasses),
                                  [&](const NamedClass& named) { return word == named.name; });
  if (known != std::end(kClasses)) {
    frame.kind = known->kind;
  } else if (word == "id") {
    frame = identifiers_in(words.take_any("an identifier"));
  } else if (!is_pdo(word, "tpdo", FrameClass::Kind::TPDO, frame) &&
             !is_pdo(word, "rpdo", FrameClass::Kind::RPDO, frame)) {
    throw Mistake{
        "\"" + word +
        "\" is no class of frames: any, nmt, gfc, sync, time, emcy, srdo, srdo-inverse, tpdo1 "
        "..., rpdo1 ..., sdo-request, sdo-reply, heartbeat, boot-up, lss, id 0x181 or id 0x181-0x1FF"};
  }
  if (!words.take("from")) return frame;
  using Kind = FrameClass::Kind;
  const bool tells = frame.kind == Kind::EMCY || frame.kind == Kind::SDO_REQUEST ||
                     frame.kind == Kind::SDO_REPLY || frame.kind == Kind::HEARTBEAT ||
                     frame.kind == Kind::BOOT_UP;
  if (!tells) throw Mistake{"the frames of \"" + word + "\" do not tell whose they are"};
  frame.node = static_cast<std::uint8_t>(take_number(words, 1, 127, "a node id, 1 to 127"));
  return frame;
}

void take_range(Words& words, std::uint32_t& first, std::uint32_t& last, const char* what) {
  constexpr std::int64_t kMost = std::numeric_limits<std::uint32_t>::max();
  const std::string word = words.take_any(what);
  const std::size_t dots = word.find("..");
  first = static_cast<std::uint32_t>(number_between(word.substr(0, dots), 1, kMost, what));
  if (dots == std::string::npos) return;
  last = static_cast<std::uint32_t>(number_between(word.substr(dots + 2), first, kMost, what));
}

Condition take_condition(Words& words) {
  constexpr std::size_t kMostTerms = 32;
  Condition condition;
  std::size_t terms = 0;
  do {
    condition.any_of.emplace_back();
    do {
      if (++terms > kMostTerms) throw Mistake{"a condition has 32 terms at most"};
      condition.any_of.back().push_back(take_term(words));
    } while (words.take("and"));
  } while (words.take("or"));
  return condition;
}

std::uint32_t take_power_state(Words& words) {
  constexpr std::pair<const char*, PowerState> kStates[] = {
      {"NOT_READY_TO_SWITCH_ON", PowerState::NOT_READY_TO_SWITCH_ON},
      {"SWITCH_ON_DISABLED", PowerState::SWITCH_ON_DISABLED},
      {"READY_TO_SWITCH_ON", PowerState::READY_TO_SWITCH_ON},
      {"SWITCHED_ON", PowerState::SWITCHED_ON},
      {"OPERATION_ENABLED", PowerState::OPERATION_ENABLED},
      {"QUICK_STOP_ACTIVE", PowerState::QUICK_STOP_ACTIVE},
      {"FAULT_REACTION_ACTIVE", PowerState::FAULT_REACTION_ACTIVE},
      {"FAULT", PowerState::FAULT}};
  return take_named(words, kStates, "a state");
}

std::uint32_t take_nmt_state(Words& words) {
  constexpr std::pair<const char*, NMTState> kStates[] = {{"INITIALISING", NMTState::INITIALISING},
                                                          {"STOPPED", NMTState::STOPPED},
                                                          {"OPERATIONAL", NMTState::OPERATIONAL},
                                                          {"PRE_OPERATIONAL", NMTState::PRE_OPERATIONAL}};
  return take_named(words, kStates, "an NMT state");
}

}  // namespace tav::drive
