#include <chrono>
#include <nkr/time/clock.hpp>
#include <thread>
#include <utility>

#include "UnitImpl.hpp"

namespace tav::host {

using nkr::canopencore::NMTState;
using std::chrono::milliseconds;
using std::chrono::steady_clock;

namespace {

/** What the drive said may be known before what was heard has been noted. */
constexpr milliseconds kHearing{500};
constexpr milliseconds kLook{10};

bool tells_why(const Heard& heard) {
  return heard.boot_up || heard.nmt == NMTState::STOPPED;
}

}  // namespace

Result Unit::Impl::explain(Cause fallback, const std::string& action) {
  Explanation made = link.explanation(fallback, NKR_INVALID_STATE, action);
  if (!tells_why(made.heard)) {
    PowerFacts facts;
    const Result read = read_power(facts);
    if (read.code() == NKR_INTERRUPTED) return read;
    if (read.ok()) made.power = facts;
    const bool fault =
        made.power && (facts.state == State::FAULT || facts.state == State::FAULT_REACTION_ACTIVE);
    if (fault && fallback != Cause::STALLED) made.cause = Cause::FAULTED;
    const auto deadline = nkr::time::now() + kHearing;
    while (!fault && fallback == Cause::LEFT_OPERATION && nkr::time::now() < deadline &&
           !tells_why(made.heard)) {
      nkr::time::sleep_for(kLook);
      made.heard = link.events->heard();
    }
    if (!read.ok()) {
      made.heard = link.events->heard();
      made.request = read.explanation().request;
      made.code = read.code();
      if (made.heard.heartbeat_lost) made.cause = DriveLink::cause_of_silence(made);
    }
  }
  if (made.heard.boot_up) {
    made.cause = Cause::RESTARTED;
  } else if (made.heard.nmt == NMTState::STOPPED) {
    made.cause = Cause::NMT_CHANGED;
  }
  return Result(std::move(made));
}

}  // namespace tav::host
