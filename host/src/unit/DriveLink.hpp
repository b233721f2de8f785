#ifndef TAV_HOST_SRC_UNIT_DRIVELINK_HPP
#define TAV_HOST_SRC_UNIT_DRIVELINK_HPP

#include <atomic>
#include <memory>
#include <nkr/can/Bus.hpp>
#include <nkr/canopen/Client.hpp>
#include <nkr/tools/EDSParser.hpp>
#include <string>
#include <tav/host/HostNode.hpp>
#include <tav/host/Result.hpp>
#include <tav/host/UnitSettings.hpp>
#include <tavcore/CANOpenDispatcher.hpp>
#include <tavcore/Config.hpp>

#include "InterruptWatch.hpp"
#include "NodeEvents.hpp"
#include "UnitDispatcher.hpp"

namespace tav::host {

/** Everything between the program and one drive, in the order in which it is opened. */
class DriveLink {
 public:
  /** Opens what the settings do not give; the first thing that cannot be had ends it. */
  Result open(const UnitSettings& settings);

  /** An explanation that names the drive. */
  [[nodiscard]] Explanation explanation(Cause cause, nkr_error_t code, std::string action) const;
  /** Success for NKR_OK; else what the client noted of the request. */
  [[nodiscard]] Result check(nkr_error_t code, const std::string& action) const;
  /** FELL_SILENT for a drive of which nothing comes any more; REQUEST when it sends, but does not answer. */
  [[nodiscard]] static Cause cause_of_silence(const Explanation& explanation);
  /** Speaks to the drive under that node id from now on. */
  [[nodiscard]] Result address(std::uint8_t id);
  /** As long as it lives, the program's request to end ends what the drive is asked. */
  [[nodiscard]] InterruptWatch::Span interruptible() { return {watch, node, true}; }
  [[nodiscard]] InterruptWatch::Span not_interruptible() { return {watch, node, false}; }
  void warn(const Explanation& explanation) const;
  /** Sleeps; false, at once, when the program asked to end. */
  [[nodiscard]] bool wait_until(std::chrono::steady_clock::time_point time) const;
  [[nodiscard]] bool is_interrupted() const;
  [[nodiscard]] Result interrupted(std::string action) const;

  UnitSettings settings;
  std::shared_ptr<nkr::tavcore::Config> config;
  std::shared_ptr<const nkr::tools::EDSParser> description;
  std::uint8_t node = 0;
  std::shared_ptr<nkr::can::Bus> bus;
  std::shared_ptr<nkr::canopen::Client> client;
  std::shared_ptr<HostNode> host;
  std::unique_ptr<NodeEvents> events;
  std::shared_ptr<nkr::tavcore::CANOpenDispatcher> dispatcher;
  std::shared_ptr<UnitDispatcher> own_dispatcher;  ///< the same; null when the program brought one
  std::atomic<bool> is_ending{false};              ///< what is under way is to end, as for an interrupt
  InterruptWatch watch;

 private:
  Result open_config();
  Result read_configuration();
  Result open_description();
  Result open_bus();
  Result open_client();
  Result open_dispatcher();
};

}  // namespace tav::host

#endif
