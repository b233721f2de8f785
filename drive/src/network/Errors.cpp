#include "network/Errors.hpp"

#include <algorithm>

namespace tav::drive {

std::uint8_t Errors::class_bit(std::uint16_t code) {
  const unsigned high = code >> 8;
  if ((high & 0xF0U) == 0x20) return kCurrentBit;
  if ((high & 0xF0U) == 0x30) return kVoltageBit;
  if ((high & 0xF0U) == 0x40) return kTemperatureBit;
  if (high == 0x81 || high == 0x82) return kCommunicationBit;
  if (high >= 0x83 && high <= 0x86) return kProfileBit;
  if (high == 0xFF) return kManufacturerBit;
  return 0;
}

Errors::Errors(Context& context, EmergencyProducer& emergencies)
    : emergencies_(emergencies),
      register_(context.dictionary, 0x1001, 0),
      error_code_(context.dictionary, 0x603F, 0),
      count_(context.dictionary, 0x1003, 0) {
  constexpr unsigned kMostEntries = 254;
  for (unsigned i = 1; i <= kMostEntries; ++i) {
    const auto subindex = static_cast<std::uint8_t>(i);
    Object* entry = context.dictionary.find(0x1003, subindex);
    if (entry == nullptr) break;
    entry->refresh = [this, subindex] { return entry_readable(subindex); };
    history_.emplace_back(entry);
  }
  if (Object* count = count_.object()) {
    count->refuse_when(
        [](const Bytes& bytes) { return unsigned_of(bytes) == 0 ? Abort::NONE : Abort::INVALID_VALUE; });
  }
}

Abort Errors::entry_readable(std::uint8_t subindex) const {
  return subindex > count_.get() ? Abort::NO_DATA : Abort::NONE;
}

void Errors::raise(std::uint16_t code, const VendorBytes& vendor, Ends ends, bool lasting) {
  const bool acknowledged = ends == Ends::ACKNOWLEDGED;
  const auto known = std::find_if(active_.begin(), active_.end(), [&](const Error& error) {
    return error.code == code && error.vendor == vendor;
  });
  if (known != active_.end()) {
    known->has_cause = known->has_cause || lasting;
    known->wants_acknowledgement = known->wants_acknowledgement || acknowledged;
    return;
  }
  active_.push_back({code, vendor, lasting, acknowledged});
  show();
  record(active_.back());
  emergencies_.send(code, error_register(), vendor);
  drop_ended();
}

bool Errors::clear(std::uint16_t code, const VendorBytes& vendor) {
  bool found = false;
  for (Error& error : active_) {
    if (error.code != code || error.vendor != vendor || !error.has_cause) continue;
    error.has_cause = false;
    found = true;
  }
  drop_ended();
  return found;
}

void Errors::clear_code(std::uint16_t code) {
  for (Error& error : active_) {
    if (error.code == code) error.has_cause = false;
  }
  drop_ended();
}

bool Errors::acknowledge() {
  bool all_gone = true;
  for (Error& error : active_) {
    if (!error.has_cause) error.wants_acknowledgement = false;
    all_gone = all_gone && !error.wants_acknowledgement;
  }
  drop_ended();
  return all_gone;
}

void Errors::drop_ended() {
  const auto ended = std::remove_if(active_.begin(), active_.end(), [](const Error& error) {
    return !error.has_cause && !error.wants_acknowledgement;
  });
  if (ended == active_.end()) return;
  active_.erase(ended, active_.end());
  show();
  if (active_.empty()) emergencies_.send(0, 0, {});
}

void Errors::show() {
  register_.set(error_register());
  error_code_.set(active_.empty() ? std::uint16_t{0} : active_.back().code);
}

std::uint8_t Errors::error_register() const {
  unsigned bits = 0;
  for (const Error& error : active_) bits |= unsigned{kGenericBit} | class_bit(error.code);
  return static_cast<std::uint8_t>(bits);
}

/** The newest error stands first (CiA 301, 7.5.2.4); the upper half is the vendor's. */
void Errors::record(const Error& error) {
  const std::size_t used = std::min<std::size_t>(count_.get(), history_.size());
  for (std::size_t i = std::min(used, history_.size() - std::min<std::size_t>(1, history_.size())); i > 0;
       --i) {
    history_[i].set(history_[i - 1].get());
  }
  if (history_.empty()) return;
  const std::uint32_t additional = error.vendor[0] | (static_cast<std::uint32_t>(error.vendor[1]) << 8);
  history_[0].set((additional << 16) | error.code);
  count_.set(static_cast<std::uint8_t>(std::min(used + 1, history_.size())));
}

void Errors::reset(Reset kind) {
  if (kind != Reset::COMMUNICATION) active_.clear();
  show();
}

}  // namespace tav::drive
