#ifndef TAVCTL_CLI_OPTION_HPP
#define TAVCTL_CLI_OPTION_HPP

#include <cstdint>
#include <initializer_list>
#include <map>
#include <optional>
#include <string>
#include <type_traits>
#include <utility>
#include <variant>
#include <vector>

namespace tavctl {

/**
 * A word of the command line that a command takes: an option ("--count"), a flag or an argument ("FILE"),
 * where its value goes, and which values are taken. What is not given leaves the value as it is.
 */
class Option {
 public:
  using Target = std::variant<bool*, int*, long*, std::uint64_t*, double*, std::string*, std::optional<bool>*,
                              std::optional<int>*, std::optional<unsigned>*, std::optional<double>*,
                              std::vector<int>*, std::vector<std::string>*>;
  template <class Number>
  using Range = std::pair<Number, Number>;
  using Limits = std::variant<std::monostate, Range<std::int64_t>, Range<std::uint64_t>, Range<double>>;

  Option(std::string names, Target target, std::string description)
      : names_(std::move(names)), target_(target), description_(std::move(description)) {}

  Option& required() {
    required_ = true;
    return *this;
  }
  /** Takes numbers from `low` to `high`. */
  template <class Number>
  Option& range(Number low, Number high) {
    if constexpr (std::is_floating_point_v<Number>) {
      limits_ = Range<double>(low, high);
    } else if constexpr (std::is_signed_v<Number>) {
      limits_ = Range<std::int64_t>(low, high);
    } else {
      limits_ = Range<std::uint64_t>(low, high);
    }
    return *this;
  }
  /** Takes these words alone. */
  Option& one_of(std::vector<std::string> words) {
    words_ = std::move(words);
    return *this;
  }
  /** Takes these words, each for its value. */
  Option& named(std::map<std::string, bool> values) {
    values_ = std::move(values);
    return *this;
  }
  /** Takes several values in one word, with this sign between them. */
  Option& separated_by(char sign) {
    separator_ = sign;
    return *this;
  }
  /** Is taken from this variable of the environment when it is not given. */
  Option& from_environment(std::string variable) {
    variable_ = std::move(variable);
    return *this;
  }
  /** Is refused together with another option of the command. */
  Option& excludes(const Option& other) {
    excluded_ = other.names_;
    return *this;
  }

 private:
  friend class CommandLine;

  std::string names_;
  Target target_;
  std::string description_;
  bool required_ = false;
  Limits limits_;
  std::vector<std::string> words_;
  std::map<std::string, bool> values_;
  std::optional<char> separator_;
  std::string variable_;
  std::string excluded_;
};

}  // namespace tavctl

#endif
