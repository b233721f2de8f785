#include "unix/UnixPort.hpp"

#include <poll.h>
#include <sys/socket.h>

#include <algorithm>
#include <cerrno>
#include <exception>
#include <utility>

namespace nkr::can {
namespace {

using std::chrono::milliseconds;

/** Between two attempts to join; also while a listener cannot come, the folder being gone, say. */
constexpr milliseconds kJoinRetry{20};
/** A listener that was killed may seem to live: a child of its process has its socket open. */
constexpr milliseconds kWelcome{2000};
/** Until the kernel has memory for a message again; it tells nobody. */
constexpr milliseconds kSendRetry{1};
/** The listener refuses more; without any the port filters alone. */
constexpr std::size_t kFiltersBound = 4096;

/** 0 or errno. */
template <class Socket>
int send_message(const Socket& connection, const UnixBytes& message) {
  for (;;) {
    if (::send(connection.get(), message.data(), message.size(), MSG_NOSIGNAL | MSG_DONTWAIT) >= 0) return 0;
    if (errno != EINTR) return errno;
  }
}

bool is_soon_over(int error) {
  return error == EAGAIN || error == ECONNRESET || error == ECONNREFUSED;
}

}  // namespace

UnixPort::UnixPort(std::shared_ptr<UnixMeeting> meeting, std::vector<Filter> filters)
    : meeting_(std::move(meeting)), filters_(std::move(filters)) {}

/** 0 or errno. */
int UnixPort::join() {
  if (connection_ && !is_welcome_ && Clock::now() >= welcome_until_) see_welcome();
  if (connection_) return 0;
  const Clock::time_point now = Clock::now();
  if (now < next_join_) return EAGAIN;
  next_join_ = now + kJoinRetry;
  try {
    Descriptor joined;
    const int error = meeting_->join(joined);
    if (error != 0) return error;
    if (!send_filters(joined)) return ECONNRESET;
    connection_ = std::make_shared<const ShieldedDescriptor>(std::move(joined));
  } catch (const std::exception&) {
    return ENOMEM;
  }
  is_welcome_ = false;
  welcome_until_ = Clock::now() + kWelcome;
  unread_ = 0;
  window_ = 1;
  return 0;
}

/** Whoever only sends has not read it. */
void UnixPort::see_welcome() {
  Frame frame;
  if (read(frame, true) == Read::GONE || !is_welcome_) lose();
}

bool UnixPort::send_filters(const Descriptor& connection) {
  if (filters_.size() > kFiltersBound) return true;
  for (const Filter& filter : filters_) {
    if (send_message(connection, encode_filter(filter, &filter == &filters_.back())) != 0) return false;
  }
  return true;
}

int UnixPort::join_first(const Deadline& deadline) {
  Lock lock(mutex_);
  Frame frame;
  for (bool in_time = true;;) {
    const int error = join();
    if (error != 0 && !is_soon_over(error)) return error;
    if (error == 0 && read(frame, true) == Read::GONE) lose();
    if (is_welcome_) return 0;
    if (!in_time) return EAGAIN;
    in_time = sleep(lock, POLLIN, deadline.time());
  }
}

/** Known to be on the bus before, a receiver is told that it no longer is. */
void UnixPort::lose() {
  connection_.reset();
  dropped_before_ += std::exchange(dropped_, 0);
  if (std::exchange(is_welcome_, false)) {
    event_ = NKR_CAN_INTERFACE_GONE;
    next_join_ = {};
  }
  sleepers_.wake();
}

/** `until_welcome`: no frame that comes behind it is taken. */
UnixPort::Read UnixPort::read(Frame& frame, bool until_welcome) {
  for (;;) {
    UnixBytes bytes{};
    const ssize_t size = ::recv(connection_->get(), bytes.data(), bytes.size(), MSG_DONTWAIT);
    if (size < 0 && errno == EINTR) continue;
    if (size < 0 && errno == EAGAIN) {
      if (!may_wait_in_the_listener()) unread_ = 0;
      return Read::NOTHING;
    }
    const auto message =
        size > 0 ? decode_unix_message(bytes.data(), static_cast<std::size_t>(size)) : std::nullopt;
    if (!message || message->kind == UnixMessage::Kind::FILTER) return Read::GONE;
    ++unread_;
    if (message->kind != UnixMessage::Kind::FRAME) {
      take(*message);
      if (until_welcome && is_welcome_) return Read::NOTHING;
    } else if (passes(filters_, message->frame)) {
      frame = message->frame;
      return Read::FRAME;
    }
  }
}

void UnixPort::take(const UnixMessage& message) {
  if (message.kind == UnixMessage::Kind::WELCOME) {
    is_welcome_ = true;
    window_ = message.number;
  } else if (message.kind == UnixMessage::Kind::LOST) {
    dropped_ = message.number;
  } else {
    marks_back_ = message.number;
    unread_ = 0;
    sleepers_.wake();  // whoever asked for it may be another thread
  }
}

bool UnixPort::sleep(Lock& lock, short events, Clock::time_point until) {
  const Connection connection = connection_;  // open as long as it is waited for
  if (connection && !is_welcome_) {
    const Clock::time_point answer = std::min(until, welcome_until_);
    if (sleepers_.sleep(lock, connection->get(), events, answer)) return true;
    if (answer == until) return false;
    return true;
  }
  if (connection) return sleepers_.sleep(lock, connection->get(), events, until);
  const Clock::time_point retry = std::min(until, Clock::now() + kJoinRetry);
  return sleepers_.sleep(lock, -1, 0, retry) || retry != until;
}

nkr_error_t UnixPort::receive(Frame& frame, const Deadline& deadline,
                              std::chrono::system_clock::time_point* when) {
  Lock lock(mutex_);
  for (bool in_time = true;;) {
    if (closed_) return NKR_CAN_CLOSED;
    if (event_ != NKR_OK) return std::exchange(event_, NKR_OK);
    if (join() == 0) {
      const Read result = read(frame);
      if (result == Read::FRAME) {
        if (when != nullptr) *when = std::chrono::system_clock::now();
        return NKR_OK;
      }
      if (result == Read::GONE) {
        lose();
        continue;
      }
    }
    if (!in_time || deadline.only_looks()) return NKR_CAN_TIMED_OUT;
    in_time = sleep(lock, POLLIN, deadline.time());
  }
}

nkr_error_t UnixPort::drain(const FrameHandler& taken, const Deadline& deadline) {
  Lock lock(mutex_);
  Frame frame;
  std::uint64_t mark = 0;
  for (Connection asked; !closed_;) {
    event_ = NKR_OK;
    if (!connection_) return NKR_OK;
    if (asked == connection_ && marks_back_ >= mark) return NKR_OK;  // what came since is new
    const Read result = read(frame);
    if (result == Read::FRAME) {
      lock.unlock();
      taken(frame);
      lock.lock();
      continue;
    }
    if (result == Read::GONE) {
      lose();
      continue;
    }
    if (!may_wait_in_the_listener()) return NKR_OK;
    if (deadline.only_looks()) return NKR_CAN_TIMED_OUT;
    if (asked != connection_ && send_message(*connection_, encode_mark(marks_ + 1)) == 0) {
      mark = ++marks_;
      asked = connection_;
    }
    const short events = asked == connection_ ? POLLIN : POLLIN | POLLOUT;
    if (!sleep(lock, events, deadline.time())) return NKR_CAN_TIMED_OUT;
  }
  return NKR_CAN_CLOSED;
}

nkr_error_t UnixPort::send(const Frame& frame, const Deadline& deadline) {
  const UnixBytes message = encode_frame(frame);
  Lock lock(mutex_);
  for (;;) {
    if (closed_) return NKR_CAN_CLOSED;
    const int unjoined = join();
    if (unjoined != 0) {
      if (!is_soon_over(unjoined) || deadline.only_looks() || !sleep(lock, 0, deadline.time()))
        return NKR_CAN_INTERFACE_GONE;
      continue;
    }
    const int error = send_message(*connection_, message);
    if (error == 0) return NKR_OK;
    if (error != EAGAIN && error != ENOBUFS && error != ENOMEM) {
      lose();
      return NKR_CAN_INTERFACE_GONE;
    }
    if (deadline.only_looks() || !wait_to_send(lock, error, deadline.time())) return NKR_CAN_TX_OVERFLOW;
  }
}

/** False when the time was over. */
bool UnixPort::wait_to_send(Lock& lock, int error, Clock::time_point until) {
  if (error == EAGAIN) return sleep(lock, POLLOUT, until);
  const Clock::time_point retry = std::min(until, Clock::now() + kSendRetry);
  return sleepers_.sleep(lock, -1, 0, retry) || retry != until;
}

BusStatus UnixPort::status() const {
  const Lock lock(mutex_);
  BusStatus status;
  status.state = connection_ ? BusState::ERROR_ACTIVE : BusState::INTERFACE_GONE;
  status.dropped = dropped_before_ + dropped_;
  return status;
}

void UnixPort::close() {
  const Lock lock(mutex_);
  closed_ = true;
  sleepers_.wake();
}

}  // namespace nkr::can
