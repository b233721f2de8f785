#ifndef TAVCORE_LOGGING_HERE_HPP
#define TAVCORE_LOGGING_HERE_HPP

#include <cstdint>

namespace nkr::tavcore {

/** The place of a call: as a defaulted last argument it is the caller's function name and line. */
struct Here {
  const char* function;
  std::uint32_t line;

  static constexpr Here now(const char* function = __builtin_FUNCTION(),
                            std::uint32_t line = __builtin_LINE()) {
    return Here{function, line};
  }
};

}  // namespace nkr::tavcore

#endif
