#include "unix/SocketFile.hpp"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <string_view>

namespace nkr::can {
namespace {

constexpr int kBacklog = 128;
constexpr std::string_view kModeKey = "?mode=";

/** Up to four octal digits, not above 0777. */
bool parse_mode(std::string_view text, mode_t& mode) {
  constexpr std::size_t kDigitsMax = 4;
  constexpr mode_t kMost = 0777;
  if (text.empty() || text.size() > kDigitsMax) return false;
  mode = 0;
  for (const char digit : text) {
    if (digit < '0' || digit > '7') return false;
    mode = 8 * mode + static_cast<mode_t>(digit - '0');
  }
  return mode <= kMost;
}

sockaddr_un address_of(const std::string& path) {
  sockaddr_un address{};
  address.sun_family = AF_UNIX;
  std::copy_n(path.begin(), std::min(path.size(), sizeof address.sun_path - 1), address.sun_path);
  return address;
}

Descriptor new_socket() {
  return Descriptor(::socket(AF_UNIX, SOCK_SEQPACKET | SOCK_CLOEXEC | SOCK_NONBLOCK, 0));
}

/** The file that the path names, itself. */
bool look_at(const std::string& path, struct stat& file) {
  return ::lstat(path.c_str(), &file) == 0;
}

}  // namespace

SocketFile::SocketFile(const std::string& path_and_mode) : path_(path_and_mode) {
  const std::size_t key = path_and_mode.rfind(kModeKey);
  if (key == std::string::npos) return;
  path_.resize(key);
  mode_is_valid_ = parse_mode(std::string_view(path_and_mode).substr(key + kModeKey.size()), mode_);
}

int SocketFile::problem() const {
  if (!mode_is_valid_) return EINVAL;
  return path_.empty() || path_.size() >= sizeof(sockaddr_un::sun_path) ? ENAMETOOLONG : 0;
}

int SocketFile::connect(Descriptor& connection) const {
  const sockaddr_un address = address_of(path_);
  Descriptor socket = new_socket();
  if (!socket) return errno;
  if (::connect(socket.get(), reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0) return errno;
  if (!admits_peer(socket.get()) && ::geteuid() != 0) return EPERM;
  connection = std::move(socket);
  return 0;
}

int SocketFile::listen(Listener& listener) const {
  struct stat file {};
  if (look_at(path_, file)) {
    if (!S_ISSOCK(file.st_mode)) return ENOTSOCK;
    if (::unlink(path_.c_str()) != 0) return errno;
  }
  const sockaddr_un address = address_of(path_);
  Descriptor socket = new_socket();
  // The file is made with the socket's mode, never with a wider one; what the process masks comes after.
  if (!socket || ::fchmod(socket.get(), mode_) != 0) return errno;
  if (::bind(socket.get(), reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0) return errno;
  if (::chmod(path_.c_str(), mode_) != 0 || ::listen(socket.get(), kBacklog) != 0 || !look_at(path_, file)) {
    const int error = errno;
    ::unlink(path_.c_str());
    return error;
  }
  listener = {ShieldedDescriptor(std::move(socket)), {file.st_dev, file.st_ino}};
  return 0;
}

SocketFile::State SocketFile::state(const Identity& ours) const {
  struct stat file {};
  if (!look_at(path_, file)) return errno == ENOENT ? State::MISSING : State::OURS;
  return Identity{file.st_dev, file.st_ino} == ours ? State::OURS : State::ANOTHER;
}

void SocketFile::remove(const Identity& ours) const {
  struct stat file {};
  if (look_at(path_, file) && Identity{file.st_dev, file.st_ino} == ours) ::unlink(path_.c_str());
}

bool SocketFile::admits_peer(int socket) const {
  ucred peer{};
  socklen_t size = sizeof peer;
  if (::getsockopt(socket, SOL_SOCKET, SO_PEERCRED, &peer, &size) != 0) return false;
  return is_shared() || peer.uid == ::geteuid() || peer.uid == 0;
}

SocketFile::Lock::Lock(const SocketFile& file) {
  const std::string path = file.path_ + ".lock";
  const int flags = O_RDWR | O_CREAT | O_CLOEXEC | O_NOFOLLOW | O_NONBLOCK;
  Descriptor lock(::open(path.c_str(), flags, file.mode_));
  struct stat found {};
  if (!lock || ::fstat(lock.get(), &found) != 0) {
    error_ = errno;
    return;
  }
  const bool is_own = found.st_uid == ::geteuid();
  // Whoever else may open it could hold it for ever.
  if (!S_ISREG(found.st_mode) || (!is_own && !file.is_shared() && ::geteuid() != 0)) {
    error_ = EPERM;
    return;
  }
  if (is_own && (found.st_mode & 0777U) != file.mode_) ::fchmod(lock.get(), file.mode_);
  if (::flock(lock.get(), LOCK_EX | LOCK_NB) != 0) {
    error_ = errno == EINTR ? EAGAIN : errno;
    return;
  }
  file_ = ShieldedDescriptor(std::move(lock));
}

SocketFile::Lock::~Lock() {
  if (file_)
    ::flock(file_.get(), LOCK_UN);  // closing it would do, but for a child that could not be shielded
}

}  // namespace nkr::can
