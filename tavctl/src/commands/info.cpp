#include <string>
#include <tav/host/printable.hpp>

#include "cli/Format.hpp"
#include "commands/AllCommands.hpp"
#include "commands/session/Session.hpp"

namespace tavctl {

namespace {

using nkr::tavcore::CANOpenDispatcher;

void print_identity(Session& session) {
  CANOpenDispatcher::IdentityParameters identity{};
  session.check(session.dispatcher()->getIdentityParameters(identity), "read the identity");
  Output& output = session.output();
  output.fact("Vendor id", hex(identity.vendor_id, 8), "vendor_id", identity.vendor_id);
  output.fact("Product code", hex(identity.product_code, 8), "product_code", identity.product_code);
  output.fact("Revision number", hex(identity.revision_number, 8), "revision_number",
              identity.revision_number);
  output.fact("Serial number", std::to_string(identity.serial_number), "serial_number",
              identity.serial_number);
}

void print_device(Session& session) {
  CANOpenDispatcher::DeviceParameters device;
  session.check(session.dispatcher()->getDeviceParameters(device), "read the device strings");
  Output& output = session.output();
  const auto tell = [&output](const char* label, const char* key, const std::string& text) {
    output.fact(label, printable(text), key, text);
  };
  tell("Device name", "device_name", device.device_name);
  tell("Hardware version", "hardware_version", device.hardware_version);
  tell("Software version", "software_version", device.software_version);
}

ExitCode info(Context& context) {
  Session session(context);
  Output& output = session.output();
  output.fact("Bus", session.bus().name(), "bus", session.bus().name());
  output.fact("Node id", std::to_string(session.node()), "node", session.node());
  output.fact("Configuration", session.config()->getPath(), "configuration", session.config()->getPath());
  const std::string description = session.config()->getCANOpenEDSFilePath();
  output.fact("Description", description, "description", description);
  print_identity(session);
  print_device(session);
  return ExitCode::OK;
}

}  // namespace

void add_info(Command& program) {
  Command& command = program.add("info", "Who is there: identity, names and versions of the drive");
  command.on(info);
}

}  // namespace tavctl
