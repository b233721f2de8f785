#ifndef TAV_DRIVE_SRC_PDO_TRANSMITPDO_HPP
#define TAV_DRIVE_SRC_PDO_TRANSMITPDO_HPP

#include <cstdint>

#include "pdo/PDOParameters.hpp"

namespace tav::drive {

/** Sends one TPDO: with SYNC, on change, by its event timer; not closer together than its inhibit time. */
class TransmitPDO {
 public:
  TransmitPDO(Context& context, std::uint16_t number);
  TransmitPDO(const TransmitPDO&) = delete;
  TransmitPDO& operator=(const TransmitPDO&) = delete;

  void start_over();
  void sync();
  /** Looks whether a value has changed; at those that change by themselves only when it is their turn. */
  void sample(bool moving_too);
  [[nodiscard]] bool event_driven() const { return sends() && !parameters_.synchronous(); }
  [[nodiscard]] Time next_due() const;
  void run();

 private:
  /** One without entries is valid and sends nothing. */
  [[nodiscard]] bool sends() const { return parameters_.valid() && !parameters_.objects().empty(); }
  [[nodiscard]] bool has_news(const nkr::can::Frame& now, bool moving_too) const;
  [[nodiscard]] nkr::can::Frame frame();
  void send(const nkr::can::Frame& frame);

  Context& context_;
  PDOParameters parameters_;
  nkr::can::Frame last_;
  bool sent_ = false;       ///< since it was configured, or the node became operational
  bool news_ = false;       ///< waits for the end of the inhibit time
  std::uint8_t syncs_ = 0;  ///< since it was last sent
  Time allowed_from_ = Time::min();
  Time timer_ = Time::max();
};

}  // namespace tav::drive

#endif
