#include <tavcore/CANOpenDispatcher.hpp>

#include "../objects/DriveObjects.hpp"
#include "../objects/Steps.hpp"

namespace nkr::tavcore {

nkr_error_t CANOpenDispatcher::syncTav(const int& order, bool flag, canopenservice::TavOut& out) {
  Steps steps = Steps::guarded(*dictionary_);
  canopenservice::TavIn request{};
  request.nodeId = dictionary_->node();
  steps.resolve(Object<std::uint16_t>{"nkr_tav_status_word"}, request.statusWordAddress);
  steps.resolve(kPositionValue, request.positionAddress);
  steps.resolve(kVelocityActualValue, request.velocityAddress);
  request.order = order;
  request.flag = flag;
  steps.once([&] { return dictionary_->client().sync(request, out); });
  return steps.result();
}

nkr_error_t CANOpenDispatcher::getSWVersion(unsigned int& version) const {
  Steps steps = Steps::guarded(*dictionary_);
  steps.read(Object<std::uint32_t>{"Software version"}, version);
  return steps.result();
}

nkr_error_t CANOpenDispatcher::getHWVersion(unsigned int& version) const {
  Steps steps = Steps::guarded(*dictionary_);
  steps.read(Object<std::uint32_t>{"Hardware version"}, version);
  return steps.result();
}

nkr_error_t CANOpenDispatcher::getHWConfig(unsigned int& config) const {
  Steps steps = Steps::guarded(*dictionary_);
  steps.read(Object<std::uint32_t>{"Hardware config"}, config);
  return steps.result();
}

nkr_error_t CANOpenDispatcher::getHWId(unsigned int& id) const {
  Steps steps = Steps::guarded(*dictionary_);
  steps.read(Object<std::uint32_t>{"Hardware ID"}, id);
  return steps.result();
}

}  // namespace nkr::tavcore
