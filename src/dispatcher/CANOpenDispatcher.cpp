#include <fstream>
#include <nkr/tools/EDSParser.hpp>
#include <tavcore/CANOpenDispatcher.hpp>
#include <type_traits>
#include <utility>

#include "../logging/LogRecord.hpp"
#include "Steps.hpp"

namespace nkr::tavcore {
namespace {

std::string node_and_address(const char* verb, std::uint32_t node_id, std::uint32_t address) {
  return std::string(verb) + " nodeId=" + log_text_of(static_cast<std::int32_t>(node_id)) +
         " address=" + log_text_of(address);
}

std::string with_name(std::string text, std::string_view name) {
  return text.append(" (").append(name).append(")");
}

}  // namespace

CANOpenDispatcher::CANOpenDispatcher(std::shared_ptr<Config> config,
                                     std::shared_ptr<canopencore::IService> client)
    : client_(std::move(client)),
      config_(std::move(config)),
      eds_parser_(std::make_unique<tools::EDSParser>()) {}

CANOpenDispatcher::~CANOpenDispatcher() = default;

nkr_error_t CANOpenDispatcher::init() {
  if (!config_) {
    log_record({0, NKR_LOG_FAILURE, Here::now(), kDispatcherClass}, "Config not configured correctly !");
    return NKR_ERROR;
  }
  if (!client_) {
    log_record({0, NKR_LOG_FAILURE, Here::now(), kDispatcherClass}, "COSClient not configured correctly !");
    return NKR_ERROR;
  }
  node_id_ = static_cast<std::uint32_t>(config_->getNodeId());
  configured_node_id_ = node_id_;

  const std::string path = config_->getCANOpenEDSFilePath();
  std::ifstream stream(path);
  if (!stream.is_open()) {
    log_record_with({context(), NKR_LOG_FAILURE, Here::now(), kDispatcherClass},
                    [&] { return "Can't open file : " + path; });
    return NKR_NOT_AVAILABLE;
  }
  if (!eds_parser_->parse(stream, false)) {
    log_record_with({context(), NKR_LOG_FAILURE, Here::now(), kDispatcherClass},
                    [&] { return "Error during parsing file : " + path; });
    return NKR_NOT_AVAILABLE;
  }
  config_loaded_ = true;
  return NKR_OK;
}

bool CANOpenDispatcher::isConfigLoaded() const {
  return config_loaded_;
}

bool CANOpenDispatcher::isClientInitialized() const {
  return client_ && client_->isInitialized();
}

std::uint32_t CANOpenDispatcher::context() const {
  return config_ ? static_cast<std::uint32_t>(config_->getContextId()) : 0;
}

const tools::ObjectEntry* CANOpenDispatcher::look_up(std::string_view name, Here here) const {
  const tools::ObjectEntry* const entry = eds_parser_->find(name);
  if (entry == nullptr) {
    log_record_with({context(), NKR_LOG_FAILURE, here, kDispatcherClass},
                    [&] { return std::string("Object ").append(name).append(" not found !"); });
  }
  return entry;
}

nkr_error_t CANOpenDispatcher::resolve(std::string_view name, unsigned int& address) const {
  const tools::ObjectEntry* const entry = look_up(name, Here::now("get_address"));
  if (entry == nullptr) return NKR_NOT_AVAILABLE;
  address = entry->getObjectAddress();
  return NKR_OK;
}

nkr_error_t CANOpenDispatcher::get_address(const std::string& name, unsigned int& address) const {
  return resolve(name, address);
}

template <class T>
nkr_error_t CANOpenDispatcher::read(std::string_view name, T& value) const {
  const tools::ObjectEntry* const entry = look_up(name, Here::now("get_value"));
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
nkr_error_t CANOpenDispatcher::write(std::string_view name, const T& value) const {
  const tools::ObjectEntry* const entry = look_up(name, Here::now("set_value"));
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
nkr_error_t CANOpenDispatcher::get_value(const std::string& name, T& value) const {
  return read(name, value);
}

template <class T>
nkr_error_t CANOpenDispatcher::set_value(const std::string& name, const T& value) const {
  return write(name, value);
}

template <class T>
nkr_error_t CANOpenDispatcher::get_value_by_address(unsigned int address, T& value) const {
  if (!client_) return NKR_NOT_AVAILABLE;
  const nkr_error_t result = client_->getValue(node(), address, value);
  if (result != NKR_OK) {
    log_record_with({context(), NKR_LOG_FAILURE, Here::now(__func__), kDispatcherClass},
                    [&] { return node_and_address("getValue", node_id_, address); });
  }
  return result;
}

template <class T>
nkr_error_t CANOpenDispatcher::set_value_by_address(unsigned int address, const T& value) const {
  if (!client_) return NKR_NOT_AVAILABLE;
  const nkr_error_t result = client_->setValue(node(), address, value);
  if (result == NKR_OK) {
    log_set_success_address(address, value);
  } else {
    log_record_with({context(), NKR_LOG_FAILURE, Here::now(__func__), kDispatcherClass},
                    [&] { return node_and_address("setValue", node_id_, address) + " : failed !"; });
  }
  return result;
}

template <class T>
void CANOpenDispatcher::record_write(std::string_view name, unsigned int address, const T& value) const {
  log_record_with({context(), NKR_LOG_TRACE, Here::now("log_set_success"), kDispatcherClass}, [&] {
    std::string text = with_name(node_and_address("setValue", node_id_, address), name) + " : ";
    if constexpr (std::is_same_v<T, std::string>) {
      return text + value;
    } else {
      return text + log_text_of(value);
    }
  });
}

void CANOpenDispatcher::log_set_success(const std::string& name, unsigned int address,
                                        const std::string& value) const {
  record_write(name, address, value);
}

template <class T, class>
void CANOpenDispatcher::log_set_success(const std::string& name, unsigned int address, const T& value) const {
  record_write(name, address, value);
}

void CANOpenDispatcher::log_set_success_address(unsigned int address, const std::string& value) const {
  log_record_with({context(), NKR_LOG_TRACE, Here::now(__func__), kDispatcherClass},
                  [&] { return node_and_address("setValue", node_id_, address) + " : " + value; });
}

template <class T, class>
void CANOpenDispatcher::log_set_success_address(unsigned int address, const T& value) const {
  log_record_with({context(), NKR_LOG_TRACE, Here::now(__func__), kDispatcherClass}, [&] {
    return node_and_address("setValue", node_id_, address) + " : " + log_text_of(value);
  });
}

// Every type that the drive's objects are accessed with; there is no write of 8-bit signed values.
#define TAV_INSTANTIATE_READ(T)                                                        \
  template nkr_error_t CANOpenDispatcher::read(std::string_view name, T& value) const; \
  template nkr_error_t CANOpenDispatcher::get_value(const std::string& name, T& value) const;
#define TAV_INSTANTIATE_WRITE(T)                                                              \
  template nkr_error_t CANOpenDispatcher::write(std::string_view name, const T& value) const; \
  template nkr_error_t CANOpenDispatcher::set_value(const std::string& name, const T& value) const;
#define TAV_INSTANTIATE_RECORD(T)                                                                 \
  template void CANOpenDispatcher::log_set_success(const std::string& name, unsigned int address, \
                                                   const T& value) const;
#define TAV_INSTANTIATE_BY_ADDRESS(T)                                                                       \
  template nkr_error_t CANOpenDispatcher::get_value_by_address(unsigned int address, T& value) const;       \
  template nkr_error_t CANOpenDispatcher::set_value_by_address(unsigned int address, const T& value) const; \
  template void CANOpenDispatcher::log_set_success_address(unsigned int address, const T& value) const;

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

TAV_INSTANTIATE_RECORD(bool)
TAV_INSTANTIATE_RECORD(unsigned char)
TAV_INSTANTIATE_RECORD(short)
TAV_INSTANTIATE_RECORD(unsigned short)
TAV_INSTANTIATE_RECORD(int)
TAV_INSTANTIATE_RECORD(unsigned int)
TAV_INSTANTIATE_RECORD(float)

TAV_INSTANTIATE_BY_ADDRESS(unsigned char)
TAV_INSTANTIATE_BY_ADDRESS(unsigned short)
TAV_INSTANTIATE_BY_ADDRESS(unsigned int)

}  // namespace nkr::tavcore
