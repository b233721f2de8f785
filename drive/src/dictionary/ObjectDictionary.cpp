#include "dictionary/ObjectDictionary.hpp"

#include <algorithm>
#include <utility>

namespace tav::drive {
namespace {

bool before(const Object& a, const Object& b) {
  return key_of(a.index, a.subindex) < key_of(b.index, b.subindex);
}

bool same_place(const Object& a, const Object& b) {
  return a.index == b.index && a.subindex == b.subindex;
}

}  // namespace

ObjectDictionary::ObjectDictionary(std::vector<Object> objects) : objects_(std::move(objects)) {
  std::stable_sort(objects_.begin(), objects_.end(), before);
  objects_.erase(std::unique(objects_.begin(), objects_.end(), same_place), objects_.end());
  keys_.reserve(objects_.size());
  for (const Object& object : objects_) keys_.push_back(key_of(object.index, object.subindex));
}

Object* ObjectDictionary::find(std::uint16_t index, std::uint8_t subindex) {
  const std::uint32_t key = key_of(index, subindex);
  const auto place = std::lower_bound(keys_.begin(), keys_.end(), key);
  if (place == keys_.end() || *place != key) return nullptr;
  return &objects_[static_cast<std::size_t>(place - keys_.begin())];
}

Object* ObjectDictionary::find(std::string_view name) {
  const auto place = std::find_if(objects_.begin(), objects_.end(),
                                  [name](const Object& object) { return object.name == name; });
  return place == objects_.end() ? nullptr : &*place;
}

Abort ObjectDictionary::absence(std::uint16_t index) const {
  const auto place = std::lower_bound(keys_.begin(), keys_.end(), key_of(index, 0));
  return place != keys_.end() && *place >> 8 == index ? Abort::NO_SUBINDEX : Abort::NO_OBJECT;
}

Object* ObjectDictionary::readable(std::uint16_t index, std::uint8_t subindex, Abort& abort) {
  Object* object = find(index, subindex);
  abort = object == nullptr ? absence(index) : object->readable ? Abort::NONE : Abort::WRITE_ONLY;
  return abort == Abort::NONE ? object : nullptr;
}

Object* ObjectDictionary::writable(std::uint16_t index, std::uint8_t subindex, Abort& abort) {
  Object* object = find(index, subindex);
  abort = object == nullptr ? absence(index) : object->writable ? Abort::NONE : Abort::READ_ONLY;
  return abort == Abort::NONE ? object : nullptr;
}

Abort ObjectDictionary::refresh(Object& object) {
  if (object.forced) {
    object.value = *object.forced;
    return Abort::NONE;
  }
  return object.refresh ? object.refresh() : Abort::NONE;
}

Abort ObjectDictionary::check_value(const Object& object, const Bytes& bytes) {
  if (bytes.size() > object.size) return Abort::TOO_LONG;
  if (object.kind != Kind::TEXT) {
    if (bytes.size() < object.size) return Abort::TOO_SHORT;
    if (object.boolean && bytes[0] > 1) return Abort::TOO_HIGH;
    const long double number = number_in(object, bytes);
    // Written so that a value that is not a number lies outside any limit.
    if (object.high && !(number <= *object.high)) return Abort::TOO_HIGH;
    if (object.low && !(number >= *object.low)) return Abort::TOO_LOW;
  }
  return Abort::NONE;
}

Abort ObjectDictionary::check(const Object& object, const Bytes& bytes) {
  const Abort abort = check_value(object, bytes);
  return abort == Abort::NONE && object.refuses ? object.refuses(bytes) : abort;
}

Abort ObjectDictionary::write(Object& object, const Bytes& bytes) {
  const Abort abort = check(object, bytes);
  if (abort != Abort::NONE) return abort;
  object.value = bytes;
  object.forced.reset();
  if (object.written) object.written();
  return Abort::NONE;
}

}  // namespace tav::drive
