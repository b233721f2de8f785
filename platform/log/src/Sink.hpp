#ifndef NKR_LOG_SINK_HPP
#define NKR_LOG_SINK_HPP

#include <nkr/log_setup.h>

#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <deque>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

namespace nkr::log {

/**
 * One place that messages go to. One message at a time comes to write(): from the thread that logs while that
 * is quick, else from a thread of the sink, so that nobody waits for it.
 */
class Sink : public std::enable_shared_from_this<Sink> {
 public:
  explicit Sink(std::uint32_t level) : level_(level) {}
  Sink(const Sink&) = delete;
  Sink& operator=(const Sink&) = delete;
  virtual ~Sink() = default;

  std::uint32_t level() const { return level_; }

  /** Hands a message to the sink. False when it was lost: the sink failed, too much waits, or it was closed.
   */
  bool take(const nkr_log_record_t& record) noexcept;

  /** No message reaches write() after this; waits for one under way, and for a while for those that wait,
   * unless it is called from inside write(). */
  void close() noexcept;

  /** Waits until nothing waits and no call is under way. False when the time was over, or inside write(). */
  bool flush(std::chrono::steady_clock::time_point until) noexcept;

  /** How many messages all sinks have lost that take() had answered true for. */
  static std::uint64_t lost_later();

  /** Whether the calling thread is inside the write() of any sink. */
  static bool inside_a_sink();

 protected:
  /** False when the message was lost. May throw. */
  virtual bool write(const nkr_log_record_t& record) = 0;

 private:
  using Lock = std::unique_lock<std::mutex>;

  /** A message that waits; its record points to the rest of it once it is complete. */
  struct Waiting {
    nkr_log_record_t record;
    std::string text;
    std::vector<std::uint8_t> encoded;
    const nkr_log_record_t& complete();
  };

  // With mutex_ held, but for the call itself.
  bool call(Lock& lock, const nkr_log_record_t& record);
  bool keep(const nkr_log_record_t& record);
  bool start_thread();
  void serve();

  const std::uint32_t level_;
  std::mutex mutex_;
  std::condition_variable changed_;
  bool busy_ = false;     ///< a call of write() is under way
  bool slow_ = false;     ///< the last call was: nobody who logs makes the next one
  bool serving_ = false;  ///< the thread is at work
  bool closed_ = false;
  std::deque<Waiting> waiting_;
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
