#ifndef NKR_CANOPEN_RUNTIME_FIFOGATE_HPP
#define NKR_CANOPEN_RUNTIME_FIFOGATE_HPP

#include <nkr/error.h>

#include <atomic>
#include <mutex>
#include <nkr/can/Bus.hpp>
#include <nkr/time/Condition.hpp>

namespace nkr::canopen {

/** Lets one thread in at a time, in the order in which they came. */
class FifoGate {
 public:
  /**
   * Waits for its turn. A thread that is already inside a gate, of this or another node, does not wait: two
   * such threads could wait for each other.
   * @param since when it began to wait; left as it is when it was let in at once
   * @return NKR_OK; NKR_CAN_TIMED_OUT; NKR_CAN_CLOSED; NKR_CAN_WOULD_DEADLOCK when the caller may not wait
   * and would have to
   */
  nkr_error_t enter(const can::Deadline& deadline, can::Clock::time_point& since) {
    return try_enter() ? NKR_OK : queue(deadline, since);
  }
  /** Enters when that is possible at once. */
  bool try_enter() {
    State expected = State::FREE;
    if (!state_.compare_exchange_strong(expected, State::BUSY)) return false;
    ++gates_entered_;
    return true;
  }
  /** Lets the next one in. */
  void leave() {
    --gates_entered_;
    State expected = State::BUSY;
    if (!state_.compare_exchange_strong(expected, State::FREE, std::memory_order_release)) let_next_in();
  }
  /** Wakes and refuses everybody who waits or comes later. */
  void close();
  /** Whether somebody is inside. */
  [[nodiscard]] bool is_entered() const {
    const State state = state_;
    return state == State::BUSY || state == State::CONTENDED;
  }
  /** Whether the calling thread is inside any gate: then it may not wait for another request. */
  [[nodiscard]] static bool caller_is_inside() { return gates_entered_ > 0; }

 private:
  /** With nobody waiting, entering and leaving is one step without the lock. */
  enum class State {
    FREE,
    BUSY,
    CONTENDED,  ///< busy, and somebody waits: whoever leaves lets the first of them in
    CLOSED,
  };

  struct Waiter {
    time::Condition turn;
    bool called = false;
    Waiter* next = nullptr;
  };

  nkr_error_t queue(const can::Deadline& deadline, can::Clock::time_point& since);
  nkr_error_t wait(const can::Deadline& deadline);
  nkr_error_t await_turn(Waiter& self, const can::Deadline& deadline, std::unique_lock<std::mutex>& lock);
  void remove(Waiter& waiter);
  void let_next_in();
  void call_first();

  /** How many gates the thread is inside: more than none only when it is called back from within a transfer.
   */
  static inline thread_local int gates_entered_ = 0;

  std::atomic<State> state_{State::FREE};
  std::mutex mutex_;  ///< of the waiters, and of every change of the state but free to busy and back
  Waiter* first_ = nullptr;
  Waiter* last_ = nullptr;
};

/** One stay inside a gate. */
class GateStay {
 public:
  /** The gate is not waited for beyond the deadline, which is looked at only when it is not free. */
  GateStay(FifoGate& gate, const can::Deadline& deadline)
      : gate_(gate), result_(gate.enter(deadline, waiting_since_)) {}
  ~GateStay() {
    if (result_ == NKR_OK) gate_.leave();
  }
  GateStay(const GateStay&) = delete;
  GateStay& operator=(const GateStay&) = delete;

  [[nodiscard]] nkr_error_t result() const { return result_; }
  /** The epoch when it was let in at once. */
  [[nodiscard]] can::Clock::time_point waiting_since() const { return waiting_since_; }

 private:
  FifoGate& gate_;
  can::Clock::time_point waiting_since_;
  const nkr_error_t result_;
};

}  // namespace nkr::canopen

#endif
