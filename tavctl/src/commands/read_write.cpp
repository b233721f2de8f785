#include <limits>
#include <memory>
#include <string>
#include <tav/host/configuration_objects.hpp>
#include <tav/host/objects.hpp>
#include <tav/host/text.hpp>
#include <variant>
#include <vector>

#include "cli/Format.hpp"
#include "commands/AllCommands.hpp"
#include "commands/session/Drive.hpp"
#include "commands/session/Quantities.hpp"
#include "text/Values.hpp"
#include "text/explained.hpp"

namespace tavctl {

namespace {

constexpr const char* kObjectHelp =
    "Name in the description, in any case, or 0xINDEX[:SUB] (SUB decimal or 0x hexadecimal)";
constexpr const char* kObjectsHelp =
    "As for write; a record (0x1018, \"Identity Object\") or pattern (\"Identity*\") stands for all its "
    "objects";

/** What the drive measures the object in; null where units do not apply. */
const Scale* scale_for(const nkr::tools::ObjectEntry* object, Quantities& quantities) {
  if (object == nullptr || scale_of(DriveUnits(), object->getObjectID()) == nullptr) return nullptr;
  return scale_of(quantities.units(), object->getObjectID());
}

std::string text_of(const Value& value, const Scale* scale) {
  const auto* const number = std::get_if<std::int64_t>(&value.data);
  const auto* const natural = std::get_if<std::uint64_t>(&value.data);
  if (scale == nullptr || (number == nullptr && natural == nullptr)) return value.text;
  return quantity_text(number != nullptr ? *number : static_cast<std::int64_t>(*natural), *scale);
}

void print_value(Session& session, const ObjectReference& reference, const Value& value,
                 Quantities& quantities) {
  const nkr::tools::ObjectEntry* object = find_object(session.description(), reference);
  const Scale* const scale = scale_for(object, quantities);
  Json row = Json::object();
  if (object != nullptr) {
    row["name"] = object->getName();
    row["type"] = data_type_name(object->getDataType());
  }
  row["address"] = object != nullptr ? address_text(object->getObjectID()) : address_text(*reference.address);
  row["value"] = json_of(value);
  if (scale != nullptr) row["unit"] = unit_text(scale->unit);
  session.output().line((object != nullptr ? object_text(*object) : address_text(*reference.address)) + ": " +
                        text_of(value, scale));
  if (session.output().json()) session.output().document()["objects"].push_back(std::move(row));
}

/** The drive's own number for one with a unit; the description's limits are seen to later. */
std::string sent_for(const std::string& text, const Scale& scale, Quantities& quantities) {
  using Limits = std::numeric_limits<std::int32_t>;
  return std::to_string(quantities.take(text, scale, "value", Limits::min(), Limits::max()));
}

ExitCode read(Context& context, const std::vector<std::string>& names) {
  Session session(context);
  Quantities quantities(session);
  bool all_read = true;
  for (const std::string& name : names) {
    const std::vector<ObjectReference> references = references_named(session.description(), name);
    for (const ObjectReference& reference : references) {
      Value value;
      const bool is_one = references.size() == 1;
      if (is_one) value = value_of_object(session, reference);
      const Result result = is_one ? Result() : read_object(session.unit(), reference, value);
      if (result.code() == NKR_INTERRUPTED) see(result);
      if (result.ok()) {
        print_value(session, reference, value, quantities);
      } else {
        session.output().note("not read: " + headline(result.explanation()));
        all_read = false;
      }
    }
  }
  return all_read ? ExitCode::OK : ExitCode::FINDINGS;
}

ExitCode write(Context& context, const std::string& name, const std::string& text) {
  Session session(context);
  const ObjectReference reference = reference_named(session.description(), name);
  const nkr::tools::ObjectEntry* object = object_named(session.description(), reference);
  Quantities quantities(session);
  const Scale* const scale = has_unit(text) ? scale_for(object, quantities) : nullptr;
  see(write_object(session.unit(), reference, scale == nullptr ? text : sent_for(text, *scale, quantities)));
  if (object != nullptr && is_configuration(*object)) tell_not_stored(session.output());
  if (object == nullptr || !is_readable(object->getAccessType())) {
    session.output().line("written; the object cannot be read back");
    return ExitCode::OK;
  }
  print_value(session, reference, value_of_object(session, reference), quantities);
  return ExitCode::OK;
}

}  // namespace

void add_read_write(Command& program) {
  auto names = std::make_shared<std::vector<std::string>>();
  Command& read_command = program.add("read", "Read objects of the drive, by name or address");
  read_command.option("OBJECT", *names, kObjectsHelp).required();
  read_command.on([names](Context& context) { return read(context, *names); });

  auto name = std::make_shared<std::string>();
  auto value = std::make_shared<std::string>();
  Command& write_command = program.add(
      "write",
      "Write one object and read it back. The value is checked against the description's type and limits");
  write_command.option("OBJECT", *name, kObjectHelp).required();
  write_command
      .option("VALUE", *value,
              "Number (decimal, 0x hexadecimal), one with a unit (1.2m/s), text, or bytes \"01 02\"")
      .required();
  write_command.on([name, value](Context& context) { return write(context, *name, *value); });
}

}  // namespace tavctl
