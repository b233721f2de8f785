#ifndef NKR_CANOPEN_REQUESTS_REQUESTPOOL_HPP
#define NKR_CANOPEN_REQUESTS_REQUESTPOOL_HPP

#include <nkr/error.h>

#include <array>
#include <atomic>
#include <cstddef>
#include <cstdint>
#include <deque>
#include <functional>
#include <mutex>
#include <nkr/can/Thread.hpp>
#include <nkr/time/Condition.hpp>
#include <vector>

namespace nkr::canopen {

/**
 * Makes requests that nobody waits for: those to one node one after the other, in the order in which they
 * came; those to several nodes at once, on as many threads as that takes, up to a few. No lock is held while
 * one runs; what one throws is caught and counted. A bounded number waits for each node: one that is silent
 * shall not fill the memory.
 */
class RequestPool {
 public:
  using Request = std::function<void()>;

  RequestPool() = default;
  ~RequestPool();
  RequestPool(const RequestPool&) = delete;
  RequestPool& operator=(const RequestPool&) = delete;

  /** NKR_OK; NKR_CAN_CLOSED; NKR_CAN_TX_OVERFLOW when too many wait for the node; NKR_CAN_NO_RESOURCES
   * without a thread. */
  nkr_error_t add(std::uint8_t node, Request request);
  /** How often one ended by throwing. */
  [[nodiscard]] std::uint64_t thrown() const { return thrown_; }
  /** Takes no more. Those that are there are still run: what they ask must be refused by now. Waits for their
   * end when `waits`, unless it is called from inside one. */
  void close(bool waits);

 private:
  static constexpr std::size_t kMostThreads = 16;
  static constexpr std::size_t kMostOfANode = 1024;

  void run();
  void make(Request& request);
  bool has_thread();
  [[nodiscard]] bool is_own_thread() const;

  std::mutex mutex_;
  time::Condition changed_;
  time::Condition idle_;
  std::array<std::deque<Request>, 128> requests_;  ///< by node; the first is under way or about to be
  std::deque<std::uint8_t> ready_;                 ///< nodes whose first request is not under way
  std::size_t waiting_ = 0;                        ///< threads without work
  std::size_t pending_ = 0;                        ///< requests, those under way included
  bool closed_ = false;
  std::atomic<std::uint64_t> thrown_{0};
  std::vector<can::Thread> threads_;
};

}  // namespace nkr::canopen

#endif
