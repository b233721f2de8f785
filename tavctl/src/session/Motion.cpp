#include "session/Motion.hpp"

#include <chrono>
#include <exception>
#include <thread>
#include <utility>
#include <vector>

#include "session/DriveState.hpp"

namespace tavctl {

using nkr::tavcore::Controller;

namespace {

using std::chrono::milliseconds;

constexpr milliseconds kLongestStop{20000};
constexpr milliseconds kLook{20};

}  // namespace

Motion::Motion(Session& session, AtEnd at_end)
    : session_(session), at_end_(at_end), protection_(session), controller_(std::make_unique<Controller>()) {
  session_.check(controller_->init(session_.config(), session_.dispatcher()), "use the controller");
}

Motion::~Motion() {
  if (at_end_ == AtEnd::LEAVE_RUNNING) {
    // The controller's end commands velocity 0: this is the one case that must not have it.
    // It is kept, undestroyed, to the end of the process.
    static auto* const left_running = std::make_unique<std::vector<std::unique_ptr<Controller>>>().release();
    left_running->push_back(std::move(controller_));
    return;
  }
  try {
    if (!stopped_ && at_end_ == AtEnd::STOP) stop();
  } catch (const std::exception& exception) {
    session_.output().note(std::string("WARNING: the drive may still move: ") + exception.what());
  }
}

void Motion::enable() {
  Controller::PDSState state{};
  const nkr_error_t seen = controller_->getPDSState(state);
  if (seen == NKR_OK && state == Controller::PDSState::OPERATION_ENABLED) {
    follow_ramp();
    return;
  }
  // What was demanded of it before must not make it move now.
  session_.check(controller_->setTargetVelocity(0), "set target velocity 0");
  enabled_here_ = true;
  const nkr_error_t result = controller_->enterInOperationEnabledState();
  if (result == NKR_INVALID_STATE) {
    throw Failure(ExitCode::WRONG_STATE, "the drive was not enabled (" + session_.where() + ")",
                  explain_stall(session_), result);
  }
  session_.check(result, "enable the drive");
  follow_ramp();
}

void Motion::see_enabled() {
  Controller::PDSState state{};
  session_.check(controller_->getPDSState(state), "read the state");
  if (state == Controller::PDSState::OPERATION_ENABLED) return;
  throw Failure(ExitCode::WRONG_STATE, "the drive left OPERATION_ENABLED (" + session_.where() + ")",
                explain_stall(session_));
}

void Motion::follow_ramp() {
  // CiA 402-2, velocity mode: the drive follows the set-point when bits 4, 5 and 6 are all set.
  session_.check(controller_->setEnableRamp(true), "enable the ramp");
  session_.check(controller_->setUnlockRamp(true), "unlock the ramp");
  session_.check(controller_->setReferenceRamp(true), "let the ramp follow the target velocity");
  Controller::VelocityModeControlword word{};
  session_.check(controller_->getVelocityModeControlword(word), "read the control word back");
  if (!word.enable_ramp || !word.unlock_ramp || !word.reference_ramp) {
    throw Failure(ExitCode::REFUSED, "the drive did not keep the ramp bits of its control word");
  }
}

void Motion::wait_for_standstill() {
  const auto deadline = std::chrono::steady_clock::now() + kLongestStop;
  while (true) {
    int velocity = 0;
    session_.check(controller_->getVelocityActualValue(velocity), "read the velocity");
    if (velocity == 0) return;
    if (std::chrono::steady_clock::now() >= deadline) {
      throw Failure(ExitCode::WRONG_STATE,
                    "the drive still turns at " + std::to_string(velocity) + " (" + session_.where() + ")",
                    "tavctl quick-stop");
    }
    std::this_thread::sleep_for(kLook);
  }
}

void Motion::stop() {
  stopped_ = true;
  session_.check(controller_->setTargetVelocity(0), "stop the drive");
  wait_for_standstill();
  if (!enabled_here_) return;
  session_.check(controller_->disableOperation(), "disable operation");
  session_.check(controller_->disableVoltage(), "disable the drive");
}

}  // namespace tavctl
