#ifndef TAV_DRIVE_SRC_SAFETY_SAFETYCONTROL_HPP
#define TAV_DRIVE_SRC_SAFETY_SAFETYCONTROL_HPP

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

#include "node/Part.hpp"

namespace tav::drive {

/**
 * Commands and statuses of the safety functions, and the safety words that carry them bit by bit.
 *
 * A command is active low: 0 demands the function. A function whose command is mapped to bits of safety
 * control words is demanded by any of them; its command object then shows them. A status is 1 while the
 * function acts. STO takes the torque away; it ends with its demand, or, where 0x6641 says so, with the
 * restart acknowledge (a rising edge) after it.
 *
 * Demands, the restart interlock and violations outlive an NMT reset, which is no safe command: they end by
 * what ends them, or with the power.
 */
class SafetyControl : public Part {
 public:
  // Where each function stands in the list.
  static constexpr std::size_t kSTO = 0;
  static constexpr std::size_t kFirstSBC = 1;
  static constexpr std::size_t kSBCInstances = 3;
  static constexpr std::size_t kFirstSLS = 4;
  static constexpr std::size_t kSLSInstances = 8;
  static constexpr std::size_t kFirstSDIPositive = 12;
  static constexpr std::size_t kFirstSDINegative = 14;
  static constexpr std::size_t kSDIInstances = 2;
  static constexpr std::size_t kErrorAcknowledge = 16;
  static constexpr std::size_t kRestartAcknowledge = 17;

  // Names of the safe input word and, at the beginning, of the objects that map its bits.
  static constexpr const char* kSafeInput = "Safety controlwords manufacturer safety_controlword_safein";
  static constexpr const char* kSafeInputMapping = "nkr_safety_word_scw_mapping_safein scw_cw_safein_bit";

  SafetyControl(Context& context, std::function<void()> changed);

  /** STO acts. */
  [[nodiscard]] bool torque_off() const { return sto_active_ || violated_ || data_missing_; }
  [[nodiscard]] bool demanded(std::size_t function) const;
  /** What its status says: it is demanded, or something else brought it about. */
  [[nodiscard]] bool acts(std::size_t function) const;
  /** Functions are demanded by the value of that object: a command, or a control word. */
  [[nodiscard]] bool demand_by(const Object& object) const;
  /** The motor left what a function allows: STO acts until a rising edge of the error acknowledge. */
  void violate();
  /** Whether the safety configuration is sound: without that STO acts too. */
  void set_configuration_sound(bool sound);
  /** The drive's own STO input, besides the command: it demands STO, or it does not. */
  void set_torque_off_input(bool demanded);
  /** Whether safety-relevant data that should come do not: STO acts as long. */
  void set_data_missing(bool missing);

  void reset(Reset kind) override;

 private:
  struct Function {
    Variable<std::uint8_t> command;
    Variable<std::uint8_t> status;
    std::uint32_t command_code;  ///< index << 16 | subindex << 8: what a mapping object names it by
    std::uint32_t status_code;
  };
  /** A safety word, and what its bits are mapped to. */
  struct Word {
    Variable<std::uint8_t> value;
    std::vector<Variable<std::uint32_t>> mapping;
  };

  void add_functions();
  void add_function(std::uint16_t command_index, std::uint16_t status_index, std::uint8_t subindex);
  void add_words();
  void add_word(std::vector<Word>& words, Object* value, std::uint16_t mapping_index);
  void add_word(std::vector<Word>& words, const std::string& value, const std::string& mapping_prefix);
  void watch_objects();
  void join_names_of_the_safe_input();
  void evaluate();
  void take_commands_from_words();
  void update_sto();
  void take_error_acknowledge();
  void show_statuses();

  Context& context_;
  std::function<void()> changed_;
  std::vector<Function> functions_;
  std::vector<Word> control_words_;
  std::vector<Word> status_words_;
  Variable<std::uint8_t> restart_acknowledged_;
  Variable<std::uint8_t> restart_behaviour_;
  Variable<std::uint32_t> activate_sbc_;
  bool last_restart_ = true;
  bool last_error_acknowledge_ = true;
  bool violated_ = false;
  bool data_missing_ = false;
  bool sto_input_ = false;
  bool sto_active_ = false;
  bool interlocked_ = false;  ///< STO stays after its demand until the restart acknowledge
  bool sound_ = true;
};

}  // namespace tav::drive

#endif
