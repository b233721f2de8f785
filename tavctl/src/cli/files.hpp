#ifndef TAVCTL_CLI_FILES_HPP
#define TAVCTL_CLI_FILES_HPP

#include <iosfwd>
#include <string>

namespace tavctl {

// The files that the user names, and what to say when they cannot be used.

/** Opens the file. Failure(CONFIGURATION), "cannot open WHAT PATH" with the reason, when it cannot be read.
 * @param what  "the configuration"; may be empty */
void open_to_read(std::ifstream& stream, const std::string& path, const std::string& what = {});

/** Makes the file hold this. Failure(CONFIGURATION) with the reason when it cannot be written. */
void write_file(const std::string& path, const std::string& content);

}  // namespace tavctl

#endif
