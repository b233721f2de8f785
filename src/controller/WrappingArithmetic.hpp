#ifndef TAVCORE_CONTROLLER_WRAPPINGARITHMETIC_HPP
#define TAVCORE_CONTROLLER_WRAPPINGARITHMETIC_HPP

#include <cstdint>
#include <limits>

namespace nkr::tavcore {

/** 32-bit product that wraps around: signed overflow is undefined, and orders come from outside. */
constexpr std::int32_t wrapping_product(std::int32_t a, std::int32_t b) {
  return static_cast<std::int32_t>(static_cast<std::uint32_t>(a) * static_cast<std::uint32_t>(b));
}

/** 32-bit quotient, truncated toward zero; the smallest number divided by -1 wraps to itself. `b` is not 0.
 */
constexpr std::int32_t wrapping_quotient(std::int32_t a, std::int32_t b) {
  if (a == std::numeric_limits<std::int32_t>::min() && b == -1) return a;
  return a / b;
}

}  // namespace nkr::tavcore

#endif
