#include "commands/session/Drive.hpp"

#include <tav/host/objects.hpp>
#include <tav/host/text.hpp>

#include "text/explained.hpp"

namespace tavctl {

namespace {

/** "did you mean ...?" */
std::string names_hint(const nkr::tools::EDSParser& description, const std::string& name) {
  constexpr std::size_t kNamed = 5;
  const std::vector<std::string> similar = similar_names(description, name, kNamed + 1);
  if (similar.empty()) return "tavctl list shows all names; they are compared exactly";
  std::string hint;
  for (std::size_t i = 0; i < similar.size() && i < kNamed; ++i) {
    hint += (i == 0 ? "did you mean \"" : ", \"") + similar[i] + '"';
  }
  return hint + (similar.size() > kNamed ? ", ..." : "?");
}

}  // namespace

Snapshot read_snapshot(Session& session) {
  Snapshot now;
  see(session.unit().read_state(now));
  return now;
}

PowerFacts read_power(Session& session) {
  PowerFacts facts;
  see(session.unit().read_power(facts));
  return facts;
}

std::vector<nkr::canopen::Emergency> errors_of(Session& session) {
  std::vector<nkr::canopen::Emergency> errors;
  see(session.unit().read_errors(errors));
  return errors;
}

Value value_of_object(Session& session, const ObjectReference& reference) {
  static_cast<void>(object_named(session.description(), reference));
  Value value;
  see(read_object(session.unit(), reference, value));
  return value;
}

void see_not_enabled(Session& session, const std::string& what) {
  using State = nkr::tavcore::IPDSService::PDSState;
  State state{};
  session.check(session.dispatcher()->getPDSState(state), "read the state");
  if (state != State::OPERATION_ENABLED) return;
  throw Failure(ExitCode::WRONG_STATE,
                "will not " + what + " while the drive is enabled (" + session.where() + ")",
                "tavctl disable");
}

void stalled(Session& session, const std::string& what) {
  throw Failure(ExitCode::WRONG_STATE, what + " (" + session.where() + ")", stall_text(read_power(session)));
}

const nkr::tools::ObjectEntry* object_named(const nkr::tools::EDSParser& description,
                                            const ObjectReference& reference) {
  const nkr::tools::ObjectEntry* const object = find_object(description, reference);
  if (object != nullptr || reference.address) return object;
  throw Failure(ExitCode::CONFIGURATION, "the description knows no object \"" + reference.text + '"',
                names_hint(description, reference.text));
}

std::unique_ptr<nkr::tools::EDSParser> description_in(const std::string& path) {
  Result result;
  auto description = load_description(path, result);
  see(result);
  return description;
}

void tell_not_stored(Output& output) {
  output.note("not stored: the drive forgets it at its next reset; tavctl store keeps it");
}

}  // namespace tavctl
