// The safety services from many threads.

#include <gtest/gtest.h>

#include <memory>
#include <thread>
#include <vector>

#include "SafetyBench.hpp"
#include "SilentClient.hpp"
#include "support/Doubles.hpp"

namespace {

using tavtest::SafetyBench;
using tavtest::SilentClient;
using Safe = nkr::tavcore::ISafeMotionService;
using ControlWord = Safe::SafetyControlWordId;
using StatusWord = Safe::SafetyStatusWordId;
using Function = Safe::SafetyFunctionId;

TEST(SafetyServiceThreads, ManyMayCallThemAtOnce) {
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
