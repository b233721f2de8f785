#ifndef NKR_CANOPEN_REQUESTS_HELDREQUESTS_HPP
#define NKR_CANOPEN_REQUESTS_HELDREQUESTS_HPP

#include <nkr/error.h>

#include <atomic>
#include <memory>
#include <mutex>
#include <nkr/can/Bus.hpp>
#include <nkr/time/Condition.hpp>

#include "sdo/Multiplexer.hpp"

namespace nkr::canopen {

/**
 * The requests of one channel that may not be made yet, because an answer about their object is owed. They
 * are made in the order in which they came, each object apart from the others.
 */
class HeldRequests {
 public:
  /** One such request, as long as it lives. */
  class Place {
   public:
    Place(HeldRequests& requests, sdo::Multiplexer object) : requests_(requests), object_(object) {}
    ~Place() {
      if (joined_) leave();
    }
    Place(const Place&) = delete;
    Place& operator=(const Place&) = delete;

    /** Takes its place behind those that are there. */
    void join();
    /** Waits until no earlier request for the object is left. NKR_OK; NKR_CAN_TIMED_OUT; NKR_CAN_CLOSED when
     * the channel was closed or its requests were cancelled; NKR_CAN_WOULD_DEADLOCK when it would have to
     * wait and may not. */
    nkr_error_t await_turn(bool may_wait, can::Clock::time_point until);
    /** The port on which it waits for the answer; closed with the channel and when requests are cancelled.
     * NKR_OK or NKR_CAN_CLOSED. */
    nkr_error_t listen(std::unique_ptr<can::Port> port);
    /** Waits for a frame that may be the answer; results as of Port::receive. */
    nkr_error_t receive(can::Frame& frame, can::Clock::time_point deadline);

   private:
    friend class HeldRequests;
    void leave();

    HeldRequests& requests_;
    const sdo::Multiplexer object_;
    std::unique_ptr<can::Port> port_;
    bool joined_ = false;
    bool cancelled_ = false;
    Place* next_ = nullptr;
  };

  /** Whether a request for the object is held. No lock when none is held at all. */
  [[nodiscard]] bool holds(sdo::Multiplexer object) {
    return count_.load(std::memory_order_relaxed) != 0 && finds(object);
  }
  /** Wakes and refuses everybody who is there. */
  void cancel();
  /** The same, and whoever comes later. */
  void close();

 private:
  [[nodiscard]] bool finds(sdo::Multiplexer object);
  [[nodiscard]] const Place* first_of(sdo::Multiplexer object) const;

  std::mutex mutex_;
  time::Condition changed_;
  Place* first_ = nullptr;
  std::atomic<int> count_{0};
  bool closed_ = false;
};

}  // namespace nkr::canopen

#endif
