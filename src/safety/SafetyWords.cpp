// The safety control and status words, eight bits each.

#include <map>

#include "../dispatcher/Steps.hpp"

namespace nkr::tavcore {
namespace {

using ControlWord = ISafeMotionService::SafetyControlWordId;
using StatusWord = ISafeMotionService::SafetyStatusWordId;
using WordBits = ISafeMotionService::SafetyWordType;

constexpr int kCanWords = 8;

constexpr std::array<bool WordBits::*, 8> kBits = {&WordBits::bit0, &WordBits::bit1, &WordBits::bit2,
                                                   &WordBits::bit3, &WordBits::bit4, &WordBits::bit5,
                                                   &WordBits::bit6, &WordBits::bit7};

/** Names of the words 1 to 8, which differ in the last digit alone, and of the manufacturer's word. */
template <class Word>
std::map<Word, std::string> word_names(const std::string& can_word, const std::string& manufacturer_word) {
  std::map<Word, std::string> names;
  for (int word = 0; word < kCanWords; ++word) names[Word{word}] = can_word + std::to_string(word + 1);
  names[Word{kCanWords}] = manufacturer_word;
  return names;
}

/** Object that a control word is read from; std::out_of_range for an unknown word. */
const std::string& readable_name(ControlWord word) {
  static const auto names =
      word_names<ControlWord>("Safety controlwords safety_controlword_can",
                              "Safety controlwords manufacturer safety_controlword_safein_1");
  return names.at(word);
}

/** Object that a control word is written to; std::out_of_range for an unknown word. */
const std::string& writable_name(ControlWord word) {
  static const auto names =
      word_names<ControlWord>("Safety controlwords safety_controlword_can",
                              "Safety controlwords manufacturer safety_controlword_safein");
  return names.at(word);
}

/** Object of a status word; std::out_of_range for an unknown word. */
const std::string& readable_name(StatusWord word) {
  static const auto names =
      word_names<StatusWord>("Safety statuswords safety_statusword_can",
                             "Safety statuswords manufacturer safety_statusword_safeout");
  return names.at(word);
}

template <class Word>
void read_word(Steps& steps, Word word, WordBits& bits) {
  if (!steps.completed()) return;
  std::uint8_t byte = 0;
  steps.read(readable_name(word), byte);
  if (!steps.completed()) return;
  for (std::size_t k = 0; k < kBits.size(); ++k) bits.*kBits[k] = (byte >> k & 1) != 0;
}

std::uint8_t byte_of(const WordBits& bits) {
  unsigned byte = 0;
  for (std::size_t k = 0; k < kBits.size(); ++k) {
    if (bits.*kBits[k]) byte |= 1U << k;
  }
  return static_cast<std::uint8_t>(byte);
}

}  // namespace

nkr_error_t CANOpenDispatcher::getSafetyControlWord(const SafetyControlWordId& word,
                                                    SafetyWordType& value) const {
  Steps steps = Steps::guarded(*this);
  read_word(steps, word, value);
  return steps.result();
}

nkr_error_t CANOpenDispatcher::setSafetyControlWord(const SafetyControlWordId& word,
                                                    const SafetyWordType& value) {
  Steps steps = Steps::guarded(*this);
  if (!steps.completed()) return steps.result();
  const std::uint8_t byte = byte_of(value);
  steps.write(writable_name(word), byte);
  return steps.result();
}

nkr_error_t CANOpenDispatcher::getSafetyStatusWord(const SafetyStatusWordId& word,
                                                   SafetyWordType& value) const {
  Steps steps = Steps::guarded(*this);
  read_word(steps, word, value);
  return steps.result();
}

}  // namespace nkr::tavcore
