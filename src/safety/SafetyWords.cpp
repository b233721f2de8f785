// The safety control and status words, eight bits each.

#include <array>
#include <stdexcept>
#include <tavcore/CANOpenDispatcher.hpp>

#include "../objects/Steps.hpp"

namespace nkr::tavcore {
namespace {

using WordBits = ISafeMotionService::SafetyWordType;

constexpr std::array<bool WordBits::*, 8> kBits = {&WordBits::bit0, &WordBits::bit1, &WordBits::bit2,
                                                   &WordBits::bit3, &WordBits::bit4, &WordBits::bit5,
                                                   &WordBits::bit6, &WordBits::bit7};

/** The objects of the eight words that come by CAN, which differ in their number alone, and of the one that
 * does not. */
struct WordObjects {
  ObjectSeries<std::uint8_t> can;
  Object<std::uint8_t> manufacturer;
};

constexpr ObjectSeries<std::uint8_t> kCanControlWords{"Safety controlwords safety_controlword_can"};
constexpr WordObjects kReadableControlWords{kCanControlWords,
                                            {"Safety controlwords manufacturer safety_controlword_safein_1"}};
constexpr WordObjects kWritableControlWords{kCanControlWords,
                                            {"Safety controlwords manufacturer safety_controlword_safein"}};
constexpr WordObjects kReadableStatusWords{"Safety statuswords safety_statusword_can",
                                           {"Safety statuswords manufacturer safety_statusword_safeout"}};

/** Hands a word's object to the access; std::out_of_range for an unknown word. */
template <class Word, class Access>
void with_object(const WordObjects& objects, Word word, Access access) {
  constexpr int kCanWords = 8;  // counted from 0; the manufacturer's word follows them
  const int number = static_cast<int>(word);
  if (number < 0 || number > kCanWords) throw std::out_of_range("no such safety word");
  if (number == kCanWords) {
    access(objects.manufacturer);
  } else {
    access(objects.can.of(number + 1));
  }
}

template <class Word>
void read_word(Steps& steps, const WordObjects& objects, Word word, WordBits& bits) {
  if (!steps.completed()) return;
  with_object(objects, word, [&](const auto& object) {
    steps.read(object, [&](std::uint8_t byte) {
      for (std::size_t k = 0; k < kBits.size(); ++k) bits.*kBits[k] = (byte >> k & 1) != 0;
    });
  });
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
  Steps steps = Steps::guarded(*dictionary_);
  read_word(steps, kReadableControlWords, word, value);
  return steps.result();
}

nkr_error_t CANOpenDispatcher::setSafetyControlWord(const SafetyControlWordId& word,
                                                    const SafetyWordType& value) {
  Steps steps = Steps::guarded(*dictionary_);
  if (!steps.completed()) return steps.result();
  with_object(kWritableControlWords, word, [&](const auto& object) { steps.write(object, byte_of(value)); });
  return steps.result();
}

nkr_error_t CANOpenDispatcher::getSafetyStatusWord(const SafetyStatusWordId& word,
                                                   SafetyWordType& value) const {
  Steps steps = Steps::guarded(*dictionary_);
  read_word(steps, kReadableStatusWords, word, value);
  return steps.result();
}

}  // namespace nkr::tavcore
