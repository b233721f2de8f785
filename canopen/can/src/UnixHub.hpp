#ifndef NKR_CAN_UNIX_HUB_HPP
#define NKR_CAN_UNIX_HUB_HPP

#include <cstdint>
#include <deque>
#include <map>
#include <memory>
#include <string>
#include <thread>

#include "Descriptor.hpp"
#include "Waker.hpp"
#include "unix_wire.hpp"

namespace nkr::can {

/**
 * The listener of a unix bus: a thread that passes every member's frames on to all others, in one order for
 * all. A member that does not read keeps nobody waiting: what exceeds its queue is dropped, and it is told
 * how much it lost. A member that breaks the wire format is shown out.
 */
class UnixHub {
 public:
  /** Serves members that connect to `listener`, a listening socket that never blocks. */
  explicit UnixHub(Descriptor listener);
  ~UnixHub();
  UnixHub(const UnixHub&) = delete;
  UnixHub& operator=(const UnixHub&) = delete;

 private:
  struct Member {
    Descriptor socket;
    std::deque<UnixBytes> waiting;  ///< what its socket did not take yet
    std::uint64_t lost = 0;
    std::uint64_t told_lost = 0;
  };
  using Members = std::map<int, Member>;

  void run();
  void admit();
  void hear(int socket);
  void pass_on(int from, const UnixBytes& message);
  void give(Member& member, const UnixBytes& message);
  void flush(Member& member);
  void show_out(int socket);
  void watch(int operation, int descriptor, std::uint32_t events);

  Descriptor listener_;
  Descriptor epoll_;
  Waker stop_;
  Members members_;
  bool listening_ = true;
  std::thread thread_;
};

}  // namespace nkr::can

#endif
