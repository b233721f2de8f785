#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <future>
#include <iostream>
#include <streambuf>
#include <thread>

#include "support/ControllerFixture.hpp"

namespace {

using namespace nkr::tavcore;
using tavtest::ControllerFixture;
using Names = std::vector<std::string>;

class ControllerLifecycle : public ControllerFixture {};

TEST_F(ControllerLifecycle, InitWithAnEmptyConfigurationFailsWithContext0AndDoesNotLookAtTheDispatcher) {
  Controller controller;
  EXPECT_EQ(controller.init(nullptr, dispatcher), NKR_ERROR);
  expect_single_record(0, 2, "init", std::nullopt, "Config not configured correctly !");
  EXPECT_TRUE(dispatcher->calls.empty());
  EXPECT_EQ(controller.getConfig(), nullptr);
}

TEST_F(ControllerLifecycle, InitWithAnEmptyDispatcherFailsAndKeepsTheConfiguration) {
  Controller controller;
  EXPECT_EQ(controller.init(config, nullptr), NKR_ERROR);
  expect_single_record(kContext, 2, "init", std::nullopt, "CANOpenDispatcher not configured correctly !");
  EXPECT_EQ(controller.getConfig(), config);
}

TEST_F(ControllerLifecycle, InitWithADispatcherNotLoadedFailsWithoutAskingForItsClient) {
  Controller controller;
  dispatcher->config_loaded = false;
  EXPECT_EQ(controller.init(config, dispatcher), NKR_ERROR);
  expect_single_record(kContext, 2, "init", std::nullopt, "CANOpenDispatcher not configured correctly !");
  EXPECT_EQ(dispatcher->operations(), Names{"isConfigLoaded"});
}

TEST_F(ControllerLifecycle, InitWithAClientNotReadyFails) {
  Controller controller;
  dispatcher->client_initialized = false;
  EXPECT_EQ(controller.init(config, dispatcher), NKR_ERROR);
  expect_single_record(kContext, 2, "init", std::nullopt, "CANOpenDispatcher not configured correctly !");
  EXPECT_EQ(dispatcher->operations(), (Names{"isConfigLoaded", "isClientInitialized"}));
  EXPECT_EQ(controller.setHalt(true), NKR_NOT_AVAILABLE);
}

TEST_F(ControllerLifecycle, InitSucceedsWithANoticeAndNeverInitialisesTheDispatcher) {
  Controller controller;
  EXPECT_EQ(controller.init(config, dispatcher), NKR_OK);
  expect_single_record(kContext, 4, "init", std::nullopt, "Init Success");
  EXPECT_EQ(dispatcher->operations(), (Names{"isConfigLoaded", "isClientInitialized"}));
}

TEST_F(ControllerLifecycle, AFailedSecondInitLeavesTheControllerInitialised) {
  Controller controller;
  ASSERT_EQ(controller.init(config, dispatcher), NKR_OK);
  EXPECT_EQ(controller.init(nullptr, nullptr), NKR_ERROR);
  EXPECT_EQ(controller.getConfig(), nullptr);
  EXPECT_EQ(controller.setHalt(true), NKR_OK) << "the dispatcher was left alone";
}

TEST_F(ControllerLifecycle, ASecondInitReplacesBothPointers) {
  Controller controller;
  ASSERT_EQ(controller.init(config, dispatcher), NKR_OK);
  const auto other_config = std::make_shared<Config>();
  const auto other_dispatcher = std::make_shared<tavtest::FakeDispatcher>();
  EXPECT_EQ(controller.init(other_config, other_dispatcher), NKR_OK);
  EXPECT_EQ(controller.getConfig(), other_config);
  EXPECT_EQ(dispatcher.use_count(), 1);
  EXPECT_EQ(controller.setHalt(true), NKR_OK);
  EXPECT_EQ(other_dispatcher->operations().back(), "setHalt");
}

TEST_F(ControllerLifecycle, AFailedSecondInitKeepsADispatcherThatIsNotReady) {
  Controller controller;
  ASSERT_EQ(controller.init(config, dispatcher), NKR_OK);
  const auto other_dispatcher = std::make_shared<tavtest::FakeDispatcher>();
  other_dispatcher->config_loaded = false;
  EXPECT_EQ(controller.init(config, other_dispatcher), NKR_ERROR);
  EXPECT_EQ(controller.setHalt(true), NKR_OK);
  EXPECT_EQ(other_dispatcher->operations(), (Names{"isConfigLoaded", "setHalt"}));
}

TEST_F(ControllerLifecycle, ConfigurationIsEmptyBeforeInit) {
  EXPECT_EQ(Controller().getConfig(), nullptr);
}

TEST_F(ControllerLifecycle, DestructionCommandsTargetVelocity0ThenReleasesBoth) {
  {
    Controller controller;
    ASSERT_EQ(controller.init(config, dispatcher), NKR_OK);
    ASSERT_EQ(controller.setTargetVelocity(500), NKR_OK);
  }
  EXPECT_EQ(dispatcher->target_velocities, (std::vector<short>{500, 0}));
  EXPECT_EQ(dispatcher.use_count(), 1);
  EXPECT_EQ(config.use_count(), 1);
}

TEST_F(ControllerLifecycle, DestructionReleasesTheDispatcherBeforeTheConfiguration) {
  Names released;
  {
    Controller controller;
    const std::shared_ptr<Config> watched_config(new Config, [&](Config* owned) {
      released.emplace_back("configuration");
      delete owned;
    });
    const std::shared_ptr<tavtest::FakeDispatcher> watched_dispatcher(
        new tavtest::FakeDispatcher, [&](tavtest::FakeDispatcher* owned) {
          released.push_back("dispatcher after " + owned->operations().back());
          delete owned;
        });
    ASSERT_EQ(controller.init(watched_config, watched_dispatcher), NKR_OK);
  }
  EXPECT_EQ(released, (Names{"dispatcher after setTargetVelocity", "configuration"}));
}

TEST_F(ControllerLifecycle, DestructionOfAControllerNeverInitialisedOnlyRecordsSo) {
  { const Controller controller; }
  expect_single_record(0, 2, "setTargetVelocity", std::nullopt, "TAV Controller is not initialized");
}

TEST_F(ControllerLifecycle, DestructionSwallowsExceptions) {
  dispatcher->throwing_operation = "setTargetVelocity";
  {
    Controller controller;
    ASSERT_EQ(controller.init(config, dispatcher), NKR_OK);
  }
  EXPECT_EQ(dispatcher->target_velocities, std::vector<short>{0});
}

TEST_F(ControllerLifecycle, RunReturnsAfterItsSleepWhenTheControllerIsDestroyed) {
  auto controller = std::make_unique<Controller>();
  std::promise<void> started;
  std::future<void> running = std::async(std::launch::async, [&, parked = controller.get()] {
    started.set_value();
    parked->run();
  });
  started.get_future().wait();
  EXPECT_EQ(running.wait_for(std::chrono::milliseconds(250)), std::future_status::timeout) << "run() parks";
  controller.reset();
  EXPECT_EQ(running.wait_for(std::chrono::seconds(5)), std::future_status::ready);
}

/** Stands in for standard output while it lives, and counts how often it is flushed. */
class FlushCounter : public std::streambuf {
 public:
  FlushCounter() : before_(std::cout.rdbuf(this)) {}
  FlushCounter(const FlushCounter&) = delete;
  FlushCounter& operator=(const FlushCounter&) = delete;
  ~FlushCounter() override { std::cout.rdbuf(before_); }

  [[nodiscard]] int flushes() const { return flushes_; }

 protected:
  int sync() override {
    ++flushes_;
    return 0;
  }

 private:
  std::streambuf* before_;
  std::atomic<int> flushes_{0};
};

TEST_F(ControllerLifecycle, RunFlushesStandardOutputAgainAndAgain) {
  const FlushCounter output;
  auto controller = std::make_unique<Controller>();
  std::thread parked([&, run = controller.get()] { run->run(); });
  const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(20);
  while (output.flushes() < 3 && std::chrono::steady_clock::now() < deadline) {
    std::this_thread::sleep_for(std::chrono::milliseconds(10));
  }
  controller.reset();
  parked.join();
  EXPECT_GE(output.flushes(), 3);
}

}  // namespace
