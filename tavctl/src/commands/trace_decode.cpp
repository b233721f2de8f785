#include <fstream>
#include <iostream>
#include <memory>
#include <string>
#include <tav/host/LogReader.hpp>

#include "cli/files.hpp"
#include "commands/AllCommands.hpp"
#include "commands/FrameOptions.hpp"
#include "commands/session/Configuration.hpp"
#include "commands/session/Drive.hpp"

namespace tavctl {

namespace {

constexpr std::uint64_t kBadLinesTold = 20;

struct DecodeOptions {
  std::string file;
  std::string description;
  FrameChoice choice;
};

void tell_bad_line(Output& output, const LogReader& reader, std::uint64_t bad) {
  constexpr std::size_t kShown = 60;
  if (bad > kBadLinesTold) return;
  output.note("line " + std::to_string(reader.number()) +
              ": no classical CAN frame as candump writes it: \"" + reader.line().substr(0, kShown) +
              (reader.line().size() > kShown ? "...\"" : "\""));
}

ExitCode decode(Context& context, const DecodeOptions& options) {
  const auto config = load_configuration(context).values;
  const auto description =
      description_in(options.description.empty() ? config.canopen_eds_file_path : options.description);
  std::ifstream file;
  if (options.file != "-") open_to_read(file, options.file);
  Output& output = context.output;
  FrameDecoder decoder(*description,
                       static_cast<std::uint8_t>(context.options.node.value_or(config.node_id)));
  FrameView view(decoder, options.choice, output);
  LogReader reader(options.file == "-" ? std::cin : file);
  std::uint64_t bad = 0;
  while (reader.next()) {
    const std::optional<LoggedFrame> logged = reader.frame();
    if (!logged) tell_bad_line(output, reader, ++bad);
    if (logged && !view.show(logged->frame, logged->when)) break;
  }
  output.put("frames", view.shown());
  output.put("bad_lines", bad);
  if (bad == 0) return ExitCode::OK;
  output.note(std::to_string(bad) + " of " + std::to_string(reader.number()) + " lines skipped");
  return ExitCode::FINDINGS;
}

}  // namespace

void add_trace(Command& program) {
  Command& trace = program.add("trace", "Recorded frames");
  auto options = std::make_shared<DecodeOptions>();
  Command& command = trace.add(
      "decode",
      "A candump log (candump -l, or what candump shows) with the meaning of each frame; lines that are none "
      "are told with their number and skipped (1 then). No bus is needed.");
  command.option("FILE", options->file, "The log; \"-\": standard input").required();
  command.option("--eds", options->description, "Description instead of the configuration's");
  add_frame_options(command, options->choice);
  command.footer(
      "PDOs are read by the mapping that the log itself shows being read or written before, else by\n"
      "the description's. Times begin with the first frame.\n"
      "\n"
      "  tavctl trace decode candump-2026-11-21_150436.log\n"
      "  candump can0 | tavctl trace decode - --kind sdo,emcy");
  command.on([options](Context& context) { return decode(context, *options); });
}

}  // namespace tavctl
