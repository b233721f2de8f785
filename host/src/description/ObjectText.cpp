#include <algorithm>
#include <cstddef>
#include <tav/host/ObjectText.hpp>
#include <tav/host/pdo_mapping.hpp>
#include <tav/host/words.hpp>

namespace tav::host {

using nkr::tools::DataType;
using nkr::tools::ObjectEntry;
using nkr::tools::ObjectID;

namespace {

constexpr ObjectID kControlWord{0x6040, 0};
constexpr ObjectID kStatusWord{0x6041, 0};

bool within(ObjectID id, std::uint16_t first, std::uint16_t last) {
  return id.index() >= first && id.index() <= last;
}

bool is_pdo_mapping(ObjectID id) {
  return within(id, 0x1600, 0x17FF) || within(id, 0x1A00, 0x1BFF);
}

bool is_pdo_identifier_object(ObjectID id) {
  return id.subindex() == 1 && (within(id, 0x1400, 0x15FF) || within(id, 0x1800, 0x19FF));
}

/** A PDO's COB-ID (CiA 301, 7.5.2.35). */
std::string cob_id_text(std::uint32_t cob_id) {
  constexpr std::uint32_t kNotValid = 0x80000000;
  constexpr std::uint32_t kIdentifier = 0x1FFFFFFF;
  return "identifier " + hex(cob_id & kIdentifier, 3) +
         ((cob_id & kNotValid) != 0 ? ", not valid" : ", valid");
}

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
  const std::string meaning = meaning_of(object);
  return meaning.empty() ? text : text + ": " + meaning;
}

std::string ObjectText::meaning_of(const ObjectBytes& object) const {
  std::uint32_t value = 0;
  for (std::size_t i = std::min(object.bytes.size(), sizeof value); i-- > 0;)
    value = value << 8 | object.bytes[i];
  if (object.bytes.size() == sizeof(std::uint16_t)) {
    const auto word = static_cast<std::uint16_t>(value);
    if (object.object == kStatusWord) return status_word_text(word);
    if (object.object == kControlWord) return control_word_text(word);
  }
  if (object.bytes.size() != sizeof value || object.object.subindex() == 0) return {};
  if (is_pdo_mapping(object.object) && value != 0) return mapping_entry_text(description_, value);
  if (is_pdo_identifier_object(object.object)) return cob_id_text(value);
  return {};
}

}  // namespace tav::host
