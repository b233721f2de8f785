#ifndef TESTS_SUPPORT_TEMPORARYFILE_HPP
#define TESTS_SUPPORT_TEMPORARYFILE_HPP

#include <unistd.h>

#include <cstdlib>
#include <fstream>
#include <stdexcept>
#include <string>

namespace tavtest {

/** A file with the given content in the system's temporary folder, gone with this object. */
class TemporaryFile {
 public:
  explicit TemporaryFile(const std::string& content) {
    const char* const folder = std::getenv("TMPDIR");
    path_ = std::string(folder != nullptr ? folder : "/tmp") + "/tav-test-XXXXXX";
    const int descriptor = ::mkstemp(path_.data());
    if (descriptor < 0) throw std::runtime_error("no temporary file at " + path_);
    ::close(descriptor);
    std::ofstream(path_) << content;
  }
  ~TemporaryFile() { ::unlink(path_.c_str()); }
  TemporaryFile(const TemporaryFile&) = delete;
  TemporaryFile& operator=(const TemporaryFile&) = delete;

  [[nodiscard]] const std::string& path() const { return path_; }

 private:
  std::string path_;
};

}  // namespace tavtest

#endif
