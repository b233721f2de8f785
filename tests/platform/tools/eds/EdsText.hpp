#ifndef TESTS_PLATFORM_TOOLS_EDS_EDSTEXT_HPP
#define TESTS_PLATFORM_TOOLS_EDS_EDSTEXT_HPP

#include <gtest/gtest.h>

#include <nkr/tools/EDSParser.hpp>
#include <sstream>
#include <string>

namespace tavtest {

/** Parses a text; the result of the parse is `ok`. */
struct Parsed {
  explicit Parsed(const std::string& text, bool strict = false) {
    std::istringstream stream(text);
    ok = parser.parse(stream, strict);
  }
  /** The object at an index; a failure of the test and an empty entry when it is missing. */
  const nkr::tools::ObjectEntry::Description& at(std::uint16_t index, std::uint8_t subindex = 0) const {
    static const nkr::tools::ObjectEntry::Description kNone;
    const auto* entry = parser.find(nkr::tools::ObjectID(index, subindex));
    EXPECT_NE(entry, nullptr) << std::hex << index << " sub " << int{subindex};
    return entry == nullptr ? kNone : entry->description();
  }
  bool has(std::uint16_t index, std::uint8_t subindex = 0) const {
    return parser.find(nkr::tools::ObjectID(index, subindex)) != nullptr;
  }
  /** True when a diagnostic of that line holds that text. */
  bool says(std::size_t line, const std::string& text) const {
    for (const auto& diagnostic : parser.diagnostics()) {
      if (diagnostic.line == line && diagnostic.problem.find(text) != std::string::npos) return true;
    }
    return false;
  }
  /** Every diagnostic as text, for a test's message. */
  std::string all() const {
    std::string text;
    for (const auto& d : parser.diagnostics()) {
      text += std::to_string(d.line) + " [" + d.section + "] " + d.problem + " -> " + d.taken + '\n';
    }
    return text;
  }

  nkr::tools::EDSParser parser;
  bool ok = false;
};

/** A variable's section; more keys may follow it. */
inline std::string variable(const std::string& index, const std::string& name, const std::string& more = {}) {
  return "[" + index + "]\nParameterName=" + name +
         "\nObjectType=0x7\nDataType=0x0007\nAccessType=rw\nPDOMapping=0\n" + more;
}

}  // namespace tavtest

#endif
