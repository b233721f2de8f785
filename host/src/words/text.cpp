#include <nkr/canopen/RequestFailure.hpp>
#include <tav/host/text.hpp>
#include <tav/host/words.hpp>

namespace tav::host {

using State = nkr::tavcore::IPDSService::PDSState;
using nkr::canopencore::NMTState;

namespace {

constexpr int kWordDigits = 4;
constexpr std::uint16_t kHalt = 0x0100;
constexpr std::uint16_t kRamp = 0x0070;
constexpr std::uint16_t kHeartbeatError = 0x8130;

/** " (node 10 on can0)". */
std::string where(const Explanation& explanation) {
  return " (node " + std::to_string(explanation.node) + " on " + explanation.bus + ')';
}

std::string number(const std::optional<int>& value) {
  return value ? std::to_string(*value) : "?";
}

std::string list(const std::vector<std::uint8_t>& nodes) {
  std::vector<std::string> names;
  for (const std::uint8_t node : nodes) names.push_back(std::to_string(node));
  return joined(names);
}

/** The transition that leads on from a state towards OPERATION_ENABLED (CiA 402-2, 8.1). */
std::string next_transition(State state) {
  switch (state) {
    case State::NOT_READY_TO_SWITCH_ON:
      return "transition 1 (the drive's own start-up) did not come";
    case State::SWITCH_ON_DISABLED:
      return "transition 2 (shutdown: to READY_TO_SWITCH_ON) did not come";
    case State::READY_TO_SWITCH_ON:
      return "transition 3 (switch on: to SWITCHED_ON) did not come";
    case State::SWITCHED_ON:
      return "transition 4 (enable operation) did not come";
    case State::OPERATION_ENABLED:
      return "operation is enabled";
    case State::QUICK_STOP_ACTIVE:
      return "a quick stop is active: disable the drive, then enable it again";
    case State::FAULT_REACTION_ACTIVE:
      return "transition 14 (end of the fault reaction) did not come";
    case State::FAULT:
      return "transition 15 (fault reset) did not come: the cause of the fault is still there";
  }
  return "unknown state";
}

std::string sto_text(const PowerFacts& facts) {
  if (facts.sto_demanded) return "STO is demanded: no torque until it is released";
  if (!facts.sto_acts) return "STO is not demanded";
  return "STO acts without its command: the drive's STO input, a safety signature that differs, or a safety "
         "function that was violated and not acknowledged";
}

std::string power_text(const PowerFacts& facts, bool with_transition) {
  std::string text = "state: " + status_word_text(facts.status_word);
  if (facts.state && with_transition) text += "; " + next_transition(*facts.state);
  text += "\nstatus word: " + hex(facts.status_word, kWordDigits) + " (" +
          joined(status_bits(facts.status_word)) + ')';
  text += "\nlast error: " + last_error_text(facts.error_code);
  return text + '\n' + sto_text(facts);
}

std::string error_of(const Explanation& explanation) {
  return explanation.power ? ": " + last_error_text(explanation.power->error_code) : "";
}

std::string control_word_change(const Explanation& explanation) {
  const auto before = static_cast<std::uint16_t>(explanation.expected.value_or(0));
  const auto now = static_cast<std::uint16_t>(explanation.found.value_or(0));
  std::string what = control_word_text(now);
  if ((now & kHalt) != 0 && (before & kHalt) == 0) {
    what = "set the halt bit";
  } else if ((before & kRamp) == kRamp && (now & kRamp) != kRamp) {
    what = "took the ramp bits away";
  } else {
    what = "commanded " + what;
  }
  return "somebody else " + what + " (control word " + hex(now, kWordDigits) + " instead of " +
         hex(before, kWordDigits) + ')';
}

std::string request_headline(const Explanation& explanation) {
  std::string text = "cannot " + explanation.action + where(explanation);
  const auto& request = explanation.request;
  if (request && explanation.action.find(request->object_name) == std::string::npos) {
    text += ": " + request->object_name;
  }
  return text;
}

std::string not_kept(const Explanation& explanation) {
  if (!explanation.expected) return "the drive did not keep " + explanation.action;
  return "the drive kept " + explanation.action + ' ' + number(explanation.found) + " instead of " +
         number(explanation.expected);
}

/** What was heard while the operation went on. */
std::string events_text(const Heard& heard) {
  std::vector<std::string> codes;
  for (const std::uint16_t code : heard.emergencies) codes.push_back(last_error_text(code));
  return codes.empty() ? "" : "emergencies heard: " + joined(codes);
}

void add_line(std::string& text, const std::string& line) {
  if (!line.empty()) text += (text.empty() ? "" : "\n") + line;
}

std::string fault_details(const Explanation& explanation) {
  std::string text = events_text(explanation.heard);
  if (!explanation.power) return text;
  if (explanation.power->error_code == kHeartbeatError) {
    add_line(text, "it missed this host's heartbeat: the host was held up, or its frames were lost");
  }
  add_line(text, power_text(*explanation.power));
  return text;
}

}  // namespace

std::string power_text(const PowerFacts& facts) {
  return power_text(facts, false);
}

std::string stall_text(const PowerFacts& facts) {
  return power_text(facts, true);
}

std::string heard_text(const Heard& heard) {
  if (!heard.last) {
    return heard.other_node == 0 ? "never heard, nor any other"
                                 : "never heard, but node " + std::to_string(heard.other_node) + " is";
  }
  return "last heard " + std::to_string(heard.last->count()) + " ms before" +
         (heard.nmt != NMTState::UNKNOWN ? ", NMT state " + nmt_name(heard.nmt)
          : heard.heartbeat_lost         ? "; its heartbeat stays away"
                                         : "; no heartbeat tells its NMT state");
}

std::string headline(const Explanation& explanation) {
  const std::string at = where(explanation);
  switch (explanation.cause) {
    case Cause::NONE:
      return "done";
    case Cause::CONFIGURATION:
    case Cause::DESCRIPTION:
      return "cannot " + explanation.action + ' ' + explanation.detail;
    case Cause::FILE:
    case Cause::UNKNOWN_OBJECT:
    case Cause::REFUSED:
      return explanation.action;
    case Cause::BUS:
      return "cannot " + explanation.action + ' ' + explanation.bus;
    case Cause::NODE_ID:
      return "node id " + number(explanation.found) + " is no node id";
    case Cause::HOST_NODE_TAKEN:
      return "node id " + std::to_string(explanation.host_node) + " is in use: it cannot be this host's";
    case Cause::NO_HOST_NODE:
      return "no node id is free for this host";
    case Cause::UNPROTECTED:
      return "the drive would NOT stop if this program died: " + explanation.detail;
    case Cause::PROTECTION_LOST:
      return "somebody else sends heartbeats as node " + std::to_string(explanation.host_node) +
             ", this host's id: the drive would not stop if this program died" + at;
    case Cause::STILL_WATCHED:
      return "the drive still watches this host and will report it lost";
    case Cause::NEVER_HEARD:
      return "no sign of life of the drive" + at;
    case Cause::TWO_NODES:
      return std::string(explanation.heard.two_nodes ? "two nodes send heartbeats" : "two nodes answer") +
             " as node " + std::to_string(explanation.node) + " on " + explanation.bus;
    case Cause::REQUEST:
      return request_headline(explanation);
    case Cause::NOT_KEPT:
      return not_kept(explanation);
    case Cause::OUT_OF_RANGE:
      return number(explanation.expected) + " is no target velocity: -32768 to 32767";
    case Cause::IN_FAULT:
      return "the drive is in FAULT" + error_of(explanation) + at;
    case Cause::STALLED:
      return "the drive was not enabled" + at;
    case Cause::NOT_ENABLED:
      return "the drive is not enabled by this program" + at;
    case Cause::LEFT_OPERATION:
      return "the drive left OPERATION_ENABLED" + at;
    case Cause::FAULTED:
      return "the drive went to FAULT" + error_of(explanation) + at;
    case Cause::RESTARTED:
      return "the drive restarted" + at;
    case Cause::NMT_CHANGED:
      return "another master stopped the node" + at;
    case Cause::FELL_SILENT:
      return "the drive fell silent" + at;
    case Cause::NO_BOOT_UP:
      return "the drive was reset, but no boot-up message came from node " + number(explanation.expected);
    case Cause::STILL_TURNING:
      return "the drive still turns at " + number(explanation.found) + at;
    case Cause::MAY_STILL_MOVE:
      return "the drive may still move: " + explanation.detail;
    case Cause::LIMITED:
      return "the drive's limits keep it from velocity " + number(explanation.expected) + at;
    case Cause::FOREIGN_TARGET:
      return "somebody else set the target velocity to " + number(explanation.found) + " instead of " +
             number(explanation.expected) + at;
    case Cause::FOREIGN_CONTROL_WORD:
      return control_word_change(explanation) + at;
    case Cause::TAKEN_OVER:
      return "the drive was enabled already, with target velocity " + number(explanation.found) + at;
    case Cause::BUS_LOAD:
      return "the group does not fit onto " + explanation.bus;
    case Cause::RAMPS_DIFFER:
      return "the units do not follow alike";
    case Cause::OTHER_HOST:
      return "somebody else commands the units on " + explanation.bus;
    case Cause::GROUP_STOPPED:
      return "the group stopped: " + explanation.detail;
    case Cause::INTERRUPTED:
      return "interrupted";
  }
  return "unknown cause";
}

std::string details(const Explanation& explanation) {
  std::string text;
  switch (explanation.cause) {
    case Cause::HOST_NODE_TAKEN:
      return "free are, for example, " + list(explanation.free_nodes);
    case Cause::UNPROTECTED:
      return "keep an emergency stop within reach";
    case Cause::PROTECTION_LOST:
      return "the drive was stopped; give this host an id of its own";
    case Cause::TAKEN_OVER:
      return explanation.heard.other_node == 0
                 ? ""
                 : "it watches node " + std::to_string(explanation.heard.other_node) +
                       ", which is alive: another host is at work on it";
    case Cause::TWO_NODES:
      return "give one of them another node id: both take every command";
    case Cause::LIMITED:
      add_line(text, "velocity demand: " + number(explanation.found));
      if (!explanation.detail.empty()) add_line(text, "limits (0x6046): " + explanation.detail);
      return text;
    case Cause::RESTARTED:
      add_line(text, "its boot-up was heard: all that was not stored in it is as after power-on");
      add_line(text, events_text(explanation.heard));
      return text;
    case Cause::NMT_CHANGED:
      return "NMT state " + nmt_name(explanation.heard.nmt) +
             ": it serves no SDO, and its motor has no torque";
    case Cause::NEVER_HEARD:
      return heard_text(explanation.heard);
    case Cause::FELL_SILENT:
      return heard_text(explanation.heard) + ": it lost power or its cable, or crashed";
    case Cause::FAULTED:
    case Cause::IN_FAULT:
      return fault_details(explanation);
    case Cause::STALLED:
      if (explanation.power) add_line(text, stall_text(*explanation.power));
      add_line(text, events_text(explanation.heard));
      return text;
    case Cause::LEFT_OPERATION:
    case Cause::FOREIGN_CONTROL_WORD:
      return explanation.power ? power_text(*explanation.power) : "";
    case Cause::REQUEST:
      if (explanation.request) add_line(text, to_string(explanation.request->cause));
      add_line(text, explanation.detail);
      return text;
    case Cause::BUS:
    case Cause::FILE:
    case Cause::UNKNOWN_OBJECT:
    case Cause::REFUSED:
    case Cause::BUS_LOAD:
    case Cause::RAMPS_DIFFER:
    case Cause::OTHER_HOST:
      return explanation.detail;
    default:
      return text;
  }
}

std::string text(const Result& result) {
  if (result.ok()) return "done";
  std::string all = headline(result.explanation());
  all += "\ncode: " + result_text(result.code());
  add_line(all, details(result.explanation()));
  return all;
}

}  // namespace tav::host
