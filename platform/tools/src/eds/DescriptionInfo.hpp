#ifndef NKR_TOOLS_SRC_EDS_DESCRIPTIONINFO_HPP
#define NKR_TOOLS_SRC_EDS_DESCRIPTIONINFO_HPP

#include <map>
#include <optional>
#include <string>

#include "eds/DescriptionText.hpp"

namespace nkr::tools {

/** What a description says outside its objects: file, device, commissioning. Names compare without case. */
class DescriptionInfo {
 public:
  DescriptionInfo() = default;
  DescriptionInfo(const DescriptionText& text, Diagnostics& diagnostics);

  [[nodiscard]] std::optional<std::string> find(std::string_view section, std::string_view key) const;
  /** The node id that a DCF commissions; 1 to 127. */
  [[nodiscard]] std::optional<std::uint8_t> node_id() const;
  /** True when the file names itself a device description: file, device or object lists stand in it. */
  [[nodiscard]] bool is_of_canopen() const { return of_canopen_; }

 private:
  struct WithoutCase {
    using is_transparent = void;
    bool operator()(std::string_view a, std::string_view b) const;
  };
  using Keys = std::map<std::string, std::string, WithoutCase>;

  void add(const DescriptionText& text, const Section& section, Diagnostics& diagnostics);
  [[nodiscard]] static bool is_same(const DescriptionText& text, const Section& section, const Keys& keys);
  void check_sections(Diagnostics& diagnostics) const;

  std::map<std::string, Keys, WithoutCase> sections_;
  bool of_canopen_ = false;
};

}  // namespace nkr::tools

#endif
