#include "Core.hpp"

#include <utility>

namespace nkr::canopen {

using can::Clock;

namespace {

constexpr std::uint32_t kFunctionMask = 0x780;
constexpr std::uint32_t kErrorControl = 0x700;
constexpr std::uint32_t kEmergency = 0x080;
constexpr std::uint32_t kNodeMask = 0x07F;

}  // namespace

Client::Core::Core(std::shared_ptr<can::Bus> bus, const ClientOptions& options)
    : bus_(std::move(bus)),
      options_(options),
      timeouts_(options.sdo_timeout, options.store_timeout),
      nmt_(options.heartbeat_timeout) {
  if (!bus_) return;
  for (std::uint8_t node = 1; node <= kLastNode; ++node)
    channels_.at(node) = std::make_unique<NodeChannel>(*bus_, node, options_.late_reply_grace, heard_);
  port_ = bus_->open({{kErrorControl, kFunctionMask}, {kEmergency, kFunctionMask}}, opening_result_);
  if (port_)
    listener_ = std::make_unique<Listener>(*port_, [this](const can::Frame& frame) { arrived(frame); });
}

Client::Core::~Core() {
  close();
}

void Client::Core::close() {
  closed_ = true;
  if (port_) port_->close();
  for (const auto& channel : channels_) {
    if (channel) channel->close();
  }
}

nkr_error_t Client::Core::refusal(std::uint8_t node) const {
  if (!is_node(node)) return NKR_CAN_INVALID_NODE;
  if (opening_result_ != NKR_OK) return opening_result_;
  return closed_.load() ? NKR_CAN_CLOSED : NKR_OK;
}

nkr_error_t Client::Core::upload(std::uint8_t node, std::uint32_t address, sdo::Sink& sink) {
  const nkr_error_t refused = refusal(node);
  if (refused != NKR_OK) return refused;
  const auto object = sdo::Object::of_address(address);
  return channels_.at(node)->upload(object, timeouts_.of(node, object), sink);
}

nkr_error_t Client::Core::download(std::uint8_t node, std::uint32_t address, const std::uint8_t* bytes,
                                   std::size_t size) {
  const nkr_error_t refused = refusal(node);
  if (refused != NKR_OK) return refused;
  const auto object = sdo::Object::of_address(address);
  return channels_.at(node)->download(object, timeouts_.of(node, object), bytes, size);
}

nkr_error_t Client::Core::send(const can::Frame& frame) {
  if (opening_result_ != NKR_OK) return opening_result_;
  return port_->send(frame, Clock::now() + options_.sdo_timeout);
}

void Client::Core::arrived(const can::Frame& frame) {
  const auto node = static_cast<std::uint8_t>(frame.id & kNodeMask);
  if (frame.extended || frame.remote || frame.error || node == 0) return;
  const Clock::time_point now = Clock::now();
  heard_.heard(node, now);
  if ((frame.id & kFunctionMask) == kErrorControl) nmt_.arrived(frame, now);
}

}  // namespace nkr::canopen
