#ifndef TAVCORE_DISPATCHER_BITS_HPP
#define TAVCORE_DISPATCHER_BITS_HPP

namespace nkr::tavcore {

/** True when any bit of the mask is set in the word. */
template <class Word>
constexpr bool has_bit(Word word, Word mask) {
  return (word & mask) != 0;
}

/** The word with the mask's bits set or cleared and all others as they are; of the word's own type. */
template <class Word>
constexpr Word with_bit(Word word, Word mask, bool on) {
  return static_cast<Word>(on ? word | mask : word & static_cast<Word>(~mask));
}

}  // namespace nkr::tavcore

#endif
