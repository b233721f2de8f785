#ifndef TAVCTL_SESSION_SESSION_HPP
#define TAVCTL_SESSION_SESSION_HPP

#include <cstdint>
#include <memory>
#include <nkr/can/Bus.hpp>
#include <nkr/canopen/Client.hpp>
#include <nkr/tools/EDSParser.hpp>
#include <string>
#include <tavcore/CANOpenDispatcher.hpp>
#include <tavcore/Config.hpp>

#include "cli/Context.hpp"
#include "session/FailureLog.hpp"
#include "session/LocalDrive.hpp"
#include "trace/BusTrace.hpp"

namespace tavctl {

/**
 * Everything between the command line and the drive: configuration, description, bus (with a virtual drive on
 * the bus "virtual"), client and dispatcher, each opened in this order, and the trace when it is wanted.
 * Sends nothing on its own. Failure when any of them cannot be had.
 */
class Session {
 public:
  explicit Session(Context& context);
  ~Session();
  Session(const Session&) = delete;
  Session& operator=(const Session&) = delete;

  [[nodiscard]] Output& output() const { return output_; }
  [[nodiscard]] const std::shared_ptr<nkr::tavcore::Config>& config() const { return config_; }
  [[nodiscard]] const nkr::tools::EDSParser& description() const { return *description_; }
  [[nodiscard]] const std::shared_ptr<nkr::tavcore::CANOpenDispatcher>& dispatcher() const {
    return dispatcher_;
  }
  [[nodiscard]] nkr::canopen::Client& client() const { return *client_; }
  /** The client, for another dispatcher beside this session's. */
  [[nodiscard]] const std::shared_ptr<nkr::canopen::Client>& shared_client() const { return client_; }
  [[nodiscard]] nkr::can::Bus& bus() const { return *bus_; }

  /** Node id of the drive. */
  [[nodiscard]] std::uint8_t node() const { return node_; }
  /** "node 10 on can0". */
  [[nodiscard]] std::string where() const;

  /** Nothing when the result is NKR_OK; else a Failure: "cannot WHAT: ...", the object that failed, the code
   * and what helps. */
  void check(nkr_error_t result, const std::string& what) const;
  /** The failure that check() throws. */
  [[nodiscard]] Failure failure(nkr_error_t result, const std::string& what) const;

 private:
  Output& output_;
  BlackBox& black_box_;
  FailureLog failure_log_;
  std::shared_ptr<nkr::tavcore::Config> config_;
  std::unique_ptr<nkr::tools::EDSParser> description_;
  std::uint8_t node_;
  std::shared_ptr<nkr::can::Bus> bus_;
  std::unique_ptr<BusTrace> trace_;
  std::shared_ptr<nkr::canopen::Client> client_;
  std::unique_ptr<LocalDrive> local_drive_;
  std::shared_ptr<nkr::tavcore::CANOpenDispatcher> dispatcher_;
};

}  // namespace tavctl

#endif
