#ifndef NKR_CANOPEN_REQUESTS_REQUESTPOOL_HPP
#define NKR_CANOPEN_REQUESTS_REQUESTPOOL_HPP

#include <array>
#include <condition_variable>
#include <cstddef>
#include <cstdint>
#include <deque>
#include <functional>
#include <mutex>
#include <thread>
#include <vector>

namespace nkr::canopen {

/**
 * Makes requests that nobody waits for: those to one node one after the other, in the order in which they
 * came; those to several nodes at once, on as many threads as that takes, up to a few. No lock is held while
 * one runs.
 */
class RequestPool {
 public:
  using Request = std::function<void()>;

  RequestPool() = default;
  ~RequestPool();
  RequestPool(const RequestPool&) = delete;
  RequestPool& operator=(const RequestPool&) = delete;

  /** False when the pool is closed. */
  bool add(std::uint8_t node, Request request);
  /** Takes no more. Those that are there are still run: what they ask must be refused by now. Waits for their
   * end when `waits`, unless it is called from inside one. */
  void close(bool waits);

 private:
  static constexpr std::size_t kMostThreads = 16;

  void run();
  [[nodiscard]] bool is_own_thread() const;

  std::mutex mutex_;
  std::condition_variable changed_;
  std::condition_variable idle_;
  std::array<std::deque<Request>, 128> requests_;  ///< by node; the first is under way or about to be
  std::deque<std::uint8_t> ready_;                 ///< nodes whose first request is not under way
  std::size_t waiting_ = 0;                        ///< threads without work
  std::size_t pending_ = 0;                        ///< requests, those under way included
  bool closed_ = false;
  std::vector<std::thread> threads_;
};

}  // namespace nkr::canopen

#endif
