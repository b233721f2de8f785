#include "LineWriter.hpp"

#include <poll.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <ctime>

namespace nkr::log {
namespace {

/** Keeps a SIGPIPE that a write causes from the thread and from the program. */
class PipeSignalGuard {
 public:
  PipeSignalGuard() {
    sigemptyset(&pipe_);
    sigaddset(&pipe_, SIGPIPE);
    sigset_t pending;
    sigemptyset(&pending);
    sigpending(&pending);
    was_pending_ = sigismember(&pending, SIGPIPE) == 1;
    pthread_sigmask(SIG_BLOCK, &pipe_, &before_);
  }
  PipeSignalGuard(const PipeSignalGuard&) = delete;
  PipeSignalGuard& operator=(const PipeSignalGuard&) = delete;
  ~PipeSignalGuard() {
    constexpr timespec kNow{};
    if (!was_pending_) sigtimedwait(&pipe_, nullptr, &kNow);
    pthread_sigmask(SIG_SETMASK, &before_, nullptr);
  }

 private:
  sigset_t pipe_{};
  sigset_t before_{};
  bool was_pending_ = false;
};

bool is_writable_now(int descriptor) {
  pollfd query{descriptor, POLLOUT, 0};
  return poll(&query, 1, 0) == 1 && (query.revents & POLLOUT) != 0;
}

}  // namespace

bool write_line(int descriptor, std::string_view line) {
  const PipeSignalGuard guard;
  const int saved_errno = errno;
  bool written = false;
  // A pipe that is writable has room for PIPE_BUF bytes, which no line exceeds.
  if (is_writable_now(descriptor)) {
    const ssize_t size = ::write(descriptor, line.data(), line.size());
    written = size >= 0 && static_cast<std::size_t>(size) == line.size();
  }
  errno = saved_errno;
  return written;
}

}  // namespace nkr::log
