#include <gtest/gtest.h>

#include <tavcore/Model.hpp>
#include <thread>
#include <vector>

namespace {

using nkr::tavcore::_app_state;
using nkr::tavcore::Model;

TEST(Model, AfterConstructionStatesOdometryAndSpeedOrderAre0) {
  const Model model;
  EXPECT_EQ(static_cast<int>(model.getAppState()), 0);
  EXPECT_EQ(static_cast<int>(model.getNodeState()), 0);
  EXPECT_EQ(model.getOdometry(), 0);
  EXPECT_EQ(model.getSpeedOrder(), 0);
}

TEST(Model, EachSetterIsReadByItsOwnGetter) {
  Model model;
  model.setAppState(_app_state{1});
  model.setNodeState(_app_state{2});
  model.setOdometry(3);
  model.setQuickStopOptionCode(-4);
  model.setSpeedOrder(5);
  model.setSpeedOrderValidity(true);
  EXPECT_EQ(model.getAppState(), _app_state{1});
  EXPECT_EQ(model.getNodeState(), _app_state{2});
  EXPECT_EQ(model.getOdometry(), 3);
  EXPECT_EQ(model.getQuickStopOptionCode(), -4);
  EXPECT_EQ(model.getSpeedOrder(), 5);
  EXPECT_TRUE(model.getSpeedOrderValidity());
}

TEST(Model, ClearAndInitLeaveTheQuickStopOptionCodeAndTheValidity) {
  Model model;
  for (const bool by_init : {false, true}) {
    model.setAppState(_app_state{1});
    model.setNodeState(_app_state{2});
    model.setOdometry(3);
    model.setQuickStopOptionCode(5);
    model.setSpeedOrder(6);
    model.setSpeedOrderValidity(true);
    by_init ? model.init() : model.clear();
    EXPECT_EQ(model.getAppState(), _app_state::NONE);
    EXPECT_EQ(model.getNodeState(), _app_state::NONE);
    EXPECT_EQ(model.getOdometry(), 0);
    EXPECT_EQ(model.getSpeedOrder(), 0);
    EXPECT_EQ(model.getQuickStopOptionCode(), 5);
    EXPECT_TRUE(model.getSpeedOrderValidity());
  }
}

TEST(Model, SeveralThreadsReadAndWriteAllValues) {
  constexpr int kRounds = 2000;
  Model model;
  const auto work = [&] {
    for (int i = 0; i < kRounds; ++i) {
      model.setOdometry(i);
      model.setSpeedOrder(i);
      model.setSpeedOrderValidity(i % 2 == 0);
      model.setAppState(_app_state{i});
      EXPECT_LT(model.getOdometry(), kRounds);
      EXPECT_LT(model.getSpeedOrder(), kRounds);
      EXPECT_LT(static_cast<int>(model.getAppState()), kRounds);
      static_cast<void>(model.getSpeedOrderValidity());
    }
  };
  std::vector<std::thread> threads;
  for (int i = 0; i < 4; ++i) threads.emplace_back(work);
  for (std::thread& thread : threads) thread.join();
  EXPECT_EQ(model.getOdometry(), kRounds - 1);
}

}  // namespace
