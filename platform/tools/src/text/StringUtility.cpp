#include <nkr/tools/StringUtility.hpp>

namespace nkr::tools {

std::string StringUtility::format(int value, int width) {
  std::string text = std::to_string(value);
  const std::size_t wanted = width > 0 ? static_cast<std::size_t>(width) : 0;
  const std::size_t sign = value < 0 ? 1U : 0U;
  if (text.size() < wanted) text.insert(sign, wanted - text.size(), '0');
  return text;
}

}  // namespace nkr::tools
