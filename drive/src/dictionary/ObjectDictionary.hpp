#ifndef TAV_DRIVE_SRC_DICTIONARY_OBJECTDICTIONARY_HPP
#define TAV_DRIVE_SRC_DICTIONARY_OBJECTDICTIONARY_HPP

#include <cstdint>
#include <string_view>
#include <vector>

#include "dictionary/Abort.hpp"
#include "dictionary/Object.hpp"

namespace tav::drive {

/** All objects of the drive. What it holds is fixed once it is built: pointers to its objects stay good. */
class ObjectDictionary {
 public:
  ObjectDictionary() = default;
  /** Takes the objects in any order; of two at one place the first stays. */
  explicit ObjectDictionary(std::vector<Object> objects);

  /** The object there, or null. */
  [[nodiscard]] Object* find(std::uint16_t index, std::uint8_t subindex);
  /** The object of that name ("Record Entry" for an entry of a record), or null. */
  [[nodiscard]] Object* find(std::string_view name);
  [[nodiscard]] std::vector<Object>& objects() { return objects_; }

  /** An object that a client may look at; else null and the reason. */
  Object* readable(std::uint16_t index, std::uint8_t subindex, Abort& abort);
  /** An object that a client may write; else null and the reason. */
  Object* writable(std::uint16_t index, std::uint8_t subindex, Abort& abort);
  /** Brings the value up to date. @return why it cannot be read now, or NONE */
  static Abort refresh(Object& object);
  /** Why these bytes are no value of the object, whatever the state of the drive. */
  [[nodiscard]] static Abort check_value(const Object& object, const Bytes& bytes);
  /** Why a client may not write these bytes into the object now. */
  [[nodiscard]] static Abort check(const Object& object, const Bytes& bytes);
  /** A client's write: checked, stored, acted upon. */
  static Abort write(Object& object, const Bytes& bytes);

 private:
  [[nodiscard]] Abort absence(std::uint16_t index) const;

  std::vector<Object> objects_;
  std::vector<std::uint32_t> keys_;
};

/** The drive's own view of a number in the dictionary; where the description has none, a value of its own. */
template <class T>
class Variable {
 public:
  Variable(ObjectDictionary& dictionary, std::uint16_t index, std::uint8_t subindex, T fallback = T{})
      : object_(dictionary.find(index, subindex)), fallback_(fallback) {}
  Variable(Object* object, T fallback = T{}) : object_(object), fallback_(fallback) {}

  [[nodiscard]] T get() const {
    if (object_ == nullptr) return fallback_;
    return static_cast<T>(object_->kind == Kind::SIGNED
                              ? signed_of(object_->value)
                              : static_cast<std::int64_t>(unsigned_of(object_->value)));
  }
  void set(T value) {
    if (object_ == nullptr) {
      fallback_ = value;
    } else {
      put_number(object_->value, static_cast<std::uint64_t>(static_cast<std::int64_t>(value)));
    }
  }
  [[nodiscard]] Object* object() const { return object_; }

 private:
  Object* object_;
  T fallback_;
};

}  // namespace tav::drive

#endif
