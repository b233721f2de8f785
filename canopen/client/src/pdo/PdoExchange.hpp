#ifndef NKR_CANOPEN_PDO_PDOEXCHANGE_HPP
#define NKR_CANOPEN_PDO_PDOEXCHANGE_HPP

#include <nkr/error.h>

#include <chrono>
#include <cstdint>
#include <memory>
#include <mutex>
#include <nkr/can/Bus.hpp>
#include <optional>
#include <vector>

#include "pdo/Pdo.hpp"
#include "pdo/SyncProducer.hpp"
#include "runtime/FifoGate.hpp"

namespace nkr::canopen {

/** The PDOs of one node that follow a SYNC, and those that it takes. */
class PdoExchange {
 public:
  using Duration = std::chrono::milliseconds;
  using Pdos = std::shared_ptr<const std::vector<Pdo>>;

  PdoExchange(can::Bus& bus, can::Port& port, SyncProducer& sync, Duration late_grace);

  /** The node's PDOs; read from the node when they are not known (any more). */
  nkr_error_t pdos(PdoDirection direction, const ObjectReader& read, Pdos& pdos);
  /** What is known of the node's PDOs may not hold any more. */
  void forget();

  /**
   * Sends the RPDO (none when null), then SYNC, and waits for one frame of each of the PDOs. All of them
   * follow one SYNC: when another one is seen meanwhile, they are collected anew from there.
   * @param frames as many as PDOs, in their order
   * @return NKR_SDO_TIMED_OUT when one of them does not come; then it is waited for before the next SYNC, for
   * several times the longest that this node's PDOs have taken so far
   */
  nkr_error_t exchange(const can::Frame* rpdo, const std::vector<const Pdo*>& pdos, Duration timeout,
                       std::vector<can::Frame>& frames);
  void close();

 private:
  struct Collection;
  nkr_error_t listen_to(const std::vector<const Pdo*>& pdos);
  nkr_error_t settle(const can::Deadline& deadline);
  nkr_error_t collect(Collection& collection, can::Clock::time_point deadline);
  [[nodiscard]] can::Clock::duration grace() const;

  can::Bus& bus_;
  can::Port& port_;
  SyncProducer& sync_;
  const can::Clock::duration late_grace_;

  std::mutex mutex_;  ///< of what is known of the PDOs, and of opening against closing
  Pdos known_[2];
  unsigned generation_ = 0;
  bool closed_ = false;

  FifoGate gate_;
  std::unique_ptr<can::Port> listener_;  ///< hears SYNC and the PDOs with these identifiers
  std::vector<std::uint32_t> listened_;
  can::Clock::time_point late_until_;            ///< PDOs of a SYNC that timed out may come until then
  std::size_t late_count_ = 0;                   ///< how many of them
  std::optional<can::Clock::duration> longest_;  ///< that a whole set of PDOs took after its SYNC
};

}  // namespace nkr::canopen

#endif
