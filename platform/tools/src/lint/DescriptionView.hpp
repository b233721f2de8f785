#ifndef NKR_TOOLS_SRC_LINT_DESCRIPTIONVIEW_HPP
#define NKR_TOOLS_SRC_LINT_DESCRIPTIONVIEW_HPP

#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "eds/DescriptionContent.hpp"
#include "eds/DescriptionText.hpp"

namespace nkr::tools {

/** The sections that describe one index; of two equal ones the first. */
struct IndexSections {
  const Section* object = nullptr;
  const Section* names = nullptr;
  const Section* values = nullptr;
  const Section* denotations = nullptr;
  const Section* links = nullptr;
  std::map<std::uint8_t, const Section*> subs;
};

/** A description as the checks look at it: its sections and keys, and the objects that were read from them.
 */
class DescriptionView {
 public:
  /** Looks into all three, which must live on. */
  DescriptionView(std::string_view bytes, const DescriptionText& text, const DescriptionContent& content);

  /** The file's bytes. */
  [[nodiscard]] std::string_view bytes() const { return bytes_; }
  [[nodiscard]] const DescriptionText& text() const { return text_; }
  [[nodiscard]] const Objects& objects() const { return content_.objects; }
  [[nodiscard]] const std::map<std::uint16_t, IndexSections>& indexes() const { return indexes_; }

  /** The sections of an index; null when there is none. */
  [[nodiscard]] const IndexSections* sections_of(std::uint16_t index) const;
  /** The object at an id; null when there is none. */
  [[nodiscard]] const ObjectEntry::Description* object(ObjectID id) const;

  /** The first section of that name outside the objects; null when there is none. */
  [[nodiscard]] const Section* section(std::string_view name) const;
  /** The first key of that name; null when section or key is absent. */
  [[nodiscard]] const KeyLine* key(const Section* section, std::string_view name) const;
  /** The number of a key; nothing when it is absent or no number. */
  [[nodiscard]] std::optional<std::int64_t> number(const Section* section, std::string_view name) const;
  /** Where a key stands; the section's own line when it is absent. */
  [[nodiscard]] Place place(const Section* section, std::string_view name) const;
  /** Where a key of an object stands; for an entry of CompactSubObj, that of its array or record. */
  [[nodiscard]] Place place(const ObjectEntry::Description& object, std::string_view name) const;

  /** The keys of a section in the order of the file. */
  [[nodiscard]] const KeyLine* begin(const Section& section) const {
    return text_.keys.data() + section.first;
  }
  [[nodiscard]] const KeyLine* end(const Section& section) const { return begin(section) + section.count; }

  /** The section commissioning a device, however it is spelt; null in an EDS. */
  [[nodiscard]] const Section* commissioning() const;
  /** The commissioned node id. */
  [[nodiscard]] std::optional<std::uint8_t> node_id() const { return content_.info.node_id(); }
  /** The value that holds: of a DCF its ParameterValue, else the default; null when there is none. */
  [[nodiscard]] static const std::string* value_of(const ObjectEntry::Description& object);
  /** The key that value_of() comes from. */
  [[nodiscard]] static std::string_view value_key_of(const ObjectEntry::Description& object);

 private:
  void add(const Section& section);

  std::string_view bytes_;
  const DescriptionText& text_;
  const DescriptionContent& content_;
  std::map<std::uint16_t, IndexSections> indexes_;
  std::unordered_map<std::string, const Section*> sections_;  // by their names in small letters
};

/** What a rule finds: each with its place, the text that shows it, and what is taken all the same. */
class Findings {
 public:
  Findings(Problem problem, Diagnostics& diagnostics) : problem_(problem), diagnostics_(diagnostics) {}
  void add(Place place, std::string_view detail = {}, std::string_view taken = {}) const {
    diagnostics_.report(problem_, place, detail, taken);
  }

 private:
  Problem problem_;
  Diagnostics& diagnostics_;
};

/** One rule of CiA 306: what it may find, and the function that looks for it. */
struct Rule {
  Problem problem;
  void (*check)(const DescriptionView& view, const Findings& findings);
};

}  // namespace nkr::tools

#endif
