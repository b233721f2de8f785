#include <tavcore/CANOpenDispatcher.hpp>

#include "Steps.hpp"

namespace nkr::tavcore {

nkr_error_t CANOpenDispatcher::syncTav(const int& order, bool flag, canopenservice::TavOut& out) {
  Steps steps = Steps::guarded(*this);
  canopenservice::TavIn request{};
  request.nodeId = node();
  steps.resolve("nkr_tav_status_word", request.statusWordAddress);
  steps.resolve(kPositionValue.name, request.positionAddress);
  steps.resolve(kVelocityActualValue.name, request.velocityAddress);
  request.order = order;
  request.flag = flag;
  steps.once([&] { return client_->sync(request, out); });
  return steps.result();
}

nkr_error_t CANOpenDispatcher::getSWVersion(unsigned int& version) const {
  Steps steps = Steps::guarded(*this);
  steps.read("Software version", version);
  return steps.result();
}

nkr_error_t CANOpenDispatcher::getHWVersion(unsigned int& version) const {
  Steps steps = Steps::guarded(*this);
  steps.read("Hardware version", version);
  return steps.result();
}

nkr_error_t CANOpenDispatcher::getHWConfig(unsigned int& config) const {
  Steps steps = Steps::guarded(*this);
  steps.read("Hardware config", config);
  return steps.result();
}

nkr_error_t CANOpenDispatcher::getHWId(unsigned int& id) const {
  Steps steps = Steps::guarded(*this);
  steps.read("Hardware ID", id);
  return steps.result();
}

}  // namespace nkr::tavcore
