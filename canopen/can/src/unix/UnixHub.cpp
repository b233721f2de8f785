#include "unix/UnixHub.hpp"

#include <sys/epoll.h>
#include <sys/socket.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <exception>

namespace nkr::can {
namespace {

constexpr std::size_t kWaitingBound = 16384;
constexpr std::size_t kMarksBound = 64;  ///< marks may wait beyond it: they are few, and must come back
constexpr std::size_t kFiltersBound = 4096;
constexpr int kMessagesAtOnce = 64;  ///< from one member before others have their turn
constexpr int kFileCheckMs = 500;
constexpr int kDeafMs = 100;

enum class Sent { ALL, LATER, NEVER };

Sent send_now(int socket, const UnixBytes& message) {
  for (;;) {
    if (::send(socket, message.data(), message.size(), MSG_NOSIGNAL | MSG_DONTWAIT) >= 0) return Sent::ALL;
    if (errno != EINTR) return errno == EAGAIN ? Sent::LATER : Sent::NEVER;
  }
}

/** How many messages a socket takes at least before it says "later". */
std::uint32_t window_of(int socket) {
  constexpr int kMemoryOfOne = 4096;  // what the kernel counts for a small message, and plenty more
  int bytes = 0;
  socklen_t size = sizeof bytes;
  if (::getsockopt(socket, SOL_SOCKET, SO_SNDBUF, &bytes, &size) != 0) return 1;
  return static_cast<std::uint32_t>(std::max(bytes / kMemoryOfOne, 1));
}

}  // namespace

std::unique_ptr<UnixHub> UnixHub::start(const SocketFile& file, int& error) {
  std::unique_ptr<UnixHub> hub(new UnixHub(file));
  error = file.listen(hub->listener_);
  if (error == 0) error = hub->begin();
  return error == 0 ? std::move(hub) : nullptr;
}

int UnixHub::begin() {
  epoll_ = Descriptor(::epoll_create1(EPOLL_CLOEXEC));
  if (!epoll_ || !stop_.open()) return errno;
  if (!watch(EPOLL_CTL_ADD, listener_.socket.get(), EPOLLIN)) return errno;
  if (!watch(EPOLL_CTL_ADD, stop_.descriptor(), EPOLLIN)) return errno;
  return thread_.start([this] { run(); }, "nkr-hub") ? 0 : ENOMEM;
}

UnixHub::~UnixHub() {
  if (::getpid() != process_) return;
  stop_.raise(true);
  thread_.end();
  {
    const SocketFile::Lock lock(file_);  // without it, a file removed too much is made anew by its listener
    file_.remove(listener_.file);
  }
  end();
}

/** Everybody is told, also where somebody else should have the sockets open. */
void UnixHub::end() {
  for (auto& [socket, member] : members_) ::shutdown(socket, SHUT_RDWR);
  members_.clear();
  if (listener_.socket) ::shutdown(listener_.socket.get(), SHUT_RDWR);
}

bool UnixHub::watch(int operation, int descriptor, std::uint32_t events) {
  epoll_event event{};
  event.events = events;
  event.data.fd = descriptor;
  return ::epoll_ctl(epoll_.get(), operation, descriptor, &event) == 0;
}

void UnixHub::run() {
  std::array<epoll_event, 64> events{};
  auto file_check = Clock::now();
  while (!ended_) {
    const int timeout = is_deaf_ ? kDeafMs : kFileCheckMs;
    const int count = ::epoll_wait(epoll_.get(), events.data(), static_cast<int>(events.size()), timeout);
    for (int i = 0; i < count; ++i) {
      const epoll_event& event = events[static_cast<std::size_t>(i)];
      if (event.data.fd == stop_.descriptor()) return;
      serve(event.data.fd, event.events);
    }
    if (count == 0 && is_deaf_) is_deaf_ = !watch(EPOLL_CTL_MOD, listener_.socket.get(), EPOLLIN);
    if (Clock::now() - file_check < std::chrono::milliseconds(kFileCheckMs)) continue;
    look_after_file();
    file_check = Clock::now();
  }
}

void UnixHub::serve(int descriptor, std::uint32_t events) {
  try {
    if (descriptor == listener_.socket.get()) {
      while (admit()) continue;
      return;
    }
    const auto member = members_.find(descriptor);
    if (member != members_.end() && (events & EPOLLOUT) != 0) flush(member->second);
    if ((events & ~static_cast<std::uint32_t>(EPOLLOUT)) != 0) hear(descriptor);
  } catch (const std::exception&) {
    show_out(descriptor);  // no memory for it: it joins again
  }
}

void UnixHub::look_after_file() {
  if (file_.state(listener_.file) == SocketFile::State::OURS) return;
  const SocketFile::Lock lock(file_);
  if (lock.error() != 0) return;  // somebody is becoming the listener
  const SocketFile::State state = file_.state(listener_.file);
  if (state == SocketFile::State::OURS) return;
  SocketFile::Listener anew;
  if (state == SocketFile::State::MISSING && file_.listen(anew) == 0) {
    if (watch(EPOLL_CTL_ADD, anew.socket.get(), EPOLLIN)) {
      std::swap(listener_, anew);
      return;
    }
    file_.remove(anew.file);
  }
  if (state == SocketFile::State::MISSING) return;  // the next look may do better
  ended_ = true;
  end();
}

/** False when nobody else waits for it. */
bool UnixHub::admit() {
  Descriptor socket(::accept4(listener_.socket.get(), nullptr, nullptr, SOCK_NONBLOCK | SOCK_CLOEXEC));
  if (!socket) {
    if (errno == EINTR || errno == ECONNABORTED) return true;
    if (errno == EAGAIN) return false;
    // Out of descriptors: not to be woken for nothing until there may be one again.
    is_deaf_ = true;
    watch(EPOLL_CTL_MOD, listener_.socket.get(), 0);
    return false;
  }
  const int key = socket.get();
  if (!file_.admits_peer(key) || send_now(key, encode_welcome(window_of(key))) != Sent::ALL) return true;
  members_[key].socket = ShieldedDescriptor(std::move(socket));
  if (!watch(EPOLL_CTL_ADD, key, EPOLLIN)) members_.erase(key);
  return true;
}

void UnixHub::hear(int socket) {
  std::array<std::uint8_t, kUnixMessageSize + 1> bytes{};  // one more, to notice what is too long
  for (int i = 0; i < kMessagesAtOnce; ++i) {
    const auto member = members_.find(socket);
    if (member == members_.end()) return;
    const ssize_t size = ::recv(socket, bytes.data(), bytes.size(), 0);
    if (size < 0 && (errno == EAGAIN || errno == EINTR)) return;
    const auto message =
        size > 0 ? decode_unix_message(bytes.data(), static_cast<std::size_t>(size)) : std::nullopt;
    if (!message || !take(member->second, *message)) {
      show_out(socket);
      return;
    }
  }
}

/** False when that is no member's message, or more than a member may ask. */
bool UnixHub::take(Member& member, const UnixMessage& message) {
  switch (message.kind) {
    case UnixMessage::Kind::FRAME:
      pass_on(member, message.frame);
      return true;
    case UnixMessage::Kind::FILTER:
      if (member.is_filtered || member.filters.size() == kFiltersBound) return false;
      member.filters.push_back(message.filter);
      member.is_filtered = message.is_last_filter;
      return true;
    case UnixMessage::Kind::MARK:
      if (member.waiting.size() >= kWaitingBound + kMarksBound) return false;
      if (!member.waiting.empty() ||
          send_now(member.socket.get(), encode_mark(message.number)) == Sent::LATER)
        keep(member, encode_mark(message.number));
      return true;
    case UnixMessage::Kind::WELCOME:
    case UnixMessage::Kind::LOST:
      break;
  }
  return false;
}

void UnixHub::pass_on(const Member& from, const Frame& frame) {
  const UnixBytes message = encode_frame(frame);
  for (auto& [socket, member] : members_) {
    if (&member != &from && (!member.is_filtered || passes(member.filters, frame))) give(member, message);
  }
}

void UnixHub::give(Member& member, const UnixBytes& message) {
  if (member.waiting.empty()) {
    const Sent sent = send_now(member.socket.get(), message);
    if (sent == Sent::NEVER) ++member.lost;
    if (sent != Sent::LATER) return;
  }
  if (member.waiting.size() >= kWaitingBound) {
    ++member.lost;
  } else {
    keep(member, message);
  }
}

void UnixHub::keep(Member& member, const UnixBytes& message) {
  if (member.waiting.empty()) watch(EPOLL_CTL_MOD, member.socket.get(), EPOLLIN | EPOLLOUT);
  member.waiting.push_back(message);
}

void UnixHub::flush(Member& member) {
  for (;;) {
    if (member.waiting.empty() && member.told_lost != member.lost) {
      member.waiting.push_back(encode_lost(member.lost));
      member.told_lost = member.lost;
    }
    if (member.waiting.empty()) break;
    if (send_now(member.socket.get(), member.waiting.front()) == Sent::LATER) return;
    member.waiting.pop_front();
  }
  watch(EPOLL_CTL_MOD, member.socket.get(), EPOLLIN);
}

void UnixHub::show_out(int socket) {
  members_.erase(socket);  // closing it takes it out of the epoll set
}

}  // namespace nkr::can
