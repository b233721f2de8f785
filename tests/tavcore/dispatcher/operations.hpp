#ifndef TESTS_TAVCORE_DISPATCHER_OPERATIONS_HPP
#define TESTS_TAVCORE_DISPATCHER_OPERATIONS_HPP

#include <cstdint>
#include <support/Operation.hpp>
#include <vector>

namespace tavtest {

/** @name The operations of the dispatcher, but those of safety: each with its accesses in order
 * @{ */
std::vector<Operation> process_data_operations();
std::vector<Operation> controller_only_operations();
std::vector<Operation> nmt_operations();
std::vector<Operation> emcy_operations();
std::vector<Operation> internal_operations();
std::vector<Operation> manufacturer_operations();
std::vector<Operation> pds_operations();
std::vector<Operation> velocity_operations();
std::vector<Operation> communication_operations();
std::vector<Operation> pdo_operations();
std::vector<Operation> all_operations();
/** @} */

// Values of the types that have no literal.
constexpr std::uint8_t u8(unsigned value) {
  return static_cast<std::uint8_t>(value);
}
constexpr std::uint16_t u16(unsigned value) {
  return static_cast<std::uint16_t>(value);
}
constexpr std::int8_t i8(int value) {
  return static_cast<std::int8_t>(value);
}
constexpr std::int16_t i16(int value) {
  return static_cast<std::int16_t>(value);
}

/** A record of the dispatcher itself. */
inline LogEntry dispatcher_record(std::uint32_t level, std::string function, std::string text) {
  return {7, level, std::move(function), 0, "CANOpenDispatcher", std::move(text)};
}

}  // namespace tavtest

#endif
