#ifndef TAV_DRIVE_FLEETRUNNER_HPP
#define TAV_DRIVE_FLEETRUNNER_HPP

#include <nkr/export.h>

#include <functional>
#include <memory>
#include <nkr/can/Bus.hpp>
#include <tav/drive/Fleet.hpp>

namespace tav::drive {

/**
 * Joins a fleet to a bus with one port and one thread, and lets real time pass for it, from start() to
 * stop(). From start() on nobody else calls the fleet, which must outlive the runner. Its drives do not
 * switch the bus off: one that a scenario cuts off falls silent alone.
 */
class NKR_EXPORT FleetRunner {
 public:
  explicit FleetRunner(Fleet& fleet);
  ~FleetRunner();
  FleetRunner(const FleetRunner&) = delete;
  FleetRunner& operator=(const FleetRunner&) = delete;

  /** Told of each frame that the drives send, and when; one at a time. To be set before start(). */
  void when_sent(std::function<void(const nkr::can::Frame&, Time)> action);
  /** Opens a port and switches the drives on. @return NKR_OK, or why there is no port or thread */
  [[nodiscard]] nkr_error_t start(nkr::can::Bus& bus);
  /** Leaves the bus. No frame is handed over when this has returned. */
  void stop();
  /** NKR_OK while the drives are on the bus; else why they no longer are. */
  [[nodiscard]] nkr_error_t status() const;
  /** When they were switched on. */
  [[nodiscard]] Time began() const;

 private:
  struct NKR_HIDDEN Impl;
  std::unique_ptr<Impl> impl_;
};

}  // namespace tav::drive

#endif
