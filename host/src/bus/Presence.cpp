#include <chrono>
#include <memory>
#include <nkr/can/Bus.hpp>
#include <nkr/canopen/Client.hpp>
#include <nkr/time/clock.hpp>
#include <tav/host/Presence.hpp>

namespace tav::host {

using nkr::can::Clock;
using nkr::can::Frame;
using nkr::canopencore::NMTState;

namespace {

constexpr std::uint32_t kDeviceType = 0x10000000;
constexpr std::uint32_t kRequest = 0x600;
constexpr std::uint32_t kReply = 0x580;
constexpr std::uint32_t kExact = 0x7FF;
/** The answer of a second node comes close behind the first's. */
constexpr std::chrono::milliseconds kQuiet{20};

/** Counts what goes over the SDO channel of a node about its device type, anybody's. */
class DeviceTypeTap {
 public:
  DeviceTypeTap(nkr::can::Bus& bus, std::uint8_t node) {
    nkr_error_t result = NKR_OK;
    port_ = bus.open({{kRequest + node, kExact}, {kReply + node, kExact}}, result);
  }

  /** Whether more answers than requests came until it was quiet. */
  bool counts_more_answers() {
    int requests = 0;
    int answers = 0;
    Frame frame;
    while (port_ && port_->receive(frame, nkr::time::now() + kQuiet) == NKR_OK) {
      if (frame.size != 8 || frame.data[1] != 0x00 || frame.data[2] != 0x10 || frame.data[3] != 0) continue;
      ++((frame.id & ~std::uint32_t{0x7F}) == kRequest ? requests : answers);
    }
    return answers > requests;
  }

 private:
  std::unique_ptr<nkr::can::Port> port_;
};

}  // namespace

Presence look_for_node(nkr::can::Bus& bus, nkr::canopen::Client& client, std::uint8_t node) {
  Presence presence;
  presence.beats_twice = client.hearsTwoNodes(node);
  NMTState nmt = NMTState::UNKNOWN;
  static_cast<void>(client.getNMTState(node, nmt));
  if (nmt == NMTState::STOPPED) {
    presence.is_there = presence.is_stopped = true;
    return presence;
  }
  DeviceTypeTap tap(bus, node);
  std::uint32_t device_type = 0;
  presence.asked = client.getValue(node, kDeviceType, device_type);
  const bool aborted = presence.asked >= NKR_SDO_TOGGLE_BIT && presence.asked != NKR_SDO_TIMED_OUT;
  presence.serves_sdo = presence.asked == NKR_OK || aborted;
  static_cast<void>(client.getNMTState(node, nmt));
  presence.is_there = presence.serves_sdo || nmt != NMTState::UNKNOWN;
  // Once more: somebody else's request may have been under way when the counting began.
  presence.answered_twice = presence.serves_sdo && tap.counts_more_answers() &&
                            client.getValue(node, kDeviceType, device_type) != NKR_SDO_TIMED_OUT &&
                            tap.counts_more_answers();
  return presence;
}

}  // namespace tav::host
