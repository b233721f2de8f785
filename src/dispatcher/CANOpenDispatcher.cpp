#include <fstream>
#include <tavcore/CANOpenDispatcher.hpp>
#include <utility>

#include "../logging/LogRecord.hpp"
#include "../objects/DictionaryAccess.hpp"

namespace nkr::tavcore {

CANOpenDispatcher::CANOpenDispatcher(std::shared_ptr<Config> config,
                                     std::shared_ptr<canopencore::IService> client)
    : dictionary_(std::make_unique<DictionaryAccess>(std::move(config), std::move(client))) {}

CANOpenDispatcher::~CANOpenDispatcher() = default;

nkr_error_t CANOpenDispatcher::init() {
  const Config* const config = dictionary_->config();
  if (config == nullptr) {
    log_record({0, NKR_LOG_FAILURE, Here::now(), kDispatcherClass}, "Config not configured correctly !");
    return NKR_ERROR;
  }
  if (!dictionary_->has_client()) {
    log_record({0, NKR_LOG_FAILURE, Here::now(), kDispatcherClass}, "COSClient not configured correctly !");
    return NKR_ERROR;
  }
  configured_node_id_ = static_cast<std::uint32_t>(config->getNodeId());
  dictionary_->address_node(configured_node_id_);

  const std::string path = config->getCANOpenEDSFilePath();
  std::ifstream stream(path);
  if (!stream.is_open()) {
    log_record_with({dictionary_->context(), NKR_LOG_FAILURE, Here::now(), kDispatcherClass},
                    [&] { return "Can't open file : " + path; });
    return NKR_NOT_AVAILABLE;
  }
  if (!dictionary_->load(stream)) {
    log_record_with({dictionary_->context(), NKR_LOG_FAILURE, Here::now(), kDispatcherClass},
                    [&] { return "Error during parsing file : " + path; });
    return NKR_NOT_AVAILABLE;
  }
  return NKR_OK;
}

bool CANOpenDispatcher::isConfigLoaded() const {
  return dictionary_->is_loaded();
}

bool CANOpenDispatcher::isClientInitialized() const {
  return dictionary_->has_client() && dictionary_->client().isInitialized();
}

nkr_error_t CANOpenDispatcher::get_address(const std::string& name, unsigned int& address) const {
  return dictionary_->resolve(name, address);
}

template <class T>
nkr_error_t CANOpenDispatcher::get_value(const std::string& name, T& value) const {
  return dictionary_->read(Object<T>{name}, value);
}

template <class T>
nkr_error_t CANOpenDispatcher::set_value(const std::string& name, const T& value) const {
  return dictionary_->write(Object<T>{name}, value);
}

template <class T>
nkr_error_t CANOpenDispatcher::get_value_by_address(unsigned int address, T& value) const {
  return dictionary_->read(ObjectAt<T>{address}, value);
}

template <class T>
nkr_error_t CANOpenDispatcher::set_value_by_address(unsigned int address, const T& value) const {
  return dictionary_->write(ObjectAt<T>{address}, value);
}

void CANOpenDispatcher::log_set_success(const std::string& name, unsigned int address,
                                        const std::string& value) const {
  dictionary_->record_write(name, address, value);
}

template <class T, class>
void CANOpenDispatcher::log_set_success(const std::string& name, unsigned int address, const T& value) const {
  dictionary_->record_write(name, address, value);
}

void CANOpenDispatcher::log_set_success_address(unsigned int address, const std::string& value) const {
  dictionary_->record_write_at(address, value);
}

template <class T, class>
void CANOpenDispatcher::log_set_success_address(unsigned int address, const T& value) const {
  dictionary_->record_write_at(address, value);
}

// Every type that the drive's objects are accessed with; there is no write of 8-bit signed values.
#define TAV_INSTANTIATE_READ(T) \
  template nkr_error_t CANOpenDispatcher::get_value(const std::string& name, T& value) const;
#define TAV_INSTANTIATE_WRITE(T) \
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
