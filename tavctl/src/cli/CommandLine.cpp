#include "cli/CommandLine.hpp"

#include <CLI/CLI.hpp>

namespace tavctl {

namespace {

constexpr const char* kCommonFooter =
    "\"tavctl --help\" tells the options of every command (--bus, --node, --config, --json, --trace,\n"
    "--black-box) and the exit codes.";

void limit(CLI::Option& /*option*/, std::monostate /*none*/) {}

template <class Number>
void limit(CLI::Option& option, const Option::Range<Number>& range) {
  option.check(CLI::Range(range.first, range.second));
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
      child.footer(below.footer_.empty() ? kCommonFooter : below.footer_ + "\n\n" + kCommonFooter);
      child.fallthrough();  // --bus and its like may stand behind the command too
      describe(below, child);
    }
    if (command.action_) app.callback([this, &command] { chosen_ = command.action_; });
  }
  [[nodiscard]] const Action& chosen() const { return chosen_; }

 private:
  static void describe(const Option& option, CLI::App& app) {
    CLI::Option& added = *std::visit([&](auto* target) { return add(option, *target, app); }, option.target_);
    added.required(option.required_);
    std::visit([&](const auto& limits) { limit(added, limits); }, option.limits_);
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
    return app.exit(error, out, err) == 0 ? ExitCode::OK : ExitCode::USAGE;
  }
  return parser.chosen();
}

}  // namespace tavctl
