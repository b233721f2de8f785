#include "model/Description.hpp"

#include <charconv>
#include <cstdint>
#include <fstream>
#include <string_view>
#include <vector>

#include "cli/Failure.hpp"
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

/** The whole text as a number of that base; nothing else is one. */
std::optional<unsigned> whole_number(std::string_view text, int base, unsigned maximum) {
  unsigned value = 0;
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value, base);
  if (text.empty() || error != std::errc{} || end != text.data() + text.size() || value > maximum) return {};
  return value;
}

bool is_hex(std::string_view text) {
  return text.substr(0, 2) == "0x" || text.substr(0, 2) == "0X";
}

std::optional<unsigned> subindex_of(std::string_view text) {
  return is_hex(text) ? whole_number(text.substr(2), 16, 0xFF) : whole_number(text, 10, 0xFF);
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
  const auto index = whole_number(view.substr(2, colon == view.npos ? view.npos : colon - 2), 16, 0xFFFF);
  const auto subindex = colon == view.npos ? std::optional<unsigned>(0) : subindex_of(view.substr(colon + 1));
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
