#ifndef TAVCORE_OBJECTS_STEPS_HPP
#define TAVCORE_OBJECTS_STEPS_HPP

#include <type_traits>

#include "../logging/Here.hpp"
#include "DictionaryAccess.hpp"

namespace nkr::tavcore {

/** A value that is taken as exactly its type: handed to a function that asks for another, it does not
 * compile. */
template <class T>
struct Exactly {
  T value;
  template <class Asked, class = std::enable_if_t<std::is_same_v<Asked, T>>>
  // NOLINTNEXTLINE(google-explicit-constructor): it stands for its value
  operator Asked() const {
    return value;
  }
};

/**
 * The steps of one service operation, made in the order written: the guard, then the accesses, under the
 * repeat-once rule. A step after the end of the operation does nothing.
 *
 * Each step answers whether the operation goes on: true while every step so far succeeded at its first
 * attempt. An operation that ended with NKR_OK may still have left steps out: result() does not tell.
 */
class [[nodiscard]] Steps {
 public:
  /** Steps of an operation that needs a loaded device description; the record carries the operation's name.
   */
  static Steps guarded(const DictionaryAccess& dictionary, Here here = Here::now()) {
    Steps steps(dictionary);
    if (!dictionary.is_loaded()) steps.end(refuse(here));
    return steps;
  }
  /** Steps of an operation without guard, or inside an operation whose guard has passed. */
  explicit Steps(const DictionaryAccess& dictionary) : dictionary_(dictionary) {}

  /** Reads an object into a variable of exactly its type. */
  template <class AnyObject>
  bool read(const AnyObject& object, typename AnyObject::Value& value) {
    return step([&] { return dictionary_.read(object, value); });
  }
  /** Reads an object and hands the value on; `then` runs only when the first attempt succeeded. */
  template <class AnyObject, class Then,
            class = std::enable_if_t<std::is_invocable_v<Then, Exactly<typename AnyObject::Value>>>>
  bool read(const AnyObject& object, Then then) {
    Exactly<typename AnyObject::Value> read_value{};
    if (!read(object, read_value.value)) return false;
    then(read_value);
    return true;
  }
  /** Writes an object; `word | 8` is an int, and would not have the object's own size. */
  template <class AnyObject, class Value>
  bool write(const AnyObject& object, const Value& value) {
    static_assert(std::is_same_v<Value, typename AnyObject::Value>,
                  "the object holds values of another type");
    return step([&] { return dictionary_.write(object, value); });
  }
  /** Address of a named object. */
  template <class AnyObject>
  bool resolve(const AnyObject& object, std::uint32_t& address) {
    return step([&] { return dictionary_.resolve(object.name, address); });
  }

  /**
   * The repeat-once rule: an attempt that fails is made once more; that second result is the operation's,
   * whatever it is, and nothing follows it.
   */
  template <class Attempt>
  bool step(Attempt attempt) {
    if (!going_) return false;
    result_ = attempt();
    if (result_ == NKR_OK) return true;
    result_ = attempt();
    going_ = false;
    return false;
  }

  /** An attempt that is made once; its failure ends the operation. */
  template <class Attempt>
  bool once(Attempt attempt) {
    if (!going_) return false;
    result_ = attempt();
    going_ = result_ == NKR_OK;
    return going_;
  }

  /** A read that goes on when its repeat succeeded: for an operation that may leave nothing out. */
  template <class AnyObject>
  bool insist(const AnyObject& object, typename AnyObject::Value& value) {
    return once([&] {
      const nkr_error_t result = dictionary_.read(object, value);
      return result == NKR_OK ? result : dictionary_.read(object, value);
    });
  }

  /** Ends the operation with a result of its own. */
  void end(nkr_error_t result) {
    if (!going_) return;
    result_ = result;
    going_ = false;
  }

  [[nodiscard]] bool completed() const { return going_; }
  [[nodiscard]] nkr_error_t result() const { return result_; }

  /** The verbs for a list of fields that a getter and a setter share. */
  auto reads() {
    return [this](const auto& object, auto& value) { read(object, value); };
  }
  auto writes() {
    return [this](const auto& object, const auto& value) { write(object, value); };
  }

 private:
  [[nodiscard]] static nkr_error_t refuse(Here here);

  const DictionaryAccess& dictionary_;
  nkr_error_t result_ = NKR_OK;
  bool going_ = true;
};

}  // namespace nkr::tavcore

#endif
