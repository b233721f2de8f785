#include <algorithm>
#include <charconv>
#include <filesystem>
#include <fstream>
#include <map>
#include <sstream>
#include <tav/drive/Scenario.hpp>
#include <utility>

#include "scenario/ScenarioLine.hpp"
#include "scenario/Words.hpp"

namespace tav::drive {
namespace {

using std::chrono::milliseconds;

constexpr std::size_t kMostEvents = 100000;
constexpr std::size_t kDeepest = 16;
constexpr std::size_t kMostMistakes = 20;
constexpr std::uintmax_t kLargestFile = 1 << 20;

struct Line {
  std::size_t number;
  std::string text;
};

using Values = std::map<std::string, std::string>;

bool is_name_character(char c) {
  return (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z') || (c >= '0' && c <= '9') || c == '_';
}

/** "NAME=VALUE" */
std::pair<std::string, std::string> take_value(Words& words) {
  const std::string word = words.take_any("a value such as MASS=60");
  const std::size_t sign = word.find('=');
  if (sign == std::string::npos || sign == 0 ||
      !std::all_of(word.begin(), word.begin() + static_cast<std::ptrdiff_t>(sign), is_name_character)) {
    throw Mistake{"\"" + word + "\" is not NAME=VALUE"};
  }
  return {word.substr(0, sign), word.substr(sign + 1)};
}

/** The line with the values of what it names: $MASS. */
std::string with_values(const std::string& line, const Values& values) {
  std::string result;
  for (std::size_t i = 0; i < line.size();) {
    if (line[i] != '$') {
      result += line[i++];
      continue;
    }
    std::size_t end = i + 1;
    while (end < line.size() && is_name_character(line[end])) ++end;
    const std::string name = line.substr(i + 1, end - i - 1);
    const auto value = values.find(name);
    if (value == values.end()) throw Mistake{"nothing gives \"$" + name + "\" a value"};
    result += value->second;
    i = end;
  }
  return result;
}

/** Reads a file with all that it includes; goes on behind a mistake, to find all of them. */
class Reader {
 public:
  explicit Reader(Scenario& scenario) : scenario_(scenario) {}

  void read(std::istream& text, const std::filesystem::path& folder) {
    Place place;
    place.folder = folder;
    read_lines(lines_of(text), place);
  }
  [[nodiscard]] const std::string& mistakes() const { return mistakes_; }

 private:
  /** Where lines stand, and what holds for them. */
  struct Place {
    std::filesystem::path folder;
    std::string before;  ///< what names the lines of including files
    std::string file;
    std::size_t depth = 0;
    Values values;
    std::string case_name;
    milliseconds later{0};  ///< than written
  };

  static std::vector<Line> lines_of(std::istream& text) {
    std::vector<Line> lines;
    std::string line;
    for (std::size_t number = 1; std::getline(text, line); ++number) lines.push_back({number, line});
    return lines;
  }

  void note(const Place& place, std::size_t line, const std::string& mistake) {
    if (++mistaken_ > kMostMistakes) return;
    mistakes_ +=
        (mistakes_.empty() ? "" : "\n") + place.before + "line " + std::to_string(line) + ": " + mistake;
  }

  void read_lines(const std::vector<Line>& lines, Place& place) {
    for (std::size_t i = 0; i < lines.size();) {
      try {
        i = read_line(lines, i, place);
      } catch (const Mistake& mistake) {
        note(place, lines[i].number, mistake.text);
        ++i;
      }
      if (scenario_.events.size() > kMostEvents || mistaken_ > kMostMistakes) return;
    }
  }

  /** @return the line after what was read */
  std::size_t read_line(const std::vector<Line>& lines, std::size_t at, Place& place) {
    const std::string text = with_values(std::string(code_of(lines[at].text)), place.values);
    Words words(text);
    if (words.empty()) return at + 1;
    if (words.take("repeat")) return read_repeat(lines, at, words, place);
    if (words.take("case")) return read_case(lines, at, words, place);
    if (words.take("}")) throw Mistake{"no block is open that } could end"};
    if (!read_setting(words, lines[at].number, place)) read_event(text, lines[at].number, place);
    return at + 1;
  }

  bool read_setting(Words& words, std::size_t line, Place& place) {
    if (words.take("seed")) {
      scenario_.seed =
          static_cast<std::uint64_t>(take_number(words, 0, 0xFFFFFFFF, "a seed, from 0 to 4294967295"));
    } else if (words.take("limit")) {
      scenario_.limit = take_time(words);
    } else if (words.take("let")) {
      const auto [name, value] = take_value(words);
      place.values[name] = value;
    } else if (words.take("include")) {
      include(words, line, place);
      return true;
    } else {
      return false;
    }
    if (!words.empty()) throw Mistake{"\"" + words.peek() + "\" is too much"};
    return true;
  }

  void read_event(const std::string& text, std::size_t number, const Place& place) {
    std::optional<ScenarioEvent> event = event_in(text);
    if (!event) return;
    event->line = number;
    event->file = place.file;
    event->case_name = place.case_name;
    const bool timed = event->when.kind == Trigger::Kind::TIME || event->when.kind == Trigger::Kind::FRAME;
    if (timed) event->when.time += place.later;
    scenario_.events.push_back(std::move(*event));
    if (scenario_.events.size() > kMostEvents) throw Mistake{"these are more than 100000 events"};
  }

  /** The lines of the block that begins there. @return the line after its } */
  static std::size_t block(const std::vector<Line>& lines, std::size_t at, Words& words,
                           std::vector<Line>& inside) {
    if (!words.take("{") || !words.empty()) throw Mistake{"a block begins with { at the end of its line"};
    std::size_t open = 1;
    for (std::size_t i = at + 1; i < lines.size(); ++i) {
      const std::string_view text = code_of(lines[i].text);
      if (!text.empty() && text.back() == '{') ++open;
      if (text == "}" && --open == 0) return i + 1;
      inside.push_back(lines[i]);
    }
    throw Mistake{"the block that begins here has no }"};
  }

  /** A line without its blanks and its comment. */
  static std::string_view code_of(std::string_view text) {
    bool quoted = false;
    for (std::size_t i = 0; i < text.size(); ++i) {
      if (text[i] == '"') quoted = !quoted;
      if (text[i] == '#' && !quoted) text = text.substr(0, i);
    }
    while (!text.empty() && is_blank(text.front())) text.remove_prefix(1);
    while (!text.empty() && is_blank(text.back())) text.remove_suffix(1);
    return text;
  }

  std::size_t read_repeat(const std::vector<Line>& lines, std::size_t at, Words& words, const Place& place) {
    const std::int64_t times = take_number(words, 1, 10000, "how often, from 1 to 10000");
    milliseconds every{0};
    if (words.take("every")) every = take_time(words);
    std::vector<Line> inside;
    const std::size_t next = block(lines, at, words, inside);
    const std::size_t before = mistaken_;
    Place repeated = place;
    for (std::int64_t i = 0; i < times && mistaken_ == before && scenario_.events.size() <= kMostEvents;
         ++i) {
      read_lines(inside, repeated);
      repeated.later += every;
    }
    return next;
  }

  std::size_t read_case(const std::vector<Line>& lines, std::size_t at, Words& words, const Place& place) {
    Place named = place;
    named.case_name = words.take_any("the name of the case");
    std::vector<Line> inside;
    const std::size_t next = block(lines, at, words, inside);
    read_lines(inside, named);
    return next;
  }

  void include(Words& words, std::size_t line, const Place& place) {
    const std::string name = words.take_any("the name of a file");
    Place inner;
    inner.values = place.values;
    if (words.take("with")) {
      do {
        const auto [key, value] = take_value(words);
        inner.values[key] = value;
      } while (!words.empty());
    }
    if (!words.empty()) throw Mistake{"\"" + words.peek() + "\" is too much"};
    if (place.depth >= kDeepest) throw Mistake{"files include each other more than 16 deep: in a circle?"};
    const std::filesystem::path path = place.folder / name;
    std::error_code none;
    if (!std::filesystem::is_regular_file(path, none)) throw Mistake{path.string() + " is no file"};
    if (std::filesystem::file_size(path, none) > kLargestFile)
      throw Mistake{path.string() + " is larger than 1 MiB"};
    std::ifstream file(path, std::ios::binary);
    if (!file) throw Mistake{"cannot open " + path.string()};
    inner.folder = path.parent_path();
    inner.before = place.before + "line " + std::to_string(line) + ": " + path.string() + ": ";
    inner.file = path.string();
    inner.depth = place.depth + 1;
    inner.case_name = place.case_name;
    inner.later = place.later;
    read_lines(lines_of(file), inner);
  }

  Scenario& scenario_;
  std::string mistakes_;
  std::size_t mistaken_ = 0;
};

bool read_beside(std::istream& text, const std::filesystem::path& folder, Scenario& scenario,
                 std::string& problem) {
  Scenario read;
  Reader reader(read);
  reader.read(text, folder);
  if (!reader.mistakes().empty()) {
    problem = reader.mistakes();
    return false;
  }
  scenario = std::move(read);
  return true;
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
  return read_beside(text, {}, scenario, problem);
}

bool read_scenario_file(const std::string& path, Scenario& scenario, std::string& problem) {
  std::ifstream file(path, std::ios::binary);
  if (!file) {
    problem = "cannot open " + path;
    return false;
  }
  if (read_beside(file, std::filesystem::path(path).parent_path(), scenario, problem)) return true;
  problem = path + ": " + problem;
  return false;
}

}  // namespace tav::drive
