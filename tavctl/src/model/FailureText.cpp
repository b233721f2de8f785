#include "model/FailureText.hpp"

#include <cstdint>

#include "model/DriveWords.hpp"
#include "model/Format.hpp"

namespace tavctl {

using nkr::canopen::RequestFailure;

namespace {

std::string time_text(const RequestFailure& request) {
  std::string text = std::to_string(request.elapsed.count()) + " ms";
  if (request.attempts > 1) text += "; it failed " + std::to_string(request.attempts) + " times in a row";
  return text;
}

std::string node_text(const RequestFailure& request) {
  if (request.last_heard) {
    return "last heard " + std::to_string(request.last_heard->count()) + " ms before, NMT state " +
           nmt_name(request.nmt_state);
  }
  return request.other_node == 0 ? "never heard, nor any other"
                                 : "never heard, but node " + std::to_string(request.other_node) + " is";
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

}  // namespace

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
               {"nmt_state", nmt_name(request.nmt_state)},
               {"bus", bus_json(request)},
               {"likely_cause", to_string(request.cause)}};
  json["last_heard_milliseconds"] = request.last_heard ? Json(request.last_heard->count()) : Json();
  if (request.other_node != 0) json["other_node_heard"] = request.other_node;
  return json;
}

}  // namespace tavctl
