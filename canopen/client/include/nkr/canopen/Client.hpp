#ifndef NKR_CANOPEN_CLIENT_HPP
#define NKR_CANOPEN_CLIENT_HPP

#include <nkr/export.h>

#include <chrono>
#include <cstdint>
#include <functional>
#include <memory>
#include <nkr/can/Bus.hpp>
#include <nkr/canopen/ClientOptions.hpp>
#include <nkr/canopen/Emergency.hpp>
#include <nkr/canopen/Event.hpp>
#include <nkr/canopen/NodeConfiguration.hpp>
#include <nkr/canopen/RequestFailure.hpp>
#include <nkr/canopen/SdoTimeoutScope.hpp>
#include <nkr/canopen/Subscription.hpp>
#include <nkr/canopencore/IService.hpp>
#include <nkr/canopencore/ObjectAddress.hpp>
#include <ostream>
#include <string>
#include <vector>

namespace nkr::canopen {

/**
 * A CANopen client on a CAN bus: SDO client of every node, NMT master, consumer of heartbeats.
 *
 * Any thread may call any operation. Requests to one node queue in the order in which they came, requests to
 * several nodes run at once; a caller sends its request and takes the answer on its own thread. A call out of
 * a function that runs inside a request (an in-process bus runs handlers on the sender's thread) answers
 * NKR_CAN_WOULD_DEADLOCK where it would have to wait for another request.
 *
 * Results: NKR_OK; an SDO abort code of the node, or of the client itself (NKR_SDO_TIMED_OUT,
 * NKR_SDO_TOGGLE_BIT, NKR_SDO_UNKNOWN_COMMAND, NKR_SDO_LENGTH); NKR_CAN_... for what the bus refused. An
 * abort with a code below 0x05000000 is reported as NKR_SDO_GENERAL. NKR_CAN_NO_RESOURCES where the system
 * had no thread, descriptor or memory for it: nothing has happened then. No operation throws for what a
 * device, a bus or the system does.
 *
 * A request that timed out is aborted on the bus, and the same object is asked again only when the late
 * answer came or the grace time passed: a late answer is never taken for that of another request. The client
 * sends no download twice on its own.
 */
class NKR_EXPORT Client final : public canopencore::IService {
 public:
  using Duration = std::chrono::milliseconds;

  /** Opens the bus; isInitialized() tells whether that succeeded. An interface that is missing is opened when
   * it comes; until then requests answer why there is none. */
  explicit Client(std::shared_ptr<can::Bus> bus, const ClientOptions& options = {});
  /** Closes. No call may be under way or follow. */
  ~Client() override;
  Client(const Client&) = delete;
  Client& operator=(const Client&) = delete;

  /** Ends the client: wakes every waiting call; these and all later ones answer NKR_CAN_CLOSED. When it
   * returns no handler of events runs any more, unless it is called from inside one. */
  void close();
  [[nodiscard]] bool isInitialized() const override;

  /** @name Time-outs of SDO requests
   * What holds, first to last: the calling thread's SdoTimeoutScope, the object's, the node's, the client's.
   * 0 takes back what was set for a node or object; of the client's, 0 or less takes only what is there at
   * once. A time-out covers the wait for other requests to the node, and then each answer anew.
   * @{ */
  void setTimeout(Duration timeout);
  [[nodiscard]] nkr_error_t setNodeTimeout(std::uint8_t nodeId, Duration timeout);
  void setObjectTimeout(canopencore::ObjectAddress address, Duration timeout);
  /** @} */

  /**
   * An upload that brings more or fewer bytes than the node stated is aborted with NKR_SDO_LENGTH_HIGH or
   * NKR_SDO_LENGTH_LOW. For a node that is known to state wrong sizes: they are not looked at.
   */
  [[nodiscard]] nkr_error_t setStatedSizesIgnored(std::uint8_t nodeId, bool ignored);

  /**
   * Ends all requests that are there, running and waiting, those that nobody waits for included: they answer
   * NKR_CAN_CANCELLED. The nodes that are at work on one are sent an SDO abort with code 0x08000000. Later
   * requests are made as usual. From any thread, but not from a signal handler; waits for nothing.
   */
  void cancelRequests();
  /** The same for the requests to one node; nothing for what is no node id. */
  void cancelRequests(std::uint8_t nodeId);

  /** The silence after which a node whose heartbeat was heard counts as lost; 0 or less: it never does. */
  [[nodiscard]] nkr_error_t setHeartbeatTimeout(std::uint8_t nodeId, Duration timeout);

  /** Whether heartbeats tell that two nodes have this id: they come too often, or their states take turns.
   * Half a second to a few seconds of them tell it, or the event TWO_NODES. */
  [[nodiscard]] bool hearsTwoNodes(std::uint8_t nodeId) const;

  /** When the node gives no sign of life within that time, the event NEVER_HEARD tells. */
  [[nodiscard]] nkr_error_t expectNode(std::uint8_t nodeId, Duration within);

  /**
   * Guards a node that has no heartbeat (CiA 301, 7.2.8.2.2): asks it for its state by a remote frame once
   * every guard time, and counts it as lost after guardTime x lifeTimeFactor without an answer; the events
   * are those of the heartbeat, and so is what getNMTState says. The node's own guard time and life time
   * factor are its objects 100Ch and 100Dh. Not for a node that produces a heartbeat: its messages have no
   * toggle bit. CiA advises the heartbeat for all new devices.
   * @return NKR_ERROR for a guard time that is not positive or a factor of 0
   */
  [[nodiscard]] nkr_error_t startNodeGuarding(std::uint8_t nodeId, Duration guardTime,
                                              unsigned lifeTimeFactor);
  [[nodiscard]] nkr_error_t stopNodeGuarding(std::uint8_t nodeId);

  /**
   * What is to be in the node: written and read back now, when the node starts, and when the node or the bus
   * returns from a loss. The events CONFIGURED, RECOVERED and CONFIGURATION_FAILED tell of it; a node that is
   * not there is served when it comes. A node that did not restart and still has it all is not written to.
   * Nothing starts the node or its motion: that is the application's. Replaces what was set before; an empty
   * configuration ends it.
   * @return NKR_ERROR for an object that commands motion (control word 6040h, mode 6060h, set-points such as
   * 6042h; of each axis)
   */
  [[nodiscard]] nkr_error_t setNodeConfiguration(std::uint8_t nodeId, NodeConfiguration configuration);

  /** @name What the host sends by the clock
   * The host's heartbeat lets a drive notice that the host died (object 1016h). It also starts by the
   * options. All of it ends with close(). What the bus cannot take at once is tried again until the next
   * turn; neither waits for the other. NKR_ERROR for a period that is not positive.
   * @{ */
  [[nodiscard]] nkr_error_t startHeartbeat(std::uint8_t nodeId, Duration period);
  void stopHeartbeat();
  [[nodiscard]] nkr_error_t startSync(std::chrono::microseconds period);
  void stopSync();
  /** @} */

  /** @name Events
   * Handlers run one after the other on a thread of their own and may call the client, unsubscribe and
   * close() included. They must not destroy it. Up to 16,384 events wait for a slow handler; what comes then
   * is lost. What a handler throws is caught and counted.
   * @{ */
  /** A number for unsubscribe; 0 when the client is closed, for an empty handler and without a thread. */
  int subscribe(EventHandler handler);
  /** The same, and it ends with `subscription`. NKR_OK; NKR_CAN_CLOSED; NKR_ERROR for an empty handler. */
  [[nodiscard]] nkr_error_t subscribe(EventHandler handler, Subscription& subscription);
  /** When it returns the handler runs no more, unless it is called from inside a handler. */
  void unsubscribe(int subscription);
  /** @} */

  /** How often a handler, of events or of a request, or the resolver of names ended by throwing. */
  [[nodiscard]] std::uint64_t getHandlerExceptions() const;

  /** The node's emergency messages, oldest first; the last 256 are kept. */
  [[nodiscard]] std::vector<Emergency> getEmergencies(std::uint8_t nodeId) const;
  /** The errors that the node told and did not take back: it does so for all of them with code 00xxh and an
   * error register of 0, and by restarting. Of more than 256 codes the last ones. */
  [[nodiscard]] std::vector<Emergency> getActiveEmergencies(std::uint8_t nodeId) const;

  /** The calling thread's last request to the node that failed; NKR_NOT_AVAILABLE when none did. */
  [[nodiscard]] nkr_error_t getLastFailure(std::uint8_t nodeId, RequestFailure& failure) const;
  NKR_NODISCARD nkr_error_t getLastFailureText(const std::uint8_t& nodeId, std::string& text) override;
  /** Writes the last frames that this client sent and received as a candump log. */
  void writeFrames(std::ostream& log) const;
  /** How objects are named in failures: the client itself knows no EDS. */
  void setObjectNameResolver(ObjectNameResolver resolver);

  NKR_NODISCARD nkr_error_t getBytes(const std::uint8_t& nodeId, const std::uint32_t& address,
                                     std::vector<std::uint8_t>& value) override;
  NKR_NODISCARD nkr_error_t setBytes(const std::uint8_t& nodeId, const std::uint32_t& address,
                                     const std::vector<std::uint8_t>& value) override;

  /** @name Requests that nobody waits for
   * They are made on threads of the client, a few in all: those to one node one after the other, in the order
   * of the calls, those to several nodes at once. The handler is called there, once, with what getBytes or
   * setBytes would have answered (NKR_CAN_CLOSED when the client is closed before); it may call the client,
   * but not destroy it; what it throws is caught and counted. The calling thread's SdoTimeoutScope holds.
   * When close() returns no handler runs any more, unless close() is called from inside a handler.
   *
   * A handler that takes a third, or second, argument gets what is known of a failure; null when there was
   * none, or the request was not made at all.
   * @return NKR_OK; else the handler is not called: NKR_CAN_INVALID_NODE, NKR_CAN_NOT_CONNECTED,
   * NKR_CAN_CLOSED; NKR_CAN_TX_OVERFLOW when 1,024 requests to the node wait; NKR_ERROR for an empty handler
   * @{ */
  using ReadHandler = std::function<void(nkr_error_t result, std::vector<std::uint8_t> value)>;
  using WriteHandler = std::function<void(nkr_error_t result)>;
  using ReadReportHandler =
      std::function<void(nkr_error_t result, std::vector<std::uint8_t> value, const RequestFailure* failure)>;
  using WriteReportHandler = std::function<void(nkr_error_t result, const RequestFailure* failure)>;
  [[nodiscard]] nkr_error_t readLater(std::uint8_t nodeId, canopencore::ObjectAddress address,
                                      ReadHandler handler);
  [[nodiscard]] nkr_error_t readLater(std::uint8_t nodeId, canopencore::ObjectAddress address,
                                      ReadReportHandler handler);
  [[nodiscard]] nkr_error_t writeLater(std::uint8_t nodeId, canopencore::ObjectAddress address,
                                       std::vector<std::uint8_t> value, WriteHandler handler);
  [[nodiscard]] nkr_error_t writeLater(std::uint8_t nodeId, canopencore::ObjectAddress address,
                                       std::vector<std::uint8_t> value, WriteReportHandler handler);
  /** @} */

  /**
   * One exchange of process data. The order goes to object 6042h:00 (vl target velocity, CiA 402) as a signed
   * 16-bit value when the flag is set; then the three objects of the request come in.
   *
   * While the node's heartbeat says operational, what the node maps into TPDOs that it sends on every SYNC
   * (transmission type 1) is taken from the PDOs that follow the SYNC that this call sends, all of the same
   * SYNC; and the order goes by RPDO when the node maps it into one that holds nothing else. All the rest
   * goes by SDO: the order before the SYNC, the values after it. The node's mapping is read once, and again
   * after its boot-up, after a write to its PDO parameters by this client and after a time-out. `out` changes
   * only when all of it succeeded.
   * @return NKR_SDO_INVALID_VALUE, with nothing sent, for an order outside 16 bits; NKR_SDO_TIMED_OUT when a
   * PDO does not come
   */
  NKR_NODISCARD nkr_error_t sync(const canopenservice::TavIn& request, canopenservice::TavOut& out) override;
  NKR_NODISCARD nkr_error_t broadcastNMTCommand(const canopencore::NMTCommand& command) override;
  NKR_NODISCARD nkr_error_t sendSync() override;
  /** NKR_NOT_AVAILABLE for a node never heard; the most that the number holds after 49 days. */
  NKR_NODISCARD nkr_error_t getTimeSinceHeard(const std::uint8_t& nodeId,
                                              std::uint32_t& milliseconds) override;

  NKR_NODISCARD nkr_error_t getNMTState(const std::uint8_t& nodeId, canopencore::NMTState& state) override;
  /** NKR_ERROR for a command that CiA 301 does not define; nothing is sent. */
  NKR_NODISCARD nkr_error_t setNMTState(const std::uint8_t& nodeId,
                                        const canopencore::NMTCommand& command) override;

  /** @name Typed reads and writes
   * The low byte of an address is ignored; the C++ type gives the number of bytes written. A read into a type
   * wider than the object extends the value: signed types by sign, unsigned ones by zeros; a double takes a
   * REAL32. An object wider than the type answers NKR_SDO_LENGTH. After any failure the value is as before.
   * @{ */
  NKR_NODISCARD nkr_error_t getValue(const std::uint8_t& nodeId, const std::uint32_t& address,
                                     std::string& value) override;
  NKR_NODISCARD nkr_error_t setValue(const std::uint8_t& nodeId, const std::uint32_t& address,
                                     const std::string& value) override;
  NKR_NODISCARD nkr_error_t getValue(const std::uint8_t& nodeId, const std::uint32_t& address,
                                     std::int64_t& value) override;
  NKR_NODISCARD nkr_error_t setValue(const std::uint8_t& nodeId, const std::uint32_t& address,
                                     const std::int64_t& value) override;
  NKR_NODISCARD nkr_error_t getValue(const std::uint8_t& nodeId, const std::uint32_t& address,
                                     std::int32_t& value) override;
  NKR_NODISCARD nkr_error_t setValue(const std::uint8_t& nodeId, const std::uint32_t& address,
                                     const std::int32_t& value) override;
  NKR_NODISCARD nkr_error_t getValue(const std::uint8_t& nodeId, const std::uint32_t& address,
                                     std::int16_t& value) override;
  NKR_NODISCARD nkr_error_t setValue(const std::uint8_t& nodeId, const std::uint32_t& address,
                                     const std::int16_t& value) override;
  NKR_NODISCARD nkr_error_t getValue(const std::uint8_t& nodeId, const std::uint32_t& address,
                                     std::int8_t& value) override;
  NKR_NODISCARD nkr_error_t setValue(const std::uint8_t& nodeId, const std::uint32_t& address,
                                     const std::int8_t& value) override;
  NKR_NODISCARD nkr_error_t getValue(const std::uint8_t& nodeId, const std::uint32_t& address,
                                     std::uint64_t& value) override;
  NKR_NODISCARD nkr_error_t setValue(const std::uint8_t& nodeId, const std::uint32_t& address,
                                     const std::uint64_t& value) override;
  NKR_NODISCARD nkr_error_t getValue(const std::uint8_t& nodeId, const std::uint32_t& address,
                                     std::uint32_t& value) override;
  NKR_NODISCARD nkr_error_t setValue(const std::uint8_t& nodeId, const std::uint32_t& address,
                                     const std::uint32_t& value) override;
  NKR_NODISCARD nkr_error_t getValue(const std::uint8_t& nodeId, const std::uint32_t& address,
                                     std::uint16_t& value) override;
  NKR_NODISCARD nkr_error_t setValue(const std::uint8_t& nodeId, const std::uint32_t& address,
                                     const std::uint16_t& value) override;
  NKR_NODISCARD nkr_error_t getValue(const std::uint8_t& nodeId, const std::uint32_t& address,
                                     std::uint8_t& value) override;
  NKR_NODISCARD nkr_error_t setValue(const std::uint8_t& nodeId, const std::uint32_t& address,
                                     const std::uint8_t& value) override;
  NKR_NODISCARD nkr_error_t getValue(const std::uint8_t& nodeId, const std::uint32_t& address,
                                     float& value) override;
  NKR_NODISCARD nkr_error_t setValue(const std::uint8_t& nodeId, const std::uint32_t& address,
                                     const float& value) override;
  NKR_NODISCARD nkr_error_t getValue(const std::uint8_t& nodeId, const std::uint32_t& address,
                                     double& value) override;
  NKR_NODISCARD nkr_error_t setValue(const std::uint8_t& nodeId, const std::uint32_t& address,
                                     const double& value) override;
  NKR_NODISCARD nkr_error_t getValue(const std::uint8_t& nodeId, const std::uint32_t& address,
                                     bool& value) override;
  NKR_NODISCARD nkr_error_t setValue(const std::uint8_t& nodeId, const std::uint32_t& address,
                                     const bool& value) override;
  /** @} */

 private:
  class NKR_HIDDEN Core;
  std::unique_ptr<Core> core_;
};

}  // namespace nkr::canopen

#endif
