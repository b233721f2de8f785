#ifndef NKR_TOOLS_DESCRIPTIONDIFF_HPP
#define NKR_TOOLS_DESCRIPTIONDIFF_HPP

#include <nkr/export.h>

#include <cstdint>
#include <nkr/tools/EDSParser.hpp>
#include <optional>
#include <string>
#include <vector>

namespace nkr::tools {

/** What a difference means to a machine that runs with the first of two descriptions; the gravest first. */
enum class Impact : std::uint8_t {
  BREAKS,   ///< a program or another node fails or misreads: an object gone, renamed, of another type, no
            ///< longer readable, writable or mappable; another node id, bit rate or device; what PDOs and
            ///< COB-IDs say
  CHANGES,  ///< the device behaves otherwise: values, limits, revision, what it supports
  ADDS,     ///< something that the first one lacks: an object, a wider access
  TEXT,     ///< for people alone
};

/** One difference between two descriptions. Texts as the files have them; nothing where one says nothing. */
struct DescriptionDifference {
  Impact impact = Impact::TEXT;
  std::optional<ObjectID> object;  ///< nothing: it stands in a section outside the objects
  std::string place;               ///< name of the object, or of the section
  std::string key;  ///< "DataType", "NodeID"; empty: the object as a whole is there in one of the two alone
  std::optional<std::string> before;
  std::optional<std::string> after;
};

/**
 * What differs from one description to another, objects compared by index and subindex: by impact, then by
 * index. Numbers are compared as their types read them: 0x10 is 16. An empty value is none.
 */
[[nodiscard]] NKR_EXPORT std::vector<DescriptionDifference> compare_descriptions(const EDSParser& before,
                                                                                 const EDSParser& after);

}  // namespace nkr::tools

#endif
