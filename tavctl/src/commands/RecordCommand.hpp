#ifndef TAVCTL_COMMANDS_RECORDCOMMAND_HPP
#define TAVCTL_COMMANDS_RECORDCOMMAND_HPP

#include <memory>
#include <string>
#include <tav/host/words.hpp>
#include <utility>
#include <vector>

#include "cli/Command.hpp"
#include "commands/session/Drive.hpp"
#include "text/Record.hpp"

namespace tavctl {

/** Shows a record of the drive. `read` is called as read(session, record). */
template <class Record, class Fields, class Read>
ExitCode show_drive_record(Context& context, const std::string& what, Fields fields, Read read) {
  Session session(context);
  Record record{};
  session.check(read(session, record), "read " + what);
  show_record(session.output(), record, fields);
  return ExitCode::OK;
}

/**
 * Changes fields of a record of the drive: reads it, sets what the assignments say, writes it, reads it back
 * and compares. Failure(REFUSED) when the drive then holds something else.
 */
template <class Record, class Fields, class Read, class Write>
ExitCode set_drive_record(Session& session, const std::string& what,
                          const std::vector<std::string>& assignments, Fields fields, Read read,
                          Write write) {
  Record wanted{};
  session.check(read(session, wanted), "read " + what);
  assign_fields(assignments, wanted, fields);
  session.check(write(session, wanted), "write " + what);
  Record held{};
  session.check(read(session, held), "read " + what + " back");
  show_record(session.output(), held, fields);
  tell_not_stored(session.output());
  const std::vector<std::string> different = differing_fields(wanted, held, fields);
  if (!different.empty()) {
    throw Failure(ExitCode::REFUSED, "the drive holds other values than were written: " + joined(different),
                  "The drive may limit them, or take them over at its next reset.");
  }
  return ExitCode::OK;
}

/** Adds "NAME show" and "NAME set KEY=VALUE..." below `parent`. */
template <class Record, class Fields, class Read, class Write>
void add_record_commands(Command& parent, const std::string& what, Fields fields, Read read, Write write) {
  Command& show = parent.add("show", "Read and show " + what);
  show.on([=](Context& context) { return show_drive_record<Record>(context, what, fields, read); });
  auto assignments = std::make_shared<std::vector<std::string>>();
  Command& set = parent.add("set", "Change fields of " + what + " and read them back");
  set.option("KEY=VALUE", *assignments, "Fields: " + field_keys<Record>(fields)).required();
  set.on([=](Context& context) {
    Session session(context);
    return set_drive_record<Record>(session, what, *assignments, fields, read, write);
  });
}

}  // namespace tavctl

#endif
