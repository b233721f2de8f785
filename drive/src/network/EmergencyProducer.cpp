#include "network/EmergencyProducer.hpp"

#include <algorithm>

#include "node/CobId.hpp"

namespace tav::drive {
namespace {

constexpr std::size_t kMostWaiting = 64;

}  // namespace

EmergencyProducer::EmergencyProducer(Context& context)
    : context_(context),
      identifier_(context.dictionary, 0x1014, 0, kCobIdNotValid),
      inhibit_time_(context.dictionary, 0x1015, 0) {}

void EmergencyProducer::send(std::uint16_t code, std::uint8_t error_register, const VendorBytes& vendor) {
  if (waiting_.size() == kMostWaiting) waiting_.pop_front();
  waiting_.emplace_back(0, std::initializer_list<std::uint8_t>{
                               static_cast<std::uint8_t>(code), static_cast<std::uint8_t>(code >> 8),
                               error_register, vendor[0], vendor[1], vendor[2], vendor[3], vendor[4]});
  run();
}

bool EmergencyProducer::may_send() const {
  return context_.on_bus &&
         (context_.nmt == NMTState::PRE_OPERATIONAL || context_.nmt == NMTState::OPERATIONAL);
}

void EmergencyProducer::run() {
  while (!waiting_.empty() && may_send() && context_.now >= allowed_from_) {
    nkr::can::Frame frame = waiting_.front();
    waiting_.pop_front();
    const std::uint32_t identifier = identifier_.get();
    if (refuses_cob_id(identifier, std::nullopt) != Abort::NONE || (identifier & kCobIdNotValid) != 0)
      continue;
    frame.id = identifier;
    context_.transmit(frame);
    context_.report(Event::Kind::EMERGENCY, frame.data[0] | static_cast<std::uint32_t>(frame.data[1]) << 8,
                    {});
    constexpr std::chrono::microseconds kUnit(100);
    allowed_from_ = context_.now + inhibit_time_.get() * kUnit;
  }
}

void EmergencyProducer::reset(Reset kind) {
  if (kind != Reset::COMMUNICATION) waiting_.clear();
  allowed_from_ = Time::min();
}

void EmergencyProducer::nmt_changed(NMTState before) {
  // The boot-up message comes before everything else; run() follows at once.
  if (before != NMTState::INITIALISING) run();
}

Time EmergencyProducer::next_due() const {
  if (waiting_.empty() || !may_send()) return Time::max();
  return std::max(allowed_from_, context_.now);
}

}  // namespace tav::drive
