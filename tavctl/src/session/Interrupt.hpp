#ifndef TAVCTL_SESSION_INTERRUPT_HPP
#define TAVCTL_SESSION_INTERRUPT_HPP

#include <chrono>

namespace tavctl {

/**
 * Turns Ctrl-C (SIGINT), SIGTERM, a closed terminal (SIGHUP) and a closed output (SIGPIPE) into a request
 * that waits see, from construction to destruction: what moves a drive must stop it before the program ends.
 * One at a time.
 */
class Interrupt {
 public:
  Interrupt();
  ~Interrupt();
  Interrupt(const Interrupt&) = delete;
  Interrupt& operator=(const Interrupt&) = delete;

  [[nodiscard]] bool requested() const;
  /** Waits; false, at once, when the end was requested. */
  [[nodiscard]] bool wait_for(std::chrono::milliseconds time) const;
  /** Waits until then; false, at once, when the end was requested. */
  [[nodiscard]] bool wait_until(std::chrono::steady_clock::time_point time) const;
};

}  // namespace tavctl

#endif
