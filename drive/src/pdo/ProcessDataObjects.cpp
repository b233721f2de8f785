#include "pdo/ProcessDataObjects.hpp"

#include <algorithm>
#include <utility>

namespace tav::drive {
namespace {

constexpr std::uint32_t kProducesSync = 0x40000000;
constexpr std::uint32_t kExtended = 0x20000000;
constexpr std::uint32_t kIdentifier = 0x7FF;
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
  if (Object* object = sync_id_.object()) {
    object->refuse_when([](const Bytes& bytes) {
      const bool unsupported = (unsigned_of(bytes) & (kProducesSync | kExtended)) != 0;
      return unsupported ? Abort::INVALID_VALUE : Abort::NONE;
    });
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
  if (frame.id == (sync_id_.get() & kIdentifier) && frame.size <= 1) {
    // What the drive sends with a SYNC is the state at the SYNC: what it takes with it acts afterwards.
    for (auto& pdo : transmit_) pdo->sync();
    for (auto& pdo : receive_) pdo->sync();
    return;
  }
  for (auto& pdo : receive_) pdo->receive(frame);
}

void ProcessDataObjects::sample() {
  if (!operational()) return;
  sampled_ = context_.now;
  for (auto& pdo : transmit_) pdo->sample();
}

bool ProcessDataObjects::has_event_driven() const {
  return std::any_of(transmit_.begin(), transmit_.end(), [](const auto& pdo) { return pdo->event_driven(); });
}

Time ProcessDataObjects::next_due() const {
  if (!operational()) return Time::max();
  Time due = Time::max();
  for (const auto& pdo : transmit_) due = std::min(due, pdo->next_due());
  for (const auto& pdo : receive_) due = std::min(due, pdo->next_due());
  if (has_event_driven() && moving_())
    due = std::min(due, std::max(sampled_, context_.now - kCycle) + kCycle);
  return due;
}

void ProcessDataObjects::run() {
  sample();
  for (auto& pdo : transmit_) pdo->run();
  for (auto& pdo : receive_) pdo->run();
}

}  // namespace tav::drive
