#include "unix/UnixBus.hpp"

#include <cerrno>
#include <cstring>
#include <exception>
#include <nkr/time/VirtualTime.hpp>

#include "unix/UnixMeeting.hpp"
#include "unix/UnixPort.hpp"

namespace nkr::can {
namespace {

constexpr std::chrono::seconds kWelcomeTimeout{2};

nkr_error_t result_of(int error) {
  switch (error) {
    case 0:
      return NKR_OK;
    case EACCES:
    case EPERM:
    case EROFS:
      return NKR_CAN_PERMISSION;
    case ECONNRESET:
    case EAGAIN:
      return NKR_CAN_INTERFACE_GONE;
    case EMFILE:
    case ENFILE:
    case ENOMEM:
    case ENOBUFS:
    case ENOSPC:
      return NKR_CAN_NO_RESOURCES;
    default:
      return NKR_CAN_NO_INTERFACE;
  }
}

std::string sentence(const std::string& where, const std::string& path, int error) {
  const std::string subject = "The bus \"unix:" + where + "\" cannot be used: ";
  switch (error) {
    case 0:
      return {};
    case ENAMETOOLONG:
      return subject + "the path is empty or longer than a socket's may be (107 characters).";
    case EINVAL:
      return subject + "its mode is no octal number such as 0660.";
    case ENOTSOCK:
      return subject + "that file exists and is no socket. Choose another path, or remove it.";
    case ENOENT:
      return subject + "its folder does not exist.";
    case EACCES:
    case EPERM:
      return subject + std::strerror(error) +
             ". It is its owner's alone; who opens it first may share it: unix:" + path + "?mode=0660";
    case ECONNRESET:
    case EAGAIN:
      return subject + "its listener does not answer. Which process that is: ss -xlp src " + path +
             "; which one holds the lock: fuser " + path + ".lock";
    default:
      return subject + std::strerror(error) + ".";
  }
}

}  // namespace

UnixBus::UnixBus(const std::string& where) : where_(where), meeting_(std::make_shared<UnixMeeting>(where)) {}
UnixBus::~UnixBus() = default;

std::string UnixBus::name() const {
  return "unix:" + where_;
}

std::unique_ptr<Port> UnixBus::join(const std::vector<Filter>& filters, int& error) {
  error = ENOMEM;
  try {
    auto port = std::make_unique<UnixPort>(meeting_, filters);
    error = port->join_first(kWelcomeTimeout);
    if (error == 0) return port;
  } catch (const std::exception&) {
    // as without memory
  }
  return nullptr;
}

nkr_error_t UnixBus::check(std::string& explanation) {
  int error = 0;
  join({}, error);
  explanation = sentence(where_, meeting_->path(), error);
  return result_of(error);
}

std::unique_ptr<Port> UnixBus::open(const std::vector<Filter>& filters, nkr_error_t& result) {
  // Other processes have no part in a virtual time: their frames would never come.
  result = NKR_CAN_NO_INTERFACE;
  if (time::VirtualTime::is_here()) return nullptr;
  int error = 0;
  auto port = join(filters, error);
  result = result_of(error);
  return port;
}

}  // namespace nkr::can
