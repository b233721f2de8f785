#ifndef NKR_CANOPEN_CORE_HPP
#define NKR_CANOPEN_CORE_HPP

#include <array>
#include <atomic>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <nkr/can/trace.hpp>
#include <nkr/canopen/Client.hpp>
#include <ostream>
#include <type_traits>

#include "emcy/EmergencyHistory.hpp"
#include "nmt/HeartbeatProducer.hpp"
#include "nmt/NmtMonitor.hpp"
#include "nmt/NodeGuarding.hpp"
#include "nmt/Recovery.hpp"
#include "pdo/PdoExchange.hpp"
#include "pdo/SyncProducer.hpp"
#include "requests/Diagnosis.hpp"
#include "requests/FailureRecords.hpp"
#include "requests/NodeChannel.hpp"
#include "requests/PortBudget.hpp"
#include "requests/RequestPool.hpp"
#include "requests/Timeouts.hpp"
#include "runtime/DeferredPort.hpp"
#include "runtime/EventQueue.hpp"
#include "runtime/HeardTimes.hpp"
#include "runtime/Listener.hpp"
#include "runtime/Timers.hpp"
#include "sdo/UploadSink.hpp"
#include "sdo/numbers.hpp"

namespace nkr::canopen {

/** The parts of a client and how they work together. */
class Client::Core final : private Recovery::Access {
 public:
  Core(std::shared_ptr<can::Bus> bus, const ClientOptions& options);
  ~Core() override;
  Core(const Core&) = delete;
  Core& operator=(const Core&) = delete;

  static bool is_node(std::uint8_t node) { return node >= 1 && node <= kLastNode; }

  void close();
  [[nodiscard]] bool is_ready() const { return refusal() == NKR_OK; }

  /** `by_block`: the object may be long. */
  nkr_error_t upload(std::uint8_t node, std::uint32_t address, sdo::UploadSink& sink, bool by_block = false);
  nkr_error_t download(std::uint8_t node, std::uint32_t address, const std::uint8_t* bytes, std::size_t size);
  /** Numbers as objects hold them: an object narrower than the type is extended. */
  template <class Integer>
  nkr_error_t read_integer(std::uint8_t node, std::uint32_t address, Integer& value);
  template <class Integer>
  nkr_error_t write_integer(std::uint8_t node, std::uint32_t address, Integer value);
  /** Has it done on a thread of the client, with the calling thread's time-out scope. */
  using LaterRequest = std::function<void(bool cancelled)>;
  nkr_error_t later(std::uint8_t node, LaterRequest request);
  /** Ends the requests that are there, those that nobody waits for included. */
  void cancel_requests();
  void cancel_requests(std::uint8_t node);
  void ignore_stated_sizes(std::uint8_t node, bool ignored);
  nkr_error_t send_nmt(canopencore::NMTCommand command, std::uint8_t node);
  nkr_error_t send_sync();
  /** The node shall give a sign of life within that time. */
  nkr_error_t expect(std::uint8_t node, Duration within);
  nkr_error_t set_heartbeat_timeout(std::uint8_t node, Duration timeout);
  nkr_error_t start_guarding(std::uint8_t node, Duration guard_time, unsigned life_time_factor);
  void stop_guarding(std::uint8_t node);
  nkr_error_t keep_configuration(std::uint8_t node, NodeConfiguration configuration);

  /** NKR_OK when requests can be made. */
  [[nodiscard]] nkr_error_t refusal() const;
  /** NKR_OK when requests to the node can be made. */
  [[nodiscard]] nkr_error_t refusal(std::uint8_t node) const;

  void write_frames(std::ostream& log) const;
  /** The node's process data; null when PDOs cannot be relied on: it is not known to be operational. */
  PdoExchange* usable_pdos(std::uint8_t node);

  Timeouts& timeouts() { return timeouts_; }
  NmtMonitor& nmt() { return nmt_; }
  EmergencyHistory& emergencies() { return emergencies_; }
  FailureRecords& failures() { return failures_; }
  std::shared_ptr<EventQueue> events() { return events_; }
  /** How often what the application gave was called and ended by throwing. */
  [[nodiscard]] std::uint64_t handler_exceptions() const;
  /** Null without a bus. */
  HeartbeatProducer* heartbeat() { return heartbeat_.get(); }
  /** Null without a bus. */
  SyncProducer* sync() { return sync_.get(); }
  [[nodiscard]] const HeardTimes& heard() const { return heard_; }

 private:
  static constexpr std::uint8_t kLastNode = 127;
  using TimePoint = can::Clock::time_point;

  template <class Transfer>
  nkr_error_t request(std::uint8_t node, std::uint32_t address, bool is_write, const Transfer& transfer);
  void note_failure(std::uint8_t node, sdo::Multiplexer object, bool is_write, const TransferResult& result);
  [[nodiscard]] Circumstances circumstances(std::uint8_t node, const TransferResult& result,
                                            TimePoint now) const;

  void received(nkr_error_t result, const can::Frame& frame);
  void arrived(const can::Frame& frame);
  void error_control_arrived(const can::Frame& frame, TimePoint now);
  void forget_pdos(std::uint8_t node);
  void bus_failed(nkr_error_t result);
  void happened(const Event& event);
  bool watch_heartbeats();
  void abort_transfer(std::uint8_t node, sdo::Multiplexer object);

  // For the recovery:
  nkr_error_t write(std::uint8_t node, const ObjectValue& value) override;
  nkr_error_t compare(std::uint8_t node, const ObjectValue& value) override;
  [[nodiscard]] bool bus_is_there() const override;

  const ClientOptions options_;
  const std::unique_ptr<can::FrameHistory> history_;  ///< null when none is kept
  const std::shared_ptr<can::Bus> shared_replies_;    ///< null without a bus, as the next
  const std::shared_ptr<can::Bus> bus_;
  std::atomic<bool> closed_{false};
  bool bus_failed_ = false;  ///< of the listener's thread
  bool watches_ = true;      ///< so is this: the timers look at the heartbeats
  bool is_complete_ = true;  ///< the system had all the threads that it needs
  std::array<std::atomic<unsigned>, kLastNode + 1> cancellations_{};  ///< by node id
  Timeouts timeouts_;
  HeardTimes heard_;
  NmtMonitor nmt_;
  EmergencyHistory emergencies_;
  FailureRecords failures_;
  PortBudget budget_;
  std::array<std::unique_ptr<NodeChannel>, kLastNode + 1> channels_;  ///< by node id; none for 0
  std::unique_ptr<DeferredPort> port_;  ///< for all that is no SDO; null without a bus
  std::unique_ptr<HeartbeatProducer> heartbeat_;
  std::unique_ptr<SyncProducer> sync_;
  std::unique_ptr<NodeGuarding> guarding_;
  std::mutex process_data_mutex_;
  std::array<std::unique_ptr<PdoExchange>, kLastNode + 1> process_data_;  ///< of those that were asked for
  // The threads end before what they work on.
  const std::shared_ptr<EventQueue> events_ = std::make_shared<EventQueue>();
  RequestPool requests_;
  Recovery recovery_{*this, *events_};
  Timers timers_;
  Listener listener_;
};

template <class Integer>
nkr_error_t Client::Core::read_integer(std::uint8_t node, std::uint32_t address, Integer& value) {
  sdo::NumberSink sink(sizeof(Integer));
  const nkr_error_t result = upload(node, address, sink);
  if (result != NKR_OK) return result;
  if (sink.size() == 0) return NKR_SDO_LENGTH;
  const std::uint64_t number = number_of(sink.bytes(), sink.size());
  const auto width = static_cast<unsigned>(sink.size()) * kBitsPerByte;
  value = static_cast<Integer>(std::is_signed_v<Integer> ? sign_extended(number, width) : number);
  return NKR_OK;
}

template <class Integer>
nkr_error_t Client::Core::write_integer(std::uint8_t node, std::uint32_t address, Integer value) {
  const auto bytes = bytes_of(static_cast<std::make_unsigned_t<Integer>>(value));
  return download(node, address, bytes.data(), bytes.size());
}

}  // namespace nkr::canopen

#endif
