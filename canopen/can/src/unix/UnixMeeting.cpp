#include "unix/UnixMeeting.hpp"

#include <cerrno>
#include <exception>

namespace nkr::can {
namespace {

bool nobody_listens(int error) {
  return error == ECONNREFUSED || error == ENOENT;
}

}  // namespace

int UnixMeeting::join(Descriptor& connection) {
  const int problem = file_.problem();
  if (problem != 0) return problem;
  const std::lock_guard<std::mutex> lock(mutex_);
  try {
    return connect_or_listen(connection);
  } catch (const std::exception&) {
    return ENOMEM;
  }
}

int UnixMeeting::connect_or_listen(Descriptor& connection) {
  int error = file_.connect(connection);
  if (!nobody_listens(error)) return error;
  const SocketFile::Lock lock(file_);
  if (lock.error() != 0) return lock.error();
  error = file_.connect(connection);  // somebody may have become the listener meanwhile
  if (!nobody_listens(error)) return error;
  hub_.reset();  // one without its file: its members meet the new one
  hub_ = UnixHub::start(file_, error);
  return hub_ ? file_.connect(connection) : error;
}

}  // namespace nkr::can
