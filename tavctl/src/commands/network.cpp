#include <unistd.h>

#include <memory>
#include <optional>
#include <string>
#include <tav/host/parameter_blocks.hpp>

#include "cli/Terminal.hpp"
#include "commands/AllCommands.hpp"
#include "commands/session/CarefulReset.hpp"
#include "commands/session/Drive.hpp"
#include "commands/session/Session.hpp"
#include "text/Record.hpp"
#include "text/explained.hpp"

namespace tavctl {

namespace {

using Dispatcher = nkr::tavcore::CANOpenDispatcher;
using NetworkParameters = Dispatcher::NetworkParameters;

constexpr auto kNetworkFields = [](auto visit, auto& record) {
  visit("node_id", record.node_id);
  visit("termination", record.termination);
};

NetworkParameters read_network(Session& session) {
  NetworkParameters parameters{};
  session.check(session.dispatcher()->getNetworkParameters(parameters), "read the network parameters");
  return parameters;
}

ExitCode show_network(Context& context) {
  Session session(context);
  NetworkParameters parameters = read_network(session);
  show_record(session.output(), parameters, kNetworkFields);
  return ExitCode::OK;
}

struct NetworkArguments {
  std::optional<int> node_id;
  std::optional<bool> termination;
  ResetOptions reset;
};

NetworkParameters wanted_network(const NetworkParameters& present, const NetworkArguments& arguments) {
  NetworkParameters wanted = present;
  if (arguments.node_id) wanted.node_id = static_cast<std::uint8_t>(*arguments.node_id);
  if (arguments.termination) wanted.termination = *arguments.termination;
  return wanted;
}

void verify_network(Session& session, NetworkParameters wanted) {
  NetworkParameters held = read_network(session);
  show_record(session.output(), held, kNetworkFields);
  if (!differing_fields(wanted, held, kNetworkFields).empty()) {
    throw Failure(ExitCode::REFUSED,
                  "after its reset the drive holds other network parameters than were written");
  }
}

/** The drive keeps its node id until its reset: until then it is spoken to at the old one. */
ExitCode set_network(Context& context, const NetworkArguments& arguments) {
  Session session(context);
  CarefulReset careful(session, arguments.reset);
  Dispatcher& dispatcher = *session.dispatcher();
  const std::uint8_t old_id = session.node();
  see_not_enabled(session, "reset the drive");
  const NetworkParameters wanted = wanted_network(read_network(session), arguments);
  session.check(dispatcher.setNetworkParameters(wanted), "write the network parameters");
  session.check(dispatcher._setNodeId(old_id), "address node " + std::to_string(old_id));
  NetworkParameters written = read_network(session);
  NetworkParameters expected = wanted;
  if (!differing_fields(expected, written, kNetworkFields).empty()) {
    throw Failure(ExitCode::REFUSED, "the drive did not take the network parameters over",
                  "Nothing was stored; a reset brings the old ones back.");
  }
  session.check(store_block(dispatcher, *block_named("communication")), "store the network parameters");
  careful.reset(wanted.node_id);
  verify_network(session, wanted);
  if (wanted.node_id != old_id) {
    session.output().note("The drive is node " + std::to_string(wanted.node_id) +
                          " now: set nodeId in the configuration, or use --node.");
  }
  return ExitCode::OK;
}

/** The node id that the drive has after its defaults were restored: the description's default, in
 * hexadecimal. */
std::uint8_t default_node_id(const Session& session) {
  const nkr::tools::ObjectEntry* const object = session.description().find("Node ID");
  const std::string text = object != nullptr ? object->getDefaultValue() : std::string{};
  const bool prefixed = text.compare(0, 2, "0x") == 0 || text.compare(0, 2, "0X") == 0;
  const std::optional<std::int64_t> number = typed_integer(prefixed ? text : "0x" + text);
  return number ? static_cast<std::uint8_t>(*number) : session.node();
}

/** What is restored cannot be had back: on a terminal the user is asked. */
void see_wanted(const std::string& name, bool yes) {
  const bool can_ask = is_terminal(STDIN_FILENO) && is_terminal(STDERR_FILENO);
  if (yes || !can_ask) return;
  const std::string question = "Restore the defaults of block " + name + " and reset the drive?";
  if (!confirmed(question)) throw Failure(ExitCode::REFUSED, "nothing was restored", "--yes asks nothing");
}

ExitCode restore(Context& context, const std::string& name, const ResetOptions& options, bool yes) {
  see_wanted(name, yes);
  Session session(context);
  CarefulReset careful(session, options);
  see_not_enabled(session, "reset the drive");
  const Block& block = *block_named(name);
  const std::uint8_t old_id = session.node();
  const std::uint8_t new_id = block.holds_node_id ? default_node_id(session) : old_id;
  careful.prepare();  // storing would take the restoring back
  session.check(restore_block(*session.dispatcher(), block), "restore the defaults of block " + name);
  session.check(session.dispatcher()->_setNodeId(old_id), "address node " + std::to_string(old_id));
  see(session.unit().reset(new_id));
  careful.tell_reverted();
  const NetworkParameters held = read_network(session);
  session.output().fact("Restored", name, "restored", name);
  session.output().fact("Node id", std::to_string(held.node_id), "node_id", held.node_id);
  if (block.holds_node_id && held.node_id != new_id) {
    throw Failure(ExitCode::REFUSED, "the drive answers at node " + std::to_string(new_id) +
                                         " but says its id is " + std::to_string(held.node_id));
  }
  return ExitCode::OK;
}

ExitCode store(Context& context, const std::string& name) {
  Session session(context);
  session.check(store_block(*session.dispatcher(), *block_named(name)), "store block " + name);
  session.output().fact("Stored", name, "stored", name);
  return ExitCode::OK;
}

std::shared_ptr<std::string> add_block_argument(Command& command) {
  auto block = std::make_shared<std::string>("all");
  command.option("BLOCK", *block, "Which parameters; all of them when none is named").one_of(block_names());
  return block;
}

}  // namespace

void add_network(Command& program) {
  Command& network = program.add("network", "Node id and bus termination of the drive");
  Command& show = network.add("show", "Read and show them");
  show.on(show_network);
  Command& set =
      network.add("set", "Write and store them, reset the drive, follow it to its new node id and verify");
  auto arguments = std::make_shared<NetworkArguments>();
  set.option("--node-id", arguments->node_id, "New node id").range(1, 127);
  set.option("--termination", arguments->termination, "Terminating resistor: true or false");
  add_reset_options(set, arguments->reset);
  set.needs_option();
  set.on([arguments](Context& context) { return set_network(context, *arguments); });
}

void add_store_and_restore(Command& program) {
  Command& store_command = program.add("store", "Store the drive's parameters in its non-volatile memory");
  auto stored = add_block_argument(store_command);
  store_command.on([stored](Context& context) { return store(context, *stored); });
  Command& restore_command = program.add(
      "restore", "Restore the drive's default parameters, reset it and follow it to its default node id");
  auto restored = add_block_argument(restore_command);
  auto reset = std::make_shared<ResetOptions>();
  add_reset_options(restore_command, *reset);
  auto yes = std::make_shared<bool>(false);
  restore_command.flag("-y,--yes", *yes, "Do not ask, on a terminal");
  restore_command.on(
      [restored, reset, yes](Context& context) { return restore(context, *restored, *reset, *yes); });
}

}  // namespace tavctl
