#include "Diagnosis.hpp"

namespace nkr::canopen {
namespace {

using can::BusState;

/** After this silence a node that has no heartbeat counts as gone. */
constexpr std::chrono::seconds kSilence{10};

bool is_bus_off(const RequestFailure& failure) {
  return failure.code == NKR_CAN_BUS_OFF || failure.bus.state == BusState::bus_off;
}

bool has_no_interface(const RequestFailure& failure) {
  return failure.code == NKR_CAN_INTERFACE_GONE || failure.code == NKR_CAN_NO_INTERFACE ||
         failure.code == NKR_CAN_NOT_CONNECTED || failure.code == NKR_CAN_PERMISSION ||
         failure.bus.state == BusState::interface_gone;
}

FailureCause cause_of_silence(const RequestFailure& failure, const Circumstances& circumstances) {
  if (!failure.last_heard)
    return failure.other_node != 0 ? FailureCause::other_id_heard : FailureCause::never_heard;
  if (circumstances.heartbeat_lost) return FailureCause::heard_then_lost;
  if (failure.nmt_state == canopencore::NMTState::STOPPED) return FailureCause::stopped;
  if (circumstances.just_booted) return FailureCause::booting;
  if (circumstances.answered_other_requests) return FailureCause::answers_other_objects;
  return *failure.last_heard > kSilence ? FailureCause::heard_then_lost : FailureCause::silent_sdo_server;
}

}  // namespace

FailureCause likely_cause(const RequestFailure& failure, const Circumstances& circumstances) {
  if (circumstances.by_node) return FailureCause::refused_by_node;
  if (failure.code == NKR_CAN_CLOSED) return FailureCause::closed;
  if (has_no_interface(failure)) return FailureCause::no_interface;
  if (is_bus_off(failure)) return FailureCause::bus_off;
  if (failure.code == NKR_CAN_TX_OVERFLOW) return FailureCause::send_queue_full;
  return failure.code == NKR_SDO_TIMED_OUT ? cause_of_silence(failure, circumstances)
                                           : FailureCause::wrong_answer;
}

}  // namespace nkr::canopen
