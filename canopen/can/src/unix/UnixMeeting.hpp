#ifndef NKR_CAN_UNIX_UNIXMEETING_HPP
#define NKR_CAN_UNIX_UNIXMEETING_HPP

#include <memory>
#include <mutex>
#include <string>

#include "unix/SocketFile.hpp"
#include "unix/UnixHub.hpp"

namespace nkr::can {

/** The socket file, and the listener when it is in this process. Shared by the bus and its ports. */
class UnixMeeting {
 public:
  explicit UnixMeeting(const std::string& path_and_mode) : file_(path_and_mode) {}
  UnixMeeting(const UnixMeeting&) = delete;
  UnixMeeting& operator=(const UnixMeeting&) = delete;

  [[nodiscard]] const std::string& path() const { return file_.path(); }

  /** A connection to the listener, which this process becomes when there is none. 0 or errno, EAGAIN: to be
   * tried again soon. Does not wait. */
  int join(Descriptor& connection);

 private:
  int connect_or_listen(Descriptor& connection);

  const SocketFile file_;
  std::mutex mutex_;
  std::unique_ptr<UnixHub> hub_;
};

}  // namespace nkr::can

#endif
