#ifndef NKR_CANOPEN_REQUESTS_FAILURERECORDS_HPP
#define NKR_CANOPEN_REQUESTS_FAILURERECORDS_HPP

#include <array>
#include <atomic>
#include <cstdint>
#include <memory>
#include <mutex>
#include <nkr/canopen/RequestFailure.hpp>

namespace nkr::canopen {

/** The last failure of every node, for each thread its own. */
class FailureRecords {
 public:
  FailureRecords();

  /** Counts the attempts and keeps the record for the calling thread. */
  void failed(RequestFailure failure);
  /** The next failure of that object is its first again. No lock when it did not fail before. */
  void succeeded(std::uint8_t node, std::uint32_t address);
  /** The calling thread's record with the object's name; false when no request of it to the node failed. */
  bool last(std::uint8_t node, RequestFailure& failure) const;
  void set_resolver(ObjectNameResolver resolver);
  /** How often the resolver ended by throwing. */
  [[nodiscard]] std::uint64_t thrown() const { return thrown_; }

 private:
  struct Row {
    std::uint32_t address = 0;
    unsigned attempts = 0;
  };
  struct Identity {};

  /** By it threads know whose records they keep, and that those can go. */
  const std::shared_ptr<const Identity> identity_;
  mutable std::mutex mutex_;
  std::array<Row, 128> rows_;  ///< by node: what failed last, and how often in a row
  std::shared_ptr<const ObjectNameResolver> resolver_;
  std::array<std::atomic<std::uint64_t>, 128> failing_{};  ///< address + 1 of what failed last; 0: nothing
  mutable std::atomic<std::uint64_t> thrown_{0};
};

}  // namespace nkr::canopen

#endif
