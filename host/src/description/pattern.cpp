#include <algorithm>
#include <cstddef>
#include <tav/host/pattern.hpp>

namespace tav::host {

namespace {

char lower(char c) {
  return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
}

bool same(char a, char b) {
  return lower(a) == lower(b);
}

/** Wildcard match by remembering the last star: linear memory, no recursion. */
bool fits(std::string_view text, std::string_view pattern) {
  std::size_t at = 0;
  std::size_t next = 0;
  std::size_t star = pattern.npos;
  std::size_t star_text = 0;
  while (at < text.size()) {
    if (next < pattern.size() && pattern[next] == '*') {
      star = next++;
      star_text = at;
    } else if (next < pattern.size() && (pattern[next] == '?' || same(pattern[next], text[at]))) {
      ++at;
      ++next;
    } else if (star != pattern.npos) {
      next = star + 1;
      at = ++star_text;
    } else {
      return false;
    }
  }
  return pattern.find_first_not_of('*', next) == pattern.npos;
}

}  // namespace

bool contains_without_case(std::string_view text, std::string_view part) {
  return std::search(text.begin(), text.end(), part.begin(), part.end(), same) != text.end() || part.empty();
}

bool matches(std::string_view text, std::string_view pattern) {
  if (pattern.find_first_of("*?") == pattern.npos) return contains_without_case(text, pattern);
  return fits(text, pattern);
}

}  // namespace tav::host
