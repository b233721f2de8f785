#include <memory>
#include <nkr/canopen/Emergency.hpp>
#include <string>

#include "commands/AllCommands.hpp"
#include "model/DriveWords.hpp"
#include "model/Format.hpp"
#include "session/DriveState.hpp"

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
  const std::string last = last_error_text(session);
  output.fact("Last error", last, "last_error", last);
  int count = 0;
  session.check(drive.getErrorCount(count), "read the number of errors");
  output.fact("Errors in the list", std::to_string(count), "count", count);
  Json list = Json::array();
  for (int i = 1; i <= count; ++i) {
    unsigned int raw = 0;
    session.check(drive.getError(i, raw), "read error " + std::to_string(i));
    const auto code = static_cast<std::uint16_t>(raw);
    output.line(padded("  " + std::to_string(i) + (i == 1 ? " (newest)" : ""), 24) + hex(code, 4) + ' ' +
                nkr::canopen::emergency_text(code));
    list.push_back({{"code", code}, {"text", nkr::canopen::emergency_text(code)}});
  }
  output.put("errors", std::move(list));
  return error_register == 0 ? ExitCode::OK : ExitCode::FINDINGS;
}

}  // namespace

void add_errors(Commands& commands) {
  auto clear = std::make_shared<bool>(false);
  CLI::App& command = commands.add("errors", "The drive's errors with their meaning (1 when one is present)");
  command.add_flag("--clear", *clear, "Empty the error list first; a present fault needs fault-reset too");
  commands.on(command, [clear](Context& context) { return errors(context, *clear); });
}

}  // namespace tavctl
