#include "text/explained.hpp"

#include <cstdint>
#include <nkr/can/Bus.hpp>
#include <nkr/canopen/RequestFailure.hpp>
#include <optional>
#include <tav/host/readable.hpp>
#include <tav/host/text.hpp>
#include <utility>
#include <vector>

#include "cli/Format.hpp"
#include "text/Values.hpp"

namespace tavctl {

using nkr::canopen::RequestFailure;

namespace {

std::string time_text(const RequestFailure& request) {
  std::string text = std::to_string(request.elapsed.count()) + " ms";
  if (request.attempts > 1) text += "; it failed " + std::to_string(request.attempts) + " times in a row";
  return text;
}

std::string node_text(const RequestFailure& request) {
  Heard heard;
  heard.last = request.last_heard;
  heard.nmt = request.nmt_state;
  heard.other_node = request.other_node;
  return heard_text(heard);
}

std::string bus_text(const RequestFailure& request) {
  const nkr::can::BusStatus& bus = request.bus;
  return request.bus_name + " is " + nkr::can::to_string(bus.state) + "; error counters: tx " +
         std::to_string(bus.tx_errors) + ", rx " + std::to_string(bus.rx_errors) + "; " +
         std::to_string(bus.unacknowledged) + " frames not acknowledged, " + std::to_string(bus.dropped) +
         " lost here, " + std::to_string(bus.restarts) + " restarts";
}

Json bus_json(const RequestFailure& request) {
  const nkr::can::BusStatus& bus = request.bus;
  return {{"name", request.bus_name},   {"state", nkr::can::to_string(bus.state)},
          {"tx_errors", bus.tx_errors}, {"rx_errors", bus.rx_errors},
          {"restarts", bus.restarts},   {"unacknowledged", bus.unacknowledged},
          {"dropped", bus.dropped}};
}

/** All that the client noted of a failed request but its object and code. */
std::vector<std::pair<std::string, std::string>> request_lines(const RequestFailure& request) {
  return {{"time spent", time_text(request)},
          {"node " + std::to_string(request.node), node_text(request)},
          {"bus", bus_text(request)},
          {"likely cause", to_string(request.cause)}};
}

Json request_json(const RequestFailure& request) {
  Json json = {{"object", request.object_name},
               {"index", request.address >> 16},
               {"subindex", request.address >> 8 & 0xFFU},
               {"write", request.was_write},
               {"code", static_cast<std::uint32_t>(request.code)},
               {"milliseconds", request.elapsed.count()},
               {"failed_in_a_row", request.attempts},
               {"node", request.node},
               {"nmt_state", json_of(request.nmt_state)},
               {"bus", bus_json(request)},
               {"likely_cause", to_string(request.cause)}};
  json["last_heard_milliseconds"] = request.last_heard ? Json(request.last_heard->count()) : Json();
  if (request.other_node != 0) json["other_node_heard"] = request.other_node;
  return json;
}

ExitCode exit_code_for(const Explanation& explanation) {
  switch (explanation.cause) {
    case Cause::CONFIGURATION:
    case Cause::DESCRIPTION:
    case Cause::NODE_ID:
    case Cause::FILE:
    case Cause::UNKNOWN_OBJECT:
      return ExitCode::CONFIGURATION;
    case Cause::BUS:
      return ExitCode::CONNECTION;
    case Cause::REQUEST:
      return exit_code_of(explanation.code);
    case Cause::NEVER_HEARD:
    case Cause::FELL_SILENT:
    case Cause::NO_BOOT_UP:
      return ExitCode::NO_ANSWER;
    case Cause::HOST_NODE_TAKEN:
    case Cause::NO_HOST_NODE:
    case Cause::NOT_KEPT:
    case Cause::OUT_OF_RANGE:
    case Cause::REFUSED:
    case Cause::BUS_LOAD:
    case Cause::RAMPS_DIFFER:
      return ExitCode::REFUSED;
    case Cause::INTERRUPTED:
      return ExitCode::INTERRUPTED;
    default:
      return ExitCode::WRONG_STATE;
  }
}

std::string description_hint(const std::string& path) {
  if (path.empty()) return "the configuration names none: CANOpenEDSFile";
  const std::string why = why_unreadable(path);
  return why.empty() ? "tavctl eds lint " + path : why;
}

/** What the tool can do about it. */
std::string own_hint(const Explanation& explanation) {
  switch (explanation.cause) {
    case Cause::DESCRIPTION:
      return description_hint(explanation.detail);
    case Cause::NODE_ID:
      return "1 to 127: nodeId in the configuration, or --node";
    case Cause::FILE:
      if (explanation.code == NKR_ERROR) return "\"tavctl eds lint FILE\" tells what is wrong.";
      return explanation.code == NKR_SDO_NO_DATA ? "\"tavctl config save\" writes such a file." : "";
    case Cause::UNKNOWN_OBJECT:
      return explanation.detail.empty() ? "tavctl list shows all names; they are compared exactly" : "";
    case Cause::REFUSED:
      return explanation.code == NKR_SDO_NOT_MAPPABLE && explanation.detail.empty()
                 ? "\"tavctl list\" shows which objects can."
                 : "";
    case Cause::HOST_NODE_TAKEN:
      return "--host-node with one of them, or without it: the first that is silent";
    case Cause::NO_BOOT_UP:
      return "\"tavctl doctor --node " + std::to_string(explanation.node) +
             "\" tells whether it is still there.";
    case Cause::NEVER_HEARD:
    case Cause::FELL_SILENT:
      return hint_for(NKR_SDO_TIMED_OUT);
    case Cause::IN_FAULT:
      return "look at the cause first (tavctl errors); then tavctl fault-reset, or --fault-reset here";
    case Cause::FAULTED:
      return "tavctl errors; when the cause has gone: tavctl fault-reset";
    case Cause::STILL_TURNING:
      return "tavctl quick-stop";
    default:
      return {};
  }
}

/** A result code says something of what the drive or the bus answered, not of what the tool found. */
bool code_says_more(const Explanation& explanation) {
  switch (explanation.cause) {
    case Cause::REQUEST:
    case Cause::BUS:
    case Cause::STALLED:
      return true;
    default:
      return explanation.request != nullptr;
  }
}

void add_line(std::string& text, const std::string& line, const char* separator) {
  if (!line.empty()) text += (text.empty() ? "" : separator) + line;
}

/** What helps against the code, and what the bus's system says. */
std::string request_hint(const Explanation& explanation, const std::string& log) {
  std::string hint = hint_for(explanation.code);
  if (!explanation.request && explanation.code == NKR_NOT_AVAILABLE) hint = log;
  add_line(hint, explanation.detail, "; ");
  return hint;
}

}  // namespace

Failure failure_of(const Explanation& explanation, const std::string& log) {
  std::string hint;
  if (explanation.cause == Cause::REQUEST) {
    hint = request_hint(explanation, log);
  } else {
    hint = details(explanation);
    add_line(hint, own_hint(explanation), "\n");
  }
  const auto code = code_says_more(explanation) ? std::optional<nkr_error_t>(explanation.code) : std::nullopt;
  Failure failure(exit_code_for(explanation), headline(explanation), std::move(hint), code);
  if (explanation.request) {
    failure.set_facts({request_lines(*explanation.request), request_json(*explanation.request)});
  }
  return failure;
}

void see(const Result& result) {
  if (!result.ok()) throw failure_of(result.explanation());
}

std::string warning_text(const Explanation& explanation) {
  const std::string indent(9, ' ');  // as wide as "WARNING: "
  std::string text = "WARNING: " + headline(explanation);
  std::string more = details(explanation);
  for (std::size_t at = 0; !more.empty() && at != more.npos; at = more.find('\n', at + 1)) {
    more.insert(at == 0 ? 0 : at + 1, indent);
  }
  add_line(text, more, "\n");
  return text;
}

}  // namespace tavctl
