#ifndef TESTS_SYSTEM_FAULTRIG_HPP
#define TESTS_SYSTEM_FAULTRIG_HPP

#include <memory>
#include <nkr/can/Bus.hpp>
#include <nkr/can/InProcessBus.hpp>
#include <nkr/canopen/Client.hpp>
#include <nkr/time/VirtualTime.hpp>
#include <string>
#include <support/Operation.hpp>
#include <tav/drive/Runner.hpp>
#include <tav/drive/VirtualDrive.hpp>
#include <tavcore/CANOpenDispatcher.hpp>

#include "WatchedClient.hpp"

namespace tavtest {

/** What rigs of one operation have in common: the files. */
struct RigFiles {
  /** Of the drive: an object for each that the operation accesses, with the value that a read is to answer.
   * The names are not the operation's, so that the drive does nothing of its own with them. */
  std::string drive_description;
  std::string host_description;
  /** A scenario that gives the objects these values again. */
  std::string initial_values;
};
RigFiles files_of(const Operation& operation);

/** A dispatcher on the real client, a bus inside the process, and a drive whose scenarios disturb it: all in
 * a virtual time of their own, so that no verdict depends on how busy the machine is. */
class FaultRig {
 public:
  static constexpr std::chrono::milliseconds kTimeout{100};

  /** @param context tells the records of this rig from those of others that run at the same time
   *  @param grace   how long the client lets a late answer come before it asks again */
  FaultRig(const RigFiles& files, std::uint32_t context, std::chrono::milliseconds grace);

  void play(const std::string& scenario);
  [[nodiscard]] const nkr::time::VirtualTime& time() const { return time_; }
  /** Calls the operation once. */
  Outcome run(const Operation& operation, const RecordingLog& log);

 private:
  void await_boot_up();

  nkr::time::VirtualTime time_;  // of all that follows
  std::uint32_t context_;
  std::shared_ptr<nkr::can::InProcessBus> bus_ = std::make_shared<nkr::can::InProcessBus>();
  std::unique_ptr<tav::drive::VirtualDrive> drive_;
  std::unique_ptr<tav::drive::Runner> runner_;
  std::unique_ptr<nkr::canopen::Client> client_;
  std::shared_ptr<WatchedClient> watched_;
  std::unique_ptr<nkr::tavcore::CANOpenDispatcher> dispatcher_;
};

}  // namespace tavtest

#endif
