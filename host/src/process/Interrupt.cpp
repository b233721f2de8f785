#include <poll.h>
#include <signal.h>
#include <sys/eventfd.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstddef>
#include <cstdint>
#include <nkr/time/VirtualTime.hpp>
#include <nkr/time/clock.hpp>
#include <tav/host/Interrupt.hpp>

namespace tav::host {

namespace {

using std::chrono::milliseconds;
using std::chrono::steady_clock;

/** Without a descriptor to wait on, and against clocks that people set: no sleep is longer. */
constexpr milliseconds kLongestSleep{60'000};
constexpr milliseconds kLookAround{50};

/** A signal wakes nobody in virtual time. False when the end is requested. */
bool look_around_until(const Interrupt& interrupt, steady_clock::time_point time) {
  while (!interrupt.requested() && nkr::time::now() < time)
    nkr::time::sleep_until(std::min(time, nkr::time::now() + kLookAround));
  return !interrupt.requested();
}

/** Whom the signals ask: the handler can be given nothing. */
std::atomic<Interrupt*> asked_by_signals{nullptr};

extern "C" void on_signal(int /*signal*/) {
  const int saved = errno;
  if (Interrupt* const asked = asked_by_signals.load()) asked->request();
  errno = saved;
}

}  // namespace

Interrupt::Interrupt() : event_(::eventfd(0, EFD_NONBLOCK | EFD_CLOEXEC)) {}

Interrupt::~Interrupt() {
  if (event_ >= 0) ::close(event_);
}

void Interrupt::request() noexcept {
  const std::uint64_t one = 1;
  requested_ = true;
  [[maybe_unused]] const ssize_t written = event_ < 0 ? 0 : ::write(event_, &one, sizeof one);
}

void Interrupt::clear() noexcept {
  std::uint64_t count = 0;
  requested_ = false;
  [[maybe_unused]] const ssize_t taken = event_ < 0 ? 0 : ::read(event_, &count, sizeof count);
}

bool Interrupt::wait_for(milliseconds time) const {
  return wait_until(nkr::time::now() + time);
}

bool Interrupt::wait_until(steady_clock::time_point time) const {
  if (nkr::time::VirtualTime::is_here()) return look_around_until(*this, time);
  while (!requested()) {
    const auto left = std::chrono::ceil<milliseconds>(time - nkr::time::now());
    if (left <= milliseconds::zero()) return true;
    pollfd wake = {event_, POLLIN, 0};
    const milliseconds sleep = std::min(left, event_ < 0 ? kLookAround : kLongestSleep);
    ::poll(&wake, 1, static_cast<int>(sleep.count()));
  }
  return false;
}

struct SignalInterrupt::Previous {
  int signal;
  struct sigaction action;
};

SignalInterrupt::SignalInterrupt() : SignalInterrupt({SIGINT, SIGTERM, SIGHUP, SIGPIPE}) {}

SignalInterrupt::SignalInterrupt(const std::vector<int>& signals) {
  asked_by_signals = this;
  struct sigaction action = {};
  action.sa_handler = on_signal;
  sigemptyset(&action.sa_mask);
  for (const int signal : signals) {
    Previous previous{signal, {}};
    ::sigaction(signal, &action, &previous.action);
    const bool without_terminal = signal == SIGHUP && previous.action.sa_handler == SIG_IGN;  // nohup
    if (without_terminal) {
      ::sigaction(SIGHUP, &previous.action, nullptr);
    } else {
      previous_.push_back(previous);
    }
  }
}

SignalInterrupt::~SignalInterrupt() {
  for (const Previous& previous : previous_) ::sigaction(previous.signal, &previous.action, nullptr);
  asked_by_signals = nullptr;
}

}  // namespace tav::host
