#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>

#include "Line.hpp"
#include "LineWriter.hpp"
#include "Sink.hpp"

namespace nkr::log {
namespace {

constexpr std::uint32_t kMostKept = 1000;

class FileSink final : public Sink {
 public:
  FileSink(std::string path, std::uint64_t max_bytes, std::uint32_t kept, std::uint32_t level)
      : Sink(level), path_(std::move(path)), max_bytes_(max_bytes), kept_(std::min(kept, kMostKept)) {
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
    if (regular_ && max_bytes_ != 0) make_room(line.view().size());
    if (!is_open()) open();
    return is_open() && write_line(descriptor_, line.view());
  }

 private:
  void open() {
    // O_NONBLOCK: a named pipe without a reader must not hold up its writer.
    constexpr int kFlags = O_WRONLY | O_APPEND | O_CREAT | O_CLOEXEC | O_NONBLOCK | O_NOCTTY;
    constexpr mode_t kMode = 0644;
    const int saved_errno = errno;
    descriptor_ = ::open(path_.c_str(), kFlags, kMode);
    struct stat status {};
    regular_ = is_open() && fstat(descriptor_, &status) == 0 && S_ISREG(status.st_mode);
    errno = saved_errno;
  }

  void close_file() {
    if (is_open()) ::close(descriptor_);
    descriptor_ = -1;
  }

  std::string numbered(std::uint32_t number) const { return path_ + "." + std::to_string(number); }

  /** Whether the path still names the open file; another process may have renamed it. */
  bool is_at_path(struct stat& named) const {
    struct stat opened {};
    return fstat(descriptor_, &opened) == 0 && stat(path_.c_str(), &named) == 0 &&
           opened.st_dev == named.st_dev && opened.st_ino == named.st_ino;
  }

  /** The next line goes to the file that the path names, and that is not full. */
  void make_room(std::size_t size) {
    const int saved_errno = errno;
    struct stat named {};
    const auto is_full = [&] {
      return named.st_size > 0 && static_cast<std::uint64_t>(named.st_size) + size > max_bytes_;
    };
    if (!is_open() || !is_at_path(named)) {
      close_file();
      open();
    }
    if (is_open() && is_at_path(named) && is_full() && ::flock(descriptor_, LOCK_EX | LOCK_NB) == 0) {
      // Of several processes the one with the lock renames the file, once: the others find another there.
      if (is_at_path(named) && is_full()) rotate();
      if (is_open()) ::flock(descriptor_, LOCK_UN);
    }
    errno = saved_errno;
  }

  /** A file that cannot be renamed or emptied goes on growing: a message in it is worth more than its size.
   */
  void rotate() {
    if (kept_ == 0) {
      static_cast<void>(!ftruncate(descriptor_, 0));
      return;
    }
    for (std::uint32_t number = kept_; number > 1; --number) {
      std::rename(numbered(number - 1).c_str(), numbered(number).c_str());
    }
    if (std::rename(path_.c_str(), numbered(1).c_str()) == 0) close_file();
  }

  const std::string path_;
  const std::uint64_t max_bytes_;
  const std::uint32_t kept_;
  int descriptor_ = -1;
  bool regular_ = false;
};

}  // namespace

std::shared_ptr<Sink> make_file_sink(const std::string& path, std::uint64_t max_bytes, std::uint32_t kept,
                                     std::uint32_t level) {
  auto sink = std::make_shared<FileSink>(path, max_bytes, kept, level);
  return sink->is_open() ? sink : nullptr;
}

}  // namespace nkr::log
