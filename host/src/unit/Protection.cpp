#include "Protection.hpp"

#include <algorithm>
#include <tav/host/text.hpp>
#include <utility>

namespace tav::host {

using nkr::tavcore::CANOpenDispatcher;
using AbortConnection = CANOpenDispatcher::AbortConnectionOptionCode;
using ErrorBehavior = CANOpenDispatcher::ErrorBehavior;

namespace {

/** Five heartbeats: one or two lost ones stop nothing. */
constexpr std::uint16_t kLongestSilenceMs = 500;
static_assert(HostNode::kListening.count() > kLongestSilenceMs,
              "who masks this host's death is heard before");

}  // namespace

Protection::~Protection() {
  end();
}

Result Protection::begin(std::function<void()> lost) {
  if (user_ != 0) return {};
  Result begun = link_.host->begin(link_.node, link_.settings.interrupt, std::move(lost), user_);
  if (begun.cause() == Cause::REQUEST) {  // the bus takes no heartbeat
    Explanation warning = begun.explanation();
    warning.cause = Cause::UNPROTECTED;
    warning.detail = headline(begun.explanation());
    link_.warn(warning);
    return {};
  }
  if (!begun.ok()) return begun;
  const Result arranged = arrange();
  if (arranged.code() == NKR_INTERRUPTED) return arranged;
  HostMonitoring after;
  const Result read_back = arranged.ok() ? read(after) : arranged;
  Explanation warning = link_.explanation(Cause::UNPROTECTED, NKR_OK, "let the drive watch this host");
  if (!read_back.ok()) {
    warning.detail = headline(read_back.explanation());
  } else {
    warning.detail =
        after.watches(link_.host->id()) ? after.weakness() : "it watches no host (no free entry in 0x1016)";
  }
  active_ = warning.detail.empty();
  if (!active_) link_.warn(warning);
  return {};
}

Result Protection::arrange() {
  Result result = read(before_);
  if (result.ok()) result = see_reaction();
  if (result.ok()) result = watch_host();
  return result;
}

Result Protection::read(HostMonitoring& monitoring) {
  std::string action;
  const nkr_error_t result = read_host_monitoring(*link_.dispatcher, monitoring, action);
  return link_.check(result, action);
}

nkr_error_t Protection::write_entry(std::uint8_t subindex, std::uint8_t node, std::uint16_t time_ms) {
  const std::uint32_t raw = static_cast<std::uint32_t>(node) << 16 | time_ms;
  return link_.dispatcher->set_value_by_address(consumer_address(subindex), raw);
}

Result Protection::watch_host() {
  const std::uint8_t host = link_.host->id();
  const auto end = before_.consumers.end();
  auto entry = std::find_if(before_.consumers.begin(), end, [host](const auto& c) { return c.node == host; });
  if (entry == end) {
    entry = std::find_if(before_.consumers.begin(), end, [](const auto& c) { return !c.is_active(); });
  }
  if (entry == end) return {};
  Result result =
      link_.check(write_entry(entry->subindex, host, kLongestSilenceMs), "let the drive watch this host");
  if (result.ok()) replaced_ = *entry;
  return result;
}

Result Protection::see_reaction() {
  CANOpenDispatcher& drive = *link_.dispatcher;
  if (before_.behavior == ErrorBehavior::NO_CHANGE) {
    Result result = link_.check(
        drive.setErrorBehavior(CANOpenDispatcher::ErrorType::COMMUNICATION, ErrorBehavior::PRE_OPERATIONAL),
        "set the error behaviour");
    if (!result.ok()) return result;
  }
  if (before_.abort_connection != AbortConnection::NO_ACTION) return {};
  return link_.check(drive.setAbortConnectionOptionCode(AbortConnection::QUICK_STOP),
                     "set the abort connection option code");
}

/** An entry that watched this host's id before is put back when nobody beats any more: the drive begins to
 * watch with the next heartbeat, and would report this host lost. */
void Protection::end() {
  active_ = false;
  bool given_back = true;
  if (replaced_) {
    const bool was_active = replaced_->is_active();
    given_back = write_entry(replaced_->subindex, was_active ? std::uint8_t{0} : replaced_->node,
                             was_active ? std::uint16_t{0} : replaced_->time_ms) == NKR_OK;
  }
  if (user_ != 0) link_.host->end(std::exchange(user_, 0));
  if (replaced_ && replaced_->is_active() && given_back) {
    given_back = write_entry(replaced_->subindex, replaced_->node, replaced_->time_ms) == NKR_OK;
  }
  if (!given_back) {
    link_.warn(link_.explanation(Cause::STILL_WATCHED, NKR_OK, "let the drive watch this host no more"));
  }
  replaced_.reset();
}

void Protection::let_the_drive_notice() {
  active_ = false;
  replaced_.reset();
  if (user_ != 0) link_.host->end(std::exchange(user_, 0));
}

}  // namespace tav::host
