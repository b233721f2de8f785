#ifndef TAV_DRIVE_SRC_SAFETY_SRDOCONSUMER_HPP
#define TAV_DRIVE_SRC_SAFETY_SRDOCONSUMER_HPP

#include <cstdint>
#include <functional>
#include <vector>

#include "network/Errors.hpp"
#include "node/Part.hpp"

namespace tav::drive {

/**
 * Receives safety-relevant data objects (EN 50325-5): a frame and its bitwise inverse on two identifiers.
 *
 * An SRDO is received in OPERATIONAL, when its direction (0x1301, sub-index 1, and following) is 2 and the
 * configuration is declared valid. The two frames come within its SRVT, and the pairs within its SCT; a frame
 * that is late, no inverse or of another length ends the reception until OPERATIONAL is entered again. From
 * the declaration of validity on the drive is in its safe state while an SRDO is not being received.
 *
 * What a received SRDO writes is its own in OPERATIONAL: nothing else writes it, and what the safe input word
 * is mapped to, which no signature covers, stays while that word is one of them.
 */
class SRDOConsumer : public Part {
 public:
  /** @param safe_state  called when that changes: whether safety-relevant data are missing */
  SRDOConsumer(Context& context, Errors& errors, std::function<void(bool)> safe_state);

  void reset(Reset kind) override;
  void receive(const nkr::can::Frame& frame) override;
  void nmt_changed(NMTState before) override;
  [[nodiscard]] Time next_due() const override;
  void run() override;

 private:
  enum class State : std::uint8_t { OFF, AWAITS_PLAIN, AWAITS_INVERTED, FAILED };
  struct Channel {
    std::uint16_t parameters_index;
    Variable<std::uint8_t> direction;
    Variable<std::uint16_t> refresh_time;    ///< SCT, in ms; 0: not watched
    Variable<std::uint8_t> validation_time;  ///< SRVT, in ms
    Variable<std::uint32_t> cob_id_1;
    Variable<std::uint32_t> cob_id_2;
    Variable<std::uint8_t> count;
    std::vector<Variable<std::uint32_t>> entries;  ///< plain and inverted in turn
    State state = State::OFF;
    bool received = false;  ///< a pair, since it began
    nkr::can::Frame plain;
    Time refresh_due = Time::max();
    Time validation_due = Time::max();
  };

  void add(std::uint8_t number);
  [[nodiscard]] bool in_use(const Channel& channel) const;
  void begin(Channel& channel);
  void end(Channel& channel);
  void take(Channel& channel, const nkr::can::Frame& frame);
  void take_plain(Channel& channel, const nkr::can::Frame& frame);
  void take_inverted(Channel& channel, const nkr::can::Frame& frame);
  void apply(const Channel& channel);
  void fail(Channel& channel, std::uint16_t code);
  void check_for_missing_data();
  void guard_fed_objects();
  [[nodiscard]] bool feeds(const Object& object) const;
  [[nodiscard]] std::vector<Object*> plain_objects(const Channel& channel) const;

  Context& context_;
  Errors& errors_;
  std::function<void(bool)> safe_state_;
  Variable<std::uint8_t> valid_;
  std::vector<Channel> channels_;
  bool missing_ = false;
  bool active_ = false;    // one of them is received, or was until it failed
  bool applying_ = false;  // it is the SRDO that writes
};

}  // namespace tav::drive

#endif
