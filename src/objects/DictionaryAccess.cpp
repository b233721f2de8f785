#include "DictionaryAccess.hpp"

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

const tools::ObjectEntry* DictionaryAccess::look_up(std::string_view name, const char* function) const {
  const tools::ObjectEntry* const entry = description_.find(name);
  if (entry == nullptr) {
    log_record_with({context(), NKR_LOG_FAILURE, Here::now(function), kDispatcherClass},
                    [&] { return std::string("Object ").append(name).append(" not found !"); });
  }
  return entry;
}

nkr_error_t DictionaryAccess::resolve(std::string_view name, std::uint32_t& address) const {
  const tools::ObjectEntry* const entry = look_up(name, "get_address");
  if (entry == nullptr) return NKR_NOT_AVAILABLE;
  address = entry->getObjectAddress();
  return NKR_OK;
}

template <class T>
nkr_error_t DictionaryAccess::read_named(std::string_view name, T& value) const {
  const tools::ObjectEntry* const entry = look_up(name, "get_value");
  if (entry == nullptr) return NKR_NOT_AVAILABLE;
  const std::uint32_t address = entry->getObjectAddress();
  const nkr_error_t result = client_->getValue(node(), address, value);
  const auto text = [&] { return with_name(node_and_address("getValue", node_id_, address), name); };
  if (result == NKR_OK) {
    log_record_with({context(), NKR_LOG_TRACE, Here::now("get_value"), kDispatcherClass}, text);
  } else {
    log_record_with({context(), NKR_LOG_FAILURE, Here::now("get_value"), kDispatcherClass},
                    [&] { return text() + " : failed !"; });
  }
  return result;
}

template <class T>
nkr_error_t DictionaryAccess::write_named(std::string_view name, const T& value) const {
  const tools::ObjectEntry* const entry = look_up(name, "set_value");
  if (entry == nullptr) return NKR_NOT_AVAILABLE;
  const std::uint32_t address = entry->getObjectAddress();
  const nkr_error_t result = client_->setValue(node(), address, value);
  if (result == NKR_OK) {
    record_write(name, address, value);
  } else {
    log_record_with({context(), NKR_LOG_FAILURE, Here::now("set_value"), kDispatcherClass}, [&] {
      return with_name(node_and_address("setValue", node_id_, address), name) + " : failed !";
    });
  }
  return result;
}

template <class T>
nkr_error_t DictionaryAccess::read_at(std::uint32_t address, T& value) const {
  if (!client_) return NKR_NOT_AVAILABLE;
  const nkr_error_t result = client_->getValue(node(), address, value);
  if (result != NKR_OK) {
    log_record_with({context(), NKR_LOG_FAILURE, Here::now("get_value_by_address"), kDispatcherClass},
                    [&] { return node_and_address("getValue", node_id_, address); });
  }
  return result;
}

template <class T>
nkr_error_t DictionaryAccess::write_at(std::uint32_t address, const T& value) const {
  if (!client_) return NKR_NOT_AVAILABLE;
  const nkr_error_t result = client_->setValue(node(), address, value);
  if (result == NKR_OK) {
    record_write_at(address, value);
  } else {
    log_record_with({context(), NKR_LOG_FAILURE, Here::now("set_value_by_address"), kDispatcherClass},
                    [&] { return node_and_address("setValue", node_id_, address) + " : failed !"; });
  }
  return result;
}

template <class T>
void DictionaryAccess::record_write(std::string_view name, std::uint32_t address, const T& value) const {
  log_record_with({context(), NKR_LOG_TRACE, Here::now("log_set_success"), kDispatcherClass}, [&] {
    return with_name(node_and_address("setValue", node_id_, address), name) + " : " + text_of_value(value);
  });
}

template <class T>
void DictionaryAccess::record_write_at(std::uint32_t address, const T& value) const {
  log_record_with({context(), NKR_LOG_TRACE, Here::now("log_set_success_address"), kDispatcherClass}, [&] {
    return node_and_address("setValue", node_id_, address) + " : " + text_of_value(value);
  });
}

// Every type that the drive's objects are accessed with; there is no write of 8-bit signed values.
#define TAV_INSTANTIATE_READ(T) \
  template nkr_error_t DictionaryAccess::read_named(std::string_view name, T& value) const;
#define TAV_INSTANTIATE_WRITE(T)                                                                             \
  template nkr_error_t DictionaryAccess::write_named(std::string_view name, const T& value) const;           \
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
