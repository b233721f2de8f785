#include <algorithm>
#include <chrono>
#include <optional>
#include <string>
#include <tav/host/HostMonitoring.hpp>
#include <tav/host/HostNode.hpp>
#include <tav/host/Presence.hpp>
#include <tav/host/words.hpp>
#include <utility>
#include <vector>

#include "cli/Format.hpp"
#include "commands/AllCommands.hpp"
#include "commands/session/BusInfo.hpp"
#include "commands/session/Drive.hpp"
#include "commands/session/Safety.hpp"

namespace tavctl {

namespace {

using nkr::tavcore::CANOpenDispatcher;
using NMTState = nkr::tavcore::INMTService::NMTState;

constexpr std::chrono::milliseconds kFirstHeartbeat{1500};
constexpr std::uint8_t kUsualHost = 127;

/** The list of what was looked at: each line with its cure when something is wrong. */
class Report {
 public:
  explicit Report(Output& output) : output_(output) {}

  void good(const std::string& what, const std::string& found) { add("ok", what, found, ""); }
  void warning(const std::string& what, const std::string& found, const std::string& cure) {
    add("warning", what, found, cure);
  }
  void problem(const std::string& what, const std::string& found, const std::string& cure) {
    ++problems_;
    add("problem", what, found, cure);
  }
  [[nodiscard]] ExitCode finish() {
    output_.put("checks", std::move(checks_));
    return problems_ == 0 ? ExitCode::OK : ExitCode::FINDINGS;
  }

 private:
  void add(const char* verdict, const std::string& what, const std::string& found, const std::string& cure) {
    output_.line(padded(verdict, 9) + padded(what, 20) + found);
    if (!cure.empty()) output_.line(padded("", 29) + "-> " + cure);
    checks_.push_back({{"verdict", verdict}, {"check", what}, {"found", found}, {"cure", cure}});
  }

  Output& output_;
  Json checks_ = Json::array();
  int problems_ = 0;
};

/** State and error counters of the CAN controller (ISO 11898-1). */
void check_controller(const std::string& interface, const BusInfo& bus, Report& report) {
  const std::string found = *bus.state + ", error counters tx " + std::to_string(bus.tx_errors.value_or(0)) +
                            ", rx " + std::to_string(bus.rx_errors.value_or(0));
  if (*bus.state == "ERROR-ACTIVE") {
    report.good("bus state", found);
  } else {
    report.problem(
        "bus state", found,
        "compare the bit rates, look at wiring, termination (120 ohm at both ends) and whether any "
        "other node is on");
  }
  if (bus.restart_ms != 0U) return;
  report.warning("after bus off", "the interface stays off",
                 "ip link set " + interface + " down; ip link set " + interface +
                     " type can restart-ms 100; ip link set " + interface + " up");
}

void check_interface(Session& session, Report& report) {
  report.good("interface", session.bus().name() + " is open");
  const BusInfo bus = bus_info_of(session.bus().name());
  report.good("bit rate",
              bus.bit_rate ? std::to_string(*bus.bit_rate) + " bit/s" : "none to be told for this bus");
  if (bus.state) check_controller(session.bus().name(), bus, report);
}

std::string list_of(const std::vector<std::uint8_t>& nodes) {
  std::vector<std::string> names;
  for (const std::uint8_t node : nodes) names.push_back(std::to_string(node));
  return names.empty() ? "none" : joined(names);
}

/** False when there is no use in asking on. */
bool check_node(Session& session, Report& report) {
  const NMTState nmt = session.unit().wait_for_nmt_state(kFirstHeartbeat);
  const std::string who = "node " + std::to_string(session.node());
  if (nmt == NMTState::STOPPED) {
    report.problem("node", who + " is stopped: it answers no SDO", "tavctl nmt pre-operational");
    return false;
  }
  const Presence presence = look_for_node(session.bus(), session.client(), session.node());
  if (presence.answered_twice || presence.beats_twice) {
    const char* const how = presence.answered_twice ? "answer" : "send heartbeats";
    report.problem("node", std::string("two nodes ") + how + " as " + who,
                   "give one of them another node id: both take every command");
  }
  if (nmt != NMTState::UNKNOWN) {
    report.good("node", who + " is heard, " + nmt_name(nmt));
    return true;
  }
  if (presence.serves_sdo) {
    report.warning("node", who + " answers but sends no heartbeat",
                   "tavctl write \"Producer Heartbeat Time\" 100");
    return true;
  }
  const std::uint8_t other = session.unit().heard().other_node;
  if (other != 0) {
    report.problem("node", who + " is silent, but node " + std::to_string(other) + " is heard",
                   "--node " + std::to_string(other) + ", if that is the drive; tavctl scan");
    return false;
  }
  report.problem("node", who + " is silent",
                 "is it powered, is the node id right (tavctl scan), is its bit rate the bus's, is the bus "
                 "terminated?");
  return false;
}

/** Who else is on the bus, and under which id this host would beat. */
void check_hosts(Session& session, Report& report) {
  const HostNode& host = *session.unit().host_node();
  static_cast<void>(host.listen());
  const std::vector<std::uint8_t> heard = host.heard();
  report.good("nodes heard", list_of(heard));
  const std::vector<std::uint8_t> free = host.free_nodes(session.node(), 1);
  const std::string own = free.empty() ? "none is free" : "it would be node " + std::to_string(free.front());
  if (std::find(heard.begin(), heard.end(), kUsualHost) == heard.end() || session.node() == kUsualHost) {
    report.good("this host", own);
    return;
  }
  report.warning("this host", own + ": node 127, the usual id of a host, is heard",
                 "another host is on the bus: two on one drive override each other");
}

void check_identity(Session& session, Report& report) {
  CANOpenDispatcher::IdentityParameters identity{};
  session.check(session.dispatcher()->getIdentityParameters(identity), "read the identity");
  const auto expect = [&](const char* key, std::uint32_t found, const std::string& what) {
    const auto text = session.description().getInfo("DeviceInfo", key);
    const auto number = text ? nkr::tools::number_of(*text) : std::nullopt;
    if (!number || static_cast<std::uint32_t>(*number) == found) {
      report.good(what, hex(found, 8));
    } else {
      report.problem(what, hex(found, 8) + ", but the description is for " + *text,
                     "use the description of this drive (CANOpenEDSFile in the configuration)");
    }
  };
  expect("VendorNumber", identity.vendor_id, "vendor id");
  expect("ProductNumber", identity.product_code, "product code");
  const auto revision = session.description().getInfo("DeviceInfo", "RevisionNumber");
  const auto number = revision ? nkr::tools::number_of(*revision) : std::nullopt;
  if (!number || static_cast<std::uint32_t>(*number) == identity.revision_number) {
    report.good("revision", hex(identity.revision_number, 8));
  } else {
    report.warning("revision", hex(identity.revision_number, 8) + ", the description is for " + *revision,
                   "objects may be missing on one side: compare the release notes");
  }
}

void check_heartbeats(Session& session, Report& report) {
  CANOpenDispatcher::CommunicationParameters communication{};
  session.check(session.dispatcher()->getCommunicationParameters(communication),
                "read the communication parameters");
  const unsigned time = communication.producer_heartbeat_time;
  if (time == 0) {
    report.warning("drive's heartbeat", "off", "tavctl write \"Producer Heartbeat Time\" 100");
  } else {
    report.good("drive's heartbeat", "every " + std::to_string(time) + " ms");
  }
  HostMonitoring monitoring;
  std::string action;
  session.check(read_host_monitoring(*session.dispatcher(), monitoring, action), action);
  const auto watched = std::find_if(monitoring.consumers.begin(), monitoring.consumers.end(),
                                    [](const HostMonitoring::Consumer& c) { return c.is_active(); });
  if (watched == monitoring.consumers.end()) {
    report.warning("host's heartbeat", "the drive watches none at this moment",
                   "commands that move the drive arrange it; your own program must do the same (0x1016)");
  } else {
    const std::vector<std::uint8_t> heard = session.unit().host_node()->heard();
    const bool beats = std::find(heard.begin(), heard.end(), watched->node) != heard.end();
    const std::string expected = "the drive expects node " + std::to_string(watched->node) + " within " +
                                 std::to_string(watched->time_ms) + " ms";
    if (beats) {
      report.warning("host's heartbeat", expected + ", which is heard: another host is at work on it",
                     "end that host, or leave the drive to it");
    } else {
      report.good("host's heartbeat", expected + ", which is not heard now");
    }
  }
  const std::string weakness = monitoring.weakness();
  if (weakness.empty()) {
    report.good("death of the host", "the drive stops");
  } else {
    report.warning("death of the host", "the drive would not stop: " + weakness,
                   "enter the host in 0x1016, keep 0x1029:1 at 0 or 2 and 0x6007 at 1 to 3");
  }
}

void check_state(Session& session, Report& report) {
  const Snapshot now = read_snapshot(session);
  const PowerFacts power = read_power(session);
  const std::string state = status_word_text(now.status_word);
  if (!now.state) {
    report.problem("state", "status word " + hex(now.status_word, 4) + " is no state of CiA 402",
                   "is this drive a CiA 402 drive, and the description its own?");
  } else if (*now.state == CANOpenDispatcher::PDSState::FAULT) {
    report.problem("state", state + ", last error " + last_error_text(power.error_code),
                   "remove the cause, then tavctl fault-reset");
  } else {
    report.good("state", state);
  }
  if (power.sto_demanded) {
    report.warning("safe torque off", "demanded: the drive cannot be enabled", "release the safety input");
  } else {
    report.good("safe torque off", "not demanded");
  }
  if (now.error_register != 0) {
    report.problem("errors", error_register_text(now.error_register), "tavctl errors");
  } else if (now.errors != 0) {
    report.good("errors", "none present, " + std::to_string(now.errors) + " in the list (tavctl errors)");
  } else {
    report.good("errors", "none");
  }
}

/** A signature that does not fit takes the torque without a word. */
void check_signatures(Session& session, Report& report) {
  const nkr::tavcore::SafetyVerification verification = verified_safety(session);
  std::vector<std::string> wrong;
  for (const auto& check : verification.checks) {
    if (!check.agrees()) wrong.push_back(check.name);
  }
  if (wrong.empty()) {
    report.good("safety signatures", "all " + std::to_string(verification.checks.size()) + " fit");
  } else {
    report.problem(
        "safety signatures", "do not fit: " + joined(wrong) + "; the drive gives no torque",
        "tavctl safety verify shows them; tavctl safety set writes parameters with their signature");
  }
}

ExitCode doctor(Context& context) {
  Report report(context.output);
  std::optional<Session> session;
  try {
    session.emplace(context);
  } catch (const Failure& failure) {
    if (failure.exit_code() != ExitCode::CONNECTION) throw;
    report.problem("interface", failure.what(), failure.hint());
    return report.finish();
  }
  check_interface(*session, report);
  if (check_node(*session, report)) {
    check_identity(*session, report);
    check_hosts(*session, report);
    check_heartbeats(*session, report);
    check_state(*session, report);
    check_signatures(*session, report);
  }
  return report.finish();
}

}  // namespace

void add_doctor(Command& program) {
  Command& command = program.add(
      "doctor",
      "Look at everything between this host and a turning motor; each problem with its cure (1 if any)");
  command.on(doctor);
}

}  // namespace tavctl
