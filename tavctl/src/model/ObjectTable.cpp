#include "model/ObjectTable.hpp"

#include <algorithm>
#include <optional>
#include <vector>

#include "model/Format.hpp"
#include "model/Pattern.hpp"

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
          {"data_type", data_type_name(object.data_type)},
          {"access", access_name(object.access)},
          {"default", text(object.default_value)},
          {"low_limit", text(object.low_limit)},
          {"high_limit", text(object.high_limit)},
          {"pdo_mapping", object.pdo_mapping}};
}

std::string line_of(const ObjectEntry& entry, std::size_t name_width) {
  const ObjectEntry::Description& object = entry.description();
  std::string line = padded(address_text(object.id), 10) + padded(object.name, name_width + 1) +
                     padded(data_type_name(object.data_type), 15) + padded(access_name(object.access), 6) +
                     padded(object.pdo_mapping ? "pdo" : "", 4) + padded(entry.getDefaultValue(), 12) +
                     limits_text(object);
  line.erase(line.find_last_not_of(' ') + 1);
  return line;
}

}  // namespace

std::size_t print_objects(Output& output, const nkr::tools::EDSParser& description,
                          const std::string& pattern) {
  std::vector<const ObjectEntry*> chosen;
  std::size_t name_width = 4;
  for (const auto& object : description.objects()) {
    if (!matches(object->getName(), pattern) && !matches(address_text(object->getObjectID()), pattern))
      continue;
    chosen.push_back(object.get());
    name_width = std::max(name_width, std::min(object->getName().size(), kWidestName));
  }
  Json objects = Json::array();
  output.line(padded("address", 10) + padded("name", name_width + 1) + padded("type", 15) +
              padded("access", 6) + padded("pdo", 4) + padded("default", 12) + "limits");
  for (const ObjectEntry* object : chosen) {
    output.line(line_of(*object, name_width));
    if (output.json()) objects.push_back(json_of(*object));
  }
  output.put("objects", std::move(objects));
  return chosen.size();
}

}  // namespace tavctl
