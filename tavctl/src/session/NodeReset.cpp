#include "session/NodeReset.hpp"

#include <chrono>

namespace tavctl {

using nkr::can::Clock;
using nkr::can::Filter;
using nkr::can::Frame;
using nkr::can::Port;

namespace {

constexpr std::uint32_t kErrorControl = 0x700;  // heartbeat and boot-up, CiA 301 7.2.8.3.2
constexpr std::uint8_t kBootUp = 0;
constexpr std::chrono::seconds kBootTime{10};

bool wait_for_boot_up(Port& port, Clock::time_point deadline) {
  Frame frame;
  while (port.receive(frame, deadline) == NKR_OK) {
    if (!frame.remote && frame.size == 1 && frame.data[0] == kBootUp) return true;
  }
  return false;
}

}  // namespace

void reset_and_follow(Session& session, std::uint8_t present, std::uint8_t after) {
  using NMTCommand = nkr::tavcore::INMTService::NMTCommand;
  nkr::tavcore::CANOpenDispatcher& dispatcher = *session.dispatcher();
  nkr_error_t result = NKR_OK;
  const std::unique_ptr<Port> listener = session.bus().open({Filter{kErrorControl + after, 0x7FF}}, result);
  session.check(result, "listen for the drive's boot-up message");

  session.check(dispatcher._setNodeId(present), "address node " + std::to_string(present));
  session.check(dispatcher.setNMTState(NMTCommand::RESET_NODE), "reset the drive");
  if (!wait_for_boot_up(*listener, Clock::now() + kBootTime)) {
    throw Failure(
        ExitCode::NO_ANSWER,
        "the drive was reset, but no boot-up message came from node " + std::to_string(after),
        "\"tavctl doctor --node " + std::to_string(present) + "\" tells whether it is still there.");
  }
  session.check(dispatcher._setNodeId(after), "address node " + std::to_string(after));
}

}  // namespace tavctl
