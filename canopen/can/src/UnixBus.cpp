#include "UnixBus.hpp"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstring>
#include <mutex>
#include <utility>

#include "UnixHub.hpp"

namespace nkr::can {
namespace {

using std::chrono::milliseconds;

constexpr milliseconds kWelcomeTimeout{2000};
constexpr milliseconds kJoinRetry{100};
constexpr int kBacklog = 128;
constexpr int kJoinAttempts = 5;

Descriptor new_socket() {
  Descriptor socket(::socket(AF_UNIX, SOCK_SEQPACKET | SOCK_CLOEXEC, 0));
  const timeval timeout{kWelcomeTimeout.count() / 1000, 0};  // for connect: a listener that does not accept
  ::setsockopt(socket.get(), SOL_SOCKET, SO_SNDTIMEO, &timeout, sizeof timeout);
  return socket;
}

sockaddr_un address_of(const std::string& path) {
  sockaddr_un address{};
  address.sun_family = AF_UNIX;
  std::copy_n(path.begin(), std::min(path.size(), sizeof address.sun_path - 1), address.sun_path);
  return address;
}

bool fits_an_address(const std::string& path) {
  return !path.empty() && path.size() < sizeof(sockaddr_un::sun_path);
}

/** 0 or errno. */
int connect_to(const std::string& path, Descriptor& socket) {
  const sockaddr_un address = address_of(path);
  Descriptor connecting = new_socket();
  if (::connect(connecting.get(), reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0)
    return errno;
  socket = std::move(connecting);
  return 0;
}

/** Replaces the socket file that a killed listener left behind. 0 or errno; a file that is no socket stays.
 */
int listen_at(const std::string& path, Descriptor& listener) {
  struct stat file {};
  if (::lstat(path.c_str(), &file) == 0) {
    if (!S_ISSOCK(file.st_mode)) return ENOTSOCK;
    if (::unlink(path.c_str()) != 0) return errno;
  }
  const sockaddr_un address = address_of(path);
  Descriptor socket(::socket(AF_UNIX, SOCK_SEQPACKET | SOCK_CLOEXEC | SOCK_NONBLOCK, 0));
  if (::bind(socket.get(), reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0) return errno;
  if (::listen(socket.get(), kBacklog) != 0) return errno;
  listener = std::move(socket);
  return 0;
}

/** 0, ECONNRESET when the listener ended just now, or EAGAIN when it does not answer. */
int await_welcome(const Descriptor& socket) {
  pollfd readable{socket.get(), POLLIN, 0};
  const auto deadline = Clock::now() + kWelcomeTimeout;
  int ready = -1;
  while (ready < 0) ready = poll_until(&readable, 1, deadline);
  if (ready == 0) return EAGAIN;
  UnixBytes bytes{};
  const ssize_t size = ::recv(socket.get(), bytes.data(), bytes.size(), MSG_DONTWAIT);
  const auto message =
      size > 0 ? decode_unix_message(bytes.data(), static_cast<std::size_t>(size)) : std::nullopt;
  return message && message->kind == UnixMessage::Kind::WELCOME ? 0 : ECONNRESET;
}

/** Held while its owner lives, also across processes; a killed owner's is free at once. */
Descriptor lock_beside(const std::string& path) {
  Descriptor lock(::open((path + ".lock").c_str(), O_RDWR | O_CREAT | O_CLOEXEC | O_NOFOLLOW, 0666));
  if (!lock) return lock;
  while (::flock(lock.get(), LOCK_EX) != 0 && errno == EINTR) {
  }
  return lock;
}

}  // namespace

/** The socket file, and the listener when it is in this process. Shared by the bus and its ports. */
class UnixBus::Meeting {
 public:
  explicit Meeting(std::string path) : path_(std::move(path)) {}
  ~Meeting() { end_listening(); }
  Meeting(const Meeting&) = delete;
  Meeting& operator=(const Meeting&) = delete;

  [[nodiscard]] const std::string& path() const { return path_; }

  /** A connection to the listener, which this process becomes when there is none. 0 or errno. */
  int join(Descriptor& connection) {
    if (!fits_an_address(path_)) return ENAMETOOLONG;
    int error = ECONNRESET;
    for (int attempt = 0; attempt < kJoinAttempts && error == ECONNRESET; ++attempt) {
      Descriptor socket;
      error = connect_or_listen(socket);
      if (error == 0) error = await_welcome(socket);
      if (error == 0) connection = std::move(socket);
    }
    return error;
  }

 private:
  int connect_or_listen(Descriptor& socket) {
    const std::lock_guard<std::mutex> lock(mutex_);
    const Descriptor file_lock = lock_beside(path_);
    const int lock_error = file_lock ? 0 : errno;
    const int error = connect_to(path_, socket);
    if (error != ECONNREFUSED && error != ENOENT) return error;
    if (lock_error != 0) return lock_error;
    Descriptor listener;
    if (const int failure = listen_at(path_, listener)) return failure;
    struct stat file {};
    ::lstat(path_.c_str(), &file);
    inode_ = file.st_ino;
    hub_ = std::make_unique<UnixHub>(std::move(listener));
    return connect_to(path_, socket);
  }

  /** Takes the socket file along, unless another listener has replaced it. */
  void end_listening() {
    if (!hub_) return;
    const Descriptor file_lock = lock_beside(path_);
    struct stat file {};
    if (::lstat(path_.c_str(), &file) == 0 && file.st_ino == inode_) ::unlink(path_.c_str());
    hub_.reset();
  }

  const std::string path_;
  std::mutex mutex_;
  std::unique_ptr<UnixHub> hub_;
  ino_t inode_ = 0;
};

class UnixBus::MemberPort : public Port {
 public:
  MemberPort(std::shared_ptr<Meeting> meeting, std::vector<Filter> filters, Descriptor connection)
      : meeting_(std::move(meeting)),
        filters_(std::move(filters)),
        connection_(std::make_shared<const Descriptor>(std::move(connection))) {}

  nkr_error_t send(const Frame& frame, const Deadline& deadline) override;
  nkr_error_t receive(Frame& frame, const Deadline& deadline,
                      std::chrono::system_clock::time_point* when) override;

  [[nodiscard]] BusStatus status() const override {
    const std::lock_guard<std::mutex> lock(mutex_);
    BusStatus status;
    status.state = connection_ ? BusState::ERROR_ACTIVE : BusState::INTERFACE_GONE;
    status.dropped = dropped_before_ + dropped_;
    return status;
  }

  void close() override {
    const std::lock_guard<std::mutex> lock(mutex_);
    closed_ = true;
    closing_.raise(true);
    attention_.raise(true);
  }

 private:
  using Connection = std::shared_ptr<const Descriptor>;
  enum class Read { FRAME, NOTHING, GONE };

  Connection connected(nkr_error_t& result);
  void lose(const Connection& connection);
  Read read(const Descriptor& connection, Frame& frame);
  bool take_event(nkr_error_t& event);

  const std::shared_ptr<Meeting> meeting_;
  const std::vector<Filter> filters_;

  std::mutex joining_;  ///< held by the one thread that joins again
  mutable std::mutex mutex_;
  Waker attention_;  ///< raised while a receiver is to be told something
  Waker closing_;
  Connection connection_;  ///< null from its loss until the port has joined again
  nkr_error_t event_ = NKR_OK;
  std::uint64_t dropped_ = 0;         ///< as the present listener counts
  std::uint64_t dropped_before_ = 0;  ///< as its predecessors did
  bool closed_ = false;
};

/** The connection, joined anew where it was lost. */
UnixBus::MemberPort::Connection UnixBus::MemberPort::connected(nkr_error_t& result) {
  const auto present = [&] {
    const std::lock_guard<std::mutex> lock(mutex_);
    result = closed_ ? NKR_CAN_CLOSED : connection_ ? NKR_OK : NKR_CAN_INTERFACE_GONE;
    return connection_;
  };
  Connection connection = present();
  if (result != NKR_CAN_INTERFACE_GONE) return connection;
  const std::lock_guard<std::mutex> one_joins(joining_);
  connection = present();
  if (result != NKR_CAN_INTERFACE_GONE) return connection;
  Descriptor joined;
  if (meeting_->join(joined) != 0) return nullptr;
  {
    const std::lock_guard<std::mutex> lock(mutex_);
    connection_ = std::make_shared<const Descriptor>(std::move(joined));
  }
  return present();
}

void UnixBus::MemberPort::lose(const Connection& connection) {
  const std::lock_guard<std::mutex> lock(mutex_);
  if (connection_ != connection) return;
  connection_.reset();
  dropped_before_ += std::exchange(dropped_, 0);
  event_ = NKR_CAN_INTERFACE_GONE;
  attention_.raise(true);
}

bool UnixBus::MemberPort::take_event(nkr_error_t& event) {
  const std::lock_guard<std::mutex> lock(mutex_);
  event = closed_ ? NKR_CAN_CLOSED : std::exchange(event_, NKR_OK);
  attention_.raise(closed_);
  return event != NKR_OK;
}

UnixBus::MemberPort::Read UnixBus::MemberPort::read(const Descriptor& connection, Frame& frame) {
  for (;;) {
    UnixBytes bytes{};
    const ssize_t size = ::recv(connection.get(), bytes.data(), bytes.size(), MSG_DONTWAIT);
    if (size < 0 && errno == EINTR) continue;
    if (size < 0 && errno == EAGAIN) return Read::NOTHING;
    const auto message =
        size > 0 ? decode_unix_message(bytes.data(), static_cast<std::size_t>(size)) : std::nullopt;
    if (!message) return Read::GONE;
    if (message->kind == UnixMessage::Kind::LOST) {
      const std::lock_guard<std::mutex> lock(mutex_);
      dropped_ = message->lost;
    }
    if (message->kind != UnixMessage::Kind::FRAME || !passes(filters_, message->frame)) continue;
    frame = message->frame;
    return Read::FRAME;
  }
}

nkr_error_t UnixBus::MemberPort::receive(Frame& frame, const Deadline& deadline,
                                         std::chrono::system_clock::time_point* when) {
  for (bool in_time = true;;) {
    nkr_error_t result = NKR_OK;
    if (take_event(result)) return result;
    const Connection connection = connected(result);
    if (result == NKR_CAN_CLOSED) return result;
    if (connection) {
      const Read read_now = read(*connection, frame);
      if (read_now == Read::FRAME) {
        if (when != nullptr) *when = std::chrono::system_clock::now();
        return NKR_OK;
      }
      if (read_now == Read::GONE) {
        lose(connection);
        continue;
      }
    }
    if (!in_time || deadline.only_looks()) return NKR_CAN_TIMED_OUT;  // only a look: no poll
    pollfd descriptors[] = {{connection ? connection->get() : -1, POLLIN, 0},
                            {attention_.descriptor(), POLLIN, 0}};
    // Without a listener and unable to become one (the folder is gone, say), nothing tells when that ends.
    const auto until = connection ? deadline.time() : std::min(deadline.time(), Clock::now() + kJoinRetry);
    in_time = poll_until(descriptors, 2, until) != 0 || until != deadline.time();
  }
}

nkr_error_t UnixBus::MemberPort::send(const Frame& frame, const Deadline& deadline) {
  const UnixBytes message = encode_frame(frame);
  for (;;) {
    nkr_error_t result = NKR_OK;
    const Connection connection = connected(result);
    if (result != NKR_OK) return result;
    if (::send(connection->get(), message.data(), message.size(), MSG_NOSIGNAL | MSG_DONTWAIT) >= 0)
      return NKR_OK;
    if (errno == EINTR) continue;
    if (errno != EAGAIN && errno != ENOBUFS) {
      lose(connection);
      return NKR_CAN_INTERFACE_GONE;
    }
    pollfd descriptors[] = {{connection->get(), POLLOUT, 0}, {closing_.descriptor(), POLLIN, 0}};
    if (poll_until(descriptors, 2, deadline.time()) == 0) return NKR_CAN_TX_OVERFLOW;
  }
}

namespace {

nkr_error_t result_of(int error) {
  if (error == 0) return NKR_OK;
  if (error == EACCES || error == EPERM || error == EROFS) return NKR_CAN_PERMISSION;
  return error == ECONNRESET || error == EAGAIN ? NKR_CAN_INTERFACE_GONE : NKR_CAN_NO_INTERFACE;
}

std::string sentence(const std::string& path, int error) {
  const std::string subject = "The bus \"unix:" + path + "\" cannot be used: ";
  switch (error) {
    case 0:
      return {};
    case ENAMETOOLONG:
      return subject + "the path is empty or longer than a socket's may be (107 characters).";
    case ENOTSOCK:
      return subject + "that file exists and is no socket. Choose another path, or remove it.";
    case ENOENT:
      return subject + "its folder does not exist.";
    case ECONNRESET:
    case EAGAIN:
      return subject + "its listener does not answer. Which process that is: ss -xlp src " + path;
    default:
      return subject + std::strerror(error) + ".";
  }
}

}  // namespace

UnixBus::UnixBus(const std::string& path) : meeting_(std::make_shared<Meeting>(path)) {}
UnixBus::~UnixBus() = default;

std::string UnixBus::name() const {
  return "unix:" + meeting_->path();
}

nkr_error_t UnixBus::check(std::string& explanation) {
  Descriptor connection;
  const int error = meeting_->join(connection);
  explanation = sentence(meeting_->path(), error);
  return result_of(error);
}

std::unique_ptr<Port> UnixBus::open(const std::vector<Filter>& filters, nkr_error_t& result) {
  Descriptor connection;
  result = result_of(meeting_->join(connection));
  if (result != NKR_OK) return nullptr;
  return std::make_unique<MemberPort>(meeting_, filters, std::move(connection));
}

}  // namespace nkr::can
