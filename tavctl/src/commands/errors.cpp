#include <memory>
#include <string>
#include <tav/host/words.hpp>
#include <vector>

#include "cli/Format.hpp"
#include "commands/AllCommands.hpp"
#include "commands/session/Drive.hpp"
#include "text/EmergencyJson.hpp"

namespace tavctl {

namespace {

ExitCode errors(Context& context, bool clear) {
  Session session(context);
  Output& output = session.output();
  auto& drive = *session.dispatcher();
  if (clear) session.check(drive.clearErrorList(), "clear the error list");
  unsigned char error_register = 0;
  session.check(drive.getErrorRegister(error_register), "read the error register");
  output.fact("Error register", hex(error_register, 2) + " (" + error_register_text(error_register) + ')',
              "error_register", error_register);
  const std::string last = last_error_text(read_power(session).error_code);
  output.fact("Last error", last, "last_error", last);
  const std::vector<nkr::canopen::Emergency> field = errors_of(session);
  output.fact("Errors in the list", std::to_string(field.size()), "count", field.size());
  Json list = Json::array();
  for (const nkr::canopen::Emergency& error : field) {
    const std::string vendor = vendor_text(error, session.description());
    const std::string number = std::to_string(list.size() + 1) + (list.empty() ? " (newest)" : "");
    output.line(padded("  " + number, 24) + error_code_text(error.code) +
                (vendor.empty() ? "" : ": " + vendor));
    list.push_back(
        {{"code", error.code}, {"text", nkr::canopen::emergency_text(error.code)}, {"vendor_text", vendor}});
  }
  output.put("errors", std::move(list));
  return error_register == 0 ? ExitCode::OK : ExitCode::FINDINGS;
}

}  // namespace

void add_errors(Command& program) {
  auto clear = std::make_shared<bool>(false);
  Command& command = program.add("errors", "The drive's errors with their meaning (1 when one is present)");
  command.flag("--clear", *clear, "Empty the error list first; a present fault needs fault-reset too");
  command.on([clear](Context& context) { return errors(context, *clear); });
}

}  // namespace tavctl
