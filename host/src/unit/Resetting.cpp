#include <chrono>
#include <nkr/can/Frame.hpp>
#include <nkr/time/clock.hpp>
#include <thread>

#include "UnitImpl.hpp"

namespace tav::host {

using nkr::can::Clock;
using nkr::can::Filter;
using nkr::can::Frame;
using nkr::can::Port;

namespace {

constexpr std::uint32_t kErrorControl = 0x700;  // heartbeat and boot-up, CiA 301 7.2.8.3.2
constexpr std::uint8_t kBootUp = 0;
constexpr std::chrono::seconds kBootTime{10};

constexpr std::chrono::milliseconds kLook{50};

bool wait_for_boot_up(Port& port, const DriveLink& link) {
  const Clock::time_point deadline = nkr::time::now() + kBootTime;
  Frame frame;
  while (true) {
    const nkr_error_t result = port.receive(frame, nkr::time::now() + kLook);
    if (result == NKR_OK && !frame.remote && frame.size == 1 && frame.data[0] == kBootUp) return true;
    const bool goes_on = result == NKR_OK || result == NKR_CAN_TIMED_OUT;
    if (!goes_on || link.is_interrupted() || nkr::time::now() >= deadline) return false;
  }
}

}  // namespace

Result Unit::Impl::reset(std::uint8_t after, nkr::canopencore::NMTCommand command) {
  const std::uint8_t next = after == 0 ? link.node : after;
  nkr_error_t result = NKR_OK;
  const std::unique_ptr<Port> listener = link.bus->open({Filter{kErrorControl + next, 0x7FF}}, result);
  if (!listener) return link.check(result, "listen for the drive's boot-up message");
  Result done = link.address(link.node);
  if (done.ok()) done = link.check(link.dispatcher->setNMTState(command), "reset the drive");
  if (!done.ok()) return done;
  if (!wait_for_boot_up(*listener, link)) {
    if (link.is_interrupted()) return link.interrupted("reset the drive");
    Explanation silent = link.explanation(Cause::NO_BOOT_UP, NKR_SDO_TIMED_OUT, "reset the drive");
    silent.expected = next;
    return Result(std::move(silent));
  }
  done = link.address(next);
  await_pre_operational();
  return done;
}

/** The boot-up was heard by another port than the client's: what the client says may still be of before. */
void Unit::Impl::await_pre_operational() {
  constexpr std::chrono::milliseconds kHearing{500};
  constexpr std::chrono::milliseconds kLook{5};
  const auto deadline = nkr::time::now() + kHearing;
  while (link.events->heard().nmt != nkr::canopencore::NMTState::PRE_OPERATIONAL &&
         nkr::time::now() < deadline) {
    nkr::time::sleep_for(kLook);
  }
}

}  // namespace tav::host
