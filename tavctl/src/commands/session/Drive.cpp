#include "commands/session/Drive.hpp"

#include <tav/host/configuration_objects.hpp>
#include <tav/host/nearest.hpp>
#include <tav/host/objects.hpp>
#include <tav/host/pattern.hpp>
#include <tav/host/text.hpp>

#include "text/explained.hpp"

namespace tavctl {

namespace {

std::vector<std::string> names_of(const nkr::tools::EDSParser& description) {
  std::vector<std::string> names;
  for (const auto& object : description.objects()) names.push_back(object->getName());
  return names;
}

std::string names_hint(const nkr::tools::EDSParser& description, const std::string& name) {
  const std::string nearest = did_you_mean(nearest_names(name, names_of(description)));
  return nearest.empty() ? "tavctl list shows all names" : nearest;
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

ObjectReference reference_named(const nkr::tools::EDSParser& description, const std::string& text) {
  const ObjectReference reference = parse_reference(text);
  if (reference.address || find_object(description, reference) != nullptr) return reference;
  const auto& objects = description.objects();
  for (const auto& object : objects) {
    if (is_same_name(object->getName(), text)) return {object->getName(), std::nullopt};
  }
  return reference;
}

std::vector<ObjectReference> references_named(const nkr::tools::EDSParser& description,
                                              const std::string& text) {
  const ObjectReference one = reference_named(description, text);
  const bool has_subindex = text.find(':') != text.npos;
  const auto* const object = find_object(description, one);
  if (object != nullptr && (has_subindex || !one.address)) return {one};
  const bool is_pattern = text.find_first_of("*?") != text.npos;
  std::vector<ObjectReference> found;
  for (const auto& member : description.objects()) {
    if (!is_readable(member->getAccessType())) continue;
    const std::string& name = member->getName();
    const auto id = member->getObjectID();
    const bool is_of_record =
        name.size() > text.size() && is_same_name(name.substr(0, text.size() + 1), text + ' ');
    const bool fits = one.address  ? id.index() == one.address->index() && !has_subindex
                      : is_pattern ? matches(name, text)
                                   : is_of_record;
    if (fits) found.push_back({name, id});
  }
  return found.empty() ? std::vector<ObjectReference>{one} : found;
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
