#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>

#include "Line.hpp"
#include "LineWriter.hpp"
#include "Sink.hpp"

namespace nkr::log {
namespace {

class FileSink final : public Sink {
 public:
  FileSink(std::string path, std::uint64_t max_bytes, std::uint32_t kept, std::uint32_t level)
      : Sink(level), path_(std::move(path)), max_bytes_(max_bytes), kept_(kept) {
    open();
  }
  FileSink(const FileSink&) = delete;
  FileSink& operator=(const FileSink&) = delete;
  ~FileSink() override { close_file(); }

  bool is_open() const { return descriptor_ >= 0; }

 protected:
  bool write(const nkr_log_record_t& record) override {
    Line line;
    append_time(line, record.time_ns);
    line.append(" ");
    append_level(line, record.level);
    line.append(" [");
    line.append_number(record.context);
    line.append("] ");
    line.append(record.text);
    line.finish();
    if (regular_ && max_bytes_ != 0 && size_ != 0 && size_ + line.view().size() > max_bytes_) rotate();
    if (!is_open()) open();
    if (!is_open() || !write_line(descriptor_, line.view())) return false;
    size_ += line.view().size();
    return true;
  }

 private:
  void open() {
    // O_NONBLOCK: a named pipe without a reader must not hold up its writer.
    constexpr int kFlags = O_WRONLY | O_APPEND | O_CREAT | O_CLOEXEC | O_NONBLOCK | O_NOCTTY;
    constexpr mode_t kMode = 0644;
    const int saved_errno = errno;
    descriptor_ = ::open(path_.c_str(), kFlags, kMode);
    struct stat status {};
    const bool known = is_open() && fstat(descriptor_, &status) == 0;
    regular_ = known && S_ISREG(status.st_mode);
    size_ = regular_ ? static_cast<std::uint64_t>(status.st_size) : 0;
    errno = saved_errno;
  }

  void close_file() {
    if (is_open()) ::close(descriptor_);
    descriptor_ = -1;
  }

  std::string numbered(std::uint32_t number) const { return path_ + "." + std::to_string(number); }

  /** A file that cannot be renamed or emptied goes on growing: a message in it is worth more than its size.
   */
  void rotate() {
    const int saved_errno = errno;
    if (kept_ == 0) {
      if (ftruncate(descriptor_, 0) == 0) size_ = 0;
    } else {
      for (std::uint32_t number = kept_; number > 1; --number) {
        std::rename(numbered(number - 1).c_str(), numbered(number).c_str());
      }
      if (std::rename(path_.c_str(), numbered(1).c_str()) == 0) close_file();
    }
    errno = saved_errno;
  }

  const std::string path_;
  const std::uint64_t max_bytes_;
  const std::uint32_t kept_;
  int descriptor_ = -1;
  bool regular_ = false;
  std::uint64_t size_ = 0;
};

}  // namespace

std::shared_ptr<Sink> make_file_sink(const std::string& path, std::uint64_t max_bytes, std::uint32_t kept,
                                     std::uint32_t level) {
  auto sink = std::make_shared<FileSink>(path, max_bytes, kept, level);
  return sink->is_open() ? sink : nullptr;
}

}  // namespace nkr::log
