#ifndef NKR_CAN_SOCKETCAN_SOCKETCANBUS_HPP
#define NKR_CAN_SOCKETCAN_SOCKETCANBUS_HPP

#include <memory>
#include <string>

#include "socketcan/CanSystem.hpp"

namespace nkr::can {

/**
 * A CAN interface of the kernel. Every port has a socket of its own, filtered by the kernel. A port outlives
 * its interface: when that goes down or is unplugged the port says so once, and works on when it is back.
 */
class SocketCanBus : public Bus {
 public:
  explicit SocketCanBus(std::string interface);
  SocketCanBus(std::string interface, std::shared_ptr<CanSystem> system);

  std::unique_ptr<Port> open(const std::vector<Filter>& filters, nkr_error_t& result) override;
  [[nodiscard]] std::string name() const override { return interface_; }

  /** Whether ports can be opened; as open_bus explains it. */
  nkr_error_t check(std::string& explanation);

 private:
  const std::string interface_;
  const std::shared_ptr<CanSystem> system_;
};

}  // namespace nkr::can

#endif
