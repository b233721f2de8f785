#ifndef TAV_DRIVE_FLEET_HPP
#define TAV_DRIVE_FLEET_HPP

#include <nkr/export.h>

#include <functional>
#include <memory>
#include <nkr/can/Frame.hpp>
#include <tav/drive/BusModel.hpp>
#include <tav/drive/VirtualDrive.hpp>
#include <vector>

namespace tav::drive {

/**
 * Several virtual drives on one bus: each hears the others, and what comes from outside.
 *
 * It is passive as a drive is: frames and time are handed in, frames come out by a callback. Of what is due
 * at one time the drive that was added first comes first, so that the same calls give the same frames. One
 * thread at a time may call it; the drives themselves may be asked from any thread.
 */
class NKR_EXPORT Fleet {
 public:
  /**
   * Takes a frame, when it was sent, and by which drive (its place; with a bus size(),
   * for there the frame itself tells). May hand frames in. Must not throw.
   */
  using Output = std::function<void(const nkr::can::Frame&, Time, std::size_t)>;

  Fleet();
  ~Fleet();
  Fleet(const Fleet&) = delete;
  Fleet& operator=(const Fleet&) = delete;

  /**
   * The drives are joined by a bus with a bit rate: frames take their time, are told to the output at their
   * end, and what comes from outside is one more node of it. To be called before drives are added.
   */
  void use_bus(const BusModel::Options& options, const BusModel::NodeOptions& drives,
               const BusModel::NodeOptions& outside);
  /** The bus of use_bus(), or null. */
  [[nodiscard]] const BusModel* bus() const;

  /** Adds a drive that is not switched on yet. */
  void add(std::unique_ptr<VirtualDrive> drive);
  [[nodiscard]] std::size_t size() const;
  [[nodiscard]] VirtualDrive& drive(std::size_t place);

  /** Where frames of the drives go from now on; an empty function: nowhere but to each other. */
  void connect(Output output);
  /** Is called when a drive's due time may have become earlier through a call to the drive itself. */
  void when_woken(std::function<void()> wake);
  /** Switches all of them on. @return as advance() does */
  Time power_on(Time now);
  /** A frame from outside, for all of them. @return as advance() does */
  Time receive(const nkr::can::Frame& frame, Time now);
  /** Does all that is due until then, in order. @return when the next thing is due */
  Time advance(Time now);

 private:
  struct NKR_HIDDEN Impl;
  std::unique_ptr<Impl> impl_;
};

}  // namespace tav::drive

#endif
