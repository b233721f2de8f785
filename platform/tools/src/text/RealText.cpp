#include "text/RealText.hpp"

#include <charconv>
#include <cmath>
#include <locale>
#include <sstream>
#include <string>

namespace nkr::tools {
namespace {

/** The number that the whole text is. Not every standard library reads real numbers by from_chars yet. */
std::optional<double> number_in(std::string_view text) {
  double value = 0;
#if defined(__cpp_lib_to_chars)
  const char* const end = text.data() + text.size();
  const auto [stop, error] = std::from_chars(text.data(), end, value);
  if (error != std::errc() || stop != end) return std::nullopt;
#else
  if (text.find_first_not_of("+-.0123456789eE") != std::string_view::npos) return std::nullopt;
  std::istringstream stream{std::string(text)};
  stream.imbue(std::locale::classic());
  if (!(stream >> std::noskipws >> value) || stream.peek() != std::istringstream::traits_type::eof()) {
    return std::nullopt;
  }
#endif
  return value;
}

}  // namespace

std::optional<double> real_in(std::string_view text) {
  if (text.size() > 1 && text[0] == '+' && text[1] != '-' && text[1] != '+') text.remove_prefix(1);
  if (text.empty() || text[0] == '+') return std::nullopt;
  const std::optional<double> value = number_in(text);
  return value && std::isfinite(*value) ? value : std::nullopt;
}

}  // namespace nkr::tools
