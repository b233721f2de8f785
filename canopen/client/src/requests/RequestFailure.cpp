#include <cinttypes>
#include <cstdio>
#include <nkr/canopen/RequestFailure.hpp>

namespace nkr::canopen {
namespace {

std::string object_text(const RequestFailure& failure) {
  char text[16];
  std::snprintf(text, sizeof(text), "0x%04" PRIX32 ":%02" PRIX32, failure.address >> 16,
                failure.address >> 8 & 0xFFU);
  return failure.object_name.empty() ? text : std::string(text) + " (" + failure.object_name + ")";
}

std::string code_text(nkr_error_t code) {
  char text[16];
  std::snprintf(text, sizeof(text), "0x%08" PRIX32, static_cast<std::uint32_t>(code));
  return std::string(text) + ": " + nkr_error_text(code);
}

std::string milliseconds_text(std::chrono::milliseconds duration) {
  return std::to_string(duration.count()) + " ms";
}

const char* state_text(canopencore::NMTState state) {
  switch (state) {
    case canopencore::NMTState::STOPPED:
      return "stopped";
    case canopencore::NMTState::OPERATIONAL:
      return "operational";
    case canopencore::NMTState::PRE_OPERATIONAL:
      return "pre-operational";
    case canopencore::NMTState::UNKNOWN:
      break;
  }
  return "unknown";
}

std::string bus_text(const RequestFailure& failure) {
  return "Bus " + failure.bus_name + ": " + can::to_string(failure.bus.state) + ", error counters tx " +
         std::to_string(failure.bus.tx_errors) + " rx " + std::to_string(failure.bus.rx_errors) + ", " +
         std::to_string(failure.bus.unacknowledged) + " frames not acknowledged.";
}

std::string node_text(const RequestFailure& failure) {
  if (failure.last_heard) {
    return "Node " + std::to_string(failure.node) + " was last heard " +
           milliseconds_text(*failure.last_heard) + " before, NMT state " + state_text(failure.nmt_state) +
           (failure.heartbeat_lost ? ": its heartbeat stays away." : ".");
  }
  std::string text = "Node " + std::to_string(failure.node) + " was never heard";
  if (failure.other_node != 0) text += ", but node " + std::to_string(failure.other_node) + " is";
  return text + ".";
}

}  // namespace

const char* to_string(FailureCause cause) {
  switch (cause) {
    case FailureCause::REFUSED_BY_NODE:
      return "The node is there and refused the request.";
    case FailureCause::WRONG_ANSWER:
      return "The node's answer does not fit the request: the object has another type, or the node's SDO "
             "server is "
             "faulty.";
    case FailureCause::NO_INTERFACE:
      return "The CAN interface is missing or down: plug it in and set it up.";
    case FailureCause::BUS_OFF:
      return "The CAN controller is bus off: check bit rate, wiring and termination, then restart the "
             "interface "
             "(or set restart-ms).";
    case FailureCause::SEND_QUEUE_FULL:
      return "The interface's send queue stays full: the bus is overloaded, or nobody acknowledges (bit "
             "rate, "
             "wiring, power of the node).";
    case FailureCause::CLOSED:
      return "The client was closed.";
    case FailureCause::CANCELLED:
      return "The request was cancelled by the application.";
    case FailureCause::WAITED_FOR_OTHERS:
      return "The request was not sent: other requests to the node, one after the other, took all its time.";
    case FailureCause::NEVER_HEARD:
      return "Nobody was ever heard on this bus: check the power of the node, wiring and bit rate.";
    case FailureCause::OTHER_ID_HEARD:
      return "The node has another id than expected, or is not on this bus: check the node id.";
    case FailureCause::HEARD_THEN_LOST:
      return "The node was there and fell silent: it lost power, its cable, or crashed.";
    case FailureCause::STOPPED:
      return "The node is in NMT state stopped and serves no SDO: send it to pre-operational or operational.";
    case FailureCause::BOOTING:
      return "The node has just started and may not serve requests yet: try again in a moment.";
    case FailureCause::ANSWERS_OTHER_OBJECTS:
      return "The node answers other requests: this object takes longer than the time-out allows, or the "
             "answer "
             "was lost.";
    case FailureCause::SILENT_SDO_SERVER:
      return "The node is alive but answered no request: the time-out is too short, or its SDO server is "
             "blocked "
             "or disabled.";
  }
  return "Unknown cause.";
}

std::string to_string(const RequestFailure& failure) {
  std::string text = failure.was_write ? "Writing " : "Reading ";
  text += object_text(failure) + " of node " + std::to_string(failure.node) + " failed after " +
          milliseconds_text(failure.elapsed);
  if (failure.attempts > 1) text += " (" + std::to_string(failure.attempts) + " times in a row)";
  text += ", code " + code_text(failure.code) + ' ' + node_text(failure) + ' ' + bus_text(failure) +
          " Likely cause: " + to_string(failure.cause);
  return text;
}

}  // namespace nkr::canopen
