#ifndef NKR_CANOPEN_SDOTIMEOUTSCOPE_HPP
#define NKR_CANOPEN_SDOTIMEOUTSCOPE_HPP

#include <nkr/export.h>

#include <chrono>

namespace nkr::canopen {

/**
 * While it lives, every SDO request of the thread that created it waits this long for its answers, whatever
 * client, node and object say. Scopes nest; the innermost holds. Create and destroy it on one thread.
 */
class NKR_EXPORT SdoTimeoutScope {
 public:
  explicit SdoTimeoutScope(std::chrono::milliseconds timeout);
  ~SdoTimeoutScope();
  SdoTimeoutScope(const SdoTimeoutScope&) = delete;
  SdoTimeoutScope& operator=(const SdoTimeoutScope&) = delete;

  /** The calling thread's innermost scope; null when there is none. */
  [[nodiscard]] static const SdoTimeoutScope* innermost();
  [[nodiscard]] std::chrono::milliseconds timeout() const { return timeout_; }

 private:
  std::chrono::milliseconds timeout_;
  const SdoTimeoutScope* outer_;
};

}  // namespace nkr::canopen

#endif
