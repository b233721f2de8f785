#ifndef TAV_HOST_FAILURELOG_HPP
#define TAV_HOST_FAILURELOG_HPP

#include <nkr/export.h>
#include <nkr/log_setup.h>

#include <mutex>
#include <string>

namespace tav::host {

/**
 * Listens to the library's log from construction to destruction and keeps the last failure it told: the
 * object and the access that failed, which a result code cannot say. Logging is on as long as it lives.
 */
class NKR_EXPORT FailureLog {
 public:
  FailureLog();
  ~FailureLog();
  FailureLog(const FailureLog&) = delete;
  FailureLog& operator=(const FailureLog&) = delete;

  /** Text of the last failure; empty when there was none. */
  [[nodiscard]] std::string last() const;

 private:
  static void take(void* self, const nkr_log_record_t* record);

  mutable std::mutex mutex_;
  std::string last_;
  nkr_log_sink_t sink_ = 0;
  bool was_on_ = false;
};

}  // namespace tav::host

#endif
