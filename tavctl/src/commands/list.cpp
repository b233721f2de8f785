#include <memory>
#include <string>

#include "commands/AllCommands.hpp"
#include "commands/session/Configuration.hpp"
#include "commands/session/Drive.hpp"
#include "text/ObjectTable.hpp"

namespace tavctl {

namespace {

struct ListOptions {
  std::string pattern;
  std::string file;
};

ExitCode list(Context& context, const ListOptions& options) {
  const std::string path =
      options.file.empty() ? load_configuration(context).values.canopen_eds_file_path : options.file;
  const auto description = description_in(path);
  const std::size_t count = print_objects(context.output, *description, options.pattern);
  if (count == 0) context.output.note("no object fits \"" + options.pattern + "\" in " + path);
  return count == 0 ? ExitCode::FINDINGS : ExitCode::OK;
}

}  // namespace

void add_list(Command& program) {
  auto options = std::make_shared<ListOptions>();
  Command& command = program.add("list", "List the drive's objects, from its description; no bus needed");
  command.option("PATTERN", options->pattern,
                 "Part of a name or address; * and ? as wildcards for the whole");
  command.option("--eds", options->file, "Description to read instead of the configuration's");
  command.on([options](Context& context) { return list(context, *options); });
}

}  // namespace tavctl
