#ifndef TAVCTL_TEXT_OBJECTTABLE_HPP
#define TAVCTL_TEXT_OBJECTTABLE_HPP

#include <nkr/tools/EDSParser.hpp>
#include <string>

#include "cli/Output.hpp"

namespace tavctl {

/** Prints the objects whose name or address ("0x6041:00") fits the pattern (empty: all). Answers their
 * number.
 */
std::size_t print_objects(Output& output, const nkr::tools::EDSParser& description,
                          const std::string& pattern);

}  // namespace tavctl

#endif
