// A CANopen client of the program's own under the library: here one that keeps its objects in memory.
#include <cstdint>
#include <exception>
#include <iostream>
#include <map>
#include <memory>
#include <nkr/Error.hpp>
#include <nkr/canopencore/IService.hpp>
#include <string>
#include <tavcore/CANOpenDispatcher.hpp>
#include <tavcore/Config.hpp>

namespace {

/** The pure operations make a client; the others answer NKR_NOT_AVAILABLE by themselves. */
class MemoryClient : public nkr::canopencore::IService {
 public:
  bool isInitialized() const override { return true; }
  nkr_error_t sync(const nkr::canopenservice::TavIn& /*request*/, nkr::canopenservice::TavOut& out) override {
    out = {};
    return NKR_OK;
  }
  nkr_error_t getNMTState(const std::uint8_t& /*node*/, nkr::canopencore::NMTState& state) override {
    state = nkr::canopencore::NMTState::OPERATIONAL;
    return NKR_OK;
  }
  nkr_error_t setNMTState(const std::uint8_t& /*node*/,
                          const nkr::canopencore::NMTCommand& /*command*/) override {
    return NKR_OK;
  }
  nkr_error_t getValue(const std::uint8_t& /*node*/, const std::uint32_t& address,
                       std::string& value) override {
    value = texts_[address & kObject];
    return NKR_OK;
  }
  nkr_error_t setValue(const std::uint8_t& /*node*/, const std::uint32_t& address,
                       const std::string& value) override {
    texts_[address & kObject] = value;
    return NKR_OK;
  }
#define EXAMPLE_ACCESS(T)                                                                                 \
  nkr_error_t getValue(const std::uint8_t& node, const std::uint32_t& address, T& value) override {       \
    return get(node, address, value);                                                                     \
  }                                                                                                       \
  nkr_error_t setValue(const std::uint8_t& node, const std::uint32_t& address, const T& value) override { \
    return set(node, address, value);                                                                     \
  }
  EXAMPLE_ACCESS(std::int64_t)
  EXAMPLE_ACCESS(std::int32_t)
  EXAMPLE_ACCESS(std::int16_t)
  EXAMPLE_ACCESS(std::int8_t)
  EXAMPLE_ACCESS(std::uint64_t)
  EXAMPLE_ACCESS(std::uint32_t)
  EXAMPLE_ACCESS(std::uint16_t)
  EXAMPLE_ACCESS(std::uint8_t)
  EXAMPLE_ACCESS(float)
  EXAMPLE_ACCESS(double)
  EXAMPLE_ACCESS(bool)
#undef EXAMPLE_ACCESS

 private:
  static constexpr std::uint32_t kObject = 0xFFFFFF00;  // index and sub-index of an address

  template <class T>
  nkr_error_t get(std::uint8_t node, std::uint32_t address, T& value) {
    value = static_cast<T>(numbers_[address & kObject]);
    std::cout << "node " << +node << ": read 0x" << std::hex << (address >> 16) << std::dec << '\n';
    return NKR_OK;
  }
  template <class T>
  nkr_error_t set(std::uint8_t node, std::uint32_t address, const T& value) {
    numbers_[address & kObject] = static_cast<double>(value);
    std::cout << "node " << +node << ": write 0x" << std::hex << (address >> 16) << std::dec << " = "
              << +value << '\n';
    return NKR_OK;
  }

  std::map<std::uint32_t, double> numbers_;
  std::map<std::uint32_t, std::string> texts_;
};

}  // namespace

int main() try {
  const auto config = std::make_shared<nkr::tavcore::Config>();
  nkr::throw_if_failed(config->load("share/tav/tav.ini"), "load the configuration");
  nkr::tavcore::CANOpenDispatcher dispatcher(config, std::make_shared<MemoryClient>());
  nkr::throw_if_failed(dispatcher.init(), "use the description");
  nkr::throw_if_failed(dispatcher.setTargetVelocity(120), "set the target velocity");
  short velocity = 0;
  nkr::throw_if_failed(dispatcher.getTargetVelocity(velocity), "read the target velocity");
  std::cout << "target velocity " << velocity << '\n';
  return 0;
} catch (const std::exception& exception) {
  std::cerr << exception.what() << '\n';
  return 1;
}
