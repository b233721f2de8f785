#ifndef NKR_TOOLS_STRINGUTILITY_HPP
#define NKR_TOOLS_STRINGUTILITY_HPP

#include <nkr/export.h>

#include <string>

namespace nkr::tools {

class NKR_EXPORT StringUtility {
 public:
  /** The number in decimal, padded with zeros to the width (the sign counts). */
  [[nodiscard]] static std::string format(int value, int width);
};

}  // namespace nkr::tools

#endif
