#ifndef NKR_TOOLS_SRC_EDS_SUBLIST_HPP
#define NKR_TOOLS_SRC_EDS_SUBLIST_HPP

#include <cstdint>
#include <vector>

#include "eds/DescriptionText.hpp"

namespace nkr::tools {

/** The lines of an [IIIIName] or [IIIIValue] section by the sub-index that each is for. */
class SubList {
 public:
  SubList() = default;
  /** @param section  may be null: an empty list  @param count  sub-entries of the object's CompactSubObj */
  SubList(const DescriptionText& text, const Section* section, std::uint8_t count, Diagnostics& diagnostics);

  /** The line for a sub-index, or null. */
  [[nodiscard]] const KeyLine* at(std::uint8_t subindex) const {
    return subindex < lines_.size() ? lines_[subindex] : nullptr;
  }

 private:
  std::vector<const KeyLine*> lines_;
};

}  // namespace nkr::tools

#endif
