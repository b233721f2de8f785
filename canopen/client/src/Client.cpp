#include <limits>
#include <nkr/canopen/Client.hpp>
#include <utility>

#include "Core.hpp"

namespace nkr::canopen {
namespace {

constexpr std::uint32_t kNmtCommandId = 0x000;
constexpr std::uint32_t kSyncId = 0x080;
constexpr std::uint8_t kAllNodes = 0;
constexpr std::uint32_t kTargetVelocity = 0x60420000;

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

can::Frame nmt_frame(canopencore::NMTCommand command, std::uint8_t node) {
  return {kNmtCommandId, {static_cast<std::uint8_t>(command), node}};
}

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

void Client::setObjectTimeout(std::uint32_t address, Duration timeout) {
  core_->timeouts().set_object(sdo::Object::of_address(address), timeout);
}

nkr_error_t Client::setHeartbeatTimeout(std::uint8_t nodeId, Duration timeout) {
  if (!Core::is_node(nodeId)) return NKR_CAN_INVALID_NODE;
  core_->nmt().set_heartbeat_timeout(nodeId, timeout);
  return NKR_OK;
}

nkr_error_t Client::sync(const canopenservice::TavIn& request, canopenservice::TavOut& out) {
  const nkr_error_t refused = core_->refusal(request.nodeId);
  if (refused != NKR_OK) return refused;
  if (request.flag) {
    if (!fits_in_16_bits(request.order)) return NKR_SDO_INVALID_VALUE;
    const nkr_error_t result =
        setValue(request.nodeId, kTargetVelocity, static_cast<std::int16_t>(request.order));
    if (result != NKR_OK) return result;
  }
  canopenservice::TavOut values{};
  nkr_error_t result = getValue(request.nodeId, request.statusWordAddress, values.statusWord);
  if (result == NKR_OK) result = getValue(request.nodeId, request.positionAddress, values.position);
  if (result == NKR_OK) result = getValue(request.nodeId, request.velocityAddress, values.velocity);
  if (result == NKR_OK) out = values;
  return result;
}

nkr_error_t Client::broadcastNMTCommand(const canopencore::NMTCommand& command) {
  return is_defined(command) ? core_->send(nmt_frame(command, kAllNodes)) : NKR_ERROR;
}

nkr_error_t Client::sendSync() {
  return core_->send({kSyncId, {}});
}

nkr_error_t Client::getTimeSinceHeard(const std::uint8_t& nodeId, std::uint32_t& milliseconds) {
  const nkr_error_t refused = core_->refusal(nodeId);
  if (refused != NKR_OK) return refused;
  can::Clock::time_point heard;
  if (!core_->heard().last(nodeId, heard)) return NKR_NOT_AVAILABLE;
  const auto age = std::chrono::duration_cast<Duration>(can::Clock::now() - heard).count();
  milliseconds = static_cast<std::uint32_t>(age < 0 ? 0 : age);
  return NKR_OK;
}

nkr_error_t Client::getNMTState(const std::uint8_t& nodeId, canopencore::NMTState& state) {
  const nkr_error_t refused = core_->refusal(nodeId);
  if (refused != NKR_OK) return refused;
  state = core_->nmt().state(nodeId, can::Clock::now());
  return NKR_OK;
}

nkr_error_t Client::setNMTState(const std::uint8_t& nodeId, const canopencore::NMTCommand& command) {
  const nkr_error_t refused = core_->refusal(nodeId);
  if (refused != NKR_OK) return refused;
  return is_defined(command) ? core_->send(nmt_frame(command, nodeId)) : NKR_ERROR;
}

}  // namespace nkr::canopen
