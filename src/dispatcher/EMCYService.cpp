// None of these accesses needs the device description: there is no guard, and each is made once.
#include <tavcore/CANOpenDispatcher.hpp>

#include "../objects/DictionaryAccess.hpp"

namespace nkr::tavcore {
namespace {

constexpr ObjectAt<std::uint8_t> kErrorRegister{0x10010000};
constexpr ObjectAt<std::uint8_t> kErrorCount{0x10030000};

constexpr ObjectAt<std::uint32_t> predefined_error(std::int32_t number) {
  return {0x10030000 + (static_cast<std::uint32_t>(number) << 8)};
}

constexpr ObjectAt<std::uint8_t> error_behavior(IEMCYService::ErrorType type) {
  return {0x10290000 + (static_cast<std::uint32_t>(type) << 8)};
}

bool is_valid(IEMCYService::ErrorType type) {
  return type == IEMCYService::ErrorType::COMMUNICATION || type == IEMCYService::ErrorType::OTHER_1 ||
         type == IEMCYService::ErrorType::OTHER_2;
}

bool is_valid(IEMCYService::ErrorBehavior behavior) {
  return behavior <= IEMCYService::ErrorBehavior::STOPPED;
}

}  // namespace

nkr_error_t CANOpenDispatcher::getErrorBehavior(const ErrorType& type, ErrorBehavior& behavior) const {
  if (!is_valid(type)) return NKR_ERROR;
  std::uint8_t stored = 0;
  const nkr_error_t result = dictionary_->read(error_behavior(type), stored);
  // The value is judged before the result: a failed read leaves 0, which is passed on with the failure's
  // code.
  if (!is_valid(static_cast<ErrorBehavior>(stored))) return NKR_NOT_AVAILABLE;
  behavior = static_cast<ErrorBehavior>(stored);
  return result;
}

nkr_error_t CANOpenDispatcher::setErrorBehavior(const ErrorType& type, const ErrorBehavior& behavior) {
  if (!is_valid(type) || !is_valid(behavior)) return NKR_ERROR;
  return dictionary_->write(error_behavior(type), static_cast<std::uint8_t>(behavior));
}

nkr_error_t CANOpenDispatcher::clearErrorList() {
  return dictionary_->write(kErrorCount, std::uint8_t{0});
}

nkr_error_t CANOpenDispatcher::getErrorCount(int& count) const {
  std::uint8_t stored = 0;
  const nkr_error_t result = dictionary_->read(kErrorCount, stored);
  count = stored;
  return result;
}

nkr_error_t CANOpenDispatcher::getErrorRegister(unsigned char& reg) const {
  return dictionary_->read(kErrorRegister, reg);
}

nkr_error_t CANOpenDispatcher::getError(const int& index, unsigned int& code) const {
  if (index < 1) return NKR_ERROR;
  std::uint32_t entry = 0;
  const nkr_error_t result = dictionary_->read(predefined_error(index), entry);
  constexpr std::uint32_t kErrorCodeMask = 0xFFFF;  // the upper half is the manufacturer's
  code = entry & kErrorCodeMask;
  return result;
}

}  // namespace nkr::tavcore
