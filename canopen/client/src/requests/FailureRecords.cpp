#include "requests/FailureRecords.hpp"

#include <algorithm>
#include <map>
#include <utility>
#include <vector>

namespace nkr::canopen {
namespace {

/** What one thread saw fail, with one client. */
struct OwnRecords {
  std::weak_ptr<const void> client;
  std::map<std::uint8_t, RequestFailure> failures;
};

/** Of every client that failed the calling thread; those of clients that are gone go with the next failure.
 */
std::vector<OwnRecords>& own_records() {
  thread_local std::vector<OwnRecords> records;
  return records;
}

OwnRecords* find(const std::shared_ptr<const void>& client) {
  std::vector<OwnRecords>& all = own_records();
  const auto found = std::find_if(all.begin(), all.end(),
                                  [&](const OwnRecords& one) { return one.client.lock() == client; });
  return found == all.end() ? nullptr : &*found;
}

}  // namespace

FailureRecords::FailureRecords() : identity_(std::make_shared<const Identity>()) {}

void FailureRecords::failed(RequestFailure failure) {
  const std::uint64_t mark = std::uint64_t{failure.address} + 1;
  {
    const std::lock_guard<std::mutex> lock(mutex_);
    const bool again = failing_.at(failure.node).exchange(mark) == mark;
    Row& row = rows_.at(failure.node);
    row.attempts = again && row.address == failure.address ? row.attempts + 1 : 1;
    row.address = failure.address;
    failure.attempts = row.attempts;
  }
  OwnRecords* own = find(identity_);
  if (own == nullptr) {
    std::vector<OwnRecords>& all = own_records();
    all.erase(
        std::remove_if(all.begin(), all.end(), [](const OwnRecords& one) { return one.client.expired(); }),
        all.end());
    own = &all.emplace_back(OwnRecords{identity_, {}});
  }
  own->failures[failure.node] = std::move(failure);
}

void FailureRecords::succeeded(std::uint8_t node, std::uint32_t address) {
  std::uint64_t mark = std::uint64_t{address} + 1;
  if (failing_.at(node).load(std::memory_order_relaxed) == mark)
    failing_.at(node).compare_exchange_strong(mark, 0);
}

bool FailureRecords::last(std::uint8_t node, RequestFailure& failure) const {
  const OwnRecords* const own = find(identity_);
  if (own == nullptr) return false;
  const auto found = own->failures.find(node);
  if (found == own->failures.end()) return false;
  failure = found->second;
  std::shared_ptr<const ObjectNameResolver> resolver;
  {
    const std::lock_guard<std::mutex> lock(mutex_);
    resolver = resolver_;
  }
  try {
    if (resolver && *resolver) failure.object_name = (*resolver)(node, failure.address);
  } catch (...) {
    ++thrown_;
  }
  return true;
}

void FailureRecords::set_resolver(ObjectNameResolver resolver) {
  auto replaced = std::make_shared<const ObjectNameResolver>(std::move(resolver));
  const std::lock_guard<std::mutex> lock(mutex_);
  resolver_.swap(replaced);
}

}  // namespace nkr::canopen
