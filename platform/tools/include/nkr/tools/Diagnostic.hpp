#ifndef NKR_TOOLS_DIAGNOSTIC_HPP
#define NKR_TOOLS_DIAGNOSTIC_HPP

#include <cstddef>
#include <cstdint>
#include <string>

namespace nkr::tools {

/** One thing that was wrong in a description file: where, what was taken instead, and how to cure it. */
struct Diagnostic {
  enum class Severity : std::uint8_t {
    WARNING,  ///< a deviation from CiA 306 that a reader can live with
    ERROR,    ///< nothing sound can be read; of a check: the object, PDO or setting it names is ambiguous or
              ///< unusable
    NOTE,     ///< a small deviation, or allowed and worth a look
  };
  Severity severity = Severity::WARNING;
  bool deviation = true;  ///< false: CiA 306 allows it
  std::string code;       ///< name of the rule: "sub-number"; the same in every version
  std::size_t line = 0;   ///< counted from 1; 0 when it concerns the file as a whole
  std::string section;    ///< name of the section, without brackets; printable
  std::string key;        ///< the key that it is about; empty when it is about none; printable
  std::string problem;    ///< what was wrong; printable whatever the file holds
  std::string taken;      ///< what was taken instead; empty when nothing was
  std::string cure;       ///< what to write in the file
};

}  // namespace nkr::tools

#endif
