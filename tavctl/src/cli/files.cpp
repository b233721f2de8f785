#include "cli/files.hpp"

#include <cerrno>
#include <fstream>
#include <system_error>
#include <tav/host/readable.hpp>

#include "cli/Failure.hpp"

namespace tavctl {

namespace {

std::string text_of(int error) {
  return std::generic_category().message(error);
}

}  // namespace

void open_to_read(std::ifstream& stream, const std::string& path, const std::string& what) {
  const std::string why = tav::host::why_unreadable(path);
  if (why.empty()) stream.open(path, std::ios::binary);
  if (stream.is_open()) return;
  throw Failure(ExitCode::CONFIGURATION, "cannot open " + what + (what.empty() ? "" : " ") + path,
                why.empty() ? text_of(errno) : why);
}

void write_file(const std::string& path, const std::string& content) {
  std::ofstream stream(path, std::ios::binary);
  if (!stream) throw Failure(ExitCode::CONFIGURATION, "cannot write " + path, text_of(errno));
  stream << content;
  stream.close();
  if (stream) return;
  const std::string why = text_of(errno);
  throw Failure(ExitCode::CONFIGURATION, "cannot write " + path,
                why + "; what the file holds now is incomplete");
}

}  // namespace tavctl
