#ifndef NKR_TOOLS_DIAGNOSTIC_HPP
#define NKR_TOOLS_DIAGNOSTIC_HPP

#include <cstddef>
#include <cstdint>
#include <string>

namespace nkr::tools {

/** One thing that was wrong in a description file, where, what was taken instead, and how to cure it. */
struct Diagnostic {
  enum class Severity : std::uint8_t {
    WARNING,  ///< a deviation from CiA 306; a strict reading fails
    ERROR,    ///< nothing sound can be read
    NOTE,     ///< allowed, but worth a look
  };
  Severity severity = Severity::WARNING;
  std::size_t line = 0;  ///< counted from 1; 0 when it concerns the file as a whole
  std::string section;   ///< name of the section, without brackets; printable
  std::string problem;   ///< what was wrong; printable whatever the file holds
  std::string taken;     ///< what was taken instead; empty when nothing was
  std::string cure;      ///< what to write in the file
};

}  // namespace nkr::tools

#endif
