#ifndef TAV_HOST_INTERRUPT_HPP
#define TAV_HOST_INTERRUPT_HPP

#include <nkr/export.h>

#include <atomic>
#include <chrono>
#include <vector>

namespace tav::host {

/**
 * The program's request to end what is under way. A unit that was given one comes back from enabling,
 * following and reading within 100 ms of the request, with NKR_INTERRUPTED: what the drive was asked is
 * cancelled. Stopping is not cut short by it, nor is what begins after the request. Any thread, and a signal
 * handler.
 */
class NKR_EXPORT Interrupt {
 public:
  Interrupt();
  virtual ~Interrupt();
  Interrupt(const Interrupt&) = delete;
  Interrupt& operator=(const Interrupt&) = delete;

  /** Asks; safe in a signal handler. */
  void request() noexcept;
  /** Takes the request back. */
  void clear() noexcept;
  [[nodiscard]] bool requested() const noexcept { return requested_.load(); }
  /** Waits; false, at once, when the end was requested. */
  [[nodiscard]] bool wait_for(std::chrono::milliseconds time) const;
  /** Waits until then; false, at once, when the end was requested. */
  [[nodiscard]] bool wait_until(std::chrono::steady_clock::time_point time) const;

 private:
  std::atomic<bool> requested_{false};
  int event_;  ///< readable while the end is requested; -1: the system gave none, and waits look now and then
};

/**
 * Turns signals into the request, from construction to destruction: by default Ctrl-C (SIGINT), SIGTERM, a
 * closed terminal (SIGHUP, unless it is ignored, as under nohup) and a closed output (SIGPIPE). One at a time
 * in a program.
 */
class NKR_EXPORT SignalInterrupt : public Interrupt {
 public:
  SignalInterrupt();
  explicit SignalInterrupt(const std::vector<int>& signals);
  ~SignalInterrupt() override;

 private:
  struct Previous;
  std::vector<Previous> previous_;
};

}  // namespace tav::host

#endif
