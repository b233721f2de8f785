#ifndef NKR_TIME_THREAD_HPP
#define NKR_TIME_THREAD_HPP

#include <nkr/export.h>

#include <functional>
#include <memory>
#include <thread>

namespace nkr::time {

/**
 * A thread of these libraries. It lives in the time of the thread that starts it, takes none of the program's
 * signals, and nothing that is thrown on it ends the program.
 */
class NKR_EXPORT Thread {
 public:
  Thread() = default;
  /** Waits for its end, unless it is this thread: then it goes on alone. */
  ~Thread() { end(); }
  Thread(Thread&& other) noexcept = default;
  Thread& operator=(Thread&& other) = delete;
  Thread(const Thread&) = delete;
  Thread& operator=(const Thread&) = delete;

  /** False when the system has no thread for it; nothing has happened then. Once, and again after end().
   * @param name for debuggers and reports: a literal of at most 15 characters */
  [[nodiscard]] bool start(std::function<void()> body, const char* name = "nkr");
  [[nodiscard]] bool is_started() const { return thread_.joinable(); }
  /** Whether the caller is this thread. */
  [[nodiscard]] bool is_caller() const { return thread_.get_id() == std::this_thread::get_id(); }
  /** Waits for its end; not in a forked child, which has no such thread. */
  void end();

  /** So many starts more succeed, then none: to try out what becomes of a program without threads. Below 0:
   * as the system has it. */
  static void allow(int starts);

 private:
  struct NKR_HIDDEN Ending;

  std::thread thread_;
  int process_ = 0;  ///< that has it
  std::shared_ptr<Ending> ending_;
};

}  // namespace nkr::time

#endif
