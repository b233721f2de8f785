#ifndef NKR_CAN_UNIX_SOCKETFILE_HPP
#define NKR_CAN_UNIX_SOCKETFILE_HPP

#include <sys/types.h>

#include <string>

#include "system/ForkShield.hpp"

namespace nkr::can {

/**
 * The socket file by which the members of a unix bus find each other, and PATH.lock beside it: whoever finds
 * no listener holds that lock while it becomes one. Both are for the owner alone, unless the bus is named
 * with a mode: "PATH?mode=0660". Nothing here waits. Results are 0 or errno; EAGAIN: somebody else is at it,
 * try again.
 */
class SocketFile {
 public:
  /** Which file it is; its number stays taken while the listener lives. */
  struct Identity {
    dev_t device = 0;
    ino_t number = 0;
    friend bool operator==(const Identity& a, const Identity& b) {
      return a.device == b.device && a.number == b.number;
    }
  };
  struct Listener {
    ShieldedDescriptor socket;
    Identity file;
  };
  enum class State { OURS, MISSING, ANOTHER };

  explicit SocketFile(const std::string& path_and_mode);

  [[nodiscard]] const std::string& path() const { return path_; }
  /** 0, ENAMETOOLONG for the path or EINVAL for the mode. */
  [[nodiscard]] int problem() const;

  int connect(Descriptor& connection) const;
  /** Makes the file; replaces one that a killed listener left behind. A file that is no socket stays. With
   * the lock held. */
  int listen(Listener& listener) const;
  [[nodiscard]] State state(const Identity& ours) const;
  /** With the lock held. */
  void remove(const Identity& ours) const;
  /** Whether the other end belongs to a user who may be on this bus. */
  [[nodiscard]] bool admits_peer(int socket) const;

  /** Held while this lives, also across processes; no child of this one keeps it. */
  class Lock {
   public:
    explicit Lock(const SocketFile& file);
    ~Lock();
    Lock(const Lock&) = delete;
    Lock& operator=(const Lock&) = delete;
    [[nodiscard]] int error() const { return error_; }

   private:
    ShieldedDescriptor file_;
    int error_ = 0;
  };

 private:
  static constexpr mode_t kOwnerAlone = 0600;
  [[nodiscard]] bool is_shared() const { return (mode_ & 0077U) != 0; }

  std::string path_;
  mode_t mode_ = kOwnerAlone;
  bool mode_is_valid_ = true;
};

}  // namespace nkr::can

#endif
