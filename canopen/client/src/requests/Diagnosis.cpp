#include "requests/Diagnosis.hpp"

namespace nkr::canopen {
namespace {

using can::BusState;

/** After this silence a node that has no heartbeat counts as gone. */
constexpr std::chrono::seconds kSilence{10};

bool is_bus_off(const RequestFailure& failure) {
  return failure.code == NKR_CAN_BUS_OFF || failure.bus.state == BusState::BUS_OFF;
}

bool has_no_interface(const RequestFailure& failure) {
  return failure.code == NKR_CAN_INTERFACE_GONE || failure.code == NKR_CAN_NO_INTERFACE ||
         failure.code == NKR_CAN_NOT_CONNECTED || failure.code == NKR_CAN_PERMISSION ||
         failure.bus.state == BusState::INTERFACE_GONE;
}

FailureCause cause_of_silence(const RequestFailure& failure, const Circumstances& circumstances) {
  if (!failure.last_heard)
    return failure.other_node != 0 ? FailureCause::OTHER_ID_HEARD : FailureCause::NEVER_HEARD;
  if (circumstances.fell_silent) return FailureCause::HEARD_THEN_LOST;
  if (failure.nmt_state == canopencore::NMTState::STOPPED) return FailureCause::STOPPED;
  if (circumstances.just_booted) return FailureCause::BOOTING;
  if (circumstances.answered_other_requests) return FailureCause::ANSWERS_OTHER_OBJECTS;
  return *failure.last_heard > kSilence ? FailureCause::HEARD_THEN_LOST : FailureCause::SILENT_SDO_SERVER;
}

}  // namespace

FailureCause likely_cause(const RequestFailure& failure, const Circumstances& circumstances) {
  if (circumstances.by_node) return FailureCause::REFUSED_BY_NODE;
  if (failure.code == NKR_CAN_CLOSED) return FailureCause::CLOSED;
  if (failure.code == NKR_CAN_CANCELLED) return FailureCause::CANCELLED;
  if (has_no_interface(failure)) return FailureCause::NO_INTERFACE;
  if (is_bus_off(failure)) return FailureCause::BUS_OFF;
  if (circumstances.queued) return FailureCause::WAITED_FOR_OTHERS;
  if (failure.code == NKR_CAN_TX_OVERFLOW) return FailureCause::SEND_QUEUE_FULL;
  return failure.code == NKR_SDO_TIMED_OUT ? cause_of_silence(failure, circumstances)
                                           : FailureCause::WRONG_ANSWER;
}

}  // namespace nkr::canopen
