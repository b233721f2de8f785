#include <nkr/canopen/SdoTimeoutScope.hpp>

namespace nkr::canopen {
namespace {

thread_local const SdoTimeoutScope* innermost_scope = nullptr;

}  // namespace

SdoTimeoutScope::SdoTimeoutScope(std::chrono::milliseconds timeout)
    : timeout_(timeout), outer_(innermost_scope) {
  innermost_scope = this;
}

SdoTimeoutScope::~SdoTimeoutScope() {
  innermost_scope = outer_;
}

const SdoTimeoutScope* SdoTimeoutScope::innermost() {
  return innermost_scope;
}

}  // namespace nkr::canopen
