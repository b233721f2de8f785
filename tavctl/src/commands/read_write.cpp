#include <memory>
#include <string>
#include <tav/host/configuration_objects.hpp>
#include <tav/host/objects.hpp>
#include <vector>

#include "cli/Format.hpp"
#include "commands/AllCommands.hpp"
#include "commands/session/Drive.hpp"
#include "text/Values.hpp"
#include "text/explained.hpp"

namespace tavctl {

namespace {

constexpr const char* kObjectHelp =
    "Name in the description, or 0xINDEX[:SUB] (SUB decimal or 0x hexadecimal)";

void print_value(Session& session, const ObjectReference& reference, const Value& value) {
  const nkr::tools::ObjectEntry* object = find_object(session.description(), reference);
  Json row = Json::object();
  if (object != nullptr) {
    row["name"] = object->getName();
    row["type"] = data_type_name(object->getDataType());
  }
  row["address"] = object != nullptr ? address_text(object->getObjectID()) : address_text(*reference.address);
  row["value"] = json_of(value);
  session.output().line((object != nullptr ? object_text(*object) : address_text(*reference.address)) + ": " +
                        value.text);
  if (session.output().json()) session.output().document()["objects"].push_back(std::move(row));
}

ExitCode read(Context& context, const std::vector<std::string>& names) {
  Session session(context);
  for (const std::string& name : names) {
    const ObjectReference reference = parse_reference(name);
    print_value(session, reference, value_of_object(session, reference));
  }
  return ExitCode::OK;
}

ExitCode write(Context& context, const std::string& name, const std::string& text) {
  Session session(context);
  const ObjectReference reference = parse_reference(name);
  const nkr::tools::ObjectEntry* object = object_named(session.description(), reference);
  see(write_object(session.unit(), reference, text));
  if (object != nullptr && is_configuration(*object)) tell_not_stored(session.output());
  if (object == nullptr || !is_readable(object->getAccessType())) {
    session.output().line("written; the object cannot be read back");
    return ExitCode::OK;
  }
  print_value(session, reference, value_of_object(session, reference));
  return ExitCode::OK;
}

}  // namespace

void add_read_write(Command& program) {
  auto names = std::make_shared<std::vector<std::string>>();
  Command& read_command = program.add("read", "Read objects of the drive, by name or address");
  read_command.option("OBJECT", *names, kObjectHelp).required();
  read_command.on([names](Context& context) { return read(context, *names); });

  auto name = std::make_shared<std::string>();
  auto value = std::make_shared<std::string>();
  Command& write_command = program.add(
      "write",
      "Write one object and read it back. The value is checked against the description's type and limits");
  write_command.option("OBJECT", *name, kObjectHelp).required();
  write_command.option("VALUE", *value, "Number (decimal, 0x hexadecimal), text, or bytes \"01 02\"")
      .required();
  write_command.on([name, value](Context& context) { return write(context, *name, *value); });
}

}  // namespace tavctl
