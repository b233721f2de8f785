#ifndef TAVCTL_COMMANDS_SAFETY_FILEHASH_HPP
#define TAVCTL_COMMANDS_SAFETY_FILEHASH_HPP

#include <string>

namespace tavctl {

/** SHA-256 of a file's content, in hexadecimal. Failure(CONFIGURATION) when it cannot be read. */
[[nodiscard]] std::string sha256_of_file(const std::string& path);

}  // namespace tavctl

#endif
