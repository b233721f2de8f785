#ifndef NKR_TOOLS_DCFDOCUMENT_HPP
#define NKR_TOOLS_DCFDOCUMENT_HPP

#include <nkr/export.h>

#include <cstdint>
#include <iosfwd>
#include <memory>
#include <nkr/tools/ObjectEntry.hpp>
#include <optional>
#include <string>
#include <string_view>

namespace nkr::tools {

/**
 * An EDS or DCF as a text that can be changed (CiA 306): what was read and not changed is written back byte
 * for byte; vendor keys, comments, order, line ends and encoding stay. Values that are set make an EDS a DCF.
 *
 * Sections and keys are named without case; the first of two equal ones holds. Texts are UTF-8 here, whatever
 * the file holds. A copy is a document of its own.
 */
class NKR_EXPORT DCFDocument {
 public:
  DCFDocument();
  ~DCFDocument();
  DCFDocument(const DCFDocument& other);
  DCFDocument& operator=(const DCFDocument& other);
  DCFDocument(DCFDocument&&) noexcept;
  DCFDocument& operator=(DCFDocument&&) noexcept;

  /** Reads a file. False when it is no such text (binary, UTF-16, XML, no section); the old content stays. */
  [[nodiscard]] bool parse(std::istream& stream);
  /** The whole file, unchanged lines byte for byte. */
  [[nodiscard]] std::string text() const;
  /** Writes text(); false when the stream failed. */
  [[nodiscard]] bool write(std::ostream& stream) const;

  [[nodiscard]] bool hasSection(std::string_view section) const;
  /** A key's value without the blanks around it; nothing when section or key is absent. */
  [[nodiscard]] std::optional<std::string> get(std::string_view section, std::string_view key) const;
  /**
   * Sets a key's value; a key that is absent is added at the end of its section, a section at the end of the
   * file. False, and nothing changes, when a text cannot stand in a line: line ends or control characters, no
   * UTF-8, a key with "=" in it, a section with "]".
   */
  [[nodiscard]] bool set(std::string_view section, std::string_view key, std::string_view value);
  /** Removes the key's lines; false when there is none. */
  [[nodiscard]] bool remove(std::string_view section, std::string_view key);

  /** The ParameterValue of an object, be it in a section of its own or in a list of values. */
  [[nodiscard]] std::optional<std::string> getParameterValue(ObjectID object) const;
  /**
   * Sets the ParameterValue of an object that the file describes: in its section or, for a sub-entry of
   * CompactSubObj, in the object's list of values. False when there is no such object, or the text cannot
   * stand in a line.
   */
  [[nodiscard]] bool setParameterValue(ObjectID object, std::string_view value);
  /** Sets [DeviceComissioning] NodeID. False outside 1 to 127. */
  [[nodiscard]] bool setNodeId(std::uint8_t node_id);
  /** Sets a key of [DeviceComissioning]: NodeName, Baudrate (kbit/s), NetNumber, NetworkName ... */
  [[nodiscard]] bool setCommissioning(std::string_view key, std::string_view value);

 private:
  struct NKR_HIDDEN Content;
  std::unique_ptr<Content> content_;
};

}  // namespace nkr::tools

#endif
