#ifndef NKR_TOOLS_SRC_EDS_OBJECTFIELDS_HPP
#define NKR_TOOLS_SRC_EDS_OBJECTFIELDS_HPP

#include <array>
#include <nkr/tools/ObjectEntry.hpp>

#include "eds/DescriptionText.hpp"

namespace nkr::tools {

/** The known keys of one object's section; the first of two equal ones holds. */
class ObjectFields {
 public:
  ObjectFields(const DescriptionText& text, const Section& section, Diagnostics& diagnostics);

  [[nodiscard]] const KeyLine* find(Key key) const { return lines_[static_cast<std::size_t>(key)]; }
  [[nodiscard]] const Section& section() const { return *section_; }
  /** Where a key stands; the section's own place when it is absent. */
  [[nodiscard]] Place place(Key key) const;

 private:
  const Section* section_;
  std::array<const KeyLine*, static_cast<std::size_t>(Key::COUNT)> lines_{};
};

// Readings of single fields; each reports what is wrong and says what it took instead.

/** A name cut to the length that CiA 306 allows. */
[[nodiscard]] std::string cut_name(std::string name);
[[nodiscard]] std::string name_of(const ObjectFields& fields, Diagnostics& diagnostics);
[[nodiscard]] std::uint8_t object_type_of(const ObjectFields& fields, Diagnostics& diagnostics);
/** The number of entries that CompactSubObj states; 0 when there is none. */
[[nodiscard]] std::uint8_t compact_count_of(const ObjectFields& fields, Diagnostics& diagnostics);

/** Data type, access, values, limits and mapping of a variable. */
void read_variable(const ObjectFields& fields, ObjectEntry::Description& object, Diagnostics& diagnostics);

}  // namespace nkr::tools

#endif
