#ifndef TAV_HOST_SRC_UNIT_INTERRUPTWATCH_HPP
#define TAV_HOST_SRC_UNIT_INTERRUPTWATCH_HPP

#include <cstdint>
#include <memory>
#include <mutex>
#include <nkr/can/Thread.hpp>
#include <nkr/canopen/Client.hpp>
#include <nkr/time/Condition.hpp>

namespace tav::host {

class Interrupt;

/**
 * Ends what a drive is asked when the program asks to end, so that nobody waits for a time-out: the client's
 * requests to the node are cancelled as long as a span of work lasts that allows it. Has a thread of its own
 * from the first such span on; where the system has none, requests run to their time-outs.
 */
class InterruptWatch {
 public:
  InterruptWatch() = default;
  ~InterruptWatch();
  InterruptWatch(const InterruptWatch&) = delete;
  InterruptWatch& operator=(const InterruptWatch&) = delete;

  /** Null: nothing ever asks. */
  void watch(const Interrupt* interrupt, std::shared_ptr<nkr::canopen::Client> client);

  /** Requests may be ended, or may not, from construction to destruction; the innermost span holds. One that
   * begins when the end is asked for already is not cut short: whoever goes on then knows what he does. */
  class Span {
   public:
    Span(InterruptWatch& watch, std::uint8_t node, bool allowed);
    ~Span();
    Span(const Span&) = delete;
    Span& operator=(const Span&) = delete;

   private:
    InterruptWatch& watch_;
    const bool before_;
  };

 private:
  void run();

  const Interrupt* interrupt_ = nullptr;
  std::shared_ptr<nkr::canopen::Client> client_;
  std::mutex mutex_;
  nkr::time::Condition changed_;
  bool allowed_ = false;
  bool closed_ = false;
  std::uint8_t node_ = 0;
  nkr::can::Thread thread_;
};

}  // namespace tav::host

#endif
