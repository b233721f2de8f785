#include "cli/CommandLine.hpp"

#include <CLI/CLI.hpp>
#include <sstream>
#include <tav/host/nearest.hpp>
#include <tav/host/printable.hpp>
#include <tav/host/words.hpp>

namespace tavctl {

namespace {

constexpr const char* kCommonFooter =
    "\"tavctl --help\" tells the options of every command (--bus, --node, --config, --json, --trace,\n"
    "--black-box) and the exit codes.";

void limit(CLI::Option& /*option*/, std::monostate /*none*/, bool& /*out_of_range*/) {}

/** What is no number is refused when it is converted. */
template <class Number>
void limit(CLI::Option& option, const Option::Range<Number>& range, bool& out_of_range) {
  option.check([range, &out_of_range](const std::string& text) -> std::string {
    Number number{};
    if (!CLI::detail::lexical_cast(text, number)) return {};
    if (number >= range.first && number <= range.second) return {};
    out_of_range = true;
    std::ostringstream why;
    why << text << " is out of range: " << range.first << " to " << range.second;
    return why.str();
  });
}

/** The command whose words were understood so far. */
const CLI::App& deepest(const CLI::App& app) {
  const auto below = app.get_subcommands();
  return below.empty() ? app : deepest(*below.front());
}

/** A group without one of its commands, or with a word that is none: tells what there is. False for another
 * mistake. */
bool tell_commands(const CLI::App& program, std::ostream& err) {
  const CLI::App& group = deepest(program);
  std::vector<std::string> names;
  for (const CLI::App* const command : group.get_subcommands([](const CLI::App*) { return true; })) {
    if (command->get_name().compare(0, 2, "__") != 0) names.push_back(command->get_name());
  }
  if (names.empty()) return false;
  for (const std::string& word : program.remaining(true)) {
    if (word.empty() || word[0] == '-') continue;
    const std::string of = &group == &program ? "" : " of " + group.get_name();
    const std::string nearest = tav::host::did_you_mean(tav::host::nearest_names(word, names));
    err << "tavctl: \"" << tav::host::printable(word) << "\" is no command" << of << '\n';
    err << "  hint:         " << (nearest.empty() ? "there are " + tav::host::joined(names) : nearest)
        << '\n';
    return true;
  }
  if (!program.remaining(true).empty()) return false;
  err << group.help();
  return true;
}

}  // namespace

/** Tells a command and all below it to the library. */
class CommandLine::Parser {
 public:
  void describe(const Command& command, CLI::App& app) {
    for (const Option& option : command.options_) describe(option, app);
    if (command.needs_option_) app.require_option(1, 0);
    if (!command.commands_.empty()) app.require_subcommand(1);
    for (const Command& below : command.commands_) {
      CLI::App& child = *app.add_subcommand(below.name_, below.description_);
      if (below.name_.compare(0, 2, "__") == 0) child.group("");  // for the shell's completion alone
      child.footer(below.footer_.empty() ? kCommonFooter : below.footer_ + "\n\n" + kCommonFooter);
      child.fallthrough();  // --bus and its like may stand behind the command too
      describe(below, child);
    }
    if (command.action_) app.callback([this, &command] { chosen_ = command.action_; });
  }
  [[nodiscard]] const Action& chosen() const { return chosen_; }
  [[nodiscard]] bool is_out_of_range() const { return out_of_range_; }

 private:
  void describe(const Option& option, CLI::App& app) {
    CLI::Option& added = *std::visit([&](auto* target) { return add(option, *target, app); }, option.target_);
    added.required(option.required_);
    std::visit([&](const auto& limits) { limit(added, limits, out_of_range_); }, option.limits_);
    if (!option.words_.empty()) added.check(CLI::IsMember(option.words_));
    if (!option.values_.empty()) added.transform(CLI::CheckedTransformer(option.values_));
    if (option.separator_) added.delimiter(*option.separator_);
    if (!option.variable_.empty()) added.envname(option.variable_);
    if (!option.excluded_.empty()) added.excludes(app.get_option(option.excluded_));
  }
  static CLI::Option* add(const Option& option, bool& target, CLI::App& app) {
    return app.add_flag(option.names_, target, option.description_);
  }
  template <class Value>
  static CLI::Option* add(const Option& option, Value& target, CLI::App& app) {
    return app.add_option(option.names_, target, option.description_);
  }

  Action chosen_;
  bool out_of_range_ = false;
};

Request CommandLine::parse(const Command& program, const std::string& version,
                           const std::vector<std::string>& arguments, std::ostream& out, std::ostream& err) {
  constexpr std::size_t kColumn = 34;
  CLI::App app{program.description_, program.name_};
  app.set_version_flag("--version", program.name_ + " " + version);
  app.footer(program.footer_);
  app.get_formatter()->column_width(kColumn);
  Parser parser;
  parser.describe(program, app);
  try {
    std::vector<std::string> reversed(arguments.rbegin(), arguments.rend());
    app.parse(reversed);
  } catch (const CLI::ParseError& error) {
    const bool is_command_missing = dynamic_cast<const CLI::RequiredError*>(&error) != nullptr ||
                                    dynamic_cast<const CLI::ExtrasError*>(&error) != nullptr;
    if (is_command_missing && tell_commands(app, err)) return ExitCode::USAGE;
    if (parser.is_out_of_range()) {
      static_cast<void>(app.exit(error, out, err));
      return ExitCode::REFUSED;
    }
    return app.exit(error, out, err) == 0 ? ExitCode::OK : ExitCode::USAGE;
  }
  return parser.chosen();
}

}  // namespace tavctl
