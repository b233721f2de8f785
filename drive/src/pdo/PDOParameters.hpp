#ifndef TAV_DRIVE_SRC_PDO_PDOPARAMETERS_HPP
#define TAV_DRIVE_SRC_PDO_PDOPARAMETERS_HPP

#include <cstdint>
#include <functional>
#include <vector>

#include "node/Part.hpp"

namespace tav::drive {

/**
 * Communication and mapping parameters of one process data object, with the rules of CiA 301 (7.5.2.35 to
 * 7.5.2.38) for writing them, and what they come to.
 */
class PDOParameters {
 public:
  enum class Direction : std::uint8_t { RECEIVE, TRANSMIT };

  /** @param number counted from 0 */
  PDOParameters(Context& context, Direction direction, std::uint16_t number);

  /** Called when anything that matters has changed. */
  void when_changed(std::function<void()> action) { changed_ = std::move(action); }
  /** Takes the values that the dictionary holds. */
  void take();

  [[nodiscard]] bool valid() const { return valid_; }
  [[nodiscard]] std::uint32_t identifier() const { return identifier_; }
  /** 1 to 240: with every n-th SYNC; 0: with a SYNC when there is news. */
  [[nodiscard]] std::uint8_t transmission_type() const { return transmission_type_; }
  [[nodiscard]] bool synchronous() const { return transmission_type_ <= kLastSynchronous; }
  [[nodiscard]] Duration inhibit_time() const { return inhibit_time_.get() * std::chrono::microseconds(100); }
  [[nodiscard]] Duration event_timer() const { return std::chrono::milliseconds(event_timer_.get()); }
  /** The mapped objects, in order. */
  [[nodiscard]] const std::vector<Object*>& objects() const { return objects_; }
  /** Bytes that they fill. */
  [[nodiscard]] std::size_t size() const { return size_; }

 private:
  static constexpr std::uint8_t kLastSynchronous = 240;

  void watch_objects();
  [[nodiscard]] Abort refuses_identifier(std::uint32_t cob_id) const;
  [[nodiscard]] Abort refuses_count(std::uint64_t count) const;
  [[nodiscard]] Abort refuses_entry(std::uint32_t entry) const;
  [[nodiscard]] Object* mapped_by(std::uint32_t entry) const;
  [[nodiscard]] std::uint32_t entry(std::size_t number) const;

  Context& context_;
  Direction direction_;
  std::uint16_t mapping_index_;
  std::function<void()> changed_;
  Variable<std::uint32_t> cob_id_;
  Variable<std::uint8_t> type_;
  Variable<std::uint16_t> inhibit_time_;
  Variable<std::uint16_t> event_timer_;
  Variable<std::uint8_t> count_;
  bool valid_ = false;
  std::uint32_t identifier_ = 0;
  std::uint8_t transmission_type_ = 0;
  std::vector<Object*> objects_;
  std::size_t size_ = 0;
};

}  // namespace tav::drive

#endif
