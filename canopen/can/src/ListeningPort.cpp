#include "ListeningPort.hpp"

#include <mutex>
#include <nkr/time/Condition.hpp>
#include <utility>

#include "FrameQueue.hpp"

namespace nkr::can {

struct ListeningPort::Shared {
  Shared(std::unique_ptr<Port> opened, FrameHandler taker)
      : port(std::move(opened)), handler(std::move(taker)) {}

  void run() {
    Frame frame;
    for (nkr_error_t result = NKR_OK; result != NKR_CAN_CLOSED;) {
      result = port->receive(frame, Deadline::never());
      if (result == NKR_OK) hand_over(frame);
    }
    const std::lock_guard<std::mutex> lock(mutex);
    ended = true;
    changed.notify_all();
  }

  const std::unique_ptr<Port> port;
  const FrameHandler handler;
  FrameQueue nothing;  ///< what receive() waits at
  std::mutex mutex;
  time::Condition changed;
  bool ended = false;

 private:
  void hand_over(const Frame& frame) {
    try {
      handler(frame);
    } catch (...) {
      // A handler's failure is not the bus's: the next frame is handed over as if nothing had been.
    }
  }
};

std::unique_ptr<Port> ListeningPort::start(std::unique_ptr<Port> port, FrameHandler handler,
                                           nkr_error_t& result) {
  const auto shared = std::make_shared<Shared>(std::move(port), std::move(handler));
  std::unique_ptr<ListeningPort> listening(new ListeningPort(shared));
  if (listening->thread_.start([shared] { shared->run(); }, "nkr-port")) {
    result = NKR_OK;
    return listening;
  }
  result = NKR_CAN_NO_RESOURCES;
  return nullptr;
}

ListeningPort::~ListeningPort() {
  ListeningPort::close();
}

nkr_error_t ListeningPort::send(const Frame& frame, const Deadline& deadline) {
  return shared_->port->send(frame, deadline);
}

nkr_error_t ListeningPort::receive(Frame& frame, const Deadline& deadline,
                                   std::chrono::system_clock::time_point* /*when*/) {
  return shared_->nothing.pop(frame, deadline);
}

BusStatus ListeningPort::status() const {
  return shared_->port->status();
}

void ListeningPort::close() {
  shared_->port->close();
  shared_->nothing.close();
  if (!thread_.is_started() || thread_.is_caller()) return;
  std::unique_lock<std::mutex> lock(shared_->mutex);
  shared_->changed.wait(lock, [this] { return shared_->ended; });
}

}  // namespace nkr::can
