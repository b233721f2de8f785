#ifndef TAV_HOST_SRC_QUANTITIES_FACTOR_HPP
#define TAV_HOST_SRC_QUANTITIES_FACTOR_HPP

#include <cstdint>

namespace tav::host {

/** A number numerator / denominator * pi^power, exact as long as both fit; beyond that nearly. */
class Factor {
 public:
  Factor(std::int64_t numerator, std::int64_t denominator = 1, int power_of_pi = 0);
  /** A decimal number, to six places. */
  [[nodiscard]] static Factor of(double number);
  [[nodiscard]] static Factor power_of_ten(int exponent);

  [[nodiscard]] Factor inverse() const;
  friend Factor operator*(const Factor& a, const Factor& b);

  [[nodiscard]] long double value() const;
  /** Half away from zero; false when it fits no 64 bits. */
  [[nodiscard]] bool round(std::int64_t& whole) const;

 private:
  [[nodiscard]] bool is_exact() const { return denominator_ != 0 && power_of_pi_ == 0; }

  std::int64_t numerator_;
  std::int64_t denominator_;  ///< above 0; 0: rest_ holds the number
  int power_of_pi_ = 0;
  long double rest_ = 0;
};

}  // namespace tav::host

#endif
