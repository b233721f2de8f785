#ifndef NKR_CANOPEN_REQUESTS_PORTBUDGET_HPP
#define NKR_CANOPEN_REQUESTS_PORTBUDGET_HPP

#include <atomic>
#include <cstddef>
#include <mutex>
#include <vector>

namespace nkr::canopen {

class NodeChannel;

/**
 * How many ports the channels of a client keep: each takes descriptors of the process, and a bus has up to
 * 127 nodes. A channel that opens one more has another one, which is idle, give up its own. Those that are at
 * work at once each have one, however many they are.
 */
class PortBudget {
 public:
  static constexpr int kMost = 32;

  PortBudget() = default;
  PortBudget(const PortBudget&) = delete;
  PortBudget& operator=(const PortBudget&) = delete;

  /** Before any port is opened. */
  void join(NodeChannel& channel) { channels_.push_back(&channel); }
  /** One more is about to be opened. */
  void take();
  void give_back() { --open_; }
  [[nodiscard]] bool is_exceeded() const { return open_.load(std::memory_order_relaxed) > kMost; }

 private:
  std::atomic<int> open_{0};
  std::mutex mutex_;
  std::vector<NodeChannel*> channels_;
  std::size_t next_ = 0;  ///< to be asked
};

}  // namespace nkr::canopen

#endif
