#ifndef NKR_TOOLS_OBJECTENTRY_HPP
#define NKR_TOOLS_OBJECTENTRY_HPP

#include <nkr/export.h>

#include <cstdint>
#include <optional>
#include <string>
#include <utility>

namespace nkr::tools {

/** CiA 301 data-type code of an object (CiA 301, 7.4.7; dictionary 0x0001 to 0x001B). 0: none stated. */
enum class DataType : std::uint16_t {
  UNKNOWN = 0,
  BOOLEAN = 0x01,
  INTEGER8 = 0x02,
  INTEGER16 = 0x03,
  INTEGER32 = 0x04,
  UNSIGNED8 = 0x05,
  UNSIGNED16 = 0x06,
  UNSIGNED32 = 0x07,
  REAL32 = 0x08,
  VISIBLE_STRING = 0x09,
  OCTET_STRING = 0x0A,
  UNICODE_STRING = 0x0B,
  TIME_OF_DAY = 0x0C,
  TIME_DIFFERENCE = 0x0D,
  DOMAIN = 0x0F,
  INTEGER24 = 0x10,
  REAL64 = 0x11,
  INTEGER40 = 0x12,
  INTEGER48 = 0x13,
  INTEGER56 = 0x14,
  INTEGER64 = 0x15,
  UNSIGNED24 = 0x16,
  UNSIGNED40 = 0x18,
  UNSIGNED48 = 0x19,
  UNSIGNED56 = 0x1A,
  UNSIGNED64 = 0x1B,
};

/**
 * Length in bits that an object address carries for a data type; 0 where an address carries none.
 * A BOOLEAN counts as 8 bits. The 64-bit row holds code 0x18 and not 0x1B, as addresses of this drive family
 * do.
 */
[[nodiscard]] inline std::uint32_t convert_EDS_Size(DataType type) {
  switch (static_cast<std::uint16_t>(type)) {
    case 0x01:
    case 0x02:
    case 0x05:
      return 8;
    case 0x03:
    case 0x06:
      return 16;
    case 0x04:
    case 0x07:
    case 0x08:
      return 32;
    case 0x11:
    case 0x15:
    case 0x18:
      return 64;
    default:
      return 0;
  }
}

/** Index and subindex of an object. */
class NKR_EXPORT ObjectID {
 public:
  constexpr ObjectID() = default;
  constexpr ObjectID(std::uint16_t index, std::uint8_t subindex)
      : value_((static_cast<std::uint32_t>(index) << 8) | subindex) {}

  /** index << 8 | subindex. */
  [[nodiscard]] constexpr std::uint32_t get() const { return value_; }
  [[nodiscard]] constexpr std::uint16_t index() const { return static_cast<std::uint16_t>(value_ >> 8); }
  [[nodiscard]] constexpr std::uint8_t subindex() const { return static_cast<std::uint8_t>(value_); }

  friend constexpr bool operator==(ObjectID a, ObjectID b) { return a.value_ == b.value_; }
  friend constexpr bool operator!=(ObjectID a, ObjectID b) { return a.value_ != b.value_; }
  friend constexpr bool operator<(ObjectID a, ObjectID b) { return a.value_ < b.value_; }

 private:
  std::uint32_t value_ = 0;
};

/** Access type of an object (CiA 306, AccessType). What a file says unclearly is never taken as writable. */
enum class AccessType : std::uint8_t { UNKNOWN, RO, WO, RW, RWR, RWW, CONST };

/** True when an object of this access may be read (written) by SDO. */
[[nodiscard]] constexpr bool is_readable(AccessType access) {
  return access != AccessType::WO;
}
[[nodiscard]] constexpr bool is_writable(AccessType access) {
  return access == AccessType::WO || access == AccessType::RW || access == AccessType::RWR ||
         access == AccessType::RWW;
}

/** One addressable object of a device description (CiA 306): a VAR, or a sub-entry of an array or record. */
class NKR_EXPORT ObjectEntry {
 public:
  /** What a description file says of an object. Texts are kept as they stand in the file. */
  struct Description {
    ObjectID id;
    std::string name;  ///< the name it is looked up by: "Parameter", or "Record Parameter" for a sub-entry
    std::string parameter;         ///< the ParameterName alone, as the file has it
    std::string record_name;       ///< ParameterName of the array or record it belongs to; empty for a VAR
    std::uint8_t object_type = 7;  ///< CiA 301 object code: 2 DOMAIN, 7 VAR, 8 ARRAY, 9 RECORD
    DataType data_type = DataType::UNKNOWN;
    AccessType access = AccessType::UNKNOWN;
    // Value texts: absent when the file has no such key, empty when it gives the key no value.
    std::optional<std::string> default_value;
    std::optional<std::string> parameter_value;  ///< ParameterValue of a DCF
    std::optional<std::string> low_limit;
    std::optional<std::string> high_limit;
    bool pdo_mapping = false;
    std::uint32_t line = 0;  ///< where its section begins in the file
    bool listed = false;     ///< its index stands in one of the three object lists
    bool compact = false;  ///< has no section of its own: CompactSubObj of its array or record stands for it
  };

  explicit ObjectEntry(Description description) : description_(std::move(description)) {}

  [[nodiscard]] const Description& description() const { return description_; }
  [[nodiscard]] const std::string& getName() const { return description_.name; }
  [[nodiscard]] ObjectID getObjectID() const { return description_.id; }
  [[nodiscard]] DataType getDataType() const { return description_.data_type; }
  [[nodiscard]] AccessType getAccessType() const { return description_.access; }
  /** Default value text; empty when the file gives none. */
  [[nodiscard]] const std::string& getDefaultValue() const { return text(description_.default_value); }
  [[nodiscard]] const std::string& getLowLimit() const { return text(description_.low_limit); }
  [[nodiscard]] const std::string& getHighLimit() const { return text(description_.high_limit); }

  /**
   * (ObjectID::get() << 8) + length in bits, modulo 2^32: index << 16 | subindex << 8 | bits, as a mapping
   * entry of CiA 301 has it.
   */
  [[nodiscard]] std::uint32_t getObjectAddress() const {
    return (description_.id.get() << 8) + convert_EDS_Size(description_.data_type);
  }

 private:
  static const std::string& text(const std::optional<std::string>& value) {
    static const std::string kNone;
    return value ? *value : kNone;
  }

  Description description_;
};

}  // namespace nkr::tools

#endif
