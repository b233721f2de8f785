#ifndef TAV_DRIVE_RUNNER_HPP
#define TAV_DRIVE_RUNNER_HPP

#include <nkr/export.h>

#include <memory>
#include <nkr/can/Bus.hpp>
#include <tav/drive/VirtualDrive.hpp>

namespace tav::drive {

/**
 * Joins a virtual drive to a bus and lets real time pass for it, from start() to stop().
 *
 * On an InProcessBus the drive answers on the sender's own thread, before send() returns; on any other bus a
 * thread of its port receives. The drive must outlive the runner.
 */
class NKR_EXPORT Runner {
 public:
  explicit Runner(VirtualDrive& drive);
  ~Runner();
  Runner(const Runner&) = delete;
  Runner& operator=(const Runner&) = delete;

  /** Opens a port and switches the drive on. @return NKR_OK, or why there is no port or thread */
  [[nodiscard]] nkr_error_t start(nkr::can::Bus& bus);
  /** Leaves the bus. No frame is handed over when this has returned. */
  void stop();
  /** NKR_OK while the drive is on the bus; else why it no longer is. */
  [[nodiscard]] nkr_error_t status() const;

 private:
  struct NKR_HIDDEN Impl;
  std::unique_ptr<Impl> impl_;
};

}  // namespace tav::drive

#endif
