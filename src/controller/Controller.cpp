#include <chrono>
#include <cstdio>
#include <iostream>
#include <nkr/time/clock.hpp>
#include <tavcore/Controller.hpp>
#include <thread>
#include <utility>

#include "../logging/LogRecord.hpp"

namespace nkr::tavcore {

Controller::Controller() : running_(std::make_shared<std::atomic<bool>>(true)) {}

Controller::~Controller() {
  *running_ = false;
  try {
    static_cast<void>(Controller::setTargetVelocity(0));
  } catch (...) {  // NOLINT(bugprone-empty-catch): the drive was told to stop as far as it could be
  }
  dispatcher_.reset();
  config_.reset();
}

nkr_error_t Controller::init(std::shared_ptr<Config> config, std::shared_ptr<ICANOpenDispatcher> dispatcher) {
  config_ = std::move(config);
  if (!config_) {
    log_record({0, NKR_LOG_FAILURE, Here::now(), nullptr}, "Config not configured correctly !");
    return NKR_ERROR;
  }
  dispatcher_ = std::move(dispatcher);
  if (!dispatcher_ || !dispatcher_->isConfigLoaded() || !dispatcher_->isClientInitialized()) {
    log_record({context(), NKR_LOG_FAILURE, Here::now(), nullptr},
               "CANOpenDispatcher not configured correctly !");
    return NKR_ERROR;
  }
  initialized_ = true;
  log_record({context(), NKR_LOG_NOTICE, Here::now(), nullptr}, "Init Success");
  return NKR_OK;
}

void Controller::run() {
  constexpr std::chrono::milliseconds kPeriod{100};
  const std::shared_ptr<std::atomic<bool>> running = running_;  // `this` may be gone after the sleep
  while (*running) {
    std::cout.flush();
    std::fflush(stdout);
    time::sleep_for(kPeriod);
  }
}

std::shared_ptr<Config> Controller::getConfig() const {
  return config_;
}

bool Controller::is_initialized(const char* function, std::uint32_t line) const {
  if (!initialized_) {
    log_record({0, NKR_LOG_FAILURE, Here::now(function, line), nullptr}, "TAV Controller is not initialized");
  }
  return initialized_;
}

std::uint32_t Controller::context() const {
  return config_ ? static_cast<std::uint32_t>(config_->getContextId()) : 0;
}

}  // namespace nkr::tavcore
