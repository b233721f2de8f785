#include "text/ObjectTable.hpp"

#include <algorithm>
#include <optional>
#include <tav/host/pattern.hpp>
#include <vector>

#include "cli/Format.hpp"
#include "text/host.hpp"

namespace tavctl {

using nkr::tools::ObjectEntry;

namespace {

constexpr std::size_t kWidestName = 64;

std::string limits_text(const ObjectEntry::Description& object) {
  if (!object.low_limit && !object.high_limit) return {};
  return object.low_limit.value_or("") + " to " + object.high_limit.value_or("");
}

Json json_of(const ObjectEntry& entry) {
  const ObjectEntry::Description& object = entry.description();
  const auto text = [](const std::optional<std::string>& value) { return value ? Json(*value) : Json(); };
  return {{"index", object.id.index()},
          {"subindex", object.id.subindex()},
          {"name", object.name},
          {"object_type", object.object_type},
          {"data_type", data_type_name(object.data_type)},
          {"access", access_name(object.access)},
          {"default", text(object.default_value)},
          {"parameter_value", text(object.parameter_value)},
          {"low_limit", text(object.low_limit)},
          {"high_limit", text(object.high_limit)},
          {"pdo_mapping", object.pdo_mapping},
          {"line", object.line}};
}

/** The widths of the columns that depend on what stands in them. */
struct Widths {
  std::size_t name = 4;
  std::size_t value = 0;  ///< 0 when no object has a value of a DCF
};

std::string value_column(const std::string& text, const Widths& widths) {
  return widths.value == 0 ? std::string() : padded(text, widths.value);
}

std::string line_of(const ObjectEntry& entry, const Widths& widths) {
  const ObjectEntry::Description& object = entry.description();
  std::string line = padded(address_text(object.id), 10) + padded(object.name, widths.name + 1) +
                     padded(data_type_name(object.data_type), 15) + padded(access_name(object.access), 6) +
                     padded(object.pdo_mapping ? "pdo" : "", 4) + padded(entry.getDefaultValue(), 12) +
                     value_column(object.parameter_value.value_or(""), widths) + limits_text(object);
  line.erase(line.find_last_not_of(' ') + 1);
  return line;
}

}  // namespace

std::size_t print_objects(Output& output, const nkr::tools::EDSParser& description,
                          const std::string& pattern) {
  std::vector<const ObjectEntry*> chosen;
  constexpr std::size_t kValueWidth = 12;
  Widths widths;
  for (const auto& object : description.objects()) {
    if (!matches(object->getName(), pattern) && !matches(address_text(object->getObjectID()), pattern))
      continue;
    chosen.push_back(object.get());
    widths.name = std::max(widths.name, std::min(object->getName().size(), kWidestName));
    if (object->description().parameter_value) widths.value = kValueWidth;
  }
  Json objects = Json::array();
  output.line(padded("address", 10) + padded("name", widths.name + 1) + padded("type", 15) +
              padded("access", 6) + padded("pdo", 4) + padded("default", 12) + value_column("value", widths) +
              "limits");
  for (const ObjectEntry* object : chosen) {
    output.line(line_of(*object, widths));
    if (output.json()) objects.push_back(json_of(*object));
  }
  output.put("objects", std::move(objects));
  return chosen.size();
}

}  // namespace tavctl
