#include "commands/session/CarefulReset.hpp"

#include <unistd.h>

#include <iostream>
#include <map>
#include <string>
#include <tav/host/Presence.hpp>
#include <tav/host/parameter_blocks.hpp>
#include <utility>

#include "commands/session/Drive.hpp"
#include "text/explained.hpp"

namespace tavctl {

namespace {

/** People can be asked, programs cannot. */
bool wants_it_written_back(const Output& output) {
  if (output.json() || ::isatty(STDIN_FILENO) == 0 || ::isatty(STDERR_FILENO) == 0) return false;
  std::cerr << "write the former values back? [y/N] " << std::flush;
  std::string answer;
  return std::getline(std::cin, answer) && (answer == "y" || answer == "Y" || answer == "yes");
}

}  // namespace

void add_reset_options(Command& command, ResetOptions& options) {
  Option& store_all = command.flag("--store-all", options.store_all, "Store all parameters before the reset");
  command.flag("--discard", options.discard, "What is not stored may be forgotten at the reset")
      .excludes(store_all);
  command.flag("--write-back", options.write_back, "Write back what the reset made revert");
}

CarefulReset::CarefulReset(Session& session, const ResetOptions& options)
    : session_(session), options_(options) {
  if (options.store_all || options.discard) return;
  throw Failure(
      ExitCode::USAGE, "the reset makes the drive forget what is not stored",
      "--store-all stores everything first; --discard lets it be forgotten (what reverted is listed)");
}

void CarefulReset::prepare() {
  if (options_.store_all) {
    session_.check(store_block(*session_.dispatcher(), *block_named("all")), "store all parameters");
  }
  if (!look_for_node(session_.bus(), session_.client(), session_.node()).serves_sdo) {
    session_.output().note("WARNING: the drive serves no SDO: what the reset makes revert cannot be told");
    return;
  }
  before_ = read_configuration(session_.unit()).values;
}

void CarefulReset::reset(std::uint8_t after, nkr::canopencore::NMTCommand command) {
  prepare();
  see(session_.unit().reset(after, command));
  tell_reverted();
}

/** As texts: what follows the node id has not reverted because the drive has another one. */
void CarefulReset::tell_reverted() {
  if (before_.empty()) return;
  Output& output = session_.output();
  std::vector<ConfiguredValue> reverted;
  Json rows = Json::array();
  std::map<const nkr::tools::ObjectEntry*, std::string> after;
  for (const ConfiguredValue& value : read_configuration(session_.unit()).values) {
    after[value.object] = value.text;
  }
  for (const ConfiguredValue& value : before_) {
    const auto found = after.find(value.object);
    if (found == after.end() || found->second == value.text) continue;
    output.line(object_text(*value.object) + " was " + value.text + ", is " + found->second);
    rows.push_back({{"object", value.object->getName()},
                    {"address", address_text(value.object->getObjectID())},
                    {"before", value.text},
                    {"after", found->second}});
    ConfiguredValue now{};
    see(value_of_text(*value.object, value.text, session_.node(), now));
    reverted.push_back(std::move(now));
  }
  output.put("reverted", std::move(rows));
  if (reverted.empty()) return;
  output.note(std::to_string(reverted.size()) + " settings reverted: they were not stored");
  if (options_.write_back || wants_it_written_back(output)) return write_back(reverted);
  output.note("--write-back writes them back, --store-all keeps them");
}

void CarefulReset::write_back(const std::vector<ConfiguredValue>& reverted) {
  Output& output = session_.output();
  for (const TransferFailure& failure : write_configuration(session_.unit(), reverted)) {
    output.note("not written: " + object_text(*failure.object) + ": " + result_text(failure.result));
  }
  const std::size_t missing = compare_configuration(session_.unit(), reverted).size();
  const std::size_t written = reverted.size() - missing;
  output.fact("Written back", std::to_string(written), "written_back", written);
  tell_not_stored(output);
  if (missing == 0) return;
  throw Failure(ExitCode::REFUSED, std::to_string(missing) + " settings could not be written back");
}

}  // namespace tavctl
