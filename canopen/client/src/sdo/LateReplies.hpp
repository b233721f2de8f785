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
 * request, so an object is not asked again while an answer about it is under way.
 */
class LateReplies {
 public:
  [[nodiscard]] bool empty() const { return count_ == 0; }
  /** An answer about the object may come until then. */
  void expect(Multiplexer object, can::Clock::time_point until);
  /** Whether the frame may be the answer to a request about the object. */
  static bool answers(const can::Frame& frame, Multiplexer object);
  /** A frame of the node's server arrived. */
  void arrived(const can::Frame& frame);
  /** Whether an answer about the object may still come, and until when. */
  bool is_expected(Multiplexer object, can::Clock::time_point now, can::Clock::time_point& until);

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
