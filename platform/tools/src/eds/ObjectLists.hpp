#ifndef NKR_TOOLS_SRC_EDS_OBJECTLISTS_HPP
#define NKR_TOOLS_SRC_EDS_OBJECTLISTS_HPP

#include <bitset>
#include <cstdint>
#include <string>
#include <vector>

#include "eds/DescriptionText.hpp"

namespace nkr::tools {

/** An index as text: 0x1018. */
[[nodiscard]] std::string index_text(std::uint16_t index);

/** The three object lists of a description (CiA 306). Hints alone: the sections are what exists. */
class ObjectLists {
 public:
  ObjectLists(const DescriptionText& text, Diagnostics& diagnostics);

  [[nodiscard]] bool lists(std::uint16_t index) const { return listed_[index]; }

  /** Reports what is listed and not described. */
  void check_described(const std::bitset<0x10000>& described, Diagnostics& diagnostics) const;

 private:
  void read_list(const DescriptionText& text, const Section& section, Diagnostics& diagnostics);
  void read_entry(const KeyLine& entry, const Section& section, Diagnostics& diagnostics);

  struct Entry {
    std::uint16_t index;
    Place place;
  };
  std::bitset<0x10000> listed_;
  std::vector<Entry> entries_;  // each listed index once
};

}  // namespace nkr::tools

#endif
