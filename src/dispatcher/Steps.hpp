#ifndef TAVCORE_DISPATCHER_STEPS_HPP
#define TAVCORE_DISPATCHER_STEPS_HPP

#include <cstdint>
#include <string_view>
#include <tavcore/CANOpenDispatcher.hpp>

#include "../logging/Here.hpp"
#include "Objects.hpp"

namespace nkr::tavcore {

/** The class field of the dispatcher's log records. */
inline constexpr char kDispatcherClass[] = "CANOpenDispatcher";

/**
 * The steps of one service operation, made in the order written: the guard, then the accesses, under the
 * repeat-once rule. A step after the end of the operation does nothing.
 *
 * An operation that ended with NKR_OK may still have left steps out: completed() tells, result() does not.
 * Between two steps stands pure computation on locals only; any other effect stands under completed().
 */
class [[nodiscard]] Steps {
 public:
  /** Steps of an operation that needs a loaded device description; the record carries the operation's name.
   */
  static Steps guarded(const CANOpenDispatcher& dispatcher, Here here = Here::now());
  /** Steps of an operation without guard, or inside an operation whose guard has passed. */
  explicit Steps(const CANOpenDispatcher& dispatcher) : dispatcher_(dispatcher) {}

  template <class T>
  void read(std::string_view name, T& value) {
    step([&] { return dispatcher_.read(name, value); });
  }
  template <class T>
  void write(std::string_view name, const T& value) {
    step([&] { return dispatcher_.write(name, value); });
  }
  /** `word | 8` is an int and would write four bytes: name a variable of the object's own type. */
  template <class T>
  void write(std::string_view name, const T&& value) = delete;

  /** The same for an object of a stated type: a value of another type does not compile. */
  template <class T>
  void read(const Object<T>& object, T& value) {
    read(object.name, value);
  }
  template <class T>
  void write(const Object<T>& object, const T& value) {
    write(object.name, value);
  }

  template <class T>
  void read_at(std::uint32_t address, T& value) {
    step([&] { return dispatcher_.get_value_by_address(address, value); });
  }
  template <class T>
  void write_at(std::uint32_t address, const T& value) {
    step([&] { return dispatcher_.set_value_by_address(address, value); });
  }
  template <class T>
  void write_at(std::uint32_t address, const T&& value) = delete;

  /** Address of a named object. */
  void resolve(std::string_view name, std::uint32_t& address) {
    step([&] { return dispatcher_.resolve(name, address); });
  }

  /**
   * The repeat-once rule: an attempt that fails is made once more; that second result is the operation's,
   * whatever it is, and nothing follows it.
   */
  template <class Attempt>
  void step(Attempt attempt) {
    if (!going_) return;
    result_ = attempt();
    if (result_ == NKR_OK) return;
    result_ = attempt();
    going_ = false;
  }

  /** An attempt that is made once; its failure ends the operation. */
  template <class Attempt>
  void once(Attempt attempt) {
    if (!going_) return;
    result_ = attempt();
    going_ = result_ == NKR_OK;
  }

  /** Ends the operation with a result of its own. */
  void end(nkr_error_t result) {
    if (!going_) return;
    result_ = result;
    going_ = false;
  }

  /** True while every step so far succeeded at its first attempt. */
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
  const CANOpenDispatcher& dispatcher_;
  nkr_error_t result_ = NKR_OK;
  bool going_ = true;
};

}  // namespace nkr::tavcore

#endif
