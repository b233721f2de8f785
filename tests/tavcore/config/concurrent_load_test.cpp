// Configurations that are loaded by several threads at once, through the one reader of the process.

#include <gtest/gtest.h>

#include <string>
#include <tavcore/Config.hpp>
#include <thread>
#include <vector>

#include "support/ConfigText.hpp"
#include "support/Doubles.hpp"
#include "support/TemporaryFile.hpp"

namespace {

using nkr::tavcore::Config;
using tavtest::config_text;
using tavtest::TemporaryFile;

constexpr int kThreads = 4;
constexpr int kLoads = 200;

/** A configuration in which every setting is the thread's own number. */
std::string text_of_thread(int number) {
  const std::string own = std::to_string(number);
  return config_text({{"contextId", own},
                      {"nodeId", own},
                      {"CANOpenEDSFile", "description-" + own + ".eds"},
                      {"targetVelocityTimeoutMs", own},
                      {"maxMaintenanceSpeedValue", own},
                      {"nbPolePair", own}});
}

bool holds_only(const Config& config, int number) {
  return config.getContextId() == number && config.getNodeId() == number &&
         config.getCANOpenEDSFilePath() == "description-" + std::to_string(number) + ".eds" &&
         config.getTargetVelocityTimeoutMs() == number && config.getMaxMaintenanceSpeedValue() == number &&
         config.getNbPolePair() == number;
}

TEST(ConcurrentConfigLoad, GivesEachThreadTheSettingsOfItsOwnFile) {
  tavtest::RecordingLog log;
  log.disable();
  std::vector<int> own_settings(kThreads, 0);
  std::vector<std::thread> threads;
  for (int number = 0; number < kThreads; ++number) {
    threads.emplace_back([number, &own = own_settings.at(static_cast<std::size_t>(number))] {
      const TemporaryFile file(text_of_thread(number + 1));
      for (int i = 0; i < kLoads; ++i) {
        Config config;
        if (config.load(file.path()) == NKR_OK && holds_only(config, number + 1)) ++own;
      }
    });
  }
  for (std::thread& thread : threads) thread.join();
  EXPECT_EQ(own_settings, std::vector<int>(kThreads, kLoads));
}

}  // namespace
