#include "socketcan/CanSystem.hpp"

#include <linux/can.h>
#include <linux/can/error.h>
#include <linux/can/raw.h>
#include <net/if.h>
#include <net/if_arp.h>
#include <sys/ioctl.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <ctime>

namespace nkr::can {
namespace {

can_frame to_kernel(const Frame& frame) {
  can_frame raw{};
  raw.can_id = frame.id;
  if (frame.extended) raw.can_id |= CAN_EFF_FLAG;
  if (frame.remote) raw.can_id |= CAN_RTR_FLAG;
  if (frame.error) raw.can_id |= CAN_ERR_FLAG;
  raw.can_dlc = static_cast<std::uint8_t>(std::min<std::size_t>(frame.size, frame.data.size()));
  std::copy_n(frame.data.begin(), raw.can_dlc, raw.data);
  return raw;
}

Frame from_kernel(const can_frame& raw) {
  Frame frame;
  frame.extended = (raw.can_id & CAN_EFF_FLAG) != 0;
  frame.remote = (raw.can_id & CAN_RTR_FLAG) != 0;
  frame.error = (raw.can_id & CAN_ERR_FLAG) != 0;
  frame.id = raw.can_id & (frame.extended || frame.error ? CAN_EFF_MASK : CAN_SFF_MASK);
  frame.size = static_cast<std::uint8_t>(std::min<std::size_t>(raw.can_dlc, frame.data.size()));
  if (!frame.remote) std::copy_n(raw.data, frame.size, frame.data.begin());
  return frame;
}

template <typename Value>
int set_option(int socket, int level, int option, const Value& value) {
  return ::setsockopt(socket, level, option, &value, sizeof value) == 0 ? 0 : errno;
}

int set_filters(int socket, const std::vector<Filter>& filters) {
  if (filters.empty()) return set_option(socket, SOL_CAN_RAW, CAN_RAW_FILTER, can_filter{0, 0});
  std::vector<can_filter> kernel_filters;
  kernel_filters.reserve(filters.size());
  for (const Filter& filter : filters)
    kernel_filters.push_back({filter.id & CAN_SFF_MASK, (filter.mask & CAN_SFF_MASK) | CAN_EFF_FLAG});
  const auto size = static_cast<socklen_t>(kernel_filters.size() * sizeof(can_filter));
  return ::setsockopt(socket, SOL_CAN_RAW, CAN_RAW_FILTER, kernel_filters.data(), size) == 0 ? 0 : errno;
}

ifreq request_for(const std::string& interface) {
  ifreq request{};
  std::copy_n(interface.begin(), std::min<std::size_t>(interface.size(), IFNAMSIZ - 1), request.ifr_name);
  return request;
}

/** The kernel's additions to a message: its time of reception and the count of lost frames. */
void read_control(msghdr& message, ReceivedFrame& received) {
  received.when = std::chrono::system_clock::now();
  for (cmsghdr* control = CMSG_FIRSTHDR(&message); control != nullptr;
       control = CMSG_NXTHDR(&message, control)) {
    if (control->cmsg_level != SOL_SOCKET) continue;
    if (control->cmsg_type == SO_TIMESTAMPNS) {
      timespec time{};
      std::memcpy(&time, CMSG_DATA(control), sizeof time);
      const auto since_epoch = std::chrono::seconds(time.tv_sec) + std::chrono::nanoseconds(time.tv_nsec);
      received.when = std::chrono::system_clock::time_point(since_epoch);
    } else if (control->cmsg_type == SO_RXQ_OVFL) {
      std::uint32_t dropped = 0;
      std::memcpy(&dropped, CMSG_DATA(control), sizeof dropped);
      received.dropped = dropped;
    }
  }
}

/** The error that the loss of the interface left behind: the next call would report it although it is over.
 */
void clear_pending_error(int socket) {
  int error = 0;
  socklen_t size = sizeof error;
  ::getsockopt(socket, SOL_SOCKET, SO_ERROR, &error, &size);
}

}  // namespace

int LinuxCanSystem::open() {
  const int socket = ::socket(PF_CAN, SOCK_RAW | SOCK_NONBLOCK | SOCK_CLOEXEC, CAN_RAW);
  if (socket < 0) return -errno;
  // A kernel without one of these lacks a time stamp or a count, no frame.
  set_option(socket, SOL_SOCKET, SO_TIMESTAMPNS, 1);
  set_option(socket, SOL_SOCKET, SO_RXQ_OVFL, 1);
  return socket;
}

int LinuxCanSystem::bind(int socket, const std::string& interface, const std::vector<Filter>& filters) {
  const unsigned index = interface.size() < IFNAMSIZ ? ::if_nametoindex(interface.c_str()) : 0;
  if (index == 0) return ENODEV;
  if (const int error = set_filters(socket, filters)) return error;
  if (const int error = set_option(socket, SOL_CAN_RAW, CAN_RAW_ERR_FILTER, can_err_mask_t{CAN_ERR_MASK}))
    return error;
  clear_pending_error(socket);
  sockaddr_can address{};
  address.can_family = AF_CAN;
  address.can_ifindex = static_cast<int>(index);
  return ::bind(socket, reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0 ? 0 : errno;
}

int LinuxCanSystem::read(int socket, ReceivedFrame& received) {
  can_frame raw{};
  iovec part{&raw, sizeof raw};
  alignas(cmsghdr) char control[CMSG_SPACE(sizeof(timespec)) + CMSG_SPACE(sizeof(std::uint32_t))];
  msghdr message{};
  message.msg_iov = &part;
  message.msg_iovlen = 1;
  message.msg_control = control;
  message.msg_controllen = sizeof control;
  const ssize_t size = ::recvmsg(socket, &message, 0);
  if (size < 0) return errno;
  if (static_cast<std::size_t>(size) != sizeof raw) return EINTR;  // no classical frame: read on
  received.frame = from_kernel(raw);
  read_control(message, received);
  return 0;
}

int LinuxCanSystem::write(int socket, const Frame& frame) {
  const can_frame raw = to_kernel(frame);
  return ::write(socket, &raw, sizeof raw) == static_cast<ssize_t>(sizeof raw) ? 0 : errno;
}

LinkState LinuxCanSystem::link(const std::string& interface) {
  if (interface.empty() || interface.size() >= IFNAMSIZ) return LinkState::ABSENT;
  const int any_socket = ::socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC, 0);
  if (any_socket < 0) return LinkState::UNKNOWN;
  ifreq kind = request_for(interface);
  ifreq flags = request_for(interface);
  const bool known =
      ::ioctl(any_socket, SIOCGIFHWADDR, &kind) == 0 && ::ioctl(any_socket, SIOCGIFFLAGS, &flags) == 0;
  ::close(any_socket);
  if (!known) return LinkState::ABSENT;
  if (kind.ifr_hwaddr.sa_family != ARPHRD_CAN) return LinkState::NOT_CAN;
  return (flags.ifr_flags & IFF_UP) != 0 ? LinkState::UP : LinkState::DOWN;
}

void LinuxCanSystem::close(int descriptor) {
  if (descriptor >= 0) ::close(descriptor);
}

}  // namespace nkr::can
