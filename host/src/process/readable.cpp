#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <filesystem>
#include <system_error>
#include <tav/host/readable.hpp>

namespace tav::host {

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

}  // namespace tav::host
