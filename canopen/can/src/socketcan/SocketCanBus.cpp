#include "socketcan/SocketCanBus.hpp"

#include <poll.h>

#include <algorithm>
#include <cerrno>
#include <deque>
#include <mutex>
#include <nkr/can/open_bus.hpp>
#include <nkr/time/VirtualTime.hpp>
#include <utility>

#include "socketcan/error_frame.hpp"
#include "system/Sleepers.hpp"
#include "system/without_exceptions.hpp"

namespace nkr::can {
namespace {

using std::chrono::microseconds;
using std::chrono::system_clock;

constexpr microseconds kFirstBackoff{100};
constexpr microseconds kLongestBackoff{5000};
/** The system tells nobody that an interface has come back: look for it now and then. */
constexpr std::chrono::milliseconds kLinkRetry{50};

class SocketCanPort : public Port {
 public:
  SocketCanPort(std::shared_ptr<CanSystem> system, std::string interface, std::vector<Filter> filters,
                int socket)
      : system_(std::move(system)),
        interface_(std::move(interface)),
        filters_(std::move(filters)),
        socket_(socket) {}

  ~SocketCanPort() override { system_->close(socket_); }

  nkr_error_t send(const Frame& frame, const Deadline& deadline) override;
  nkr_error_t receive(Frame& frame, const Deadline& deadline, system_clock::time_point* when) override;

  [[nodiscard]] BusStatus status() const override {
    const std::lock_guard<std::mutex> lock(mutex_);
    return status_;
  }

  void close() override {
    const std::lock_guard<std::mutex> lock(mutex_);
    closed_ = true;
    sleepers_.wake();
  }

 private:
  using Lock = std::unique_lock<std::mutex>;

  // With mutex_ held; none but the waits waits.
  bool take(ReceivedFrame& received, nkr_error_t& result);
  bool read_one(ReceivedFrame& received);
  void absorb(const ReceivedFrame& received);
  void read_ahead();
  void lose_interface();
  void look_for_interface();
  nkr_error_t ready_to_send();
  bool wait_to_receive(Lock& lock, Clock::time_point deadline);
  bool wait_to_send(Lock& lock, int error, microseconds& backoff, Clock::time_point deadline);

  const std::shared_ptr<CanSystem> system_;
  const std::string interface_;
  const std::vector<Filter> filters_;
  const int socket_;

  mutable std::mutex mutex_;
  Sleepers sleepers_;  ///< woken when a receiver has something to take that is not in the socket
  BusStatus status_;
  nkr_error_t event_ = NKR_OK;            ///< not told to a receiver yet
  std::deque<ReceivedFrame> read_ahead_;  ///< frames that a sender read on its search for error frames
  bool closed_ = false;
};

void SocketCanPort::lose_interface() {
  if (status_.state != BusState::INTERFACE_GONE) {
    status_.state = BusState::INTERFACE_GONE;
    event_ = NKR_CAN_INTERFACE_GONE;
  }
  // It may be back already, and then no further change would be reported.
  look_for_interface();
}

void SocketCanPort::look_for_interface() {
  if (status_.state != BusState::INTERFACE_GONE || system_->link(interface_) != LinkState::UP) return;
  if (system_->bind(socket_, interface_, filters_) == 0) status_.state = BusState::ERROR_ACTIVE;
}

void SocketCanPort::absorb(const ReceivedFrame& received) {
  const BusState before = status_.state;
  status_.dropped = std::max(status_.dropped, received.dropped);
  if (received.frame.error) {
    apply_error_frame(received.frame, status_);
  } else if (before == BusState::BUS_OFF) {
    status_.state = BusState::ERROR_ACTIVE;  // traffic: the controller was restarted
  }
  if (status_.state == BusState::BUS_OFF && before != BusState::BUS_OFF) event_ = NKR_CAN_BUS_OFF;
}

/** One frame for the user out of the socket; none when the socket is empty or something is to be told first.
 */
bool SocketCanPort::read_one(ReceivedFrame& received) {
  const nkr_error_t told_before = event_;
  for (;;) {
    const int error = system_->read(socket_, received);
    if (error == EINTR) continue;
    if (error == EAGAIN) return false;
    if (error != 0) {
      lose_interface();
      return false;
    }
    absorb(received);
    if (!received.frame.error || filters_.empty()) return true;
    if (event_ != told_before) return false;
  }
}

bool SocketCanPort::take(ReceivedFrame& received, nkr_error_t& result) {
  result = NKR_OK;
  if (closed_) {
    result = NKR_CAN_CLOSED;
    return true;
  }
  if (!read_ahead_.empty()) {
    received = read_ahead_.front();
    read_ahead_.pop_front();
    return true;
  }
  if (event_ == NKR_OK && read_one(received)) return true;
  if (event_ == NKR_OK) return false;
  result = std::exchange(event_, NKR_OK);
  return true;
}

nkr_error_t SocketCanPort::receive(Frame& frame, const Deadline& deadline, system_clock::time_point* when) {
  Lock lock(mutex_);
  for (bool in_time = true;;) {
    ReceivedFrame received;
    nkr_error_t result = NKR_OK;
    if (take(received, result)) {
      frame = received.frame;
      if (when != nullptr && result == NKR_OK) *when = received.when;
      return result;
    }
    if (!in_time || deadline.only_looks()) return NKR_CAN_TIMED_OUT;
    in_time = wait_to_receive(lock, deadline.time());
    look_for_interface();
  }
}

bool SocketCanPort::wait_to_receive(Lock& lock, Clock::time_point deadline) {
  const bool is_gone = status_.state == BusState::INTERFACE_GONE;
  const auto until = is_gone ? std::min(deadline, Clock::now() + kLinkRetry) : deadline;
  return sleepers_.sleep(lock, socket_, POLLIN, until) || until != deadline;
}

/** A sender learns of bus off and restart from error frames, also when nobody receives meanwhile. */
void SocketCanPort::read_ahead() {
  constexpr std::size_t kBound = 16384;
  ReceivedFrame received;
  while (read_ahead_.size() < kBound) {
    const nkr_error_t told_before = event_;
    if (read_one(received)) {
      read_ahead_.push_back(received);
    } else if (event_ == told_before) {
      break;
    }
  }
  if (event_ != NKR_OK || !read_ahead_.empty()) sleepers_.wake();
}

nkr_error_t SocketCanPort::ready_to_send() {
  if (closed_) return NKR_CAN_CLOSED;
  if (status_.state == BusState::BUS_OFF) read_ahead();
  if (status_.state == BusState::INTERFACE_GONE) look_for_interface();
  if (status_.state == BusState::BUS_OFF) return NKR_CAN_BUS_OFF;
  return status_.state == BusState::INTERFACE_GONE ? NKR_CAN_INTERFACE_GONE : NKR_OK;
}

nkr_error_t SocketCanPort::send(const Frame& frame, const Deadline& deadline) {
  microseconds backoff = kFirstBackoff;
  Lock lock(mutex_);
  for (;;) {
    const nkr_error_t ready = ready_to_send();
    if (ready != NKR_OK) return ready;
    const int error = system_->write(socket_, frame);
    if (error == 0) return NKR_OK;
    if (error == EINTR) continue;
    if (error == EINVAL || error == EMSGSIZE) return NKR_ERROR;
    if (error != ENOBUFS && error != EAGAIN) {
      lose_interface();
      sleepers_.wake();
      return NKR_CAN_INTERFACE_GONE;
    }
    if (!wait_to_send(lock, error, backoff, deadline.time())) return NKR_CAN_TX_OVERFLOW;
  }
}

/** Room in the socket is told by poll; room in the interface's queue (ENOBUFS) by nobody: try again later. */
bool SocketCanPort::wait_to_send(Lock& lock, int error, microseconds& backoff, Clock::time_point deadline) {
  const Clock::time_point now = Clock::now();
  if (now >= deadline) return false;
  if (error == EAGAIN) {
    sleepers_.sleep(lock, socket_, POLLOUT, deadline);
    return true;
  }
  sleepers_.sleep(lock, -1, 0, std::min(deadline, now + backoff));
  backoff = std::min(2 * backoff, kLongestBackoff);
  read_ahead();
  return true;
}

std::string sentence(const std::string& interface, LinkState link) {
  switch (link) {
    case LinkState::ABSENT:
      return "There is no interface \"" + interface +
             "\". Is the adapter plugged in? Those that exist: ip -brief link show type can. "
             "A virtual one: sudo ip link add dev vcan0 type vcan && sudo ip link set vcan0 up";
    case LinkState::NOT_CAN:
      return "\"" + interface + "\" is no CAN interface. Those that are: ip -brief link show type can";
    case LinkState::DOWN:
      return bus_advice(interface, NKR_CAN_INTERFACE_GONE);
    case LinkState::UNKNOWN:
      return "The system has no descriptor left to look at \"" + interface + "\" with.";
    case LinkState::UP:
      break;
  }
  return {};
}

nkr_error_t result_of(LinkState link) {
  if (link == LinkState::UP) return NKR_OK;
  if (link == LinkState::UNKNOWN) return NKR_CAN_NO_RESOURCES;
  return link == LinkState::DOWN ? NKR_CAN_INTERFACE_GONE : NKR_CAN_NO_INTERFACE;
}

nkr_error_t result_of(int error) {
  switch (error) {
    case 0:
      return NKR_OK;
    case EPERM:
    case EACCES:
      return NKR_CAN_PERMISSION;
    case EAFNOSUPPORT:
    case EPROTONOSUPPORT:
      return NKR_CAN_NO_INTERFACE;
    case EMFILE:
    case ENFILE:
    case ENOMEM:
    case ENOBUFS:
      return NKR_CAN_NO_RESOURCES;
    default:
      return NKR_CAN_INTERFACE_GONE;
  }
}

}  // namespace

SocketCanBus::SocketCanBus(std::string interface)
    : SocketCanBus(std::move(interface), std::make_shared<LinuxCanSystem>()) {}

SocketCanBus::SocketCanBus(std::string interface, std::shared_ptr<CanSystem> system)
    : interface_(std::move(interface)), system_(std::move(system)) {}

nkr_error_t SocketCanBus::check(std::string& explanation) {
  const LinkState link = system_->link(interface_);
  explanation = sentence(interface_, link);
  if (link != LinkState::UP) return result_of(link);
  nkr_error_t result = NKR_OK;
  open({}, result);
  if (result == NKR_CAN_NO_INTERFACE)
    explanation =
        "This kernel has no CAN: sudo modprobe can_raw. Without it use the bus \"virtual\" or \"unix:PATH\".";
  if (result == NKR_CAN_PERMISSION)
    explanation = "This user may not open CAN sockets on \"" + interface_ + "\".";
  if (result == NKR_CAN_INTERFACE_GONE) explanation = bus_advice(interface_, result);
  return result;
}

std::unique_ptr<Port> SocketCanBus::open(const std::vector<Filter>& filters, nkr_error_t& result) {
  // The kernel's time is no virtual one: its frames would never come.
  result = time::VirtualTime::is_here() ? NKR_CAN_NO_INTERFACE : result_of(system_->link(interface_));
  if (result != NKR_OK) return nullptr;
  const int socket = system_->open();
  if (socket < 0) {
    result = result_of(-socket);
    return nullptr;
  }
  auto port = without_exceptions(
      result, [&] { return std::make_unique<SocketCanPort>(system_, interface_, filters, socket); });
  if (!port) {
    system_->close(socket);
    return nullptr;
  }
  result = result_of(system_->bind(socket, interface_, filters));
  if (result != NKR_OK) port.reset();
  return port;
}

}  // namespace nkr::can
