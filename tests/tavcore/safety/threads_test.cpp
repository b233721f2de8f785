// The safety services from many threads: their tables of names are built on the first use, once.

#include <gtest/gtest.h>

#include <memory>
#include <thread>
#include <vector>

#include "SafetyBench.hpp"
#include "support/Doubles.hpp"

namespace {

using tavtest::SafetyBench;
using Safe = nkr::tavcore::ISafeMotionService;
using ControlWord = Safe::SafetyControlWordId;
using StatusWord = Safe::SafetyStatusWordId;
using Function = Safe::SafetyFunctionId;

/** A client that any number of threads may use. */
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

TEST(SafetyServiceThreads, ManyMayUseTheNameTablesAtOnce) {
  tavtest::RecordingLog log;
  const SafetyBench bench;
  nkr::tavcore::CANOpenDispatcher shared(bench.config, std::make_shared<SilentClient>());
  ASSERT_EQ(shared.init(), NKR_OK);
  log.disable();
  std::vector<std::thread> threads;
  std::vector<int> successes(4, 0);
  for (int& count : successes) {
    threads.emplace_back([&shared, &count] {
      bool active = false;
      Safe::SafetyWordType bits{};
      Safe::SafetyWordMapping mapping{};
      for (int i = 0; i < 18; ++i) {
        count += shared.getSafetyFunctionCommand(Function{i}, active) == NKR_OK ? 1 : 0;
        count += shared.getSafetyFunctionStatus(Function{i}, active) == NKR_OK ? 1 : 0;
        count += shared.getSafetyControlWord(ControlWord{i % 9}, bits) == NKR_OK ? 1 : 0;
        count += shared.setSafetyControlWord(ControlWord{i % 9}, bits) == NKR_OK ? 1 : 0;
        count += shared.getSafetyStatusWord(StatusWord{i % 9}, bits) == NKR_OK ? 1 : 0;
        count += shared.getSafetyControlWordMapping(ControlWord{i % 9}, mapping) == NKR_OK ? 1 : 0;
      }
    });
  }
  for (std::thread& thread : threads) thread.join();
  EXPECT_EQ(successes, std::vector<int>(4, 18 * 6));
}

}  // namespace
