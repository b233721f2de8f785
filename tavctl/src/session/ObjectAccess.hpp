#ifndef TAVCTL_SESSION_OBJECTACCESS_HPP
#define TAVCTL_SESSION_OBJECTACCESS_HPP

#include <string>

#include "model/Description.hpp"
#include "model/Value.hpp"
#include "session/Session.hpp"

namespace tavctl {

/** Reads an object through the dispatcher, as the type that the description gives it; an address that the
 * description does not hold is read as bytes. Failure names the object. */
[[nodiscard]] Value read_object(Session& session, const ObjectReference& reference);

/** Writes an object through the dispatcher. Refused before anything is sent: objects that are not writable,
 * that the description does not hold, and values outside type or limits. Nothing is read back. */
void write_object(Session& session, const ObjectReference& reference, const std::string& text);

}  // namespace tavctl

#endif
