#include "text/Record.hpp"

#include <algorithm>

namespace tavctl {

Assignment assignment_of(const std::string& text) {
  const std::size_t sign = text.find('=');
  if (sign == std::string::npos || sign == 0) {
    throw Failure(ExitCode::USAGE, "\"" + text + "\" sets nothing", "Write KEY=VALUE, without blanks.");
  }
  return {text.substr(0, sign), text.substr(sign + 1)};
}

std::string label_of(std::string key) {
  std::replace(key.begin(), key.end(), '_', ' ');
  if (!key.empty() && key[0] >= 'a' && key[0] <= 'z') key[0] = static_cast<char>(key[0] - 'a' + 'A');
  return key;
}

}  // namespace tavctl
