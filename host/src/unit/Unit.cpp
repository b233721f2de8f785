#include <tav/host/Unit.hpp>
#include <utility>

#include "UnitImpl.hpp"

namespace tav::host {

std::unique_ptr<Unit> Unit::open(const UnitSettings& settings, Result& result) {
  auto impl = std::make_shared<Impl>();
  result = impl->link.open(settings);
  return result.ok() ? std::unique_ptr<Unit>(new Unit(std::move(impl))) : nullptr;
}

Unit::Unit(std::shared_ptr<Impl> impl) : impl_(std::move(impl)) {}
Unit::~Unit() {
  impl_->end();
}

Result Unit::enable(Enabling enabling) {
  return impl_->call("enable the drive", [&] { return impl_->enable(enabling); });
}
bool Unit::is_enabled() const {
  return impl_->is_enabled;
}
Result Unit::set_velocity(int velocity) {
  return impl_->call("set the target velocity", [&] { return impl_->set_velocity(velocity); });
}
Result Unit::adopt() {
  return impl_->call("read the target velocity back", [&] { return impl_->adopt(); });
}
Result Unit::follow(std::chrono::milliseconds time, const OnLook& on_look) {
  return impl_->call("follow the drive", [&] { return impl_->follow(time, on_look); });
}
Result Unit::look(Look& look) {
  return impl_->call("follow the drive", [&] { return impl_->look(look); });
}
Result Unit::stop() {
  return impl_->call("stop the drive", [&] { return impl_->stop(); });
}
Result Unit::disable() {
  return impl_->call("disable the drive", [&] { return impl_->disable(); });
}
Result Unit::leave() {
  return impl_->call("leave the drive", [&] { return impl_->leave(); });
}
Result Unit::reset(std::uint8_t after, nkr::canopencore::NMTCommand command) {
  return impl_->call("reset the drive", [&] { return impl_->reset(after, command); });
}
nkr::canopencore::NMTState Unit::wait_for_nmt_state(std::chrono::milliseconds patience) {
  return impl_->wait_for_nmt_state(patience);
}
Result Unit::read_state(Snapshot& state) {
  return impl_->call("read the state", [&] { return impl_->read_state(state); });
}
Result Unit::read_power(PowerFacts& facts) {
  return impl_->call("read the status word", [&] { return impl_->read_power(facts); });
}
Result Unit::read_errors(std::vector<nkr::canopen::Emergency>& errors) {
  return impl_->call("read the errors", [&] { return impl_->read_errors(errors); });
}
Heard Unit::heard() const {
  return impl_->link.events->heard();
}
void Unit::forget_heard() {
  impl_->link.events->begin_operation();
  impl_->link.events->begin_work();
}
bool Unit::is_protected() const {
  return impl_->protection.is_active() && !impl_->link.host->is_contested();
}
Result Unit::check(nkr_error_t code, const std::string& action) const {
  return impl_->link.check(code, action);
}
nkr::tavcore::Controller& Unit::controller() {
  return impl_->controller();
}
nkr::canopen::Client& Unit::client() const {
  return *impl_->link.client;
}
const std::shared_ptr<nkr::canopen::Client>& Unit::shared_client() const {
  return impl_->link.client;
}
const std::shared_ptr<nkr::tavcore::CANOpenDispatcher>& Unit::dispatcher() const {
  return impl_->link.dispatcher;
}
const std::shared_ptr<nkr::tavcore::Config>& Unit::config() const {
  return impl_->link.config;
}
const nkr::tools::EDSParser& Unit::description() const {
  return *impl_->link.description;
}
const std::shared_ptr<const nkr::tools::EDSParser>& Unit::shared_description() const {
  return impl_->link.description;
}
nkr::can::Bus& Unit::bus() const {
  return *impl_->link.bus;
}
const std::shared_ptr<HostNode>& Unit::host_node() const {
  return impl_->link.host;
}
std::uint8_t Unit::node_id() const {
  return impl_->link.node;
}

}  // namespace tav::host
