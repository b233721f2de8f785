#include <chrono>
#include <nkr/time/clock.hpp>
#include <tav/host/text.hpp>
#include <thread>
#include <utility>

#include "LivingUnits.hpp"
#include "UnitImpl.hpp"

namespace tav::host {

using std::chrono::milliseconds;
using std::chrono::steady_clock;

namespace {

constexpr milliseconds kLongestStop{20'000};
constexpr milliseconds kLook{20};
/** A node that was woken changes its state within that time; its heartbeat may tell it later. */
constexpr milliseconds kWaking{100};
/** Of another thread, when the program ends. */
constexpr milliseconds kLongestWork{10'000};
constexpr milliseconds kUntilNext{5};

}  // namespace

/** Another master stopped the node, and a stopped node serves no SDO: it could not be told to stop the motor,
 * nor be seen to stand. */
void Unit::Impl::wake_node() {
  if (link.events->heard().nmt != nkr::canopencore::NMTState::STOPPED) return;
  if (link.client->setNMTState(link.node, nkr::canopencore::NMTCommand::ENTER_PRE_OPERATIONAL) == NKR_OK) {
    nkr::time::sleep_for(kWaking);
  }
}

Result Unit::Impl::stop() {
  const InterruptWatch::Span to_its_end = link.not_interruptible();
  wake_node();
  Result result = link.check(link.dispatcher->setTargetVelocity(0), "stop the drive");
  if (result.code() == NKR_SDO_TIMED_OUT) {  // by now its state may be known
    wake_node();
    result = link.check(link.dispatcher->setTargetVelocity(0), "stop the drive");
  }
  if (result.ok()) target_ = 0;
  return result.ok() ? wait_for_standstill() : result;
}

Result Unit::Impl::wait_for_standstill() {
  const auto deadline = nkr::time::now() + kLongestStop;
  while (true) {
    int velocity = 0;
    Result result = link.check(link.dispatcher->getVelocityActualValue(velocity), "read the velocity");
    if (!result.ok() || velocity == 0) return result;
    if (nkr::time::now() >= deadline) {
      Explanation turning = link.explanation(Cause::STILL_TURNING, NKR_INVALID_STATE, "stop the drive");
      turning.found = velocity;
      return Result(std::move(turning));
    }
    nkr::time::sleep_for(kLook);
  }
}

Result Unit::Impl::disable() {
  is_enabled = false;
  Result result = stop();
  if (!result.ok()) return result;
  if (enabled_here_) {
    result = link.check(link.dispatcher->disableOperation(), "disable operation");
    if (result.ok()) result = link.check(link.dispatcher->disableVoltage(), "disable the drive");
    if (!result.ok()) return result;
  }
  give_up_responsibility();
  protection.end();
  return {};
}

Result Unit::Impl::leave() {
  is_enabled = false;
  give_up_responsibility();
  protection.end();
  // A controller's end commands target velocity 0; one without a dispatcher commands nothing.
  if (controller_) static_cast<void>(controller_->init(link.config, nullptr));
  controller_.reset();
  return {};
}

void Unit::Impl::give_up_responsibility() {
  responsible_ = enabled_here_ = false;
  LivingUnits::remove(std::exchange(living_, 0));
}

/** exit() may come while another thread is at work: what that asks the drive is ended, and waited for. A
 * program that does not come back from what it was called for is not waited for any longer. */
void Unit::Impl::end() noexcept try {
  const std::lock_guard<nkr::time::RecursiveMutex> one_at_a_time(ending_);
  link.is_ending = true;
  std::unique_lock<nkr::time::RecursiveMutex> at_work(at_work_, std::try_to_lock);
  const auto deadline = nkr::time::now() + kLongestWork;
  while (!at_work.owns_lock() && nkr::time::now() < deadline) {
    link.client->cancelRequests(link.node);
    nkr::time::sleep_for(kUntilNext);
    static_cast<void>(at_work.try_lock());
  }
  if (responsible_) {
    const Result result = disable();
    if (!result.ok()) {
      Explanation warning = result.explanation();
      warning.cause = Cause::MAY_STILL_MOVE;
      warning.detail = headline(result.explanation());
      link.warn(warning);
      protection.let_the_drive_notice();
      give_up_responsibility();
    }
  }
  protection.end();
} catch (...) {  // NOLINT(bugprone-empty-catch): without memory or a lock nothing better is to be had
}

/** On a thread of the client: the motor first. */
void Unit::Impl::lose_protection() {
  lost_ = true;
  static_cast<void>(link.dispatcher->setTargetVelocity(0));
  link.warn(link.explanation(Cause::PROTECTION_LOST, NKR_INVALID_STATE, "follow the drive"));
}

Result Unit::Impl::protection_lost() {
  is_enabled = false;
  Explanation lost = link.explanation(Cause::PROTECTION_LOST, NKR_INVALID_STATE, "follow the drive");
  Result stopped = stop();
  return stopped.ok() ? Result(std::move(lost)) : stopped;
}

}  // namespace tav::host
