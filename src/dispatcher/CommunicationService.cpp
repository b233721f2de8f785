#include <algorithm>
#include <optional>
#include <string_view>
#include <tavcore/CANOpenDispatcher.hpp>

#include "../objects/DriveObjects.hpp"
#include "../objects/Steps.hpp"
#include "ParameterBlocks.hpp"

namespace nkr::tavcore {
namespace {

constexpr ParameterBlock kBlocks[] = {
    {1,
     {"Store Parameters Save all Parameters"},
     {"Restore Default Parameters Restore all Default Parameters"}},
    {2,
     {"Store Parameters Save Communication Parameters"},
     {"Restore Default Parameters Restore Communication Default Parameters"}},
    {3,
     {"Store Parameters Save Application Parameters"},
     {"Restore Default Parameters Restore Application Default Parameters"}},
    {4,
     {"Store Parameters Save Manufacturer Parameters"},
     {"Restore Default Parameters Restore Manufacturer Parameters"}},
};

bool holds_node_id(ICommunicationService::BlocId block) {
  return block == ICommunicationService::BlocId::ALL || block == ICommunicationService::BlocId::COMMUNICATION;
}

std::optional<std::uint32_t> hexadecimal_digit(char character) {
  constexpr std::string_view kDigits = "0123456789abcdef0123456789ABCDEF";
  constexpr std::size_t kBase = 16;
  const std::size_t at = kDigits.find(character);
  if (at == std::string_view::npos) return std::nullopt;
  return static_cast<std::uint32_t>(at % kBase);
}

/** The low 8 bits of blanks, an optional 0x and hexadecimal digits; nothing for any other text. */
std::optional<std::uint8_t> node_id_of(std::string_view text) {
  text.remove_prefix(std::min(text.find_first_not_of(" \t"), text.size()));
  const std::string_view prefix = text.substr(0, 2);
  if (prefix == "0x" || prefix == "0X") text.remove_prefix(prefix.size());
  if (text.empty()) return std::nullopt;
  std::uint32_t value = 0;
  for (const char character : text) {
    const std::optional<std::uint32_t> digit = hexadecimal_digit(character);
    if (!digit) return std::nullopt;
    value = value << 4 | *digit;
  }
  return static_cast<std::uint8_t>(value);
}

template <class Field, class Parameters>
void network_fields(Field field, Parameters& parameters) {
  field(kNodeId, parameters.node_id);
  field(Object<bool>{"R Termination"}, parameters.termination);
}

template <class Field, class Parameters>
void communication_fields(Field field, Parameters& parameters) {
  field(Object<std::uint32_t>{"COB ID SYNC message"}, parameters.cob_id_sync);
  field(Object<std::uint16_t>{"Producer Heartbeat Time"}, parameters.producer_heartbeat_time);
}

}  // namespace

nkr_error_t CANOpenDispatcher::storeParameters(const BlocId& block) {
  Steps steps = Steps::guarded(*dictionary_);
  if (!steps.completed()) return steps.result();
  const ParameterBlock* const found = find_block(kBlocks, block);
  if (found == nullptr) return refuse_block(static_cast<std::int32_t>(block), Here::now());
  steps.write(found->store, kStoreSignature);
  return steps.result();
}

nkr_error_t CANOpenDispatcher::restoreDefaultParameters(const BlocId& block) {
  const Steps steps = Steps::guarded(*dictionary_);
  if (!steps.completed()) return steps.result();
  const ParameterBlock* const found = find_block(kBlocks, block);
  if (found == nullptr) return refuse_block(static_cast<std::int32_t>(block), Here::now());
  const nkr_error_t written = dictionary_->write(found->restore, kRestoreSignature);
  if (holds_node_id(block)) {
    const nkr_error_t followed = follow_default_node_id();
    if (followed != NKR_OK) return followed;
  }
  return written;
}

nkr_error_t CANOpenDispatcher::follow_default_node_id() {
  const tools::ObjectEntry* const entry = dictionary_->find(kNodeId.name);
  if (entry == nullptr) return NKR_NOT_AVAILABLE;
  const std::optional<std::uint8_t> node_id = node_id_of(entry->getDefaultValue());
  if (node_id) dictionary_->address_node(*node_id);
  return NKR_OK;
}

nkr_error_t CANOpenDispatcher::getIdentityParameters(IdentityParameters& parameters) const {
  Steps steps = Steps::guarded(*dictionary_);
  steps.read(kVendorId, parameters.vendor_id);
  steps.read(Object<std::uint32_t>{"Identity Object Product Code"}, parameters.product_code);
  steps.read(Object<std::uint32_t>{"Identity Object Revision number"}, parameters.revision_number);
  steps.read(Object<std::uint32_t>{"Identity Object Serial number"}, parameters.serial_number);
  return steps.result();
}

nkr_error_t CANOpenDispatcher::getNetworkParameters(NetworkParameters& parameters) const {
  Steps steps = Steps::guarded(*dictionary_);
  network_fields(steps.reads(), parameters);
  return steps.result();
}

nkr_error_t CANOpenDispatcher::setNetworkParameters(const NetworkParameters& parameters) {
  Steps steps = Steps::guarded(*dictionary_);
  network_fields(steps.writes(), parameters);
  if (steps.completed()) dictionary_->address_node(parameters.node_id);
  return steps.result();
}

nkr_error_t CANOpenDispatcher::getCommunicationParameters(CommunicationParameters& parameters) const {
  Steps steps = Steps::guarded(*dictionary_);
  communication_fields(steps.reads(), parameters);
  return steps.result();
}

nkr_error_t CANOpenDispatcher::setCommunicationParameters(const CommunicationParameters& parameters) {
  Steps steps = Steps::guarded(*dictionary_);
  communication_fields(steps.writes(), parameters);
  return steps.result();
}

}  // namespace nkr::tavcore
