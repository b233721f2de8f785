#ifndef TESTS_CAN_SOCKETCAN_LINK_HPP
#define TESTS_CAN_SOCKETCAN_LINK_HPP

#include <net/if.h>
#include <sys/ioctl.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cstring>
#include <string>

namespace nkr::can::test {

/** Sets an interface up or down; false without the right to. */
inline bool set_up(const std::string& interface, bool up) {
  const int any_socket = ::socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC, 0);
  ifreq request{};
  std::strncpy(request.ifr_name, interface.c_str(), IFNAMSIZ - 1);
  bool done = ::ioctl(any_socket, SIOCGIFFLAGS, &request) == 0;
  const int flags = request.ifr_flags;
  request.ifr_flags = static_cast<short>(up ? flags | IFF_UP : flags & ~IFF_UP);
  done = done && ::ioctl(any_socket, SIOCSIFFLAGS, &request) == 0;
  ::close(any_socket);
  return done;
}

}  // namespace nkr::can::test

#endif
