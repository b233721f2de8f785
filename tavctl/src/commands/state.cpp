#include <string>
#include <tav/host/words.hpp>
#include <vector>

#include "cli/Format.hpp"
#include "commands/AllCommands.hpp"
#include "commands/session/Drive.hpp"
#include "commands/session/Quantities.hpp"
#include "text/Values.hpp"

namespace tavctl {

namespace {

using nkr::tavcore::CANOpenDispatcher;

constexpr std::chrono::milliseconds kFirstHeartbeat{1200};

void print_peripherals(Session& session) {
  CANOpenDispatcher::PeripheralStatus status{};
  session.check(session.dispatcher()->getPeripheralStatus(status), "read the peripheral status");
  struct Row {
    const char* label;
    const char* key;
    bool on;
  };
  for (const Row& row :
       {Row{"Brake applied", "brake_applied", status.brake_applied},
        Row{"Low power applied", "low_power_applied", status.low_power_applied},
        Row{"High power applied", "high_power_applied", status.high_power_applied},
        Row{"Driver enabled", "driver_enabled", status.driver_enabled},
        Row{"Configuration allowed", "configuration_allowed", status.configuration_allowed},
        Row{"Communication enabled", "communication_enabled", status.communication_enabled}}) {
    session.output().fact(row.label, row.on ? "yes" : "no", row.key, row.on);
  }
}

ExitCode state(Context& context) {
  Session session(context);
  Output& output = session.output();
  const auto nmt = session.unit().wait_for_nmt_state(kFirstHeartbeat);
  output.fact("NMT state", nmt_name(nmt), "nmt_state", json_of(nmt));
  const Snapshot now = read_snapshot(session);
  Quantities quantities(session);
  const DriveUnits& units = quantities.units();
  const std::string name = status_word_text(now.status_word);
  output.fact("State", name, "state", name);
  const std::vector<std::string> bits = status_bits(now.status_word);
  output.fact("Status word", hex(now.status_word, 4) + " (" + joined(bits) + ')', "status_word",
              now.status_word);
  output.put("status_bits", bits);
  CANOpenDispatcher::OperationMode mode{};
  CANOpenDispatcher::OperationMode displayed{};
  session.check(session.dispatcher()->getOperationModes(mode, displayed), "read the mode of operation");
  const bool velocity = displayed == CANOpenDispatcher::OperationMode::VELOCITY;
  output.fact("Mode of operation",
              std::to_string(static_cast<int>(displayed)) + (velocity ? " (velocity)" : ""), "mode",
              static_cast<int>(displayed));
  output.fact("Velocity", quantity_text(now.velocity, units.velocity), "velocity", now.velocity);
  output.fact("Position", quantity_text(now.position, units.position), "position", now.position);
  const PowerFacts power = read_power(session);
  const std::string error = last_error_text(power.error_code);
  output.fact("Last error", error, "last_error", error);
  output.fact("Error register", error_register_text(now.error_register), "error_register",
              now.error_register);
  const bool sto = power.sto_demanded;
  output.fact("STO demanded", sto ? "yes: no torque" : "no", "sto_demanded", sto);
  print_peripherals(session);
  return now.state == CANOpenDispatcher::PDSState::FAULT ? ExitCode::FINDINGS : ExitCode::OK;
}

}  // namespace

void add_state(Command& program) {
  Command& command =
      program.add("state", "What the drive is doing: states, mode, velocity, errors, STO (1 when in FAULT)");
  command.on(state);
}

}  // namespace tavctl
