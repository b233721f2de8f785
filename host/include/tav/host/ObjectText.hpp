#ifndef TAV_HOST_OBJECTTEXT_HPP
#define TAV_HOST_OBJECTTEXT_HPP

#include <nkr/export.h>

#include <cstdint>
#include <nkr/tools/EDSParser.hpp>
#include <string>
#include <tav/host/Value.hpp>
#include <vector>

namespace tav::host {

/** An object and the bytes that a frame gives it, least significant first. */
struct ObjectBytes {
  nkr::tools::ObjectID object;
  std::vector<std::uint8_t> bytes;
};

/** Objects and their values as a description names them; without one of its own, an object is its address. */
class NKR_EXPORT ObjectText {
 public:
  explicit ObjectText(const nkr::tools::EDSParser& description) : description_(description) {}

  /** "\"statusword\" (0x6041:00)". */
  [[nodiscard]] std::string name(nkr::tools::ObjectID id) const;
  /** The value by the object's type; control and status words, PDO identifiers
   * and mappings with what they mean. */
  [[nodiscard]] std::string value(const ObjectBytes& object) const;
  /** The value by the object's type alone; as bytes when the description does not hold it. */
  [[nodiscard]] Value decoded(const ObjectBytes& object) const;

  [[nodiscard]] const nkr::tools::EDSParser& description() const { return description_; }

 private:
  /** What the value says, for the objects whose numbers people do not read; else empty. */
  [[nodiscard]] std::string meaning_of(const ObjectBytes& object) const;

  const nkr::tools::EDSParser& description_;
};

}  // namespace tav::host

#endif
