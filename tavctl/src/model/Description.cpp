#include "model/Description.hpp"

#include <cstdint>
#include <fstream>
#include <string_view>
#include <vector>

#include "cli/Failure.hpp"
#include "model/Number.hpp"
#include "model/Pattern.hpp"

namespace tavctl {

using nkr::tools::EDSParser;
using nkr::tools::ObjectEntry;
using nkr::tools::ObjectID;

std::unique_ptr<EDSParser> load_description(const std::string& path) {
  std::ifstream file(path, std::ios::binary);
  if (!file) {
    throw Failure(ExitCode::CONFIGURATION, "cannot open the description " + path,
                  "a relative path counts from the folder that tavctl runs in");
  }
  auto description = std::make_unique<EDSParser>();
  if (!description->parse(file, false)) {
    throw Failure(ExitCode::CONFIGURATION, "cannot read the description " + path, "tavctl eds lint " + path);
  }
  return description;
}

namespace {

/** The whole text as a number up to the maximum; nothing else is one. */
std::optional<unsigned> whole_number(std::string_view text, unsigned maximum) {
  const std::optional<std::int64_t> number = typed_integer(text);
  if (!number || *number < 0 || *number > maximum) return std::nullopt;
  return static_cast<unsigned>(*number);
}

bool is_hex(std::string_view text) {
  return text.substr(0, 2) == "0x" || text.substr(0, 2) == "0X";
}

std::string similar_names(const EDSParser& description, const std::string& name) {
  std::string names;
  int count = 0;
  for (const auto& object : description.objects()) {
    if (!contains_without_case(object->getName(), name)) continue;
    if (++count > 5) return names + ", ...";
    names += (names.empty() ? "did you mean \"" : ", \"") + object->getName() + '"';
  }
  return names.empty() ? "tavctl list shows all names; they are compared exactly" : names + "?";
}

}  // namespace

ObjectReference parse_reference(const std::string& text) {
  const std::string_view view = text;
  if (!is_hex(view)) return {text, std::nullopt};
  const std::size_t colon = view.find(':');
  const auto index = whole_number(view.substr(0, colon), 0xFFFF);
  const auto subindex =
      colon == view.npos ? std::optional<unsigned>(0) : whole_number(view.substr(colon + 1), 0xFF);
  if (!index || !subindex) return {text, std::nullopt};
  return {text, ObjectID(static_cast<std::uint16_t>(*index), static_cast<std::uint8_t>(*subindex))};
}

const ObjectEntry* find_object(const EDSParser& description, const ObjectReference& reference) {
  if (reference.address) return description.find(*reference.address);
  const ObjectEntry* object = description.find(std::string_view(reference.text));
  if (object == nullptr) {
    throw Failure(ExitCode::CONFIGURATION, "the description knows no object \"" + reference.text + '"',
                  similar_names(description, reference.text));
  }
  return object;
}

}  // namespace tavctl
