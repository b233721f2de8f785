#ifndef NKR_CAN_UNIX_UNIXHUB_HPP
#define NKR_CAN_UNIX_UNIXHUB_HPP

#include <unistd.h>

#include <cstdint>
#include <deque>
#include <map>
#include <memory>
#include <nkr/can/Thread.hpp>
#include <vector>

#include "system/Descriptor.hpp"
#include "system/ForkShield.hpp"
#include "system/Waker.hpp"
#include "unix/SocketFile.hpp"
#include "unix/unix_wire.hpp"

namespace nkr::can {

/**
 * The listener of a unix bus: a thread that passes every member's frames on to all others whose filters let
 * them pass, in one order for all. A member that does not read keeps nobody waiting: what exceeds its queue
 * is dropped, and it is told how much it lost. A member that breaks the wire format is shown out.
 *
 * It looks after its socket file: one that was deleted is made anew; when another listener has taken its
 * place, this one sends its members there and ends.
 */
class UnixHub {
 public:
  /** Null, and errno in `error`, when the system gives it no descriptor or thread. With the file's lock held.
   */
  static std::unique_ptr<UnixHub> start(const SocketFile& file, int& error);
  /** Takes the socket file along, unless another listener has replaced it. */
  ~UnixHub();
  UnixHub(const UnixHub&) = delete;
  UnixHub& operator=(const UnixHub&) = delete;

 private:
  struct Member {
    ShieldedDescriptor socket;
    std::vector<Filter> filters;
    bool is_filtered = false;       ///< all its filters are known
    std::deque<UnixBytes> waiting;  ///< what its socket did not take yet
    std::uint64_t lost = 0;
    std::uint64_t told_lost = 0;
  };
  using Members = std::map<int, Member>;

  explicit UnixHub(const SocketFile& file) : file_(file) {}
  int begin();
  void run();
  void serve(int descriptor, std::uint32_t events);
  void look_after_file();
  bool admit();
  void hear(int socket);
  bool take(Member& member, const UnixMessage& message);
  void pass_on(const Member& from, const Frame& frame);
  void give(Member& member, const UnixBytes& message);
  void keep(Member& member, const UnixBytes& message);
  void flush(Member& member);
  void show_out(int socket);
  void end();
  bool watch(int operation, int descriptor, std::uint32_t events);

  const SocketFile file_;
  SocketFile::Listener listener_;
  Descriptor epoll_;
  Waker stop_;
  Members members_;
  const pid_t process_ = ::getpid();  ///< a forked child has no listener
  bool is_deaf_ = false;  ///< there was no descriptor for a newcomer: it listens again after a while
  bool ended_ = false;    ///< another listener took its place
  Thread thread_;
};

}  // namespace nkr::can

#endif
