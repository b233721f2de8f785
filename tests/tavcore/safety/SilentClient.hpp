#ifndef TESTS_TAVCORE_SAFETY_SILENTCLIENT_HPP
#define TESTS_TAVCORE_SAFETY_SILENTCLIENT_HPP

#include <cstdint>
#include <nkr/canopencore/IService.hpp>
#include <string>

namespace tavtest {

/** A client that answers zero to every read and keeps nothing: any number of threads may use it. */
class SilentClient : public nkr::canopencore::IService {
 public:
  bool isInitialized() const override { return true; }
  nkr_error_t sync(const nkr::canopenservice::TavIn& /*request*/,
                   nkr::canopenservice::TavOut& /*out*/) override {
    return NKR_OK;
  }
  nkr_error_t getNMTState(const std::uint8_t& /*node*/, nkr::canopencore::NMTState& /*state*/) override {
    return NKR_OK;
  }
  nkr_error_t setNMTState(const std::uint8_t& /*node*/,
                          const nkr::canopencore::NMTCommand& /*command*/) override {
    return NKR_OK;
  }
#define TAV_SILENT(T)                                                                                       \
  nkr_error_t getValue(const std::uint8_t& /*node*/, const std::uint32_t& /*address*/, T& value) override { \
    value = T{};                                                                                            \
    return NKR_OK;                                                                                          \
  }                                                                                                         \
  nkr_error_t setValue(const std::uint8_t& /*node*/, const std::uint32_t& /*address*/, const T& /*value*/)  \
      override {                                                                                            \
    return NKR_OK;                                                                                          \
  }
  TAV_SILENT(std::string)
  TAV_SILENT(std::int64_t)
  TAV_SILENT(std::int32_t)
  TAV_SILENT(std::int16_t)
  TAV_SILENT(std::int8_t)
  TAV_SILENT(std::uint64_t)
  TAV_SILENT(std::uint32_t)
  TAV_SILENT(std::uint16_t)
  TAV_SILENT(std::uint8_t)
  TAV_SILENT(float)
  TAV_SILENT(double)
  TAV_SILENT(bool)
#undef TAV_SILENT
};

}  // namespace tavtest

#endif
