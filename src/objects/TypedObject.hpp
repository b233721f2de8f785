#ifndef TAVCORE_OBJECTS_TYPEDOBJECT_HPP
#define TAVCORE_OBJECTS_TYPEDOBJECT_HPP

#include <array>
#include <charconv>
#include <cstddef>
#include <cstdint>
#include <string_view>

/** @file
 * How an object of the drive is told: by its name, by a name with a number, or by its address. Each carries
 * the type that it is accessed with as `Value`, so an access with another type does not compile.
 */
namespace nkr::tavcore {

/** An object that is known by its name in the device description. */
template <class T>
struct Object {
  using Value = T;
  std::string_view name;
};

/** A name that ends with a number. It holds its text itself: nothing is allocated. */
class NumberedName {
 public:
  static constexpr std::size_t kMostNumber = 11;  ///< characters of the longest number
  static constexpr std::size_t kMostText = 100;   ///< characters before it; a longer text is cut

  NumberedName(std::string_view text, std::int32_t number) {
    char* const end = characters_.data() + text.copy(characters_.data(), kMostText);
    length_ =
        static_cast<std::size_t>(std::to_chars(end, end + kMostNumber, number).ptr - characters_.data());
  }

  // NOLINTNEXTLINE(google-explicit-constructor): it is a name wherever a name is asked for
  operator std::string_view() const { return {characters_.data(), length_}; }

 private:
  std::array<char, kMostText + kMostNumber> characters_{};
  std::size_t length_ = 0;
};

/** One object of a series whose names differ in their number alone. */
template <class T>
struct NumberedObject {
  using Value = T;
  NumberedName name;
};

/** The objects of one kind, one for each number: their names are the text with the number. */
template <class T>
class ObjectSeries {
 public:
  template <std::size_t Size>
  // NOLINTNEXTLINE(google-explicit-constructor): written as a name is
  constexpr ObjectSeries(const char (&text)[Size]) : text_(text, Size - 1) {
    static_assert(Size - 1 <= NumberedName::kMostText, "a name is never cut");
  }

  /** The object of that number, or of an identifier that is a number. */
  template <class Id>
  [[nodiscard]] NumberedObject<T> of(Id number) const {
    return {NumberedName(text_, static_cast<std::int32_t>(number))};
  }

 private:
  std::string_view text_;
};

/** An object that is accessed by number: index << 16 | subindex << 8 | length in bits, or 0 for the length.
 */
template <class T>
struct ObjectAt {
  using Value = T;
  std::uint32_t address;
};

}  // namespace nkr::tavcore

#endif
