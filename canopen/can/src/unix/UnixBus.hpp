#ifndef NKR_CAN_UNIX_UNIXBUS_HPP
#define NKR_CAN_UNIX_UNIXBUS_HPP

#include <memory>
#include <nkr/can/Bus.hpp>
#include <string>
#include <vector>

namespace nkr::can {

class UnixMeeting;

/**
 * A bus between the processes of one machine that name the same socket file; no root, no kernel module. The
 * first that opens a port listens for the others; when its process ends, the ports of the others are told
 * NKR_CAN_INTERFACE_GONE once and join again, one of them as the new listener. A port joins again in the next
 * call of send or receive, within its deadline.
 *
 * The bus is its owner's alone. "PATH?mode=0660" gives socket and lock file that mode, and lets in whoever
 * that lets in.
 */
class UnixBus : public Bus {
 public:
  /** The path, or the path with a mode. */
  explicit UnixBus(const std::string& where);
  ~UnixBus() override;

  std::unique_ptr<Port> open(const std::vector<Filter>& filters, nkr_error_t& result) override;
  [[nodiscard]] std::string name() const override;

  /** Whether ports can be opened; as open_bus explains it. */
  nkr_error_t check(std::string& explanation);

 private:
  /** Null: errno. */
  std::unique_ptr<Port> join(const std::vector<Filter>& filters, int& error);

  const std::string where_;
  const std::shared_ptr<UnixMeeting> meeting_;
};

}  // namespace nkr::can

#endif
