#include <string>
#include <tav/host/number.hpp>

namespace tav::host {

using nkr::tools::DataType;

namespace {

/** The text as a description would say the same number: leading zeros mean nothing here. */
std::optional<std::string> as_in_description(std::string_view text) {
  constexpr std::string_view kAllowed = "+-.0123456789abcdefABCDEFxX";
  if (text.empty() || text.find_first_not_of(kAllowed) != text.npos) return std::nullopt;
  std::string plain(text);
  const std::size_t first = plain[0] == '-' || plain[0] == '+' ? 1 : 0;
  while (plain.size() > first + 1 && plain[first] == '0' && plain[first + 1] >= '0' &&
         plain[first + 1] <= '9') {
    plain.erase(first, 1);
  }
  return plain;
}

}  // namespace

std::optional<std::int64_t> typed_integer(std::string_view text) {
  const auto plain = as_in_description(text);
  return plain ? nkr::tools::number_of(*plain) : std::nullopt;
}

std::optional<std::int64_t> typed_integer(std::string_view text, DataType type) {
  const auto plain = as_in_description(text);
  return plain ? nkr::tools::integer_of(*plain, type) : std::nullopt;
}

std::optional<double> typed_real(std::string_view text) {
  const auto plain = as_in_description(text);
  return plain ? nkr::tools::real_of(*plain) : std::nullopt;
}

std::optional<bool> typed_flag(std::string_view text) {
  if (text == "1" || text == "true" || text == "on" || text == "yes") return true;
  if (text == "0" || text == "false" || text == "off" || text == "no") return false;
  return std::nullopt;
}

}  // namespace tav::host
