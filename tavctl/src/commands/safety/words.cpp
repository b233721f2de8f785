// Safety words and the functions that are mapped to their bits.
#include <memory>
#include <string>
#include <tav/host/safety_words.hpp>
#include <vector>

#include "commands/safety/SafetyCommands.hpp"
#include "commands/session/Drive.hpp"
#include "commands/session/Safety.hpp"
#include "text/Record.hpp"
#include "text/SafetyChecks.hpp"

namespace tavctl {

namespace {

using Dispatcher = nkr::tavcore::CANOpenDispatcher;
using Mapping = Dispatcher::SafetyWordMapping;
using WordValue = Dispatcher::SafetyWordType;

constexpr int kBits = 8;

SafetyFunction function_named(const std::string& name) {
  const std::optional<SafetyFunction> function = safety_function_named(name);
  if (function) return *function;
  throw Failure(ExitCode::USAGE, "there is no safety function \"" + name + "\"",
                "There are " + joined(safety_function_names()) + ".");
}

SafetyWord word_named(const std::string& kind, const std::string& name) {
  const std::optional<SafetyWord> word = safety_word_named(kind, name);
  if (word) return *word;
  throw Failure(ExitCode::USAGE, "there is no safety word \"" + kind + " " + name + "\"",
                "There are control can1 to can8 and safein, status can1 to can8 and safeout.");
}

Mapping read_mapping(Session& session, const SafetyWord& word) {
  Mapping mapping{};
  Dispatcher& drive = *session.dispatcher();
  session.check(word.control
                    ? drive.getSafetyControlWordMapping(Dispatcher::SafetyControlWordId{word.number}, mapping)
                    : drive.getSafetyStatusWordMapping(Dispatcher::SafetyStatusWordId{word.number}, mapping),
                "read the mapping of " + word.name());
  return mapping;
}

/** Bits that the library never writes: they are reserved. */
bool is_reserved(const SafetyWord& word, int bit) {
  if (word.number != 0) return false;
  return bit == 0 || bit == 7 || (word.control && bit == 6);
}

void print_mapping(Session& session, const SafetyWord& word, Mapping mapping) {
  Json bits = Json::array();
  std::string line = word.name() + ":";
  for (int bit = 0; bit < word.mappable_bits; ++bit) {
    const std::string function = safety_function_name(mapped_bit(mapping, bit));
    bits.push_back(function);
    if (function != "none") line += "  " + std::to_string(bit) + "=" + function;
  }
  if (line.back() == ':') line += "  nothing mapped";
  session.output().line(line);
  if (session.output().json()) session.output().document()["mappings"][word.name()] = std::move(bits);
}

ExitCode show_mappings(Context& context) {
  Session session(context);
  for (const SafetyWord& word : all_safety_words()) print_mapping(session, word, read_mapping(session, word));
  return ExitCode::OK;
}

int bit_of(const SafetyWord& word, const std::string& key) {
  const std::optional<std::int64_t> bit = typed_integer(key);
  if (!bit || *bit < 0 || *bit >= word.mappable_bits) {
    throw Failure(ExitCode::USAGE, word.name() + " has bits 0 to " + std::to_string(word.mappable_bits - 1));
  }
  if (is_reserved(word, static_cast<int>(*bit))) {
    throw Failure(ExitCode::USAGE, "bit " + key + " of " + word.name() + " is reserved and never written");
  }
  return static_cast<int>(*bit);
}

struct WordArguments {
  std::string kind;
  std::string name;
  std::vector<std::string> assignments;
};

ExitCode set_mapping(Context& context, const WordArguments& arguments) {
  const SafetyWord word = word_named(arguments.kind, arguments.name);
  Session session(context);
  see_not_enabled(session, "change the mapping of safety words");
  Dispatcher& drive = *session.dispatcher();
  Mapping wanted = read_mapping(session, word);
  for (const std::string& text : arguments.assignments) {
    const Assignment assignment = assignment_of(text);
    mapped_bit(wanted, bit_of(word, assignment.key)) = function_named(assignment.value);
  }
  session.check(word.control
                    ? drive.setSafetyControlWordMapping(Dispatcher::SafetyControlWordId{word.number}, wanted)
                    : drive.setSafetyStatusWordMapping(Dispatcher::SafetyStatusWordId{word.number}, wanted),
                "write the mapping of " + word.name());
  Mapping held = read_mapping(session, word);
  print_mapping(session, word, held);
  for (int bit = 0; bit < word.mappable_bits; ++bit) {
    if (mapped_bit(held, bit) == mapped_bit(wanted, bit)) continue;
    throw Failure(ExitCode::REFUSED,
                  "the drive holds another mapping of " + word.name() + " than was written");
  }
  const nkr::tavcore::SafetyVerification verification = verified_safety(session);
  if (!verification.passed()) {
    print_checks(session.output(), verification);
    throw Failure(ExitCode::REFUSED, "the signatures in the drive do not fit its configuration",
                  "Give the command again: until they fit the drive gives no torque.");
  }
  tell_not_stored(session.output());
  return ExitCode::OK;
}

WordValue read_word(Session& session, const SafetyWord& word) {
  WordValue value{};
  Dispatcher& drive = *session.dispatcher();
  session.check(word.control ? drive.getSafetyControlWord(Dispatcher::SafetyControlWordId{word.number}, value)
                             : drive.getSafetyStatusWord(Dispatcher::SafetyStatusWordId{word.number}, value),
                "read " + word.name());
  return value;
}

void print_word(Session& session, const SafetyWord& word, WordValue value) {
  Json bits = Json::array();
  std::string line = word.name() + ":";
  Mapping mapping = read_mapping(session, word);
  for (int bit = 0; bit < kBits; ++bit) {
    const bool set = word_bit(value, bit);
    bits.push_back(set);
    line += " " + std::to_string(bit) + "=" + (set ? "1" : "0");
    if (bit < word.mappable_bits && mapped_bit(mapping, bit) != SafetyFunction::NONE) {
      line += "(" + safety_function_name(mapped_bit(mapping, bit)) + ")";
    }
  }
  session.output().line(line);
  if (session.output().json()) session.output().document()["words"][word.name()] = std::move(bits);
}

ExitCode show_words(Context& context) {
  Session session(context);
  for (const SafetyWord& word : all_safety_words()) print_word(session, word, read_word(session, word));
  session.output().line("A function is demanded by a control bit of 0: commands are active-low.");
  return ExitCode::OK;
}

ExitCode set_word(Context& context, const WordArguments& arguments) {
  const SafetyWord word = word_named("control", arguments.name);
  Session session(context);
  WordValue wanted = read_word(session, word);
  for (const std::string& text : arguments.assignments) {
    const Assignment assignment = assignment_of(text);
    const std::optional<std::int64_t> bit = typed_integer(assignment.key);
    if (!bit || *bit < 0 || *bit >= kBits) throw Failure(ExitCode::USAGE, "a word has bits 0 to 7");
    assign(assignment, word_bit(wanted, static_cast<int>(*bit)));
  }
  session.check(
      session.dispatcher()->setSafetyControlWord(Dispatcher::SafetyControlWordId{word.number}, wanted),
      "write " + word.name());
  WordValue held = read_word(session, word);
  print_word(session, word, held);
  for (int bit = 0; bit < kBits; ++bit) {
    if (word_bit(held, bit) == word_bit(wanted, bit)) continue;
    throw Failure(ExitCode::REFUSED, "the drive holds another value of " + word.name() + " than was written",
                  "Many drives take safety words from safety frames alone.");
  }
  return ExitCode::OK;
}

}  // namespace

void add_safety_words(Command& safety) {
  Command& mapping = safety.add("mapping", "Which function each bit of the safety words carries");
  mapping.add("show", "The mappings of all words").on(show_mappings);
  auto mapped = std::make_shared<WordArguments>();
  Command& set_mapping_command =
      mapping.add("set", "Change the mapping of one word; all signatures are refreshed and verified");
  set_mapping_command.option("KIND", mapped->kind, "control or status")
      .required()
      .one_of({"control", "status"});
  set_mapping_command.option("WORD", mapped->name, "can1 to can8, safein, safeout").required();
  set_mapping_command.option("BIT=FUNCTION", mapped->assignments, "1=STO 2=SLS_1 3=none ...").required();
  set_mapping_command.on([mapped](Context& context) { return set_mapping(context, *mapped); });

  Command& word = safety.add("word", "The safety words themselves");
  word.add("show", "All words, bit by bit").on(show_words);
  auto written = std::make_shared<WordArguments>();
  Command& set_word_command = word.add(
      "set", "Write bits of a control word. A bit of 0 demands its function: commands are active-low");
  set_word_command.option("WORD", written->name, "can1 to can8, safein").required();
  set_word_command.option("BIT=0|1", written->assignments, "0=1 3=0 ...").required();
  set_word_command.on([written](Context& context) { return set_word(context, *written); });
}

}  // namespace tavctl
