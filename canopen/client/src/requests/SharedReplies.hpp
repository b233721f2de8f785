#ifndef NKR_CANOPEN_REQUESTS_SHAREDREPLIES_HPP
#define NKR_CANOPEN_REQUESTS_SHAREDREPLIES_HPP

#include <nkr/error.h>

#include <array>
#include <cstdint>
#include <memory>
#include <mutex>
#include <nkr/can/Bus.hpp>
#include <string>
#include <utility>
#include <vector>

namespace nkr::canopen {

/**
 * One port of the bus for the SDO replies of many nodes, so that asking them all at once takes no more
 * descriptors. Whoever of its members waits first reads for all of them, for a few milliseconds at a time;
 * the others wait for what he hands them.
 */
class SharedReplies final : public can::Bus {
 public:
  explicit SharedReplies(std::shared_ptr<can::Bus> bus) : bus_(std::move(bus)) {}

  /** A port for the replies of the server that the filter names; one for each node at a time. It must not
   * outlive this object. */
  [[nodiscard]] std::unique_ptr<can::Port> open(const std::vector<can::Filter>& filters,
                                                nkr_error_t& result) override;
  [[nodiscard]] std::string name() const override { return bus_->name(); }

 private:
  class Member;
  using Lock = std::unique_lock<std::mutex>;

  // With the mutex held:
  void read(Lock& lock, can::Clock::time_point until);
  nkr_error_t drain(Lock& lock, const can::Deadline& deadline);
  void take(const can::Frame& frame);
  void tell(nkr_error_t event);
  void pass_on();
  void leave(std::uint8_t node);

  const std::shared_ptr<can::Bus> bus_;
  std::mutex mutex_;
  std::shared_ptr<can::Port> port_;  ///< null without members
  std::array<Member*, 128> members_{};
  bool is_reading_ = false;
  int draining_ = 0;  ///< members that wait to drain: nobody begins to read before them
};

}  // namespace nkr::canopen

#endif
