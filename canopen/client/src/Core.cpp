#include "Core.hpp"

#include <nkr/canopen/SdoTimeoutScope.hpp>
#include <nkr/time/clock.hpp>
#include <optional>
#include <utility>

#include "requests/SharedReplies.hpp"
#include "sdo/Frames.hpp"

namespace nkr::canopen {

using can::Clock;

namespace {

constexpr std::uint32_t kFunctionMask = 0x780;
constexpr std::uint32_t kErrorControl = 0x700;
constexpr std::uint32_t kEmergency = 0x080;
constexpr std::uint32_t kNodeMask = 0x07F;
constexpr std::uint32_t kNmtCommandId = 0x000;
constexpr std::uint8_t kAllNodes = 0;

/** How long ago "a moment ago" may be when a failure is explained. */
constexpr std::chrono::seconds kBooting{3};
constexpr std::chrono::seconds kRecently{10};

bool is_defined(canopencore::NMTCommand command) {
  switch (command) {
    case canopencore::NMTCommand::START_REMOTE_NODE:
    case canopencore::NMTCommand::STOP_REMOTE_NODE:
    case canopencore::NMTCommand::ENTER_PRE_OPERATIONAL:
    case canopencore::NMTCommand::RESET_NODE:
    case canopencore::NMTCommand::RESET_COMMUNICATION:
      return true;
  }
  return false;
}

bool resets(canopencore::NMTCommand command) {
  return command == canopencore::NMTCommand::RESET_NODE ||
         command == canopencore::NMTCommand::RESET_COMMUNICATION;
}

/** Communication and mapping parameters of RPDOs and TPDOs. */
bool is_pdo_parameter(sdo::Multiplexer object) {
  return object.index >= 0x1400 && object.index <= 0x1BFF;
}

std::chrono::milliseconds milliseconds(Clock::duration duration) {
  return std::chrono::duration_cast<std::chrono::milliseconds>(duration);
}

std::unique_ptr<can::FrameHistory> make_history(std::size_t frames) {
  return frames == 0 ? nullptr : std::make_unique<can::FrameHistory>(frames);
}

/** The bus, with all frames of our own ports kept in the history. */
std::shared_ptr<can::Bus> recorded(std::shared_ptr<can::Bus> bus, can::FrameHistory* history) {
  if (!bus || history == nullptr) return bus;
  return std::make_shared<can::TracingBus>(
      std::move(bus), [history](const can::TracedFrame& frame) { history->record(frame); });
}

}  // namespace

Client::Core::Core(std::shared_ptr<can::Bus> bus, const ClientOptions& options)
    : options_(options),
      history_(make_history(options.frame_history)),
      shared_replies_(recorded(bus ? std::make_shared<SharedReplies>(bus) : nullptr, history_.get())),
      bus_(recorded(std::move(bus), history_.get())),
      timeouts_(options.sdo_timeout, options.store_timeout),
      nmt_(options.heartbeat_timeout, [this](const Event& event) { happened(event); }) {
  if (!bus_) return;
  for (std::uint8_t node = 1; node <= kLastNode; ++node)
    channels_.at(node) =
        std::make_unique<NodeChannel>(*bus_, *shared_replies_, node, options_, heard_, budget_);
  const std::vector<can::Filter> filters{{kErrorControl, kFunctionMask}, {kEmergency, kFunctionMask}};
  port_ = std::make_unique<DeferredPort>(*bus_, filters);
  port_->open();
  timers_.set(Timers::Slot::HEARTBEAT_CONSUMER, TimePoint::max(), [this](TimePoint /*due*/) {
    nmt_.check(time::now());
    return nmt_.next_check();
  });
  heartbeat_ = std::make_unique<HeartbeatProducer>(*port_, timers_);
  sync_ = std::make_unique<SyncProducer>(*port_, timers_, options_.sync_counter_overflow);
  guarding_ = std::make_unique<NodeGuarding>(*port_, timers_);
  if (is_node(options_.host_node_id))
    is_complete_ = heartbeat_->start(options_.host_node_id, options_.host_heartbeat_period);
  const bool listens = listener_.start(
      *port_, [this](nkr_error_t result, const can::Frame& frame) { received(result, frame); });
  is_complete_ = is_complete_ && listens;
}

Client::Core::~Core() {
  close();
}

void Client::Core::close() {
  closed_ = true;
  recovery_.close();
  timers_.close();
  for (std::uint8_t node = 1; node <= kLastNode && port_; ++node) {
    sdo::Multiplexer object;
    if (channels_.at(node)->close(object)) abort_transfer(node, object);
  }
  if (port_) port_->close();
  {
    const std::lock_guard<std::mutex> lock(process_data_mutex_);
    for (const auto& data : process_data_) {
      if (data) data->close();
    }
  }
  // Last: handlers may wait for an answer.
  requests_.close(!events_->is_own_thread());
  events_->close();
}

void Client::Core::cancel_requests() {
  for (std::uint8_t node = 1; node <= kLastNode; ++node) cancel_requests(node);
}

void Client::Core::cancel_requests(std::uint8_t node) {
  if (!is_node(node)) return;
  ++cancellations_.at(node);
  sdo::Multiplexer object;
  if (port_ && channels_.at(node)->cancel(object)) abort_transfer(node, object);
}

/** The server shall not wait for the rest; nobody waits for the frame's way. */
void Client::Core::abort_transfer(std::uint8_t node, sdo::Multiplexer object) {
  port_->send(sdo::abort_frame(node, object, NKR_SDO_GENERAL), can::Deadline::passed());
}

void Client::Core::ignore_stated_sizes(std::uint8_t node, bool ignored) {
  if (channels_.at(node)) channels_.at(node)->ignore_stated_sizes(ignored);
}

std::uint64_t Client::Core::handler_exceptions() const {
  return events_->thrown() + requests_.thrown() + failures_.thrown();
}

nkr_error_t Client::Core::refusal() const {
  if (!port_) return NKR_CAN_NOT_CONNECTED;
  if (closed_.load()) return NKR_CAN_CLOSED;
  return is_complete_ ? port_->open() : NKR_CAN_NO_RESOURCES;
}

nkr_error_t Client::Core::refusal(std::uint8_t node) const {
  return is_node(node) ? refusal() : NKR_CAN_INVALID_NODE;
}

template <class Transfer>
nkr_error_t Client::Core::request(std::uint8_t node, std::uint32_t address, bool is_write,
                                  const Transfer& transfer) {
  if (!is_node(node)) return NKR_CAN_INVALID_NODE;
  const auto object = sdo::Multiplexer::of_address(address);
  const nkr_error_t refused = refusal();
  const TransferResult result =
      refused == NKR_OK ? transfer(*channels_[node], TransferRequest{object, timeouts_.of(node, object)})
                        : TransferResult{refused, false, false, {}, {}};
  if (result.code == NKR_OK) {
    failures_.succeeded(node, object.address());
  } else if (result.code != NKR_CAN_WOULD_DEADLOCK) {
    note_failure(node, object, is_write, result);
  }
  return result.code;
}

nkr_error_t Client::Core::upload(std::uint8_t node, std::uint32_t address, sdo::UploadSink& sink,
                                 bool by_block) {
  return request(node, address, false, [&](NodeChannel& channel, const TransferRequest& wanted) {
    return channel.upload(wanted, sink, by_block);
  });
}

nkr_error_t Client::Core::download(std::uint8_t node, std::uint32_t address, const std::uint8_t* bytes,
                                   std::size_t size) {
  const nkr_error_t result =
      request(node, address, true, [&](NodeChannel& channel, const TransferRequest& wanted) {
        return channel.download(wanted, bytes, size);
      });
  if (is_pdo_parameter(sdo::Multiplexer::of_address(address)) && is_node(node)) forget_pdos(node);
  return result;
}

nkr_error_t Client::Core::later(std::uint8_t node, LaterRequest request) {
  if (!is_node(node)) return NKR_CAN_INVALID_NODE;
  if (!port_) return NKR_CAN_NOT_CONNECTED;
  const unsigned cancellations = cancellations_.at(node).load();
  const SdoTimeoutScope* const scope = SdoTimeoutScope::innermost();
  const auto timeout = scope != nullptr ? std::optional(scope->timeout()) : std::nullopt;
  return requests_.add(node, [this, node, cancellations, timeout, inner = std::move(request)] {
    std::optional<SdoTimeoutScope> same;
    if (timeout) same.emplace(*timeout);
    inner(cancellations != cancellations_.at(node).load());
  });
}

void Client::Core::note_failure(std::uint8_t node, sdo::Multiplexer object, bool is_write,
                                const TransferResult& result) {
  const TimePoint now = time::now();
  RequestFailure failure;
  failure.node = node;
  failure.address = canopencore::ObjectAddress::of(object.address());
  failure.was_write = is_write;
  failure.code = result.code;
  if (result.waiting_since != TimePoint{}) failure.elapsed = milliseconds(now - result.waiting_since);
  failure.when = time::calendar_now();
  failure.bus_name = bus_ ? bus_->name() : "none";
  if (port_) failure.bus = port_->status();
  TimePoint heard;
  if (heard_.last(node, heard)) {
    failure.last_heard = milliseconds(now - heard);
  } else {
    failure.other_node = heard_.any_node();
  }
  failure.nmt_state = nmt_.state(node, now);
  TimePoint lost;
  failure.heartbeat_lost = nmt_.is_lost(node, now, lost);
  Circumstances found = circumstances(node, result, now);
  found.fell_silent = failure.heartbeat_lost && heard <= lost;
  // What it answered before says nothing of now.
  if (failure.heartbeat_lost && result.last_answer <= lost) found.answered_other_requests = false;
  failure.cause = likely_cause(failure, found);
  if (history_ && failure.cause != FailureCause::REFUSED_BY_NODE)
    failure.frames = std::make_shared<const std::vector<can::TracedFrame>>(history_->frames());
  failures_.failed(std::move(failure));
}

Circumstances Client::Core::circumstances(std::uint8_t node, const TransferResult& result,
                                          TimePoint now) const {
  const bool answered = result.last_answer != TimePoint{};
  TimePoint booted;
  const bool booting = nmt_.is_booting(node, booted);
  Circumstances found;
  found.by_node = result.by_node;
  found.queued = result.queued;
  found.just_booted = booting && now - booted < kBooting && (!answered || result.last_answer < booted);
  found.answered_other_requests = answered && now - result.last_answer < kRecently;
  return found;
}

nkr_error_t Client::Core::send_nmt(canopencore::NMTCommand command, std::uint8_t node) {
  if (!is_defined(command)) return NKR_ERROR;
  const nkr_error_t refused = refusal();
  if (refused != NKR_OK) return refused;
  if (resets(command)) {
    for (std::uint8_t id = 1; id <= kLastNode; ++id) {
      if (node == id || node == kAllNodes) nmt_.reset_commanded(id);
    }
  }
  return port_->send({kNmtCommandId, {static_cast<std::uint8_t>(command), node}}, options_.sdo_timeout);
}

nkr_error_t Client::Core::send_sync() {
  const nkr_error_t refused = refusal();
  return refused == NKR_OK ? sync_->send(options_.sdo_timeout) : refused;
}

void Client::Core::write_frames(std::ostream& log) const {
  if (history_) history_->write(log, bus_ ? bus_->name() : "none");
}

PdoExchange* Client::Core::usable_pdos(std::uint8_t node) {
  if (nmt_.state(node, time::now()) != canopencore::NMTState::OPERATIONAL) {
    forget_pdos(node);
    return nullptr;
  }
  const std::lock_guard<std::mutex> lock(process_data_mutex_);
  std::unique_ptr<PdoExchange>& data = process_data_.at(node);
  if (!data) data = std::make_unique<PdoExchange>(*bus_, *port_, *sync_, options_.late_reply_grace);
  if (closed_.load()) data->close();
  return data.get();
}

void Client::Core::forget_pdos(std::uint8_t node) {
  const std::lock_guard<std::mutex> lock(process_data_mutex_);
  if (process_data_.at(node)) process_data_.at(node)->forget();
}

nkr_error_t Client::Core::expect(std::uint8_t node, Duration within) {
  TimePoint heard;
  if (heard_.last(node, heard)) return NKR_OK;
  nmt_.expect(node, can::time_after(time::now(), within));
  return watch_heartbeats() ? NKR_OK : NKR_CAN_NO_RESOURCES;
}

nkr_error_t Client::Core::set_heartbeat_timeout(std::uint8_t node, Duration timeout) {
  nmt_.set_heartbeat_timeout(node, timeout);
  return watch_heartbeats() ? NKR_OK : NKR_CAN_NO_RESOURCES;
}

nkr_error_t Client::Core::start_guarding(std::uint8_t node, Duration guard_time, unsigned life_time_factor) {
  const bool fits = guard_time <= Duration::max() / life_time_factor;
  const Duration life_time = fits ? guard_time * life_time_factor : Duration::max();
  nmt_.start_guarding(node, life_time, time::now());
  if (guarding_->start(node, guard_time) && watch_heartbeats()) return NKR_OK;
  nmt_.stop_guarding(node);
  return NKR_CAN_NO_RESOURCES;
}

void Client::Core::stop_guarding(std::uint8_t node) {
  guarding_->stop(node);
  nmt_.stop_guarding(node);
}

nkr_error_t Client::Core::keep_configuration(std::uint8_t node, NodeConfiguration configuration) {
  if (!port_) return NKR_CAN_NOT_CONNECTED;
  if (closed_.load()) return NKR_CAN_CLOSED;
  for (const ObjectValue& value : configuration) {
    if (commands_motion(value.address)) return NKR_ERROR;
  }
  return recovery_.keep(node, std::move(configuration));
}

nkr_error_t Client::Core::write(std::uint8_t node, const ObjectValue& value) {
  return download(node, value.address, value.bytes.data(), value.bytes.size());
}

/** What can only be written cannot be compared. */
nkr_error_t Client::Core::compare(std::uint8_t node, const ObjectValue& value) {
  sdo::BytesSink sink;
  const nkr_error_t result = upload(node, value.address, sink);
  if (result != NKR_OK) return result == NKR_SDO_WRITE_ONLY ? NKR_OK : result;
  std::vector<std::uint8_t>& bytes = sink.bytes();
  if (!sink.size_stated() && bytes.size() > value.bytes.size()) bytes.resize(value.bytes.size());
  return bytes == value.bytes ? NKR_OK : NKR_ERROR;
}

bool Client::Core::bus_is_there() const {
  const can::BusState state = port_->status().state;
  return state != can::BusState::INTERFACE_GONE && state != can::BusState::BUS_OFF;
}

/** Has the timers look at the heartbeats when the earliest may be lost. False without a thread for them. */
bool Client::Core::watch_heartbeats() {
  return timers_.wake(Timers::Slot::HEARTBEAT_CONSUMER, nmt_.next_check());
}

/** In order for each node, with the monitor locked: the application is told when the client knows, too. */
void Client::Core::happened(const Event& event) {
  TimePoint heard;
  switch (event.kind) {
    case Event::Kind::BOOT_UP:
    case Event::Kind::UNEXPECTED_BOOT_UP:
      emergencies_.node_restarted(event.node);
      channels_.at(event.node)->node_restarted();
      forget_pdos(event.node);
      break;
    case Event::Kind::NEVER_HEARD:  // a node without heartbeat may have answered a request
      if (heard_.last(event.node, heard)) return;
      break;
    default:
      break;
  }
  recovery_.tell(event);
}

void Client::Core::received(nkr_error_t result, const can::Frame& frame) {
  if (result != NKR_OK) return bus_failed(result);
  if (std::exchange(bus_failed_, false)) {
    Event event;
    event.kind = Event::Kind::BUS_RETURNED;
    recovery_.tell(event);
  }
  if (!frame.extended && !frame.remote && !frame.error && (frame.id & kNodeMask) != 0) arrived(frame);
}

void Client::Core::bus_failed(nkr_error_t result) {
  if (result == NKR_CAN_TIMED_OUT) return;
  bus_failed_ = true;
  Event event;
  event.kind = result == NKR_CAN_BUS_OFF ? Event::Kind::BUS_OFF : Event::Kind::INTERFACE_GONE;
  recovery_.tell(event);
}

void Client::Core::arrived(const can::Frame& frame) {
  const TimePoint now = time::now();
  heard_.heard(frame.id & kNodeMask, now);
  if ((frame.id & kFunctionMask) == kErrorControl) return error_control_arrived(frame, now);
  Event event;
  event.kind = Event::Kind::EMERGENCY;
  if (!emergencies_.arrived(frame, event.emergency)) return;
  event.node = event.emergency.node;
  event.state = nmt_.state(event.node, now);
  events_->post(event);
}

void Client::Core::error_control_arrived(const can::Frame& frame, TimePoint now) {
  const bool changed = nmt_.arrived(frame, now);
  if (changed || !watches_) watches_ = watch_heartbeats();
}

}  // namespace nkr::canopen
