#include <mutex>
#include <tavcore/Model.hpp>

namespace nkr::tavcore {
namespace {

template <class T>
T locked_value(tools::Mutexed<T>& guarded) {
  const std::lock_guard<std::mutex> lock(guarded);
  return guarded.value;
}

template <class T>
void set_locked_value(tools::Mutexed<T>& guarded, const T& value) {
  const std::lock_guard<std::mutex> lock(guarded);
  guarded.value = value;
}

}  // namespace

Model::Model() {
  clear();
}

void Model::init() {
  clear();
}

void Model::clear() {
  setAppState(_app_state::NONE);
  setNodeState(_app_state::NONE);
  setOdometry(0);
  setSpeedOrder(0);
}

_app_state Model::getAppState() const {
  return locked_value(app_state_);
}
_app_state Model::getNodeState() const {
  return locked_value(node_state_);
}
int Model::getOdometry() const {
  return locked_value(odometry_);
}
short Model::getQuickStopOptionCode() const {
  return locked_value(quick_stop_option_code_);
}
int Model::getSpeedOrder() const {
  return locked_value(speed_order_);
}
bool Model::getSpeedOrderValidity() const {
  return locked_value(speed_order_validity_);
}

void Model::setAppState(const _app_state& state) {
  set_locked_value(app_state_, state);
}
void Model::setNodeState(const _app_state& state) {
  set_locked_value(node_state_, state);
}
void Model::setOdometry(const int& odometry) {
  set_locked_value(odometry_, odometry);
}
void Model::setQuickStopOptionCode(const short& code) {
  set_locked_value(quick_stop_option_code_, code);
}
void Model::setSpeedOrder(const int& order) {
  set_locked_value(speed_order_, order);
}
void Model::setSpeedOrderValidity(bool valid) {
  set_locked_value(speed_order_validity_, valid);
}

}  // namespace nkr::tavcore
