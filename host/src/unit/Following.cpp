#include <algorithm>
#include <limits>
#include <nkr/time/clock.hpp>
#include <tav/host/words.hpp>
#include <utility>

#include "UnitImpl.hpp"

namespace tav::host {

using std::chrono::steady_clock;

namespace {

constexpr std::uint32_t kControlWord = 0x60400010;
constexpr std::uint32_t kLeastAmount = 0x60460120;
constexpr std::uint32_t kMostAmount = 0x60460220;
/** What of the control word commands a velocity drive: state, ramp, halt (CiA 402-2, 8.4.1 and 11.3). */
constexpr std::uint16_t kCommandBits = 0x017F;
constexpr std::uint16_t kInternalLimit = 1U << 11;
constexpr std::chrono::milliseconds kLook{50};
/** Nothing is followed longer; far from the clock's end. */
constexpr std::chrono::hours kLongest{24 * 365 * 10};

}  // namespace

Result Unit::Impl::set_velocity(int velocity) {
  using Limits = std::numeric_limits<std::int16_t>;
  if (velocity < Limits::min() || velocity > Limits::max()) {
    Explanation refused =
        link.explanation(Cause::OUT_OF_RANGE, NKR_SDO_INVALID_VALUE, "set the target velocity");
    refused.expected = velocity;
    return Result(std::move(refused));
  }
  if (!is_enabled) {
    return Result(link.explanation(Cause::NOT_ENABLED, NKR_INVALID_STATE, "set the target velocity"));
  }
  const auto target = static_cast<std::int16_t>(velocity);
  Result result = lost_ ? protection_lost()
                        : link.check(link.dispatcher->setTargetVelocity(target), "set the target velocity");
  // Lost while it was being set: what was set came last.
  if (result.ok() && lost_) result = protection_lost();
  if (!result.ok()) return result;
  target_ = target;
  limits_told_ = false;
  std::int16_t kept = 0;
  result = link.check(link.dispatcher->getTargetVelocity(kept), "read the target velocity back");
  if (!result.ok() || kept == target) return result;
  if (lost_) return protection_lost();
  Explanation different = link.explanation(Cause::NOT_KEPT, NKR_ERROR, "target velocity");
  different.expected = velocity;
  different.found = kept;
  return Result(std::move(different));
}

Result Unit::Impl::adopt() {
  Result result = link.check(link.dispatcher->getTargetVelocity(target_), "read the target velocity back");
  if (!result.ok()) return result;
  return link.check(link.dispatcher->get_value_by_address(kControlWord, control_word_),
                    "read the control word back");
}

Result Unit::Impl::follow(std::chrono::milliseconds time, const OnLook& on_look) {
  const auto begin = nkr::time::now();
  const auto end = begin + std::min<std::chrono::milliseconds>(time, kLongest);
  for (auto next = begin; nkr::time::now() < end;) {
    Look seen;
    Result result = look(seen);
    if (!result.ok()) return result;
    if (on_look) on_look(seen);
    next += kLook;
    if (!link.wait_until(std::min(next, end))) return link.interrupted("follow the drive");
  }
  return {};
}

Result Unit::Impl::look(Look& look) {
  if (!is_enabled) {
    return Result(link.explanation(Cause::NOT_ENABLED, NKR_INVALID_STATE, "follow the drive"));
  }
  if (link.is_interrupted()) return link.interrupted("follow the drive");
  const InterruptWatch::Span while_it_looks = link.interruptible();
  Result result = read_look(look);
  if (lost_ || link.host->is_contested()) return protection_lost();
  if (result.code() == NKR_INTERRUPTED) return result;
  see_two_nodes();
  if (result.ok()) result = judge(look);
  if (!result.ok()) is_enabled = false;
  return result;
}

/** What is known without a question is not asked: a node that is stopped answers none. */
Result Unit::Impl::read_look(Look& look) {
  const nkr::tavcore::CANOpenDispatcher& drive = *link.dispatcher;
  const Heard heard = link.events->heard();
  if (heard.boot_up || heard.nmt == nkr::canopencore::NMTState::STOPPED) {
    return explain(Cause::LEFT_OPERATION, "follow the drive");
  }
  std::int16_t demand = 0;
  std::int16_t target = 0;
  Result result = link.check(drive.getVelocityDemand(demand), "read the velocity demand");
  if (result.ok()) result = link.check(drive.getVelocityActualValue(look.velocity), "read the velocity");
  if (result.ok()) result = link.check(drive.getCIA402StatusWord(look.status_word), "read the status word");
  if (result.ok()) result = link.check(drive.getTargetVelocity(target), "read the target velocity");
  if (result.ok()) {
    result = link.check(drive.get_value_by_address(kControlWord, look.control_word), "read the control word");
  }
  look.when = nkr::time::now();
  look.velocity_demand = demand;
  look.target_velocity = target;
  if (result.ok() || result.code() != NKR_SDO_TIMED_OUT) return result;
  const Result explained = explain(Cause::REQUEST, "follow the drive");
  return explained.cause() == Cause::REQUEST ? result : explained;
}

Result Unit::Impl::judge(const Look& look) {
  const bool commanded = (look.control_word & kCommandBits) == (control_word_ & kCommandBits);
  Explanation foreign = link.explanation(Cause::FOREIGN_CONTROL_WORD, NKR_INVALID_STATE, "follow the drive");
  foreign.expected = control_word_;
  foreign.found = look.control_word;
  if (state_of(look.status_word) != State::OPERATION_ENABLED) {
    Result left = explain(Cause::LEFT_OPERATION, "follow the drive");
    if (commanded || left.cause() != Cause::LEFT_OPERATION) return left;
    foreign.power = left.explanation().power;
    return Result(std::move(foreign));
  }
  if (!commanded) return Result(std::move(foreign));
  if (look.target_velocity != target_) {
    foreign.cause = Cause::FOREIGN_TARGET;
    foreign.expected = target_;
    foreign.found = look.target_velocity;
    return Result(std::move(foreign));
  }
  see_limits(look);
  return {};
}

void Unit::Impl::see_limits(const Look& look) {
  if ((look.status_word & kInternalLimit) == 0 || std::exchange(limits_told_, true)) return;
  std::uint32_t least = 0;
  std::uint32_t most = 0;
  Explanation told = link.explanation(Cause::LIMITED, NKR_OK, "follow the drive");
  told.expected = target_;
  told.found = look.velocity_demand;
  if (link.dispatcher->get_value_by_address(kLeastAmount, least) == NKR_OK &&
      link.dispatcher->get_value_by_address(kMostAmount, most) == NKR_OK) {
    told.detail = std::to_string(least) + " to " + std::to_string(most);
  }
  link.warn(told);
}

}  // namespace tav::host
