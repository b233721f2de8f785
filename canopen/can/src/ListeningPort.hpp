#ifndef NKR_CAN_LISTENING_PORT_HPP
#define NKR_CAN_LISTENING_PORT_HPP

#include <memory>
#include <nkr/can/Bus.hpp>
#include <nkr/can/Thread.hpp>
#include <utility>

namespace nkr::can {

/** A port whose frames a thread of its own hands to a handler. */
class ListeningPort : public Port {
 public:
  /** Null, and the reason in `result`, when the system gives no thread. */
  static std::unique_ptr<Port> start(std::unique_ptr<Port> port, FrameHandler handler, nkr_error_t& result);

  ~ListeningPort() override;
  ListeningPort(const ListeningPort&) = delete;
  ListeningPort& operator=(const ListeningPort&) = delete;

  nkr_error_t send(const Frame& frame, const Deadline& deadline) override;
  nkr_error_t receive(Frame& frame, const Deadline& deadline,
                      std::chrono::system_clock::time_point* when) override;
  [[nodiscard]] BusStatus status() const override;
  void close() override;

 private:
  struct Shared;
  explicit ListeningPort(std::shared_ptr<Shared> shared) : shared_(std::move(shared)) {}

  const std::shared_ptr<Shared> shared_;  ///< the thread's, too: its handler may destroy the port
  Thread thread_;
};

}  // namespace nkr::can

#endif
