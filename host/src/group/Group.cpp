#include <nkr/time/clock.hpp>
#include <tav/host/Group.hpp>

#include "GroupImpl.hpp"

namespace tav::host {

Group::Group(const std::vector<Unit*>& units, const GroupSettings& settings)
    : impl_(std::make_unique<Impl>(units, settings)) {}
Group::~Group() = default;

Result Group::prepare() {
  return impl_->prepare();
}
const GroupPreparation& Group::preparation() const {
  return impl_->preparation;
}
Result Group::start() {
  return impl_->start();
}
Result Group::enable(Enabling enabling) {
  return impl_->enable(enabling);
}
Result Group::set(const std::vector<int>& velocities) {
  return impl_->set(velocities);
}
nkr_error_t Group::set(const int* velocities, std::size_t count) {
  if (!impl_->cycle) return NKR_INVALID_STATE;
  return impl_->cycle->set(velocities, count, nkr::time::now());
}
Result Group::stop() {
  return impl_->stop(GroupCycle::Request::STOP);
}
Result Group::hold() {
  return impl_->stop(GroupCycle::Request::HOLD);
}
Result Group::resume() {
  return impl_->resume();
}
void Group::snapshot(GroupSnapshot& snapshot) const {
  if (impl_->cycle) impl_->cycle->snapshot(snapshot);
}
GroupSnapshot Group::snapshot() const {
  GroupSnapshot now;
  snapshot(now);
  return now;
}
GroupStatistics Group::statistics() const {
  return impl_->cycle ? impl_->cycle->statistics() : GroupStatistics{};
}
void Group::on_cycle(GroupCycle::OnCycle handler) {
  impl_->handler = std::move(handler);
}
void Group::exchange() {
  impl_->exchange();
}
void Group::write_record(std::ostream& csv) const {
  if (impl_->cycle) impl_->cycle->write_record(csv);
}
void Group::write_frames(std::ostream& log) const {
  if (impl_->cycle) {
    impl_->cycle->write_frames(log, impl_->units.front()->bus().name(), impl_->wall, impl_->steady);
  }
}
RealTimeReport Group::real_time() const {
  const std::lock_guard<std::mutex> lock(impl_->report_mutex);
  return impl_->report;
}
const GroupSettings& Group::settings() const {
  return impl_->settings;
}
std::size_t Group::size() const {
  return impl_->units.size();
}

}  // namespace tav::host
