#ifndef TAVCTL_COMMANDS_SESSION_DRIVE_HPP
#define TAVCTL_COMMANDS_SESSION_DRIVE_HPP

#include <memory>
#include <nkr/canopen/Emergency.hpp>
#include <string>
#include <tav/host/Explanation.hpp>
#include <tav/host/State.hpp>
#include <tav/host/Value.hpp>
#include <tav/host/description.hpp>
#include <vector>

#include "commands/session/Session.hpp"

namespace tavctl {

// What commands ask the drive; Failure when it does not answer.

[[nodiscard]] Snapshot read_snapshot(Session& session);
[[nodiscard]] PowerFacts read_power(Session& session);
[[nodiscard]] std::vector<nkr::canopen::Emergency> errors_of(Session& session);
/** The value of an object that the description holds, or that is named by its address. */
[[nodiscard]] Value value_of_object(Session& session, const ObjectReference& reference);

/** Failure(WRONG_STATE) when the drive is enabled: what a motor that may turn does is not changed under it.
 */
void see_not_enabled(Session& session, const std::string& what);

/** Failure(WRONG_STATE), with the transition that did not come and why. */
[[noreturn]] void stalled(Session& session, const std::string& what);

/** The object that the user called so; null for an address that the description does not hold.
 * Failure(CONFIGURATION), with similar names, for an unknown name. */
[[nodiscard]] const nkr::tools::ObjectEntry* object_named(const nkr::tools::EDSParser& description,
                                                          const ObjectReference& reference);

/** What the user called so: an address, a name, or one that differs in case and signs between words alone. */
[[nodiscard]] ObjectReference reference_named(const nkr::tools::EDSParser& description,
                                              const std::string& text);
/** All that the user called so: one object, the readable members of a record ("0x1018", "Identity Object"),
 * or the readable objects that fit a pattern ("Identity*"). */
[[nodiscard]] std::vector<ObjectReference> references_named(const nkr::tools::EDSParser& description,
                                                            const std::string& text);

/** Failure(CONFIGURATION) when the file is no description. */
[[nodiscard]] std::unique_ptr<nkr::tools::EDSParser> description_in(const std::string& path);

/** Says that what was set is not stored. */
void tell_not_stored(Output& output);

}  // namespace tavctl

#endif
