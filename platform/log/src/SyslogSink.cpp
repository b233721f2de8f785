#include <nkr/log.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <syslog.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>

#include "Line.hpp"
#include "Sink.hpp"

namespace nkr::log {
namespace {

std::uint64_t priority_of(std::uint32_t level) {
  switch (level) {
    case NKR_LOG_FAILURE:
      return LOG_USER | LOG_ERR;
    case NKR_LOG_WARNING:
      return LOG_USER | LOG_WARNING;
    case NKR_LOG_NOTICE:
      return LOG_USER | LOG_NOTICE;
    default:
      return LOG_USER | LOG_DEBUG;
  }
}

/** Datagrams as syslog(3) sends them; its own socket, because that function waits when the log is full. */
class SyslogSink final : public Sink {
 public:
  SyslogSink(std::string socket_path, std::string ident, std::uint32_t level)
      : Sink(level), socket_path_(std::move(socket_path)), ident_(std::move(ident)) {
    connect();
  }
  SyslogSink(const SyslogSink&) = delete;
  SyslogSink& operator=(const SyslogSink&) = delete;
  ~SyslogSink() override { disconnect(); }

  bool is_connected() const { return descriptor_ >= 0; }

 protected:
  bool write(const nkr_log_record_t& record) override {
    Line line;
    line.append("<");
    line.append_number(priority_of(record.level));
    line.append(">");
    line.append(ident_);
    line.append("[");
    line.append_number(static_cast<std::uint64_t>(getpid()));
    line.append("]: [");
    line.append_number(record.context);
    line.append("] ");
    line.append(record.text);
    const int saved_errno = errno;
    bool sent = send(line.view());
    if (!sent && errno != EAGAIN && errno != EWOULDBLOCK) {  // the system log was restarted
      disconnect();
      connect();
      sent = send(line.view());
    }
    errno = saved_errno;
    return sent;
  }

 private:
  void connect() {
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    if (socket_path_.size() >= sizeof address.sun_path) return;
    std::memcpy(address.sun_path, socket_path_.c_str(), socket_path_.size() + 1);
    descriptor_ = ::socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0);
    if (descriptor_ < 0) return;
    if (::connect(descriptor_, reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0)
      disconnect();
  }

  void disconnect() {
    if (descriptor_ >= 0) ::close(descriptor_);
    descriptor_ = -1;
  }

  bool send(std::string_view line) const {
    return ::send(descriptor_, line.data(), line.size(), MSG_DONTWAIT | MSG_NOSIGNAL) ==
           static_cast<ssize_t>(line.size());
  }

  const std::string socket_path_;
  const std::string ident_;
  int descriptor_ = -1;
};

}  // namespace

std::shared_ptr<Sink> make_syslog_sink(const std::string& socket_path, const std::string& ident,
                                       std::uint32_t level) {
  auto sink = std::make_shared<SyslogSink>(socket_path, ident, level);
  return sink->is_connected() ? sink : nullptr;
}

}  // namespace nkr::log
