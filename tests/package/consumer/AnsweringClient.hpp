#ifndef CONSUMER_ANSWERINGCLIENT_HPP
#define CONSUMER_ANSWERINGCLIENT_HPP

#include <cstdint>
#include <map>
#include <nkr/canopencore/IService.hpp>
#include <string>

/** A CANopen client without a bus: the pure operations alone. Numbers written are remembered and read back.
 */
class AnsweringClient : public nkr::canopencore::IService {
 public:
  using NMTState = nkr::canopencore::NMTState;
  using NMTCommand = nkr::canopencore::NMTCommand;
  using TavIn = nkr::canopenservice::TavIn;
  using TavOut = nkr::canopenservice::TavOut;

  /** The values by index << 16 | subindex << 8. */
  std::map<std::uint32_t, double> values;

  bool isInitialized() const override { return true; }
  nkr_error_t sync(const TavIn&, TavOut& out) override {
    out = {};
    return NKR_OK;
  }
  nkr_error_t getNMTState(const std::uint8_t&, NMTState& state) override {
    state = NMTState{};
    return NKR_OK;
  }
  nkr_error_t setNMTState(const std::uint8_t&, const NMTCommand&) override { return NKR_OK; }

  nkr_error_t getValue(const std::uint8_t&, const std::uint32_t&, std::string& value) override {
    value = "text";
    return NKR_OK;
  }
  nkr_error_t setValue(const std::uint8_t&, const std::uint32_t&, const std::string&) override {
    return NKR_OK;
  }
#define CONSUMER_ACCESS(T)                                                                           \
  nkr_error_t getValue(const std::uint8_t&, const std::uint32_t& address, T& value) override {       \
    value = static_cast<T>(values[address & 0xFFFFFF00]);                                            \
    return NKR_OK;                                                                                   \
  }                                                                                                  \
  nkr_error_t setValue(const std::uint8_t&, const std::uint32_t& address, const T& value) override { \
    values[address & 0xFFFFFF00] = static_cast<double>(value);                                       \
    return NKR_OK;                                                                                   \
  }
  CONSUMER_ACCESS(std::int64_t)
  CONSUMER_ACCESS(std::int32_t)
  CONSUMER_ACCESS(std::int16_t)
  CONSUMER_ACCESS(std::int8_t)
  CONSUMER_ACCESS(std::uint64_t)
  CONSUMER_ACCESS(std::uint32_t)
  CONSUMER_ACCESS(std::uint16_t)
  CONSUMER_ACCESS(std::uint8_t)
  CONSUMER_ACCESS(float)
  CONSUMER_ACCESS(double)
  CONSUMER_ACCESS(bool)
#undef CONSUMER_ACCESS
};

#endif
