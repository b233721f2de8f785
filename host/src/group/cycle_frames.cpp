// What others sent: the units, and those who should be silent.
#include "CycleImpl.hpp"

namespace tav::host {

using nkr::can::Frame;

namespace {

constexpr std::uint32_t kNode = 0x7F;
// Function codes of the predefined connection set (CiA 301, 7.3.3).
constexpr std::uint32_t kNmt = 0x000;
constexpr std::uint32_t kEmergency = 0x080;  // of node 0: SYNC
constexpr std::uint32_t kProcessData = 0x180;
constexpr std::uint32_t kOrder = 0x200;
constexpr std::uint32_t kErrorControl = 0x700;

constexpr std::uint8_t kStop = 2;
constexpr std::uint8_t kEnterPreOperational = 128;
constexpr std::uint8_t kBootUp = 0;
constexpr std::uint8_t kOperational = 5;
constexpr std::uint8_t kEmergencyBytes = 8;
constexpr std::uint16_t kCommunication = 0x8100;  // to 0x82FF: communication, protocol error
constexpr std::uint16_t kBehindCommunication = 0x8300;
constexpr std::chrono::seconds kRepeated{1};

}  // namespace

Member* GroupCycle::Impl::member_of(std::uint8_t node) {
  const std::int8_t index = index_of.at(node & kNode);
  return index < 0 ? nullptr : &members[static_cast<std::size_t>(index)];
}

void GroupCycle::Impl::receive(const Frame& frame, Time at) {
  if (frame.extended || frame.remote || frame.error || phase == Phase::OFF) return;
  record.add(frame, at, false);
  const auto node = static_cast<std::uint8_t>(frame.id & kNode);
  const std::uint32_t function = frame.id & ~kNode;
  if (frame.id == kNmt) return take_nmt_command(frame, at);
  if (frame.id == kEmergency) return foreign(Kind::FOREIGN_SYNC, 0, frame, at);
  if (function == kErrorControl && node != 0 && node == settings.host_node) {
    return foreign(Kind::FOREIGN_HEARTBEAT, node, frame, at);
  }
  Member* const member = member_of(node);
  if (member == nullptr || node == 0) return;
  if (function == kProcessData) return take_process_data(*member, frame, at);
  if (function == kEmergency) return take_emergency(*member, frame, at);
  if (function == kErrorControl) return take_error_control(*member, frame, at);
  if (function == kOrder) foreign(Kind::FOREIGN_ORDER, node, frame, at);
}

void GroupCycle::Impl::take_process_data(Member& member, const Frame& frame, Time at) {
  if (member.needs_restoring) return;  // of the mapping as after power-on
  const bool in_time = phase == Phase::COLLECT;
  if (in_time && member.answered) return;
  if (!member.decode(frame, cycle, at)) {
    ++member.statistics.wrong_length;
    return;
  }
  if (!in_time) {
    ++member.statistics.late;
    return;
  }
  member.answered = true;
  ++member.statistics.answered;
  member.statistics.response.add(at - sync_at, cycle);
  last_answer = at;
}

/** A warning is noted; a fault shows in the status word. Communication errors may pass once. */
void GroupCycle::Impl::take_emergency(Member& member, const Frame& frame, Time at) {
  if (frame.size != kEmergencyBytes) return;
  const auto code = static_cast<std::uint16_t>(frame.data[0] | frame.data[1] << 8);
  member.feedback.emergency = code;
  StopReason& told = snapshot.reason;
  if (told.kind == Kind::FAULTED && told.node == member.settings.node && told.emergency == 0) {
    told.emergency = code;
  }
  if (code < kCommunication || code >= kBehindCommunication) return;
  const bool again = member.communication_error == code && at - member.communication_error_at < kRepeated;
  member.communication_error = code;
  member.communication_error_at = at;
  if (!again || !moves()) return;
  StopReason reason = reason_of(Kind::EMERGENCY, member);
  reason.frame = frame;
  stop(reason, at);
}

void GroupCycle::Impl::take_error_control(Member& member, const Frame& frame, Time at) {
  if (frame.size != 1) return;
  const std::uint8_t told = frame.data[0];
  if (told == kBootUp) ++member.feedback.restarts;
  if (told == kOperational || member.needs_restoring) return;
  StopReason reason = reason_of(told == kBootUp ? Kind::RESTARTED : Kind::NMT_CHANGED, member);
  reason.frame = frame;
  if (told == kBootUp) {
    member.needs_restoring = true;
    member.answered = member.wants_start = false;
    member.feedback.last.reset();
  } else {
    member.wants_start = moves();
  }
  lose(member, reason, at);
}

/** A unit that turns and hears no orders turns on: it is started again to be stopped. */
void GroupCycle::Impl::take_nmt_command(const Frame& frame, Time at) {
  constexpr std::uint8_t kCommandBytes = 2;
  if (frame.size != kCommandBytes) return;
  const std::uint8_t node = frame.data[1];
  if (node != 0 && member_of(node) == nullptr) return;
  const bool keeps_from_hearing = frame.data[0] == kStop || frame.data[0] == kEnterPreOperational;
  for (Member& member : members) {
    const bool is_meant = node == 0 || member.settings.node == node;
    if (is_meant && keeps_from_hearing && !member.needs_restoring) member.wants_start = moves();
  }
  foreign(Kind::FOREIGN_NMT, node, frame, at);
}

void GroupCycle::Impl::foreign(Kind kind, std::uint8_t node, const Frame& frame, Time at) {
  ++statistics.foreign;
  StopReason reason;
  reason.kind = kind;
  reason.node = node;
  reason.frame = frame;
  stop(reason, at);
}

}  // namespace tav::host
