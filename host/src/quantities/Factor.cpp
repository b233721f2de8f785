#include "Factor.hpp"

#include <cmath>
#include <limits>
#include <numeric>

namespace tav::host {

namespace {

constexpr long double kPi = 3.14159265358979323846264338327950288L;

bool product(std::int64_t a, std::int64_t b, std::int64_t& result) {
  return !__builtin_mul_overflow(a, b, &result);
}

}  // namespace

Factor::Factor(std::int64_t numerator, std::int64_t denominator, int power_of_pi)
    : numerator_(numerator), denominator_(denominator), power_of_pi_(power_of_pi) {
  const std::int64_t common = std::gcd(numerator_, denominator_);
  if (common > 1) {
    numerator_ /= common;
    denominator_ /= common;
  }
}

Factor Factor::of(double number) {
  constexpr std::int64_t kPlaces = 1'000'000;
  constexpr double kMost = 1e12;
  if (std::abs(number) <= kMost) return {std::llround(number * static_cast<double>(kPlaces)), kPlaces};
  Factor large(0);
  large.denominator_ = 0;
  large.rest_ = static_cast<long double>(number);
  return large;
}

Factor Factor::power_of_ten(int exponent) {
  constexpr int kMost = 18;
  Factor result(1);
  std::int64_t power = 1;
  for (int i = 0; i < std::abs(exponent) && i < kMost; ++i) power *= 10;
  if (std::abs(exponent) <= kMost) return exponent < 0 ? Factor(1, power) : Factor(power);
  result.denominator_ = 0;
  result.rest_ = std::pow(10.0L, static_cast<long double>(exponent));
  return result;
}

Factor Factor::inverse() const {
  Factor result(1);
  const bool is_zero = denominator_ != 0 && numerator_ == 0;
  if (denominator_ == 0 || is_zero || numerator_ == std::numeric_limits<std::int64_t>::min()) {
    result.denominator_ = 0;
    result.rest_ = 1.0L / value();
    return result;
  }
  result.numerator_ = numerator_ < 0 ? -denominator_ : denominator_;
  result.denominator_ = numerator_ < 0 ? -numerator_ : numerator_;
  result.power_of_pi_ = -power_of_pi_;
  return result;
}

Factor operator*(const Factor& a, const Factor& b) {
  if (a.denominator_ != 0 && b.denominator_ != 0) {
    // Crosswise without common factors first: what fits then is exact.
    const Factor left(a.numerator_, b.denominator_);
    const Factor right(b.numerator_, a.denominator_);
    Factor result(1);
    if (product(left.numerator_, right.numerator_, result.numerator_) &&
        product(left.denominator_, right.denominator_, result.denominator_)) {
      result.power_of_pi_ = a.power_of_pi_ + b.power_of_pi_;
      return result;
    }
  }
  Factor result(1);
  result.denominator_ = 0;
  result.rest_ = a.value() * b.value();
  return result;
}

long double Factor::value() const {
  if (denominator_ == 0) return rest_;
  const long double ratio = static_cast<long double>(numerator_) / static_cast<long double>(denominator_);
  return ratio * std::pow(kPi, static_cast<long double>(power_of_pi_));
}

bool Factor::round(std::int64_t& whole) const {
  if (is_exact()) {
    const std::int64_t rest = std::abs(numerator_ % denominator_);
    whole = numerator_ / denominator_;
    if (rest >= denominator_ - rest) whole += numerator_ < 0 ? -1 : 1;
    return true;
  }
  constexpr long double kMost = 9.2e18L;
  const long double number = std::round(value());
  if (!(std::abs(number) < kMost)) return false;
  whole = static_cast<std::int64_t>(number);
  return true;
}

}  // namespace tav::host
