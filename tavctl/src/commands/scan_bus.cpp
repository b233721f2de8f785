#include <chrono>
#include <cmath>
#include <memory>
#include <string>
#include <tav/host/node_scan.hpp>
#include <tav/host/printable.hpp>
#include <tav/host/words.hpp>

#include "cli/Format.hpp"
#include "cli/Progress.hpp"
#include "commands/AllCommands.hpp"
#include "commands/session/Session.hpp"
#include "text/Values.hpp"

namespace tavctl {

namespace {

struct ScanOptions {
  int first = 1;
  int last = 127;
  double listen = 1.0;
  int timeout_ms = 100;
};

std::string number_text(const std::optional<std::uint32_t>& number, int digits) {
  return number ? hex(*number, digits) : "-";
}

/** Whether node and description are of the same product. */
bool is_described(const Session& session, const FoundNode& found) {
  const auto is = [&](const char* key, const std::optional<std::uint32_t>& number) {
    const auto wanted = nkr::tools::number_of(session.description().getInfo("DeviceInfo", key).value_or(""));
    return number && wanted && static_cast<std::uint32_t>(*wanted) == *number;
  };
  return is("VendorNumber", found.vendor_id) && is("ProductNumber", found.product_code);
}

std::string state_text(const FoundNode& found) {
  if (found.status_word) return status_word_text(*found.status_word);
  if (found.nmt == nkr::canopencore::NMTState::STOPPED) return "serves no SDO while stopped";
  return found.answers ? "" : "answers no SDO";
}

std::string nmt_text(const FoundNode& found) {
  return found.nmt == nkr::canopencore::NMTState::UNKNOWN ? "no heartbeat" : nmt_name(found.nmt);
}

std::string line_of(const FoundNode& found) {
  std::string line =
      padded(std::to_string(found.node), 6) + padded(nmt_text(found), 17) +
      padded(number_text(found.device_type, 8), 12) + padded(number_text(found.vendor_id, 8), 12) +
      padded(number_text(found.product_code, 8), 12) + padded(number_text(found.revision_number, 8), 12) +
      padded(found.serial_number ? std::to_string(*found.serial_number) : "-", 12) +
      padded(found.device_name.empty() ? "-" : printable(found.device_name), 12) + state_text(found);
  line.erase(line.find_last_not_of(' ') + 1);
  return line;
}

Json json_of(const Session& session, const FoundNode& found) {
  const auto number = [](const auto& value) { return value ? Json(*value) : Json(); };
  return {{"node", found.node},
          {"nmt_state", tavctl::json_of(found.nmt)},
          {"answers", found.answers},
          {"device_type", number(found.device_type)},
          {"vendor_id", number(found.vendor_id)},
          {"product_code", number(found.product_code)},
          {"revision_number", number(found.revision_number)},
          {"serial_number", number(found.serial_number)},
          {"device_name", found.device_name},
          {"status_word", number(found.status_word)},
          {"state", found.status_word ? Json(status_word_text(*found.status_word)) : Json()},
          {"is_described", is_described(session, found)}};
}

ExitCode scan(Context& context, const ScanOptions& options) {
  if (options.first > options.last) {
    throw Failure(ExitCode::USAGE, "--from " + std::to_string(options.first) + " is behind --to " +
                                       std::to_string(options.last));
  }
  Session session(context);
  const auto listen = std::chrono::milliseconds(std::lround(options.listen * 1000.0));
  std::vector<FoundNode> nodes;
  auto progress =
      std::make_unique<Progress>(session.output(), "asking nodes " + std::to_string(options.first) + " to " +
                                                       std::to_string(options.last));
  session.check(
      scan_nodes(session.client(),
                 {options.first, options.last, listen, std::chrono::milliseconds(options.timeout_ms)}, nodes),
      "ask the nodes of " + session.bus().name());
  progress.reset();
  Output& output = session.output();
  Json rows = Json::array();
  output.line(padded("node", 6) + padded("NMT state", 17) + padded("device type", 12) + padded("vendor", 12) +
              padded("product", 12) + padded("revision", 12) + padded("serial", 12) + padded("name", 12) +
              "state");
  for (const FoundNode& found : nodes) {
    output.line(line_of(found) + (is_described(session, found) ? "" : "   (not of this description)"));
    rows.push_back(json_of(session, found));
  }
  output.put("nodes", std::move(rows));
  if (!nodes.empty()) return ExitCode::OK;
  output.note(
      "no node was heard and none answered: is it powered, the bit rate the bus's, the bus terminated?");
  return ExitCode::FINDINGS;
}

}  // namespace

void add_scan(Command& program) {
  auto options = std::make_shared<ScanOptions>();
  Command& command =
      program.add("scan", "The nodes on the bus with identity and state (1 when there is none)");
  command.option("--from", options->first, "First node id [1]").range(1, 127);
  command.option("--to", options->last, "Last node id [127]").range(1, 127);
  command.option("--listen", options->listen, "Seconds to listen before anything is asked [1]")
      .range(0.0, 60.0);
  command.option("--timeout", options->timeout_ms, "Milliseconds that a silent id may take to answer [100]")
      .range(1, 10000);
  command.footer(
      "Listens for heartbeats, then reads device type and identity of every id. Nothing is written to\n"
      "any node. A device that beats or answers slowly is found with a longer --listen or --timeout.");
  command.on([options](Context& context) { return scan(context, *options); });
}

}  // namespace tavctl
