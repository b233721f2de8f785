#ifndef NKR_CAN_UNIX_BUS_HPP
#define NKR_CAN_UNIX_BUS_HPP

#include <memory>
#include <nkr/can/Bus.hpp>
#include <string>

namespace nkr::can {

/**
 * A bus between the processes of one machine that name the same socket file; no root, no kernel module. The
 * first that opens a port listens for the others; when its process ends, the ports of the others are told
 * NKR_CAN_INTERFACE_GONE once and join again, one of them as the new listener. A port joins again in the next
 * call of send or receive.
 *
 * Beside the socket stands PATH.lock: whoever finds no listener holds it while it becomes one.
 */
class UnixBus : public Bus {
 public:
  explicit UnixBus(const std::string& path);
  ~UnixBus() override;

  std::unique_ptr<Port> open(const std::vector<Filter>& filters, nkr_error_t& result) override;
  [[nodiscard]] std::string name() const override;

  /** Whether ports can be opened; as open_bus explains it. */
  nkr_error_t check(std::string& explanation);

 private:
  class MemberPort;
  class Meeting;
  const std::shared_ptr<Meeting> meeting_;
};

}  // namespace nkr::can

#endif
