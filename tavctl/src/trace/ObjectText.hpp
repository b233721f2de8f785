#ifndef TAVCTL_TRACE_OBJECTTEXT_HPP
#define TAVCTL_TRACE_OBJECTTEXT_HPP

#include <cstdint>
#include <nkr/tools/EDSParser.hpp>
#include <string>
#include <vector>

#include "model/Value.hpp"

namespace tavctl {

/** An object and the bytes that a frame gives it, least significant first. */
struct ObjectBytes {
  nkr::tools::ObjectID object;
  std::vector<std::uint8_t> bytes;
};

/** Objects and their values as a description names them; without one of its own, an object is its address. */
class ObjectText {
 public:
  explicit ObjectText(const nkr::tools::EDSParser& description) : description_(description) {}

  /** "\"statusword\" (0x6041:00)". */
  [[nodiscard]] std::string name(nkr::tools::ObjectID id) const;
  /** The value by the object's type; control and status words, PDO identifiers
   * and mappings with what they mean. */
  [[nodiscard]] std::string value(const ObjectBytes& object) const;
  /** Name, address and value for programs. */
  [[nodiscard]] Json json(const ObjectBytes& object) const;

  [[nodiscard]] const nkr::tools::EDSParser& description() const { return description_; }

 private:
  /** What the value says, for the objects whose numbers people do not read; else empty. */
  [[nodiscard]] std::string meaning_of(const ObjectBytes& object) const;
  [[nodiscard]] Value decoded(const ObjectBytes& object) const;

  const nkr::tools::EDSParser& description_;
};

}  // namespace tavctl

#endif
