#ifndef TAV_DRIVE_SRC_NODE_RANDOM_HPP
#define TAV_DRIVE_SRC_NODE_RANDOM_HPP

#include <chrono>
#include <cstdint>
#include <string_view>

namespace tav::drive {

/**
 * Numbers that are the same on every run and every machine. Each purpose has a generator of its own, made
 * from the drive's seed and a name: what one draws shifts no other.
 */
class Random {
 public:
  Random(std::uint64_t seed, std::string_view purpose) : state_(seed) {
    for (const char c : purpose) state_ = mixed(state_ ^ static_cast<unsigned char>(c));
  }

  std::uint64_t next() {
    state_ += kStep;
    return mixed(state_);
  }
  /** One of 0 to 1, without 1. */
  double part() { return static_cast<double>(next() >> 11) * 0x1p-53; }
  /** A time of 0 to that, with both. */
  std::chrono::microseconds up_to(std::chrono::microseconds most) {
    const auto count = static_cast<std::uint64_t>(most.count());
    return std::chrono::microseconds(static_cast<std::int64_t>(next() % (count + 1)));
  }

 private:
  static constexpr std::uint64_t kStep = 0x9E3779B97F4A7C15;

  static std::uint64_t mixed(std::uint64_t value) {
    value = (value ^ (value >> 30)) * 0xBF58476D1CE4E5B9;
    value = (value ^ (value >> 27)) * 0x94D049BB133111EB;
    return value ^ (value >> 31);
  }

  std::uint64_t state_;
};

}  // namespace tav::drive

#endif
