#include "session/Interrupt.hpp"

#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <csignal>
#include <cstddef>

namespace tavctl {

namespace {

/** A pipe whose write end the handler uses: the one thing that is safe there and wakes a waiter. */
int wake_pipe[2] = {-1, -1};
volatile std::sig_atomic_t end_requested = 0;

/** Ctrl-C, an orderly end, a terminal that was closed, an output that nobody reads any more. */
constexpr std::array<int, 4> kSignals = {SIGINT, SIGTERM, SIGHUP, SIGPIPE};
std::array<struct sigaction, kSignals.size()> previous;

void on_signal(int /*signal*/) {
  const int saved = errno;
  end_requested = 1;
  const char byte = 0;
  [[maybe_unused]] const ssize_t written = ::write(wake_pipe[1], &byte, 1);
  errno = saved;
}

}  // namespace

Interrupt::Interrupt() {
  end_requested = 0;
  if (::pipe2(wake_pipe, O_NONBLOCK | O_CLOEXEC) != 0) wake_pipe[0] = wake_pipe[1] = -1;
  struct sigaction action = {};
  action.sa_handler = on_signal;
  sigemptyset(&action.sa_mask);
  for (std::size_t i = 0; i < kSignals.size(); ++i) {
    ::sigaction(kSignals[i], &action, &previous[i]);
    const bool without_terminal = kSignals[i] == SIGHUP && previous[i].sa_handler == SIG_IGN;  // nohup
    if (without_terminal) ::sigaction(SIGHUP, &previous[i], nullptr);
  }
}

Interrupt::~Interrupt() {
  for (std::size_t i = 0; i < kSignals.size(); ++i) ::sigaction(kSignals[i], &previous[i], nullptr);
  for (int& end : wake_pipe) {
    if (end >= 0) ::close(end);
    end = -1;
  }
}

bool Interrupt::requested() const {
  return end_requested != 0;
}

bool Interrupt::wait_for(std::chrono::milliseconds time) const {
  return wait_until(std::chrono::steady_clock::now() + time);
}

bool Interrupt::wait_until(std::chrono::steady_clock::time_point time) const {
  using std::chrono::milliseconds;
  while (!requested()) {
    const auto left = std::chrono::ceil<milliseconds>(time - std::chrono::steady_clock::now());
    if (left <= milliseconds::zero()) return true;
    pollfd wake = {wake_pipe[0], POLLIN, 0};
    ::poll(&wake, 1, static_cast<int>(std::min(left, milliseconds(60000)).count()));
  }
  return false;
}

}  // namespace tavctl
