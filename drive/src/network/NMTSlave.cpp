#include "network/NMTSlave.hpp"

#include <string>
#include <utility>

namespace tav::drive {
namespace {

constexpr std::uint8_t kStart = 1;
constexpr std::uint8_t kStop = 2;
constexpr std::uint8_t kEnterPreOperational = 128;
constexpr std::uint8_t kResetNode = 129;
constexpr std::uint8_t kResetCommunication = 130;

}  // namespace

NMTSlave::NMTSlave(Context& context, Actions actions) : context_(context), actions_(std::move(actions)) {}

void NMTSlave::receive(const nkr::can::Frame& frame) {
  if (frame.id != 0 || frame.size != 2) return;
  if (frame.data[1] != 0 && frame.data[1] != context_.node_id) return;
  const Because because(context_, "NMT command " + std::to_string(int{frame.data[0]}));
  switch (frame.data[0]) {
    case kStart:
      return actions_.enter(NMTState::OPERATIONAL);
    case kStop:
      return actions_.enter(NMTState::STOPPED);
    case kEnterPreOperational:
      return actions_.enter(NMTState::PRE_OPERATIONAL);
    case kResetNode:
      return actions_.reset(Reset::NODE);
    case kResetCommunication:
      return actions_.reset(Reset::COMMUNICATION);
    default:
      return;
  }
}

}  // namespace tav::drive
