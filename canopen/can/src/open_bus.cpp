#include <nkr/can/InProcessBus.hpp>
#include <nkr/can/open_bus.hpp>

#include "socketcan/SocketCanBus.hpp"
#include "unix/UnixBus.hpp"

namespace nkr::can {
namespace {

constexpr char kVirtualName[] = "virtual";
constexpr char kUnixPrefix[] = "unix:";

bool is_interface(const std::string& name) {
  return name != kVirtualName && name.find(':') == std::string::npos;
}

/** How people bring this interface up: a virtual one has no bit rate. */
std::string bring_up(const std::string& interface) {
  const std::string command = "sudo ip link set " + interface + " up";
  return interface.rfind("vcan", 0) == 0 ? command : command + " type can bitrate 500000 restart-ms 100";
}

std::string path_of(const std::string& unix_name) {
  return unix_name.substr(sizeof kUnixPrefix - 1);
}

bool is_unix(const std::string& name) {
  return name.rfind(kUnixPrefix, 0) == 0;
}

template <typename CheckedBus>
std::shared_ptr<Bus> checked(const std::string& where, nkr_error_t& result, std::string& explanation) {
  auto bus = std::make_shared<CheckedBus>(where);
  result = bus->check(explanation);
  return result == NKR_OK ? bus : nullptr;
}

}  // namespace

std::shared_ptr<Bus> open_bus(const std::string& name, nkr_error_t& result, std::string& explanation) {
  explanation.clear();
  result = NKR_OK;
  if (name == kVirtualName) return std::make_shared<InProcessBus>();
  if (is_unix(name)) return checked<UnixBus>(path_of(name), result, explanation);
  return checked<SocketCanBus>(name, result, explanation);
}

std::shared_ptr<Bus> make_bus(const std::string& name) {
  if (name == kVirtualName) return std::make_shared<InProcessBus>();
  if (is_unix(name)) return std::make_shared<UnixBus>(path_of(name));
  return std::make_shared<SocketCanBus>(name);
}

std::string bus_advice(const std::string& bus_name, nkr_error_t code) {
  if (!is_interface(bus_name)) return {};
  switch (code) {
    case NKR_CAN_BUS_OFF:
      return "The CAN controller of \"" + bus_name +
             "\" is bus off: check wiring, termination and bit rate; it returns by itself after sudo ip link "
             "set " +
             bus_name + " type can restart-ms 100 (set while down), and at once after sudo ip link set " +
             bus_name + " type can restart";
    case NKR_CAN_INTERFACE_GONE:
      return "The interface \"" + bus_name + "\" is down: " + bring_up(bus_name);
    case NKR_CAN_TX_OVERFLOW:
      return "The send queue of \"" + bus_name +
             "\" stayed full: is another node on the bus, at the same bit rate? For bursts: sudo ip link "
             "set " +
             bus_name + " txqueuelen 1000";
    default:
      return {};
  }
}

}  // namespace nkr::can
