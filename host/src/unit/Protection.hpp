#ifndef TAV_HOST_SRC_UNIT_PROTECTION_HPP
#define TAV_HOST_SRC_UNIT_PROTECTION_HPP

#include <functional>
#include <optional>
#include <string>
#include <tav/host/HostMonitoring.hpp>

#include "DriveLink.hpp"

namespace tav::host {

/**
 * Makes the drive stop by itself when this program dies: sends the host's heartbeat, lets the drive watch it
 * (an entry of 0x1016), sees that it reacts (0x1029, 0x6007), and reads all of it back.
 */
class Protection {
 public:
  explicit Protection(DriveLink& link) : link_(link) {}
  ~Protection();
  Protection(const Protection&) = delete;
  Protection& operator=(const Protection&) = delete;

  /**
   * Arranges it; again when it is arranged already: nothing. What the drive does not give is told as
   * Cause::UNPROTECTED and no failure.
   * @param lost  called on a thread of the client when somebody else uses this host's id
   */
  Result begin(std::function<void()> lost);
  /** Takes the watching back, so that an orderly end raises no fault; Cause::STILL_WATCHED is told. */
  void end();
  /** Stops the heartbeat and leaves the drive watching: it notices and stops by itself. */
  void let_the_drive_notice();

  [[nodiscard]] bool is_active() const { return active_; }
  [[nodiscard]] const HostMonitoring& before() const { return before_; }

 private:
  [[nodiscard]] Result arrange();
  [[nodiscard]] Result watch_host();
  [[nodiscard]] Result see_reaction();
  [[nodiscard]] Result read(HostMonitoring& monitoring);
  [[nodiscard]] nkr_error_t write_entry(std::uint8_t subindex, std::uint8_t node, std::uint16_t time_ms);

  DriveLink& link_;
  HostMonitoring before_;
  int user_ = 0;                                      ///< of the host node; 0: none
  std::optional<HostMonitoring::Consumer> replaced_;  ///< the entry as it was before
  bool active_ = false;
};

}  // namespace tav::host

#endif
