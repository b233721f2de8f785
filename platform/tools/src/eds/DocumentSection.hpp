#ifndef NKR_TOOLS_SRC_EDS_DOCUMENTSECTION_HPP
#define NKR_TOOLS_SRC_EDS_DOCUMENTSECTION_HPP

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace nkr::tools {

/** The lines of one section, header first, as bytes of the file with their ends. */
class DocumentSection {
 public:
  void append_line(std::string_view line_with_end) { lines_.emplace_back(line_with_end); }
  void append_to(std::string& text) const;

  /** Bytes of a key's value, trimmed. */
  [[nodiscard]] std::optional<std::string_view> value(std::string_view key) const;
  /** Sets or adds a key; `line_end` ends a new line that nothing in the section can show the end of. */
  void set(std::string_view key, std::string_view value, std::string_view line_end);
  bool remove(std::string_view key);
  /** Number of keys, without those of that name. */
  [[nodiscard]] std::size_t count_keys_without(std::string_view key) const;
  /** Gives the last line an end when it has none. */
  void end_last_line(std::string_view line_end);

 private:
  [[nodiscard]] std::size_t line_of(std::string_view key) const;
  void insert(std::string_view key, std::string_view value, std::string_view line_end);

  std::vector<std::string> lines_;
};

/** The characters that end a line; empty when it has no end. */
[[nodiscard]] std::string_view line_end_of(std::string_view line);

}  // namespace nkr::tools

#endif
