#include "trace/ObjectText.hpp"

#include "model/DriveWords.hpp"
#include "model/Format.hpp"

namespace tavctl {

using nkr::tools::DataType;
using nkr::tools::ObjectEntry;
using nkr::tools::ObjectID;

namespace {

constexpr ObjectID kControlWord{0x6040, 0};
constexpr ObjectID kStatusWord{0x6041, 0};

}  // namespace

std::string ObjectText::name(ObjectID id) const {
  const ObjectEntry* const object = description_.find(id);
  return object == nullptr ? address_text(id) : object_text(*object);
}

Value ObjectText::decoded(const ObjectBytes& object) const {
  const ObjectEntry* const entry = description_.find(object.object);
  return entry == nullptr ? value_of(object.bytes) : decode_value(entry->getDataType(), object.bytes);
}

std::string ObjectText::value(const ObjectBytes& object) const {
  std::string text = decoded(object).text;
  const ObjectEntry* const entry = description_.find(object.object);
  if (entry != nullptr && entry->getDataType() == DataType::VISIBLE_STRING) text = '"' + text + '"';
  if (object.bytes.size() != 2) return text;
  const auto word = static_cast<std::uint16_t>(object.bytes[0] | object.bytes[1] << 8);
  if (object.object == kStatusWord) text += ": " + status_word_text(word);
  if (object.object == kControlWord) text += ": " + control_word_text(word);
  return text;
}

Json ObjectText::json(const ObjectBytes& object) const {
  const ObjectEntry* const entry = description_.find(object.object);
  return {{"index", object.object.index()},
          {"subindex", object.object.subindex()},
          {"name", entry == nullptr ? std::string{} : entry->getName()},
          {"value", decoded(object).json},
          {"text", value(object)}};
}

}  // namespace tavctl
