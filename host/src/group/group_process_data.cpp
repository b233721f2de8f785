#include <cmath>
#include <tav/host/group_process_data.hpp>

namespace tav::host {

using nkr::canopen::NodeConfiguration;
using nkr::canopen::object_value;

namespace {

constexpr std::uint32_t kInvalid = 0x80000000;
constexpr std::uint32_t kNoRemote = 0x40000000;
constexpr std::uint8_t kEverySync = 1;

/** An entry of a mapping: index, sub-index, length in bits. */
constexpr std::uint32_t kControlWord = 0x60400010;
constexpr std::uint32_t kTargetVelocity = 0x60420010;
constexpr std::uint32_t kStatusWord = 0x60410010;
constexpr std::uint32_t kVelocity = 0x60440010;
constexpr std::uint32_t kPosition = 0x60640020;

void map(NodeConfiguration& all, std::uint16_t communication, std::uint32_t cob_id,
         std::initializer_list<std::uint32_t> entries) {
  const auto mapping = static_cast<std::uint16_t>(communication + 0x200);
  all.push_back(object_value({communication, 1}, cob_id | kInvalid));
  all.push_back(object_value({mapping, 0}, std::uint8_t{0}));
  std::uint8_t number = 0;
  for (const std::uint32_t entry : entries) all.push_back(object_value({mapping, ++number}, entry));
  all.push_back(object_value({mapping, 0}, number));
  all.push_back(object_value({communication, 2}, kEverySync));
  all.push_back(object_value({communication, 1}, cob_id));
}

/** Bits of a frame with so many data bytes, all stuff bits and the pause behind it included. */
constexpr unsigned worst_bits(unsigned bytes) {
  return 47 + 8 * bytes + (33 + 8 * bytes) / 4;
}

constexpr unsigned kSync = worst_bits(0);
constexpr unsigned kUnit = worst_bits(4) + worst_bits(8);

double seconds(std::chrono::microseconds period) {
  return std::chrono::duration<double>(period).count();
}

}  // namespace

NodeConfiguration group_process_data(std::uint8_t node) {
  NodeConfiguration all;
  map(all, 0x1400, 0x200U + node, {kControlWord, kTargetVelocity});
  map(all, 0x1800, (0x180U + node) | kNoRemote, {kStatusWord, kVelocity, kPosition});
  all.push_back(object_value({0x1801, 1}, (0x280U + node) | kNoRemote | kInvalid));
  return all;
}

GroupLoad group_load(std::size_t units, std::chrono::microseconds period, unsigned bit_rate) {
  GroupLoad load;
  load.bits = kSync + kUnit * static_cast<unsigned>(units);
  load.share = load.bits / (bit_rate * seconds(period));
  load.shortest_period = std::chrono::microseconds(
      static_cast<std::int64_t>(std::ceil(load.bits / (bit_rate * GroupLoad::kMost) * 1e6)));
  for (const unsigned rate :
       {10'000U, 20'000U, 50'000U, 125'000U, 250'000U, 500'000U, 800'000U, 1'000'000U}) {
    load.bit_rate_needed = rate;
    if (load.bits / (rate * seconds(period)) <= GroupLoad::kMost) return load;
  }
  load.bit_rate_needed = 0;
  return load;
}

}  // namespace tav::host
