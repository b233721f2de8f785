#ifndef NKR_LOG_SINK_HPP
#define NKR_LOG_SINK_HPP

#include <nkr/log_setup.h>

#include <condition_variable>
#include <cstdint>
#include <memory>
#include <mutex>
#include <string>

namespace nkr::log {

/** One place that messages go to. take() lets one message at a time through to write(). */
class Sink {
 public:
  explicit Sink(std::uint32_t level) : level_(level) {}
  Sink(const Sink&) = delete;
  Sink& operator=(const Sink&) = delete;
  virtual ~Sink() = default;

  std::uint32_t level() const { return level_; }

  /** Hands a message to the sink. False when it was lost: the sink failed, is stuck, or was closed. */
  bool take(const nkr_log_record_t& record) noexcept;

  /** No message reaches write() after this; waits for one under way, unless it is this thread's own. */
  void close() noexcept;

  /** Whether the calling thread is inside the write() of any sink. */
  static bool inside_a_sink();

 protected:
  /** False when the message was lost. May throw. */
  virtual bool write(const nkr_log_record_t& record) = 0;

 private:
  bool enter();
  void leave();

  const std::uint32_t level_;
  std::mutex mutex_;
  std::condition_variable left_;
  bool busy_ = false;
  bool stuck_ = false;  ///< a write takes so long that others no longer wait for it
  bool closed_ = false;
};

std::shared_ptr<Sink> make_callback_sink(nkr_log_callback_t callback, void* user, std::uint32_t level);
std::shared_ptr<Sink> make_stderr_sink(std::uint32_t level);

/** Null when the file cannot be opened. */
std::shared_ptr<Sink> make_file_sink(const std::string& path, std::uint64_t max_bytes, std::uint32_t kept,
                                     std::uint32_t level);

/** @param socket_path  where the system log listens. Null when nobody does. */
std::shared_ptr<Sink> make_syslog_sink(const std::string& socket_path, const std::string& ident,
                                       std::uint32_t level);

}  // namespace nkr::log

#endif
