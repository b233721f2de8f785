#ifndef TAV_HOST_SRC_GROUP_GROUPIMPL_HPP
#define TAV_HOST_SRC_GROUP_GROUPIMPL_HPP

#include <atomic>
#include <functional>
#include <memory>
#include <mutex>
#include <nkr/can/Bus.hpp>
#include <nkr/can/Thread.hpp>
#include <nkr/canopen/Client.hpp>
#include <tav/host/Group.hpp>
#include <tav/host/HostMonitoring.hpp>
#include <tav/host/Unit.hpp>
#include <vector>

namespace tav::host {

struct Group::Impl {
  using Clock = nkr::can::Clock;
  using Time = Clock::time_point;
  using Request = GroupCycle::Request;

  Impl(std::vector<tav::host::Unit*> the_units, const GroupSettings& the_settings);
  ~Impl();

  // group_preparing.cpp
  Result prepare();
  [[nodiscard]] Result see_load();
  [[nodiscard]] Result see_units();
  [[nodiscard]] Result listen();
  [[nodiscard]] Result judge(const nkr::can::Frame& frame);
  [[nodiscard]] Result choose_host_node();
  [[nodiscard]] Result look_at(std::size_t index);
  [[nodiscard]] Result see_equal_ramps();
  [[nodiscard]] Result configure();
  [[nodiscard]] Result configure(std::size_t index);
  [[nodiscard]] Result let_watch(std::size_t index, nkr::canopen::NodeConfiguration& configuration);
  void heard(const nkr::canopen::Event& event);

  // group_running.cpp
  Result start();
  [[nodiscard]] Result open_port();
  void run();
  void take_frames(Time until);
  void exchange();
  Result enable(const Enabling& enabling);
  Result set(const std::vector<int>& velocities);
  Result stop(Request request);
  Result resume();
  void end() noexcept;
  void give_back();
  void claim_units(bool are_claimed);
  [[nodiscard]] bool wait_for(const std::function<bool(const GroupSnapshot&)>& condition,
                              std::chrono::milliseconds longest);
  [[nodiscard]] Result explain(const StopReason& reason, const std::string& action);

  [[nodiscard]] Explanation explanation(Cause cause, nkr_error_t code, std::string action,
                                        std::uint8_t node = 0) const;
  [[nodiscard]] std::size_t index_of(std::uint8_t node) const;  ///< size(): none
  [[nodiscard]] bool is_interrupted() const;
  void warn(const Explanation& warning) const;

  /** What a unit has of objects that all must have alike. */
  struct Ramps {
    std::uint32_t least = 0, most = 0;
    std::uint32_t acceleration_speed = 0, deceleration_speed = 0;
    std::uint16_t acceleration_time = 0, deceleration_time = 0;
  };

  const std::vector<tav::host::Unit*> units;
  const GroupSettings settings;
  GroupPreparation preparation;
  std::vector<Ramps> ramps;
  GroupCycle::OnCycle handler;
  std::shared_ptr<nkr::canopen::Client> client;

  enum class Progress { NONE, DONE, FAILED };
  std::mutex mutex;  ///< of what events tell
  std::vector<Progress> configured;
  std::vector<nkr::canopen::Event> failures;
  int subscription = 0;

  std::unique_ptr<nkr::can::Port> port;
  std::unique_ptr<GroupCycle> cycle;
  std::atomic<bool> is_ending{false};
  nkr::can::Thread thread;
  mutable std::mutex report_mutex;
  RealTimeReport report;
  std::chrono::system_clock::time_point wall;
  Time steady;
  bool is_prepared = false;
  std::atomic<bool> is_running{false};
  int living = 0;  ///< number for exit()
};

}  // namespace tav::host

#endif
