#ifndef NKR_CANOPEN_REQUESTS_PORTBUDGET_HPP
#define NKR_CANOPEN_REQUESTS_PORTBUDGET_HPP

#include <atomic>
#include <cstddef>
#include <mutex>
#include <vector>

namespace nkr::canopen {

class NodeChannel;

/**
 * How many ports the channels of a client have: each takes descriptors of the process, and a bus has up to
 * 127 nodes. A channel that opens one more has another one, which is idle, give up its own. When so many are
 * at work at once, the others share one (SharedReplies).
 */
class PortBudget {
 public:
  static constexpr int kMost = 32;

  PortBudget() = default;
  PortBudget(const PortBudget&) = delete;
  PortBudget& operator=(const PortBudget&) = delete;

  /** Before any port is opened. */
  void join(NodeChannel& channel) { channels_.push_back(&channel); }
  /** One more is about to be opened; false when there is none to be had. */
  [[nodiscard]] bool take();
  void give_back() { --open_; }

 private:
  [[nodiscard]] bool is_exceeded() const { return open_.load(std::memory_order_relaxed) > kMost; }

  std::atomic<int> open_{0};
  std::mutex mutex_;
  std::vector<NodeChannel*> channels_;
  std::size_t next_ = 0;  ///< to be asked
};

}  // namespace nkr::canopen

#endif
