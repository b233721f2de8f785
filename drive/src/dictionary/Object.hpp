#ifndef TAV_DRIVE_SRC_DICTIONARY_OBJECT_HPP
#define TAV_DRIVE_SRC_DICTIONARY_OBJECT_HPP

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "dictionary/Abort.hpp"

namespace tav::drive {

/** A value as it goes over the bus: least significant byte first. */
using Bytes = std::vector<std::uint8_t>;

/** What kind of value an object holds (CiA 301, 7.1): how its bytes are read as a number. */
enum class Kind : std::uint8_t { UNSIGNED, SIGNED, REAL, TEXT };

/** One addressable object of the drive, and what happens when it is accessed. */
struct Object {
  std::uint16_t index = 0;
  std::uint8_t subindex = 0;
  std::string name;
  Kind kind = Kind::UNSIGNED;
  std::size_t size = 0;  ///< bytes; of a text: how many it may have
  bool boolean = false;
  bool readable = true;
  bool writable = false;
  bool mappable = false;  ///< into a PDO
  bool moves = false;     ///< changes by itself while the motor turns
  std::optional<long double> low;
  std::optional<long double> high;
  Object* stands_for = nullptr;  ///< the object whose value this is another name of
  std::string default_text;      ///< as the description has it: it may depend on the node id
  Bytes value;
  std::optional<Bytes> forced;  ///< what a read finds instead of what the drive computes

  std::function<Abort()> refresh;  ///< before a read: brings `value` up to date, or says why it has none
  std::function<Abort(const Bytes&)> refuses;  ///< before a write: why this value is not taken
  std::function<void()> written;               ///< after a write

  /** Adds what is to be done after a write, behind what is done already. */
  void when_written(std::function<void()> action);
  /** Adds a reason to refuse a write, behind those there are. */
  void refuse_when(std::function<Abort(const Bytes&)> reason);
};

/** The object that a number of the index stands in: index << 8 | subindex. */
[[nodiscard]] constexpr std::uint32_t key_of(std::uint16_t index, std::uint8_t subindex) {
  return (static_cast<std::uint32_t>(index) << 8) | subindex;
}

/** The bytes as an unsigned number; at most eight count. */
[[nodiscard]] inline std::uint64_t unsigned_of(const Bytes& bytes) {
  const std::size_t size = bytes.size();
  if (size == 1) return bytes[0];
  if (size == 2) return bytes[0] | std::uint64_t{bytes[1]} << 8;
  std::uint64_t number = 0;
  for (std::size_t i = size < sizeof number ? size : sizeof number; i-- > 0;)
    number = (number << 8) | bytes[i];
  return number;
}
/** The bytes as a two's complement number. */
[[nodiscard]] inline std::int64_t signed_of(const Bytes& bytes) {
  const std::uint64_t number = unsigned_of(bytes);
  if (bytes.size() == 1) return static_cast<std::int8_t>(number);
  if (bytes.size() == 2) return static_cast<std::int16_t>(number);
  if (bytes.size() == 4) return static_cast<std::int32_t>(number);
  const std::size_t bits = 8 * bytes.size();
  const bool negative = bits > 0 && bits < 64 && (number >> (bits - 1)) != 0;
  return static_cast<std::int64_t>(negative ? number | ~std::uint64_t{0} << bits : number);
}
/** The low bytes of a number. */
void put_number(Bytes& bytes, std::uint64_t number);
/** The value of an object as a number, whatever its kind; 0 for a text. */
[[nodiscard]] long double number_in(const Object& object, const Bytes& bytes);

}  // namespace tav::drive

#endif
