#ifndef TAVCTL_MODEL_FORMAT_HPP
#define TAVCTL_MODEL_FORMAT_HPP

#include <algorithm>
#include <cstddef>
#include <string>
#include <string_view>
#include <tav/host/words.hpp>

namespace tavctl {

using tav::host::access_name;
using tav::host::address_text;
using tav::host::data_type_name;
using tav::host::hex;
using tav::host::object_text;
using tav::host::result_text;

/** The text, filled with blanks to `width` columns and at least one blank behind it. */
[[nodiscard]] inline std::string padded(std::string_view text, std::size_t width) {
  std::string result(text);
  result.resize(std::max(width, text.size() + 1), ' ');
  return result;
}

}  // namespace tavctl

#endif
