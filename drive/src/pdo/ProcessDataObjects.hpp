#ifndef TAV_DRIVE_SRC_PDO_PROCESSDATAOBJECTS_HPP
#define TAV_DRIVE_SRC_PDO_PROCESSDATAOBJECTS_HPP

#include <functional>
#include <memory>
#include <vector>

#include "network/Errors.hpp"
#include "node/Part.hpp"
#include "pdo/ReceivePDO.hpp"
#include "pdo/TransmitPDO.hpp"

namespace tav::drive {

/** All PDOs of the drive and the SYNC that they follow (0x1005). They live while the node is operational. */
class ProcessDataObjects : public Part {
 public:
  /** @param moving whether values change by themselves */
  ProcessDataObjects(Context& context, Errors& errors, std::function<bool()> moving);

  /**
   * Something may have changed: TPDOs that are sent on change look. At values that change by themselves they
   * look every 10 ms, however often this is called, and once more when nothing moves any longer.
   */
  void sample();

  void reset(Reset kind) override;
  void receive(const nkr::can::Frame& frame) override;
  void nmt_changed(NMTState before) override;
  [[nodiscard]] Time next_due() const override;
  void run() override;

 private:
  [[nodiscard]] bool operational() const { return context_.nmt == NMTState::OPERATIONAL; }
  [[nodiscard]] bool has_event_driven() const;
  void start_over();
  [[nodiscard]] Time look_due() const;

  Context& context_;
  std::function<bool()> moving_;
  Variable<std::uint32_t> sync_id_;
  std::vector<std::unique_ptr<TransmitPDO>> transmit_;
  std::vector<std::unique_ptr<ReceivePDO>> receive_;
  Time looked_at_ = Time::min();  ///< at the values that move
  bool moved_ = false;            ///< something, when or since it was looked at them
};

}  // namespace tav::drive

#endif
