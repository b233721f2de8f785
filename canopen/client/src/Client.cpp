#include <limits>
#include <nkr/canopen/Client.hpp>
#include <nkr/time/clock.hpp>
#include <utility>

#include "Core.hpp"
#include "pdo/SyncService.hpp"

namespace nkr::canopen {
namespace {

constexpr std::uint8_t kAllNodes = 0;

bool fits_in_16_bits(std::int32_t order) {
  return order >= std::numeric_limits<std::int16_t>::min() &&
         order <= std::numeric_limits<std::int16_t>::max();
}

}  // namespace

Client::Client(std::shared_ptr<can::Bus> bus, const ClientOptions& options)
    : core_(std::make_unique<Core>(std::move(bus), options)) {}

Client::~Client() = default;

void Client::close() {
  core_->close();
}

bool Client::isInitialized() const {
  return core_->is_ready();
}

void Client::setTimeout(Duration timeout) {
  core_->timeouts().set_client(timeout);
}

nkr_error_t Client::setNodeTimeout(std::uint8_t nodeId, Duration timeout) {
  if (!Core::is_node(nodeId)) return NKR_CAN_INVALID_NODE;
  core_->timeouts().set_node(nodeId, timeout);
  return NKR_OK;
}

void Client::setObjectTimeout(canopencore::ObjectAddress address, Duration timeout) {
  core_->timeouts().set_object(sdo::Multiplexer::of_address(address), timeout);
}

nkr_error_t Client::setStatedSizesIgnored(std::uint8_t nodeId, bool ignored) {
  if (!Core::is_node(nodeId)) return NKR_CAN_INVALID_NODE;
  core_->ignore_stated_sizes(nodeId, ignored);
  return NKR_OK;
}

void Client::cancelRequests() {
  core_->cancel_requests();
}

void Client::cancelRequests(std::uint8_t nodeId) {
  core_->cancel_requests(nodeId);
}

bool Client::hearsTwoNodes(std::uint8_t nodeId) const {
  return Core::is_node(nodeId) && core_->nmt().is_doubled(nodeId);
}

nkr_error_t Client::setHeartbeatTimeout(std::uint8_t nodeId, Duration timeout) {
  if (!Core::is_node(nodeId)) return NKR_CAN_INVALID_NODE;
  return core_->set_heartbeat_timeout(nodeId, timeout);
}

nkr_error_t Client::expectNode(std::uint8_t nodeId, Duration within) {
  const nkr_error_t refused = core_->refusal(nodeId);
  return refused == NKR_OK ? core_->expect(nodeId, within) : refused;
}

nkr_error_t Client::startNodeGuarding(std::uint8_t nodeId, Duration guardTime, unsigned lifeTimeFactor) {
  const nkr_error_t refused = core_->refusal(nodeId);
  if (refused != NKR_OK) return refused;
  if (guardTime <= Duration::zero() || lifeTimeFactor == 0) return NKR_ERROR;
  return core_->start_guarding(nodeId, guardTime, lifeTimeFactor);
}

nkr_error_t Client::stopNodeGuarding(std::uint8_t nodeId) {
  const nkr_error_t refused = core_->refusal(nodeId);
  if (refused == NKR_OK) core_->stop_guarding(nodeId);
  return refused;
}

nkr_error_t Client::setNodeConfiguration(std::uint8_t nodeId, NodeConfiguration configuration) {
  if (!Core::is_node(nodeId)) return NKR_CAN_INVALID_NODE;
  return core_->keep_configuration(nodeId, std::move(configuration));
}

nkr_error_t Client::startHeartbeat(std::uint8_t nodeId, Duration period) {
  const nkr_error_t refused = core_->refusal(nodeId);
  if (refused != NKR_OK) return refused;
  if (period <= Duration::zero()) return NKR_ERROR;
  return core_->heartbeat()->start(nodeId, period) ? NKR_OK : NKR_CAN_NO_RESOURCES;
}

void Client::stopHeartbeat() {
  if (core_->heartbeat() != nullptr) core_->heartbeat()->stop();
}

nkr_error_t Client::startSync(std::chrono::microseconds period) {
  const nkr_error_t refused = core_->refusal();
  if (refused != NKR_OK) return refused;
  if (period <= std::chrono::microseconds::zero()) return NKR_ERROR;
  return core_->sync()->start(period) ? NKR_OK : NKR_CAN_NO_RESOURCES;
}

void Client::stopSync() {
  if (core_->sync() != nullptr) core_->sync()->stop();
}

int Client::subscribe(EventHandler handler) {
  int number = 0;
  return core_->events()->subscribe(std::move(handler), number) == NKR_OK ? number : 0;
}

nkr_error_t Client::subscribe(EventHandler handler, Subscription& subscription) {
  int number = 0;
  const nkr_error_t result = core_->events()->subscribe(std::move(handler), number);
  if (result == NKR_OK) subscription = Subscription(core_->events(), number);
  return result;
}

void Client::unsubscribe(int subscription) {
  core_->events()->unsubscribe(subscription);
}

std::uint64_t Client::getHandlerExceptions() const {
  return core_->handler_exceptions();
}

std::vector<Emergency> Client::getEmergencies(std::uint8_t nodeId) const {
  return core_->emergencies().of(nodeId);
}

std::vector<Emergency> Client::getActiveEmergencies(std::uint8_t nodeId) const {
  return core_->emergencies().active(nodeId);
}

nkr_error_t Client::getLastFailure(std::uint8_t nodeId, RequestFailure& failure) const {
  if (!Core::is_node(nodeId)) return NKR_CAN_INVALID_NODE;
  return core_->failures().last(nodeId, failure) ? NKR_OK : NKR_NOT_AVAILABLE;
}

nkr_error_t Client::getLastFailureText(const std::uint8_t& nodeId, std::string& text) {
  RequestFailure failure;
  const nkr_error_t result = getLastFailure(nodeId, failure);
  if (result == NKR_OK) text = to_string(failure);
  return result;
}

void Client::writeFrames(std::ostream& log) const {
  core_->write_frames(log);
}

void Client::setObjectNameResolver(ObjectNameResolver resolver) {
  core_->failures().set_resolver(std::move(resolver));
}

nkr_error_t Client::sync(const canopenservice::TavIn& request, canopenservice::TavOut& out) {
  const nkr_error_t refused = core_->refusal(request.nodeId);
  if (refused != NKR_OK) return refused;
  if (request.flag && !fits_in_16_bits(request.order)) return NKR_SDO_INVALID_VALUE;
  const auto timeout =
      core_->timeouts().of(request.nodeId, sdo::Multiplexer::of_address(request.statusWordAddress));
  return SyncService(*this, core_->usable_pdos(request.nodeId), timeout, request).run(out);
}

nkr_error_t Client::broadcastNMTCommand(const canopencore::NMTCommand& command) {
  return core_->send_nmt(command, kAllNodes);
}

nkr_error_t Client::sendSync() {
  return core_->send_sync();
}

nkr_error_t Client::getTimeSinceHeard(const std::uint8_t& nodeId, std::uint32_t& milliseconds) {
  const nkr_error_t refused = core_->refusal(nodeId);
  if (refused != NKR_OK) return refused;
  can::Clock::time_point heard;
  if (!core_->heard().last(nodeId, heard)) return NKR_NOT_AVAILABLE;
  milliseconds = milliseconds_between(heard, time::now());
  return NKR_OK;
}

nkr_error_t Client::getNMTState(const std::uint8_t& nodeId, canopencore::NMTState& state) {
  const nkr_error_t refused = core_->refusal(nodeId);
  if (refused != NKR_OK) return refused;
  state = core_->nmt().state(nodeId, time::now());
  return NKR_OK;
}

nkr_error_t Client::setNMTState(const std::uint8_t& nodeId, const canopencore::NMTCommand& command) {
  const nkr_error_t refused = core_->refusal(nodeId);
  if (refused != NKR_OK) return refused;
  return core_->send_nmt(command, nodeId);
}

}  // namespace nkr::canopen
