#ifndef TAV_DRIVE_SRC_SAFETY_SRDOPRODUCER_HPP
#define TAV_DRIVE_SRC_SAFETY_SRDOPRODUCER_HPP

#include <cstdint>
#include <vector>

#include "node/Part.hpp"

namespace tav::drive {

/**
 * Sends safety-relevant data objects (EN 50325-5): a frame and its bitwise inverse on two identifiers.
 *
 * An SRDO is sent in OPERATIONAL, when its direction (0x1301, sub-index 1, and following) is 1 and the
 * configuration is declared valid. The first plain frame comes half a millisecond times the node id after
 * OPERATIONAL, so that nodes do not begin together; then one every SCT (sub-index 2). Its inverse follows
 * half a millisecond later, made from the same values.
 */
class SRDOProducer : public Part {
 public:
  explicit SRDOProducer(Context& context);

  void reset(Reset kind) override;
  void nmt_changed(NMTState before) override;
  [[nodiscard]] Time next_due() const override { return due_; }
  void run() override;

 private:
  struct Channel {
    Variable<std::uint8_t> direction;
    Variable<std::uint16_t> refresh_time;  ///< SCT, in ms
    Variable<std::uint32_t> cob_id_1;
    Variable<std::uint32_t> cob_id_2;
    Variable<std::uint8_t> count;
    std::vector<Variable<std::uint32_t>> entries;  ///< plain and inverted in turn
    nkr::can::Frame inverse;
    Time plain_due = Time::max();
    Time inverse_due = Time::max();
  };

  void add(std::uint8_t number);
  void start_over();
  [[nodiscard]] bool in_use(const Channel& channel) const;
  void plan();
  void send_plain(Channel& channel);
  [[nodiscard]] nkr::can::Frame plain_of(const Channel& channel);

  Context& context_;
  Variable<std::uint8_t> valid_;
  std::vector<Channel> channels_;
  Time due_ = Time::max();
};

}  // namespace tav::drive

#endif
