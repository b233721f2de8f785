#ifndef NKR_CANOPEN_REQUESTS_FAILURERECORDS_HPP
#define NKR_CANOPEN_REQUESTS_FAILURERECORDS_HPP

#include <array>
#include <atomic>
#include <cstdint>
#include <map>
#include <memory>
#include <mutex>
#include <nkr/canopen/RequestFailure.hpp>

namespace nkr::canopen {

/** The last failure of every node. */
class FailureRecords {
 public:
  /** Counts the attempts and keeps the record. */
  void failed(RequestFailure failure);
  /** The next failure of that object is its first again. No lock when it did not fail before. */
  void succeeded(std::uint8_t node, std::uint32_t address);
  /** The record with the object's name; false when no request to the node failed. */
  bool last(std::uint8_t node, RequestFailure& failure) const;
  void set_resolver(ObjectNameResolver resolver);

 private:
  mutable std::mutex mutex_;
  std::map<std::uint8_t, RequestFailure> failures_;
  std::shared_ptr<const ObjectNameResolver> resolver_;
  std::array<std::atomic<std::uint64_t>, 128> failing_{};  ///< address + 1 of what failed last; 0: nothing
};

}  // namespace nkr::canopen

#endif
