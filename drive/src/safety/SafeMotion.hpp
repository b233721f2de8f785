#ifndef TAV_DRIVE_SRC_SAFETY_SAFEMOTION_HPP
#define TAV_DRIVE_SRC_SAFETY_SAFEMOTION_HPP

#include <cstdint>
#include <functional>
#include <vector>

#include "node/Part.hpp"
#include "power/VelocityMode.hpp"
#include "safety/SafetyControl.hpp"

namespace tav::drive {

/**
 * Safety functions that look at the motor: SLS, SDI and SBC (IEC 61800-5-2; objects of CiA 402-4), in
 * milliseconds and 1/min of the motor.
 *
 * SLS watches the speed after "time to velocity monitoring" (0x6691), or as soon as it was within the limit
 * (0x6693) for "time for velocity in limits" (0x6694; 0: no sooner). SDI allows one direction and, of the
 * other, the window around zero (0x66D3). SBC applies the brake after its delay (0x6661). The motor is looked
 * at every 10 ms while one of them is demanded.
 */
class SafeMotion : public Part {
 public:
  /** The function that a motor's speed violates, and what is to follow. */
  struct Violation {
    std::uint16_t command_index;
    std::uint8_t instance;
    bool torque_off;  ///< by STO; else the drive's own fault reaction
  };
  struct Effects {
    std::function<void(const Violation&)> violated;
    std::function<void(bool)> brake;  ///< whether SBC applies the brake
  };
  SafeMotion(Context& context, const SafetyControl& commands, VelocityMode& motion, Effects effects);

  /** Demands may have changed. */
  void follow();

  void reset(Reset kind) override;
  [[nodiscard]] Time next_due() const override { return due_; }
  void run() override;

 private:
  enum class Watch : std::uint8_t { NOT_DEMANDED, NOT_YET, WATCHING, VIOLATED };
  struct SpeedLimit {
    std::size_t function;
    std::uint8_t instance;
    Variable<std::uint16_t> time_to_monitoring;
    Variable<std::uint32_t> limit;
    Variable<std::uint16_t> time_in_limits;
    Variable<std::uint32_t> reaction;
    Watch watch = Watch::NOT_DEMANDED;
    Time demanded_since{};
    Time inside_since = Time::max();
  };
  struct Direction {
    std::size_t function;
    std::uint16_t command_index;
    std::uint8_t instance;
    double allowed;  ///< sign of the speeds it allows
    Variable<std::uint32_t> window;
    bool violated = false;
  };
  struct Brake {
    std::size_t function;
    Variable<std::uint16_t> delay;
    Time acts_since = Time::max();
  };

  void monitor(SpeedLimit& limit, double velocity);
  void await_monitoring(SpeedLimit& limit, bool inside) const;
  void monitor(Direction& direction, double velocity);
  void time_brakes();

  Context& context_;
  const SafetyControl& commands_;
  VelocityMode& motion_;
  Effects effects_;
  std::vector<SpeedLimit> limits_;
  std::vector<Direction> directions_;
  std::vector<Brake> brakes_;
  Time due_ = Time::max();
};

}  // namespace tav::drive

#endif
