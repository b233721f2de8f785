#ifndef NKR_CANOPEN_CORE_HPP
#define NKR_CANOPEN_CORE_HPP

#include <array>
#include <atomic>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <nkr/canopen/Client.hpp>

#include "HeardTimes.hpp"
#include "Listener.hpp"
#include "NmtMonitor.hpp"
#include "NodeChannel.hpp"
#include "Timeouts.hpp"
#include "sdo/Sink.hpp"

namespace nkr::canopen {

/** The parts of a client and how they work together. */
class Client::Core {
 public:
  Core(std::shared_ptr<can::Bus> bus, const ClientOptions& options);
  ~Core();
  Core(const Core&) = delete;
  Core& operator=(const Core&) = delete;

  static bool is_node(std::uint8_t node) { return node >= 1 && node <= kLastNode; }

  void close();
  [[nodiscard]] bool is_ready() const { return opening_result_ == NKR_OK && !closed_.load(); }

  nkr_error_t upload(std::uint8_t node, std::uint32_t address, sdo::Sink& sink);
  nkr_error_t download(std::uint8_t node, std::uint32_t address, const std::uint8_t* bytes, std::size_t size);
  /** Sends a frame that has no answer. */
  nkr_error_t send(const can::Frame& frame);

  /** NKR_OK when requests to the node can be made. */
  [[nodiscard]] nkr_error_t refusal(std::uint8_t node) const;

  Timeouts& timeouts() { return timeouts_; }
  NmtMonitor& nmt() { return nmt_; }
  [[nodiscard]] const HeardTimes& heard() const { return heard_; }

 private:
  static constexpr std::uint8_t kLastNode = 127;

  void arrived(const can::Frame& frame);

  const std::shared_ptr<can::Bus> bus_;
  const ClientOptions options_;
  nkr_error_t opening_result_ = NKR_CAN_NOT_CONNECTED;
  std::atomic<bool> closed_{false};
  Timeouts timeouts_;
  HeardTimes heard_;
  NmtMonitor nmt_;
  std::array<std::unique_ptr<NodeChannel>, kLastNode + 1> channels_;  ///< by node id; none for 0
  std::unique_ptr<can::Port> port_;  ///< for all that is no SDO; never replaced
  std::unique_ptr<Listener> listener_;
};

}  // namespace nkr::canopen

#endif
