#include <tav/host/GroupSnapshot.hpp>
#include <tav/host/text.hpp>
#include <tav/host/words.hpp>

namespace tav::host {

const char* name_of(GroupState state) {
  switch (state) {
    case GroupState::OFF:
      return "off";
    case GroupState::DISABLED:
      return "disabled";
    case GroupState::ENABLING:
      return "enabling";
    case GroupState::ENABLED:
      return "enabled";
    case GroupState::STOPPING:
      return "stopping";
    case GroupState::HELD:
      return "held";
    case GroupState::DISABLING:
      return "disabling";
  }
  return "unknown";
}

std::string text(const StopReason& reason) {
  using Kind = StopReason::Kind;
  const std::string node = "node " + std::to_string(reason.node);
  const std::string frame = " (" + to_string(reason.frame) + ')';
  switch (reason.kind) {
    case Kind::NONE:
      return "nothing stopped it";
    case Kind::ASKED:
      return "it was asked to stop";
    case Kind::SETPOINT_TIMEOUT:
      return "the program set no set-points for " + std::to_string(reason.count) + " ms";
    case Kind::FAULTED:
      return node + " went to FAULT: " + last_error_text(reason.emergency);
    case Kind::LEFT_OPERATION:
      return node + " left OPERATION_ENABLED: " + status_word_text(reason.status_word);
    case Kind::SILENT:
      return node + " missed its process data " + std::to_string(reason.count) + " cycles in a row";
    case Kind::RESTARTED:
      return node + " restarted";
    case Kind::NMT_CHANGED:
      return node + " is not operational any more" + frame;
    case Kind::EMERGENCY:
      return node + " reports again: " + last_error_text(reason.emergency);
    case Kind::FOREIGN_SYNC:
      return "somebody else sends SYNC" + frame;
    case Kind::FOREIGN_ORDER:
      return "somebody else sends orders to " + node + frame;
    case Kind::FOREIGN_NMT:
      return "somebody else sends NMT commands to " + (reason.node == 0 ? "all nodes" : node) + frame;
    case Kind::FOREIGN_HEARTBEAT:
      return "somebody else sends heartbeats under this host's id" + frame;
    case Kind::BUS_FAILED:
      return "the bus took no frames: " + result_text(reason.result);
    case Kind::STALLED:
      return node + " did not become enabled: " + status_word_text(reason.status_word);
    case Kind::STILL_TURNING:
      return node + " did not come to rest";
  }
  return "unknown reason";
}

}  // namespace tav::host
