#include "UnixHub.hpp"

#include <sys/epoll.h>
#include <sys/socket.h>

#include <array>
#include <cerrno>
#include <csignal>
#include <system_error>

namespace nkr::can {
namespace {

constexpr std::size_t kWaitingBound = 16384;
constexpr int kMessagesAtOnce = 64;  ///< from one member before others have their turn

enum class Sent { ALL, LATER, NEVER };

Sent send_now(int socket, const UnixBytes& message) {
  if (::send(socket, message.data(), message.size(), MSG_NOSIGNAL | MSG_DONTWAIT) >= 0) return Sent::ALL;
  return errno == EAGAIN || errno == EINTR || errno == ENOBUFS || errno == ENOMEM ? Sent::LATER : Sent::NEVER;
}

}  // namespace

UnixHub::UnixHub(Descriptor listener)
    : listener_(std::move(listener)), epoll_(::epoll_create1(EPOLL_CLOEXEC)) {
  if (!epoll_) throw std::system_error(errno, std::generic_category(), "epoll_create1");
  watch(EPOLL_CTL_ADD, listener_.get(), EPOLLIN);
  watch(EPOLL_CTL_ADD, stop_.descriptor(), EPOLLIN);
  // The program's signals are for its own threads.
  sigset_t all;
  sigset_t before;
  ::sigfillset(&all);
  ::pthread_sigmask(SIG_SETMASK, &all, &before);
  thread_ = std::thread([this] { run(); });
  ::pthread_sigmask(SIG_SETMASK, &before, nullptr);
}

UnixHub::~UnixHub() {
  stop_.raise(true);
  thread_.join();
}

void UnixHub::watch(int operation, int descriptor, std::uint32_t events) {
  epoll_event event{};
  event.events = events;
  event.data.fd = descriptor;
  ::epoll_ctl(epoll_.get(), operation, descriptor, &event);
}

void UnixHub::run() {
  std::array<epoll_event, 64> events{};
  for (;;) {
    const int count = ::epoll_wait(epoll_.get(), events.data(), static_cast<int>(events.size()), -1);
    for (int i = 0; i < count; ++i) {
      const epoll_event& event = events[static_cast<std::size_t>(i)];
      if (event.data.fd == stop_.descriptor()) return;
      if (event.data.fd == listener_.get()) {
        admit();
        continue;
      }
      const auto member = members_.find(event.data.fd);
      if (member != members_.end() && (event.events & EPOLLOUT) != 0) flush(member->second);
      if ((event.events & ~static_cast<std::uint32_t>(EPOLLOUT)) != 0) hear(event.data.fd);
    }
  }
}

void UnixHub::admit() {
  Descriptor socket(::accept4(listener_.get(), nullptr, nullptr, SOCK_NONBLOCK | SOCK_CLOEXEC));
  if (!socket) {
    if (errno == EAGAIN || errno == EINTR || errno == ECONNABORTED) return;
    // Out of descriptors: listen again when a member has left, instead of being woken for nothing until then.
    listening_ = false;
    watch(EPOLL_CTL_MOD, listener_.get(), 0);
    return;
  }
  const int key = socket.get();
  if (send_now(key, encode_welcome()) != Sent::ALL) return;
  members_[key].socket = std::move(socket);
  watch(EPOLL_CTL_ADD, key, EPOLLIN);
}

void UnixHub::hear(int socket) {
  std::array<std::uint8_t, kUnixMessageSize + 1> bytes{};  // one more, to notice what is too long
  for (int i = 0; i < kMessagesAtOnce && members_.count(socket) != 0; ++i) {
    const ssize_t size = ::recv(socket, bytes.data(), bytes.size(), 0);
    if (size < 0 && (errno == EAGAIN || errno == EINTR)) return;
    const auto message =
        size > 0 ? decode_unix_message(bytes.data(), static_cast<std::size_t>(size)) : std::nullopt;
    if (!message || message->kind != UnixMessage::Kind::FRAME) {
      show_out(socket);
      return;
    }
    pass_on(socket, encode_frame(message->frame));
  }
}

void UnixHub::pass_on(int from, const UnixBytes& message) {
  for (auto& [socket, member] : members_) {
    if (socket != from) give(member, message);
  }
}

void UnixHub::give(Member& member, const UnixBytes& message) {
  if (member.waiting.empty() && send_now(member.socket.get(), message) != Sent::LATER) return;
  if (member.waiting.size() >= kWaitingBound) {
    ++member.lost;
    return;
  }
  if (member.waiting.empty()) watch(EPOLL_CTL_MOD, member.socket.get(), EPOLLIN | EPOLLOUT);
  member.waiting.push_back(message);
}

void UnixHub::flush(Member& member) {
  for (;;) {
    if (member.waiting.empty() && member.told_lost != member.lost) {
      member.told_lost = member.lost;
      member.waiting.push_back(encode_lost(member.lost));
    }
    if (member.waiting.empty()) break;
    if (send_now(member.socket.get(), member.waiting.front()) == Sent::LATER) return;
    member.waiting.pop_front();
  }
  watch(EPOLL_CTL_MOD, member.socket.get(), EPOLLIN);
}

void UnixHub::show_out(int socket) {
  members_.erase(socket);  // closing it takes it out of the epoll set
  if (listening_) return;
  listening_ = true;
  watch(EPOLL_CTL_MOD, listener_.get(), EPOLLIN);
}

}  // namespace nkr::can
