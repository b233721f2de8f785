#include <cstdint>
#include <fstream>
#include <string_view>
#include <tav/host/description.hpp>
#include <tav/host/number.hpp>
#include <tav/host/pattern.hpp>
#include <vector>

namespace tav::host {

using nkr::tools::EDSParser;
using nkr::tools::ObjectEntry;
using nkr::tools::ObjectID;

std::unique_ptr<EDSParser> load_description(const std::string& path, Result& result) {
  Explanation failed;
  failed.cause = Cause::DESCRIPTION;
  failed.code = NKR_NOT_AVAILABLE;
  failed.detail = path;
  std::ifstream file(path, std::ios::binary);
  auto description = std::make_unique<EDSParser>();
  if (file) {
    if (description->parse(file, false)) {
      result = {};
      return description;
    }
    failed.code = NKR_ERROR;
  }
  failed.action = failed.code == NKR_ERROR ? "read the description" : "open the description";
  result = Result(std::move(failed));
  return nullptr;
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
  return reference.address ? description.find(*reference.address)
                           : description.find(std::string_view(reference.text));
}

std::vector<std::string> similar_names(const EDSParser& description, const std::string& text,
                                       std::size_t most) {
  std::vector<std::string> names;
  for (const auto& object : description.objects()) {
    if (names.size() == most) break;
    if (contains_without_case(object->getName(), text)) names.push_back(object->getName());
  }
  return names;
}

}  // namespace tav::host
