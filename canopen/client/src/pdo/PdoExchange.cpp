#include "pdo/PdoExchange.hpp"

#include <algorithm>
#include <nkr/time/clock.hpp>
#include <utility>

namespace nkr::canopen {
namespace {

using can::Clock;

constexpr std::uint32_t kSyncId = 0x080;
constexpr std::uint32_t kWholeId = 0x7FF;

}  // namespace

/** The frames that came since the last SYNC. */
struct PdoExchange::Collection {
  const std::vector<const Pdo*>& pdos;
  std::vector<can::Frame>& frames;
  std::vector<bool> there;
  bool sync_seen = false;

  Collection(const std::vector<const Pdo*>& wanted, std::vector<can::Frame>& received)
      : pdos(wanted), frames(received), there(wanted.size(), false) {
    frames.resize(pdos.size());
  }
  [[nodiscard]] std::size_t missing() const {
    return static_cast<std::size_t>(std::count(there.begin(), there.end(), false));
  }
  void take(const can::Frame& frame) {
    if (frame.id == kSyncId) {
      sync_seen = true;
      there.assign(pdos.size(), false);
      return;
    }
    for (std::size_t i = 0; i < pdos.size(); ++i) {
      if (!sync_seen || there[i] || frame.id != pdos[i]->id || frame.size != pdos[i]->size()) continue;
      frames[i] = frame;
      there[i] = true;
    }
  }
};

PdoExchange::PdoExchange(can::Bus& bus, can::Port& port, SyncProducer& sync, Duration late_grace)
    : bus_(bus), port_(port), sync_(sync), late_grace_(can::saturated(late_grace)) {}

nkr_error_t PdoExchange::pdos(PdoDirection direction, const ObjectReader& read, Pdos& pdos) {
  const auto slot = static_cast<std::size_t>(direction);
  unsigned generation = 0;
  {
    const std::lock_guard<std::mutex> lock(mutex_);
    pdos = known_[slot];
    generation = generation_;
  }
  if (pdos) return NKR_OK;
  auto found = std::make_shared<std::vector<Pdo>>();
  const nkr_error_t result = read_pdos(read, direction, *found);
  if (result != NKR_OK) return result;
  pdos = std::move(found);
  const std::lock_guard<std::mutex> lock(mutex_);
  if (generation == generation_) known_[slot] = pdos;
  return NKR_OK;
}

void PdoExchange::forget() {
  const std::lock_guard<std::mutex> lock(mutex_);
  ++generation_;
  for (Pdos& known : known_) known.reset();
}

nkr_error_t PdoExchange::exchange(const can::Frame* rpdo, const std::vector<const Pdo*>& pdos,
                                  Duration timeout, std::vector<can::Frame>& frames) {
  const Clock::time_point deadline = can::time_after(time::now(), timeout);
  const GateStay stay(gate_, deadline);
  if (stay.result() != NKR_OK) return stay.result() == NKR_CAN_TIMED_OUT ? NKR_SDO_TIMED_OUT : stay.result();
  nkr_error_t result = listen_to(pdos);
  if (result == NKR_OK) result = settle(deadline);
  if (result == NKR_OK && rpdo != nullptr) result = port_.send(*rpdo, deadline);
  const Clock::time_point begin = time::now();
  if (result == NKR_OK) result = sync_.send(deadline);
  if (result != NKR_OK) return result;
  Collection collection(pdos, frames);
  result = collect(collection, can::time_after(begin, timeout));
  const Clock::time_point end = time::now();
  late_count_ = result == NKR_OK ? 0 : collection.missing();
  late_until_ = can::time_after(end, grace());
  if (result == NKR_OK && !pdos.empty()) longest_ = std::max(longest_.value_or(end - begin), end - begin);
  return result;
}

/** A PDO that is later than this by far was lost, or is one of a node that nobody can count on. */
Clock::duration PdoExchange::grace() const {
  constexpr int kFactor = 8;
  constexpr std::chrono::milliseconds kLeast{10};
  if (!longest_ || *longest_ > late_grace_ / kFactor) return late_grace_;
  return std::min<Clock::duration>(std::max<Clock::duration>(kFactor * *longest_, kLeast), late_grace_);
}

nkr_error_t PdoExchange::listen_to(const std::vector<const Pdo*>& pdos) {
  std::vector<std::uint32_t> ids;
  for (const Pdo* const pdo : pdos) ids.push_back(pdo->id);
  if (listener_ && ids == listened_) return NKR_OK;
  std::vector<can::Filter> filters{{kSyncId, kWholeId}};
  for (const std::uint32_t id : ids) filters.push_back({id, kWholeId});
  nkr_error_t result = NKR_CAN_NOT_CONNECTED;
  auto listener = bus_.open(filters, result);
  if (!listener) return result;
  const std::lock_guard<std::mutex> lock(mutex_);
  if (closed_) return NKR_CAN_CLOSED;
  listener_ = std::move(listener);
  listened_ = std::move(ids);
  return NKR_OK;
}

/** Drops what came before; waits for what an earlier SYNC still owes. */
nkr_error_t PdoExchange::settle(const can::Deadline& deadline) {
  nkr_error_t result = listener_->drain(
      [this](const can::Frame& frame) {
        if (frame.id != kSyncId && late_count_ > 0) --late_count_;
      },
      deadline);
  can::Frame frame;
  while (result == NKR_OK && late_count_ > 0) {
    result = listener_->receive(frame, late_until_);
    if (result == NKR_CAN_TIMED_OUT || time::now() >= late_until_) late_count_ = 0;
    if (result == NKR_OK && frame.id != kSyncId && late_count_ > 0) --late_count_;
    if (result != NKR_CAN_CLOSED) result = NKR_OK;
  }
  return result == NKR_CAN_TIMED_OUT ? NKR_SDO_TIMED_OUT : result;
}

/** Frames that bring nothing new do not prolong the wait. */
nkr_error_t PdoExchange::collect(Collection& collection, Clock::time_point deadline) {
  can::Frame frame;
  for (bool in_time = true; collection.missing() > 0; in_time = time::now() < deadline) {
    const nkr_error_t result = in_time ? listener_->receive(frame, deadline) : NKR_CAN_TIMED_OUT;
    if (result == NKR_CAN_TIMED_OUT) return NKR_SDO_TIMED_OUT;
    if (result != NKR_OK) return result;
    collection.take(frame);
  }
  return NKR_OK;
}

void PdoExchange::close() {
  gate_.close();
  const std::lock_guard<std::mutex> lock(mutex_);
  closed_ = true;
  if (listener_) listener_->close();
}

}  // namespace nkr::canopen
