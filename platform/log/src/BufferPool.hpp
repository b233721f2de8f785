#ifndef NKR_LOG_BUFFERPOOL_HPP
#define NKR_LOG_BUFFERPOOL_HPP

#include <nkr/log.h>

#include <cstddef>
#include <mutex>

namespace nkr::log {

/** Message buffers, made when none is free and kept for the next message. Any thread. */
class BufferPool {
 public:
  /** More buffers than this are a leak of the caller's: then there are no more. */
  static constexpr std::size_t kMaxBuffers = 1024;

  /** The one pool of the process; it outlives every static object. */
  static BufferPool& instance();

  /** Null when memory or the limit is exhausted. */
  nkr_log_msg_t* take() noexcept;
  /** Giving back null or a buffer that is not taken does nothing. */
  void give_back(nkr_log_msg_t* buffer) noexcept;

 private:
  std::mutex mutex_;
  nkr_log_msg_t* free_ = nullptr;
  std::size_t made_ = 0;
};

}  // namespace nkr::log

#endif
