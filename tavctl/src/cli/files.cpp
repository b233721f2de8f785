#include "cli/files.hpp"

#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <filesystem>
#include <fstream>
#include <system_error>

#include "cli/Failure.hpp"

namespace tavctl {

namespace {

std::string text_of(int error) {
  return std::generic_category().message(error);
}

std::string not_there(const std::string& path) {
  if (path.front() == '/') return "there is no such file";
  std::error_code error;
  return "there is no such file in " + std::filesystem::current_path(error).string() +
         ", from where a relative path counts";
}

}  // namespace

std::string why_unreadable(const std::string& path) {
  if (path.empty()) return "no file is named";
  struct stat facts = {};
  if (::stat(path.c_str(), &facts) != 0) {
    return errno == ENOENT ? not_there(path) : text_of(errno) + ": look at the folders above it";
  }
  if (S_ISDIR(facts.st_mode)) return "it is a folder, not a file";
  if (::access(path.c_str(), R_OK) != 0) return text_of(errno) + ": ls -l " + path + " shows who may read it";
  return {};
}

void open_to_read(std::ifstream& stream, const std::string& path, const std::string& what) {
  const std::string why = why_unreadable(path);
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
