#include "SharedRing.hpp"

#include <algorithm>
#include <cstring>

namespace tav::host {

SharedRing::SharedRing(std::size_t entry_bytes, std::size_t entries)
    : bytes_(entry_bytes),
      words_((entry_bytes + sizeof(Word) - 1) / sizeof(Word)),
      slots_(std::max<std::size_t>(entries, 2)),
      memory_(slots_ * (words_ + 1)) {}

// Every word is released behind the odd mark and acquired before the mark is read again: who sees a word of a
// newer entry sees its mark, too.
void SharedRing::push(const void* entry) {
  const std::uint64_t number = pushed_.load(std::memory_order_relaxed);
  const std::size_t slot = slot_of(number);
  memory_[slot].store(2 * number + 1, std::memory_order_release);
  const auto* bytes = static_cast<const unsigned char*>(entry);
  for (std::size_t i = 0; i < words_; ++i) {
    Word word = 0;
    const std::size_t at = i * sizeof(Word);
    std::memcpy(&word, bytes + at, std::min(sizeof(Word), bytes_ - at));
    memory_[slot + 1 + i].store(word, std::memory_order_release);
  }
  memory_[slot].store(2 * number + 2, std::memory_order_release);
  pushed_.store(number + 1, std::memory_order_release);
}

bool SharedRing::read(std::uint64_t number, void* entry) const {
  const std::size_t slot = slot_of(number);
  if (memory_[slot].load(std::memory_order_acquire) != 2 * number + 2) return false;
  auto* bytes = static_cast<unsigned char*>(entry);
  for (std::size_t i = 0; i < words_; ++i) {
    const Word word = memory_[slot + 1 + i].load(std::memory_order_acquire);
    const std::size_t at = i * sizeof(Word);
    std::memcpy(bytes + at, &word, std::min(sizeof(Word), bytes_ - at));
  }
  return memory_[slot].load(std::memory_order_acquire) == 2 * number + 2;
}

bool SharedRing::read_newest(void* entry) const {
  while (true) {
    const std::uint64_t number = pushed();
    if (number == 0) return false;
    if (read(number - 1, entry)) return true;
  }
}

}  // namespace tav::host
