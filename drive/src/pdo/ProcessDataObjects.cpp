#include "pdo/ProcessDataObjects.hpp"

#include <algorithm>
#include <utility>

#include "node/CobId.hpp"

namespace tav::drive {
namespace {

constexpr std::uint16_t kMostPDOs = 512;

/** How often values that change by themselves are looked at. */
constexpr std::chrono::milliseconds kCycle(10);

}  // namespace

ProcessDataObjects::ProcessDataObjects(Context& context, Errors& errors, std::function<bool()> moving)
    : context_(context), moving_(std::move(moving)), sync_id_(context.dictionary, 0x1005, 0, 0x80) {
  for (std::uint16_t number = 0; number < kMostPDOs; ++number) {
    if (context.dictionary.find(static_cast<std::uint16_t>(0x1800 + number), 1) != nullptr) {
      transmit_.push_back(std::make_unique<TransmitPDO>(context, number));
    }
    if (context.dictionary.find(static_cast<std::uint16_t>(0x1400 + number), 1) != nullptr) {
      receive_.push_back(std::make_unique<ReceivePDO>(context, errors, number));
    }
  }
}

void ProcessDataObjects::reset(Reset /*kind*/) {
  start_over();
}

void ProcessDataObjects::nmt_changed(NMTState /*before*/) {
  start_over();
}

void ProcessDataObjects::start_over() {
  for (auto& pdo : transmit_) pdo->start_over();
  for (auto& pdo : receive_) pdo->start_over();
}

void ProcessDataObjects::receive(const nkr::can::Frame& frame) {
  if (!operational()) return;
  if (frame.id == (sync_id_.get() & kCobIdIdentifier) && !is_restricted(frame.id) && frame.size <= 1) {
    // What the drive sends with a SYNC is the state at the SYNC: what it takes with it acts afterwards.
    for (auto& pdo : transmit_) pdo->sync();
    for (auto& pdo : receive_) pdo->sync();
    return;
  }
  for (auto& pdo : receive_) pdo->receive(frame);
}

void ProcessDataObjects::sample() {
  if (!operational()) return;
  const bool moving = moving_();
  moved_ = moved_ || moving;
  const bool moving_too = !moved_ || context_.now >= look_due();
  for (auto& pdo : transmit_) pdo->sample(moving_too);
  if (!moving_too) return;
  looked_at_ = context_.now;
  moved_ = moving;
}

Time ProcessDataObjects::look_due() const {
  return std::max(looked_at_, context_.now - kCycle) + kCycle;
}

bool ProcessDataObjects::has_event_driven() const {
  return std::any_of(transmit_.begin(), transmit_.end(), [](const auto& pdo) { return pdo->event_driven(); });
}

Time ProcessDataObjects::next_due() const {
  if (!operational()) return Time::max();
  Time due = Time::max();
  for (const auto& pdo : transmit_) due = std::min(due, pdo->next_due());
  for (const auto& pdo : receive_) due = std::min(due, pdo->next_due());
  if (has_event_driven() && moved_) due = std::min(due, look_due());
  return due;
}

void ProcessDataObjects::run() {
  sample();
  for (auto& pdo : transmit_) pdo->run();
  for (auto& pdo : receive_) pdo->run();
}

}  // namespace tav::drive
