#include "pdo/SyncService.hpp"

#include <algorithm>
#include <type_traits>

#include "sdo/numbers.hpp"

namespace nkr::canopen {
namespace {

constexpr std::uint32_t kTargetVelocity = 0x60420000;
constexpr unsigned kOrderBits = 16;

bool is_order_alone(const Pdo& pdo) {
  if (pdo.entries.size() != 1) return false;
  const PdoEntry& entry = pdo.entries.front();
  return entry.object == sdo::Multiplexer::of_address(kTargetVelocity) && entry.bits == kOrderBits;
}

can::Frame order_frame(const Pdo& pdo, std::int32_t order) {
  constexpr std::uint32_t kLowByte = 0xFF;
  const auto bits = static_cast<std::uint32_t>(order);
  return {pdo.id,
          {static_cast<std::uint8_t>(bits & kLowByte), static_cast<std::uint8_t>(bits >> 8 & kLowByte)}};
}

}  // namespace

SyncService::SyncService(canopencore::IService& sdo, PdoExchange* data, PdoExchange::Duration timeout,
                         const canopenservice::TavIn& request)
    : sdo_(sdo), data_(data), timeout_(timeout), request_(request) {}

nkr_error_t SyncService::run(canopenservice::TavOut& out) {
  nkr_error_t result = data_ != nullptr ? look_up() : NKR_OK;
  if (result == NKR_OK) result = send_order();
  if (result == NKR_OK) result = exchange();
  if (result == NKR_OK) result = read_rest();
  if (result == NKR_OK) out = values_;
  return result;
}

nkr_error_t SyncService::look_up() {
  const ObjectReader read = [this](std::uint32_t address, std::uint32_t& value) {
    return sdo_.getValue(request_.nodeId, address, value);
  };
  nkr_error_t result = data_->pdos(PdoDirection::TRANSMIT, read, tpdos_);
  if (result == NKR_OK && request_.flag) result = data_->pdos(PdoDirection::RECEIVE, read, rpdos_);
  if (result != NKR_OK) return result;
  for (const Pdo& pdo : *tpdos_) {
    const bool wanted = pdo.find(sdo::Multiplexer::of_address(request_.statusWordAddress)) != nullptr ||
                        pdo.find(sdo::Multiplexer::of_address(request_.positionAddress)) != nullptr ||
                        pdo.find(sdo::Multiplexer::of_address(request_.velocityAddress)) != nullptr;
    if (wanted && pdo.transmission == Pdo::kOnEverySync) wanted_.push_back(&pdo);
  }
  if (rpdos_) {
    const auto found = std::find_if(rpdos_->begin(), rpdos_->end(), is_order_alone);
    if (found != rpdos_->end()) order_rpdo_ = &*found;
  }
  return NKR_OK;
}

nkr_error_t SyncService::send_order() {
  if (!request_.flag || order_rpdo_ != nullptr) return NKR_OK;
  return sdo_.setValue(request_.nodeId, kTargetVelocity, static_cast<std::int16_t>(request_.order));
}

nkr_error_t SyncService::exchange() {
  if (data_ == nullptr || (order_rpdo_ == nullptr && wanted_.empty())) return NKR_OK;
  can::Frame order;
  if (order_rpdo_ != nullptr) order = order_frame(*order_rpdo_, request_.order);
  std::vector<can::Frame> frames;
  nkr_error_t result = data_->exchange(order_rpdo_ != nullptr ? &order : nullptr, wanted_, timeout_, frames);
  if (result == NKR_SDO_TIMED_OUT) data_->forget();
  for (std::size_t i = 0; result == NKR_OK && i < wanted_.size(); ++i) result = take(frames[i], *wanted_[i]);
  return result;
}

nkr_error_t SyncService::take(const can::Frame& frame, const Pdo& pdo) {
  nkr_error_t result = take(frame, pdo, request_.statusWordAddress, values_.statusWord, status_word_known_);
  if (result == NKR_OK)
    result = take(frame, pdo, request_.positionAddress, values_.position, position_known_);
  if (result == NKR_OK)
    result = take(frame, pdo, request_.velocityAddress, values_.velocity, velocity_known_);
  return result;
}

template <class T>
nkr_error_t SyncService::take(const can::Frame& frame, const Pdo& pdo, std::uint32_t address, T& value,
                              bool& known) {
  const PdoEntry* const entry = pdo.find(sdo::Multiplexer::of_address(address));
  if (entry == nullptr || known) return NKR_OK;
  if (entry->bits == 0 || entry->bits > sizeof(T) * kBitsPerByte) return NKR_SDO_LENGTH;
  const std::uint64_t number = value_in(frame, *entry);
  value = static_cast<T>(std::is_signed_v<T> ? sign_extended(number, entry->bits) : number);
  known = true;
  return NKR_OK;
}

nkr_error_t SyncService::read_rest() {
  const std::uint8_t node = request_.nodeId;
  nkr_error_t result = NKR_OK;
  if (!status_word_known_) result = sdo_.getValue(node, request_.statusWordAddress, values_.statusWord);
  if (result == NKR_OK && !position_known_)
    result = sdo_.getValue(node, request_.positionAddress, values_.position);
  if (result == NKR_OK && !velocity_known_)
    result = sdo_.getValue(node, request_.velocityAddress, values_.velocity);
  return result;
}

}  // namespace nkr::canopen
