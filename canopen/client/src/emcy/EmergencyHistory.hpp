#ifndef NKR_CANOPEN_EMCY_EMERGENCYHISTORY_HPP
#define NKR_CANOPEN_EMCY_EMERGENCYHISTORY_HPP

#include <cstddef>
#include <deque>
#include <map>
#include <mutex>
#include <nkr/can/Frame.hpp>
#include <nkr/canopen/Emergency.hpp>
#include <vector>

namespace nkr::canopen {

/** The emergency messages of every node, and the errors that are not gone yet. */
class EmergencyHistory {
 public:
  /** A frame with identifier 081h to 0FFh arrived. False when it is too short to hold an error code; what
   * else is missing counts as 0. */
  bool arrived(const can::Frame& frame, Emergency& emergency);
  /** Oldest first; the last 256 of a node are kept. */
  [[nodiscard]] std::vector<Emergency> of(std::uint8_t node) const;
  /** Those since whose arrival the node did not say that it has no error left, each code once; of more than
   * 256 codes the last ones. */
  [[nodiscard]] std::vector<Emergency> active(std::uint8_t node) const;
  /** The node restarted: what was active is not known to be so any more. */
  void node_restarted(std::uint8_t node);

 private:
  static constexpr std::size_t kKept = 256;
  static constexpr std::size_t kMostActive = 256;
  struct Node {
    std::deque<Emergency> history;
    std::vector<Emergency> active;
  };
  static void note_active(Node& node, const Emergency& emergency);

  mutable std::mutex mutex_;
  std::map<std::uint8_t, Node> nodes_;
};

}  // namespace nkr::canopen

#endif
