#include "DictionaryAccess.hpp"

#include <string>
#include <type_traits>
#include <utility>

#include "../logging/LogRecord.hpp"

namespace nkr::tavcore {
namespace {

std::string node_and_address(const char* verb, std::uint32_t node_id, std::uint32_t address) {
  return std::string(verb) + " nodeId=" + log_text_of(static_cast<std::int32_t>(node_id)) +
         " address=" + log_text_of(address);
}

std::string with_name(std::string text, std::string_view name) {
  return text.append(" (").append(name).append(")");
}

template <class T>
std::string text_of_value(const T& value) {
  if constexpr (std::is_same_v<T, std::string>) {
    return value;
  } else {
    return log_text_of(value);
  }
}

}  // namespace

DictionaryAccess::DictionaryAccess(std::shared_ptr<Config> config,
                                   std::shared_ptr<canopencore::IService> client)
    : config_(std::move(config)), client_(std::move(client)) {}

bool DictionaryAccess::load(std::istream& description) {
  if (!description_.parse(description, false)) return false;
  loaded_ = true;
  return true;
}

std::uint32_t DictionaryAccess::context() const {
  return config_ ? static_cast<std::uint32_t>(config_->getContextId()) : 0;
}

void DictionaryAccess::send_record(std::uint32_t level, const char* function, const std::string& text) const {
  send_log_record({context(), level, Here::now(function), kDispatcherClass}, text.c_str());
}

nkr_error_t DictionaryAccess::refuse_name(std::string_view name, const char* function) const {
  if (nkr_log_is_enabled() == NKR_OK) {
    send_record(NKR_LOG_FAILURE, function, std::string("Object ").append(name).append(" not found !"));
  }
  return NKR_NOT_AVAILABLE;
}

nkr_error_t DictionaryAccess::resolve(std::string_view name, std::uint32_t& address) const {
  const tools::ObjectEntry* const entry = description_.find(name);
  if (entry == nullptr) return refuse_name(name, "get_address");
  address = entry->getObjectAddress();
  return NKR_OK;
}

// Records are put together apart from the accesses, which cost next to nothing while the log is off.

void DictionaryAccess::send_read(std::string_view name, std::uint32_t address, bool succeeded) const {
  const std::string text = with_name(node_and_address("getValue", node_id_, address), name);
  if (succeeded) {
    send_record(NKR_LOG_TRACE, "get_value", text);
  } else {
    send_record(NKR_LOG_FAILURE, "get_value", text + " : failed !");
  }
}

template <class T>
void DictionaryAccess::send_write(std::string_view name, std::uint32_t address, const T& value,
                                  bool succeeded) const {
  const std::string text = with_name(node_and_address("setValue", node_id_, address), name) + " : ";
  if (succeeded) {
    send_record(NKR_LOG_TRACE, "log_set_success", text + text_of_value(value));
  } else {
    send_record(NKR_LOG_FAILURE, "set_value", text + "failed !");
  }
}

template <class T>
void DictionaryAccess::send_write_at(std::uint32_t address, const T& value, bool succeeded) const {
  const std::string text = node_and_address("setValue", node_id_, address) + " : ";
  if (succeeded) {
    send_record(NKR_LOG_TRACE, "log_set_success_address", text + text_of_value(value));
  } else {
    send_record(NKR_LOG_FAILURE, "set_value_by_address", text + "failed !");
  }
}

template <class T>
nkr_error_t DictionaryAccess::read_named(const std::string_view& name, T& value) const {
  const tools::ObjectEntry* const entry = description_.find(name);
  if (entry == nullptr) return refuse_name(name, "get_value");
  const std::uint32_t address = entry->getObjectAddress();
  const nkr_error_t result = client_->getValue(node(), address, value);
  if (nkr_log_is_enabled() == NKR_OK) send_read(name, address, result == NKR_OK);
  return result;
}

template <class T>
nkr_error_t DictionaryAccess::write_named(const std::string_view& name, const T& value) const {
  const tools::ObjectEntry* const entry = description_.find(name);
  if (entry == nullptr) return refuse_name(name, "set_value");
  const std::uint32_t address = entry->getObjectAddress();
  const nkr_error_t result = client_->setValue(node(), address, value);
  if (nkr_log_is_enabled() == NKR_OK) send_write(name, address, value, result == NKR_OK);
  return result;
}

template <class T>
nkr_error_t DictionaryAccess::read_at(std::uint32_t address, T& value) const {
  if (!client_) return NKR_NOT_AVAILABLE;
  const nkr_error_t result = client_->getValue(node(), address, value);
  if (result != NKR_OK && nkr_log_is_enabled() == NKR_OK) {  // a read that succeeds is not recorded
    send_record(NKR_LOG_FAILURE, "get_value_by_address", node_and_address("getValue", node_id_, address));
  }
  return result;
}

template <class T>
nkr_error_t DictionaryAccess::write_at(std::uint32_t address, const T& value) const {
  if (!client_) return NKR_NOT_AVAILABLE;
  const nkr_error_t result = client_->setValue(node(), address, value);
  if (nkr_log_is_enabled() == NKR_OK) send_write_at(address, value, result == NKR_OK);
  return result;
}

template <class T>
void DictionaryAccess::record_write(std::string_view name, std::uint32_t address, const T& value) const {
  if (nkr_log_is_enabled() == NKR_OK) send_write(name, address, value, true);
}

template <class T>
void DictionaryAccess::record_write_at(std::uint32_t address, const T& value) const {
  if (nkr_log_is_enabled() == NKR_OK) send_write_at(address, value, true);
}

// Every type that the drive's objects are accessed with; there is no write of 8-bit signed values.
#define TAV_INSTANTIATE_READ(T) \
  template nkr_error_t DictionaryAccess::read_named(const std::string_view& name, T& value) const;
#define TAV_INSTANTIATE_WRITE(T)                                                                             \
  template nkr_error_t DictionaryAccess::write_named(const std::string_view& name, const T& value) const;    \
  template void DictionaryAccess::record_write(std::string_view name, std::uint32_t address, const T& value) \
      const;
#define TAV_INSTANTIATE_RECORD_AT(T) \
  template void DictionaryAccess::record_write_at(std::uint32_t address, const T& value) const;
#define TAV_INSTANTIATE_AT(T)                                                                   \
  template nkr_error_t DictionaryAccess::read_at(std::uint32_t address, T& value) const;        \
  template nkr_error_t DictionaryAccess::write_at(std::uint32_t address, const T& value) const; \
  TAV_INSTANTIATE_RECORD_AT(T)

TAV_INSTANTIATE_READ(bool)
TAV_INSTANTIATE_READ(signed char)
TAV_INSTANTIATE_READ(unsigned char)
TAV_INSTANTIATE_READ(short)
TAV_INSTANTIATE_READ(unsigned short)
TAV_INSTANTIATE_READ(int)
TAV_INSTANTIATE_READ(unsigned int)
TAV_INSTANTIATE_READ(float)
TAV_INSTANTIATE_READ(std::string)

TAV_INSTANTIATE_WRITE(bool)
TAV_INSTANTIATE_WRITE(unsigned char)
TAV_INSTANTIATE_WRITE(short)
TAV_INSTANTIATE_WRITE(unsigned short)
TAV_INSTANTIATE_WRITE(int)
TAV_INSTANTIATE_WRITE(unsigned int)
TAV_INSTANTIATE_WRITE(float)
TAV_INSTANTIATE_WRITE(std::string)

TAV_INSTANTIATE_AT(unsigned char)
TAV_INSTANTIATE_AT(unsigned short)
TAV_INSTANTIATE_AT(unsigned int)
TAV_INSTANTIATE_RECORD_AT(std::string)

}  // namespace nkr::tavcore
