#ifndef NKR_TOOLS_SRC_LINT_DESCRIBEDPDO_HPP
#define NKR_TOOLS_SRC_LINT_DESCRIBEDPDO_HPP

#include <vector>

#include "lint/DescriptionView.hpp"

namespace nkr::tools {

/** A PDO that a description describes (CiA 301, 7.5.2.33 to 36). */
struct DescribedPdo {
  bool transmit = false;
  std::uint16_t number = 0;  ///< from 0
  [[nodiscard]] std::uint16_t parameters() const {
    return static_cast<std::uint16_t>((transmit ? 0x1800 : 0x1400) + number);
  }
  [[nodiscard]] std::uint16_t mapping() const {
    return static_cast<std::uint16_t>((transmit ? 0x1A00 : 0x1600) + number);
  }
};

/** The PDOs whose communication parameters are described, RPDOs first. */
[[nodiscard]] std::vector<DescribedPdo> described_pdos(const DescriptionView& view);
/** The PDOs whose mapping is described. */
[[nodiscard]] std::vector<DescribedPdo> described_mappings(const DescriptionView& view);

}  // namespace nkr::tools

#endif
