#ifndef NKR_CANOPEN_SDO_LATEREPLIES_HPP
#define NKR_CANOPEN_SDO_LATEREPLIES_HPP

#include <array>
#include <cstddef>
#include <nkr/can/Bus.hpp>
#include <nkr/can/Frame.hpp>

#include "sdo/Multiplexer.hpp"

namespace nkr::canopen::sdo {

/**
 * The answers that a node still owes: to requests that timed out. A reply names its object but not its
 * request, so an object is not asked again while an answer about it is under way. When so many are owed that
 * no more can be remembered, nothing is asked at all until one of them came or its time is over.
 */
class LateReplies {
 public:
  [[nodiscard]] bool empty() const { return count_ == 0; }
  /** An answer about the object may come until then. Only for what `holds_up` has let pass. */
  void expect(Multiplexer object, can::Clock::time_point until);
  /** Whether the frame may be the answer to a request about the object. */
  static bool answers(const can::Frame& frame, Multiplexer object);
  /** A frame of the node's server arrived. True when it was one of these answers. */
  bool arrived(const can::Frame& frame);
  /** Whether a request for the object has to wait, and until when: an answer about it may still come, or too
   * many are owed. */
  bool holds_up(Multiplexer object, can::Clock::time_point now, can::Clock::time_point& until);

 private:
  struct Entry {
    Multiplexer object;
    can::Clock::time_point until;
  };
  void remove(std::size_t position);

  static constexpr std::size_t kCapacity = 16;
  std::array<Entry, kCapacity> entries_{};  ///< oldest first
  std::size_t count_ = 0;
};

}  // namespace nkr::canopen::sdo

#endif
