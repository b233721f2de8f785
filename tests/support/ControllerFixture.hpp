#ifndef TESTS_SUPPORT_CONTROLLERFIXTURE_HPP
#define TESTS_SUPPORT_CONTROLLERFIXTURE_HPP

#include <gtest/gtest.h>

#include <memory>
#include <optional>
#include <string>
#include <tavcore/Controller.hpp>

#include "ConfigText.hpp"
#include "Doubles.hpp"
#include "TemporaryFile.hpp"

namespace tavtest {

/** A controller on a fake dispatcher, with a loaded configuration and a recording log. */
class ControllerFixture : public testing::Test {
 protected:
  static constexpr int kContext = 7;

  ControllerFixture() { load_config({}); }

  /** Loads a configuration with these values; it is the one of the next initialized_controller(). */
  void load_config(const ConfigValues& values) {
    config_file_ = std::make_unique<TemporaryFile>(config_text(values));
    config = std::make_shared<nkr::tavcore::Config>();
    ASSERT_EQ(config->load(config_file_->path()), NKR_OK);
  }

  /** A new controller, initialised with `config` and `dispatcher`; valid until the next call. */
  nkr::tavcore::Controller& initialized_controller() {
    controller_ = std::make_unique<nkr::tavcore::Controller>();
    EXPECT_EQ(controller_->init(config, dispatcher), NKR_OK);
    log.clear();
    return *controller_;
  }

  void expect_single_record(std::uint32_t context, std::uint32_t level, const std::string& function,
                            const std::optional<std::string>& class_name, const std::string& text) {
    const std::vector<LogEntry> records = log.records();
    ASSERT_EQ(records.size(), 1U);
    EXPECT_EQ(records[0].context, context);
    EXPECT_EQ(records[0].level, level);
    EXPECT_EQ(records[0].function, function);
    EXPECT_GT(records[0].line, 0U);
    EXPECT_EQ(records[0].class_name, class_name);
    EXPECT_EQ(records[0].text, text);
    log.clear();
  }

  RecordingLog log;
  std::shared_ptr<nkr::tavcore::Config> config;
  std::shared_ptr<FakeDispatcher> dispatcher = std::make_shared<FakeDispatcher>();

 private:
  std::unique_ptr<TemporaryFile> config_file_;
  std::unique_ptr<nkr::tavcore::Controller> controller_;
};

}  // namespace tavtest

#endif
