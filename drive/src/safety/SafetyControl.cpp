#include "safety/SafetyControl.hpp"

#include <algorithm>
#include <utility>

namespace tav::drive {
namespace {

constexpr std::uint8_t kCanWords = 8;
constexpr std::uint8_t kBitsOfWord = 8;

std::uint32_t code_of(std::uint16_t index, std::uint8_t subindex) {
  return (static_cast<std::uint32_t>(index) << 16) | (static_cast<std::uint32_t>(subindex) << 8);
}

}  // namespace

SafetyControl::SafetyControl(Context& context, std::function<void()> changed)
    : context_(context),
      changed_(std::move(changed)),
      restart_acknowledged_(context.dictionary, 0x2630, 0, 1),
      restart_behaviour_(context.dictionary, 0x6641, 0, 0),
      activate_sbc_(context.dictionary, 0x6642, 0, 0) {
  add_functions();
  add_words();
  watch_objects();
  join_names_of_the_safe_input();
}

void SafetyControl::add_functions() {
  const struct {
    std::uint16_t command;
    std::uint16_t status;
    std::uint8_t instances;  // 0: one, at sub-index 0
  } kFunctions[] = {{0x6640, 0x2640, 0}, {0x6660, 0x2660, 3}, {0x6690, 0x2690, 8}, {0x66D0, 0x26D0, 2},
                    {0x66D1, 0x26D1, 2}, {0x6632, 0x2632, 0}, {0x2630, 0x2631, 0}};
  for (const auto& function : kFunctions) {
    if (function.instances == 0) add_function(function.command, function.status, 0);
    for (std::uint8_t i = 1; i <= function.instances; ++i) add_function(function.command, function.status, i);
  }
}

void SafetyControl::add_function(std::uint16_t command_index, std::uint16_t status_index,
                                 std::uint8_t subindex) {
  functions_.push_back({Variable<std::uint8_t>(context_.dictionary, command_index, subindex, 1),
                        Variable<std::uint8_t>(context_.dictionary, status_index, subindex, 0),
                        code_of(command_index, subindex), code_of(status_index, subindex)});
}

void SafetyControl::add_words() {
  for (std::uint8_t word = 0; word < kCanWords; ++word) {
    const auto subindex = static_cast<std::uint8_t>(word + 1);
    add_word(control_words_, context_.dictionary.find(0x6620, subindex),
             static_cast<std::uint16_t>(0x66F0 + word));
    add_word(status_words_, context_.dictionary.find(0x6621, subindex),
             static_cast<std::uint16_t>(0x66F8 + word));
  }
  add_word(control_words_, kSafeInput, kSafeInputMapping);
  add_word(status_words_, "Safety statuswords manufacturer safety_statusword_safeout",
           "nkr_safety_word_ssw_mapping_safeout scw_sw_safeout_bit");
}

void SafetyControl::add_word(std::vector<Word>& words, Object* value, std::uint16_t mapping_index) {
  if (value == nullptr) return;
  Word word{Variable<std::uint8_t>(value), {}};
  for (std::uint8_t bit = 1; bit <= kBitsOfWord; ++bit) {
    word.mapping.emplace_back(context_.dictionary, mapping_index, bit);
  }
  words.push_back(std::move(word));
}

void SafetyControl::add_word(std::vector<Word>& words, const std::string& value,
                             const std::string& mapping_prefix) {
  Object* object = context_.dictionary.find(value);
  if (object == nullptr) return;
  Word word{Variable<std::uint8_t>(object), {}};
  for (unsigned bit = 0; bit < kBitsOfWord; ++bit) {
    word.mapping.emplace_back(context_.dictionary.find(mapping_prefix + std::to_string(bit)));
  }
  words.push_back(std::move(word));
}

void SafetyControl::watch_objects() {
  const auto watch = [this](Object* object) {
    if (object != nullptr) object->when_written([this] { evaluate(); });
  };
  for (const Function& function : functions_) watch(function.command.object());
  if (Object* const behaviour = restart_behaviour_.object()) {
    behaviour->when_written([this] { interlocked_ = interlocked_ && restart_behaviour_.get() != 0; });
    watch(behaviour);
  }
  watch(activate_sbc_.object());
  for (const std::vector<Word>* words : {&control_words_, &status_words_}) {
    const bool commands = words == &control_words_;
    for (const Word& word : *words) {
      watch(word.value.object());
      for (const Variable<std::uint32_t>& mapping : word.mapping) {
        if (mapping.object() == nullptr) continue;
        // A bit is mapped to nothing or to a function that there is.
        mapping.object()->refuse_when([this, commands](const Bytes& bytes) {
          const std::uint64_t code = unsigned_of(bytes);
          const bool known = std::any_of(functions_.begin(), functions_.end(), [&](const Function& function) {
            return code == (commands ? function.command_code : function.status_code);
          });
          return code == 0 || known ? Abort::NONE : Abort::INVALID_VALUE;
        });
        watch(mapping.object());
      }
    }
  }
}

/** The safe input word has two names, one to write it and one to read it. */
void SafetyControl::join_names_of_the_safe_input() {
  const std::string name = kSafeInput;
  Object* word = context_.dictionary.find(name);
  Object* other = context_.dictionary.find(name + "_1");
  if (word == nullptr || other == nullptr) return;
  other->stands_for = word;
  other->refresh = [word, other] {
    other->value = word->value;
    return Abort::NONE;
  };
  other->when_written([this, word, other] {
    word->value = other->value;
    evaluate();
  });
}

void SafetyControl::reset(Reset kind) {
  if (kind == Reset::COMMUNICATION) return;
  if (kind == Reset::POWER_ON) {
    last_error_acknowledge_ = !demanded(kErrorAcknowledge);
    last_restart_ = restart_acknowledged_.get() != 0;
  }
  evaluate();
}

void SafetyControl::set_configuration_sound(bool sound) {
  if (std::exchange(sound_, sound) != sound) evaluate();
}

void SafetyControl::set_torque_off_input(bool demanded) {
  if (std::exchange(sto_input_, demanded) != demanded) evaluate();
}

void SafetyControl::set_data_missing(bool missing) {
  if (std::exchange(data_missing_, missing) != missing) evaluate();
}

bool SafetyControl::demand_by(const Object& object) const {
  const auto is_command = [&](const Function& function) { return function.command.object() == &object; };
  const auto is_word = [&](const Word& word) { return word.value.object() == &object; };
  return std::any_of(functions_.begin(), functions_.end(), is_command) ||
         std::any_of(control_words_.begin(), control_words_.end(), is_word);
}

bool SafetyControl::demanded(std::size_t function) const {
  return functions_[function].command.get() == 0 || (function == kSTO && sto_input_);
}

void SafetyControl::evaluate() {
  take_commands_from_words();
  take_error_acknowledge();
  update_sto();
  show_statuses();
  changed_();
}

void SafetyControl::take_commands_from_words() {
  for (Function& function : functions_) {
    bool mapped = false;
    bool all_set = true;
    for (const Word& word : control_words_) {
      for (std::size_t bit = 0; bit < word.mapping.size(); ++bit) {
        if (word.mapping[bit].get() != function.command_code) continue;
        mapped = true;
        all_set = all_set && ((unsigned{word.value.get()} >> bit) & 1U) != 0;
      }
    }
    if (mapped) function.command.set(all_set ? 1 : 0);
  }
}

void SafetyControl::update_sto() {
  const bool restart = functions_[kRestartAcknowledge].command.get() != 0;
  const bool acknowledged = restart && !last_restart_;
  last_restart_ = restart;
  if (demanded(kSTO)) {
    sto_active_ = true;
    interlocked_ = interlocked_ || restart_behaviour_.get() != 0;
  } else if (!interlocked_ || acknowledged) {
    sto_active_ = false;
    interlocked_ = false;
  }
}

void SafetyControl::violate() {
  if (!std::exchange(violated_, true)) evaluate();
}

void SafetyControl::take_error_acknowledge() {
  const bool acknowledge = !demanded(kErrorAcknowledge);
  if (acknowledge && !std::exchange(last_error_acknowledge_, acknowledge)) violated_ = false;
  last_error_acknowledge_ = acknowledge;
}

bool SafetyControl::acts(std::size_t function) const {
  if (function == kSTO) return torque_off() || !sound_;
  if (function == kErrorAcknowledge) return violated_ || !sound_;
  if (function == kRestartAcknowledge) return sto_active_ && !demanded(kSTO);
  const bool brake = function >= kFirstSBC && function < kFirstSBC + kSBCInstances;
  const bool with_sto = brake && acts(kSTO) && activate_sbc_.get() == functions_[function].command_code;
  return demanded(function) || with_sto;
}

void SafetyControl::show_statuses() {
  for (std::size_t i = 0; i < functions_.size(); ++i) functions_[i].status.set(acts(i) ? 1 : 0);
  for (Word& word : status_words_) {
    unsigned value = 0;
    for (std::size_t bit = 0; bit < word.mapping.size(); ++bit) {
      const std::uint32_t code = word.mapping[bit].get();
      const auto function =
          std::find_if(functions_.begin(), functions_.end(),
                       [code](const Function& candidate) { return candidate.status_code == code; });
      if (function != functions_.end() && function->status.get() != 0) value |= 1U << bit;
    }
    word.value.set(static_cast<std::uint8_t>(value));
  }
}

}  // namespace tav::drive
