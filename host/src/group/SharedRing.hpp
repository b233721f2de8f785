#ifndef TAV_HOST_SRC_GROUP_SHAREDRING_HPP
#define TAV_HOST_SRC_GROUP_SHAREDRING_HPP

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <type_traits>
#include <vector>

namespace tav::host {

/**
 * The last entries that one thread wrote, for any thread to read. Neither waits for the other: an entry that
 * is being overwritten cannot be read. All memory is there from the beginning.
 */
class SharedRing {
 public:
  /** @param entries  two at least, or the newest entry is often being overwritten */
  SharedRing(std::size_t entry_bytes, std::size_t entries);

  /** Writes the next entry, of entry_bytes. */
  void push(const void* entry);
  /** How many were written; the number of the next one. */
  [[nodiscard]] std::uint64_t pushed() const { return pushed_.load(std::memory_order_acquire); }
  [[nodiscard]] std::size_t size() const { return slots_; }
  /** The entry of that number, from 0; false when it is not written yet, or overwritten. */
  bool read(std::uint64_t number, void* entry) const;
  /** The newest entry; false before the first one. */
  bool read_newest(void* entry) const;

 private:
  using Word = std::uint64_t;
  [[nodiscard]] std::size_t slot_of(std::uint64_t number) const {
    return static_cast<std::size_t>(number % slots_) * (words_ + 1);
  }

  std::size_t bytes_;
  std::size_t words_;  ///< of an entry; before each a word that says which entry it is, odd while it changes
  std::size_t slots_;
  std::vector<std::atomic<Word>> memory_;
  std::atomic<std::uint64_t> pushed_{0};
};

}  // namespace tav::host

#endif
