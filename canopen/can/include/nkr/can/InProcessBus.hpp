#ifndef NKR_CAN_IN_PROCESS_BUS_HPP
#define NKR_CAN_IN_PROCESS_BUS_HPP

#include <nkr/error.h>
#include <nkr/export.h>

#include <memory>
#include <nkr/can/Bus.hpp>
#include <string>
#include <vector>

namespace nkr::can {

/**
 * A bus inside one process. Delivery happens on the sender's thread: a frame is in every other port's queue,
 * and every handler has run, when send() returns; send() never waits. Queues get the frame before handlers.
 * A port keeps up to 16,384 frames; what comes after is dropped and counted. Ports keep the bus alive.
 */
class NKR_EXPORT InProcessBus : public Bus {
 public:
  InProcessBus();
  ~InProcessBus() override;

  std::unique_ptr<Port> open(const std::vector<Filter>& filters, nkr_error_t& result) override;

  /**
   * As Bus says, but the handler runs on the sender's thread, and on several threads at once when several
   * send. A frame that its own sends bring back to it is handed over when it has returned, on the same
   * thread: it is never inside itself.
   */
  std::unique_ptr<Port> open_handler(const std::vector<Filter>& filters, FrameHandler handler,
                                     nkr_error_t& result) override;

  [[nodiscard]] std::string name() const override { return "virtual"; }

  /**
   * In BUS_OFF and INTERFACE_GONE every send is refused with that code and every queue port is told; any
   * other state lets frames through again. Always true.
   */
  bool set_state(BusState state) override;

 private:
  struct NKR_HIDDEN State;
  class NKR_HIDDEN MemberPort;
  std::shared_ptr<State> state_;
};

}  // namespace nkr::can

#endif
