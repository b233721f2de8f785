#ifndef NKR_TOOLS_EDSPARSER_HPP
#define NKR_TOOLS_EDSPARSER_HPP

#include <nkr/export.h>

#include <cstdint>
#include <iosfwd>
#include <memory>
#include <nkr/tools/Diagnostic.hpp>
#include <nkr/tools/ObjectEntry.hpp>
#include <nkr/tools/ObjectValue.hpp>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace nkr::tools {

class Diagnostics;

/**
 * Reader of a device description (EDS, DCF; CiA 306).
 *
 * Tolerant as real files need: a deviation gives a diagnostic, not a failure, unless nothing sound can be
 * read. Names are compared exactly; the first object in index order keeps a name that stands twice. Not to be
 * parsed into while another thread looks things up; look-ups alone may run at once.
 */
class NKR_EXPORT EDSParser {
 public:
  EDSParser();
  ~EDSParser();
  EDSParser(EDSParser&&) noexcept;
  EDSParser& operator=(EDSParser&&) noexcept;
  EDSParser(const EDSParser&) = delete;
  EDSParser& operator=(const EDSParser&) = delete;

  /**
   * Reads a description. Replaces the content on success, keeps the old content on failure.
   * @param strict  fail on anything that CiA 306 does not allow
   */
  [[nodiscard]] bool parse(std::istream& stream, bool strict);

  /** The object of that name, or null. */
  [[nodiscard]] std::shared_ptr<ObjectEntry> getObjectByName(const std::string& name) const;
  /** The object of that name, or null: one hash, no allocation. Valid until the next parse. */
  [[nodiscard]] const ObjectEntry* find(std::string_view name) const;
  /** The object at that index and subindex, or null. */
  [[nodiscard]] const ObjectEntry* find(ObjectID id) const;
  /** All objects, by index, then subindex. */
  [[nodiscard]] const std::vector<std::shared_ptr<ObjectEntry>>& objects() const;
  /** Value of a key outside the objects ("DeviceInfo", "VendorNumber"), without case, as the file has it. */
  [[nodiscard]] std::optional<std::string> getInfo(std::string_view section, std::string_view key) const;
  /** The node id that a DCF commissions ([DeviceComissioning] NodeID, 1 to 127). */
  [[nodiscard]] std::optional<std::uint8_t> getNodeId() const;
  /** What the last parse, successful or not, had to say; bounded in number. */
  [[nodiscard]] const std::vector<Diagnostic>& diagnostics() const;

 private:
  struct NKR_HIDDEN Content;
  [[nodiscard]] static bool read(std::istream& stream, Content& content, Diagnostics& diagnostics);

  std::unique_ptr<Content> content_;
  std::vector<Diagnostic> diagnostics_;
};

}  // namespace nkr::tools

#endif
