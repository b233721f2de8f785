#include "requests/FailureRecords.hpp"

#include <utility>

namespace nkr::canopen {

void FailureRecords::failed(RequestFailure failure) {
  const std::uint64_t mark = std::uint64_t{failure.address} + 1;
  const std::lock_guard<std::mutex> lock(mutex_);
  const bool again = failing_.at(failure.node).exchange(mark) == mark;
  RequestFailure& kept = failures_[failure.node];
  failure.attempts = again ? kept.attempts + 1 : 1;
  kept = std::move(failure);
}

void FailureRecords::succeeded(std::uint8_t node, std::uint32_t address) {
  std::uint64_t mark = std::uint64_t{address} + 1;
  if (failing_.at(node).load(std::memory_order_relaxed) == mark)
    failing_.at(node).compare_exchange_strong(mark, 0);
}

bool FailureRecords::last(std::uint8_t node, RequestFailure& failure) const {
  std::shared_ptr<const ObjectNameResolver> resolver;
  {
    const std::lock_guard<std::mutex> lock(mutex_);
    const auto found = failures_.find(node);
    if (found == failures_.end()) return false;
    failure = found->second;
    resolver = resolver_;
  }
  if (resolver && *resolver) failure.object_name = (*resolver)(node, failure.address);
  return true;
}

void FailureRecords::set_resolver(ObjectNameResolver resolver) {
  auto replaced = std::make_shared<const ObjectNameResolver>(std::move(resolver));
  const std::lock_guard<std::mutex> lock(mutex_);
  resolver_.swap(replaced);
}

}  // namespace nkr::canopen
