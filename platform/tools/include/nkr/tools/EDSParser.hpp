#ifndef NKR_TOOLS_EDSPARSER_HPP
#define NKR_TOOLS_EDSPARSER_HPP

#include <cstdint>
#include <iosfwd>
#include <memory>
#include <nkr/tools/ObjectEntry.hpp>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace nkr::tools {

/** One thing that was wrong in a description file, where, and what was taken instead. */
struct Diagnostic {
  enum class Severity : std::uint8_t { WARNING, ERROR };
  Severity severity = Severity::WARNING;
  std::size_t line = 0;  ///< counted from 1; 0 when it concerns the file as a whole
  std::string section;   ///< name of the section, without brackets; printable
  std::string problem;   ///< what was wrong; printable whatever the file holds
  std::string taken;     ///< what was taken instead, or what to do about it
};

/**
 * Reader of a device description (EDS, DCF; CiA 306).
 *
 * Tolerant as real files need: a deviation gives a diagnostic, not a failure, unless nothing sound can be
 * read. Names are compared exactly; the first object in index order keeps a name that stands twice. Not to be
 * parsed into while another thread looks things up; look-ups alone may run at once.
 */
class EDSParser {
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
  bool parse(std::istream& stream, bool strict);

  /** The object of that name, or null. */
  [[nodiscard]] std::shared_ptr<ObjectEntry> getObjectByName(const std::string& name) const;
  /** The object of that name, or null: one hash, no allocation. Valid until the next parse. */
  [[nodiscard]] const ObjectEntry* find(std::string_view name) const;
  /** The object at that index and subindex, or null. */
  [[nodiscard]] const ObjectEntry* find(ObjectID id) const;
  /** All objects, by index, then subindex. */
  [[nodiscard]] const std::vector<std::shared_ptr<ObjectEntry>>& objects() const;
  /** Value of a key outside the objects ("DeviceInfo", "VendorNumber"), without case; as it stands in the
   * file. */
  [[nodiscard]] std::optional<std::string> getInfo(std::string_view section, std::string_view key) const;
  /** What the last parse, successful or not, had to say; bounded in number. */
  [[nodiscard]] const std::vector<Diagnostic>& diagnostics() const;

 private:
  struct Content;
  std::unique_ptr<Content> content_;
};

/** A value text of a description as a number: decimal, 0x hexadecimal, leading-0 octal, $NODEID in a sum. */
[[nodiscard]] std::optional<std::int64_t> number_of(std::string_view text, std::uint8_t node_id = 0);

}  // namespace nkr::tools

#endif
