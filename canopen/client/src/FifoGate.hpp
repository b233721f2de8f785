#ifndef NKR_CANOPEN_FIFOGATE_HPP
#define NKR_CANOPEN_FIFOGATE_HPP

#include <nkr/error.h>

#include <condition_variable>
#include <mutex>

namespace nkr::canopen {

/** Lets one thread in at a time, in the order in which they came. */
class FifoGate {
 public:
  /**
   * Waits for its turn. A thread that is already inside a gate, of this or another node, does not wait: two
   * such threads could wait for each other.
   * @return NKR_OK; NKR_CAN_CLOSED; NKR_CAN_WOULD_DEADLOCK when the caller may not wait and would have to
   */
  nkr_error_t enter();
  /** Lets the next one in. */
  void leave();
  /** Wakes and refuses everybody who waits or comes later. */
  void close();

 private:
  struct Waiter {
    std::condition_variable turn;
    bool called = false;
    Waiter* next = nullptr;
  };

  std::mutex mutex_;
  Waiter* first_ = nullptr;
  Waiter* last_ = nullptr;
  bool busy_ = false;
  bool closed_ = false;
};

/** One stay inside a gate. */
class GateStay {
 public:
  explicit GateStay(FifoGate& gate) : gate_(gate), result_(gate.enter()) {}
  ~GateStay() {
    if (result_ == NKR_OK) gate_.leave();
  }
  GateStay(const GateStay&) = delete;
  GateStay& operator=(const GateStay&) = delete;

  [[nodiscard]] nkr_error_t result() const { return result_; }

 private:
  FifoGate& gate_;
  const nkr_error_t result_;
};

}  // namespace nkr::canopen

#endif
