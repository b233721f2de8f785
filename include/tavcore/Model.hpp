#ifndef TAVCORE_MODEL_HPP
#define TAVCORE_MODEL_HPP

#include <nkr/export.h>

#include <cstdint>
#include <tavcore/Mutexed.hpp>

namespace nkr::tavcore {

/** State of an application or of a node; 0 is the state after Model::clear(). Further values are the
 * application's. */
enum class _app_state : std::int32_t {
  NONE = 0,
};

/**
 * The drive's live state as several threads of an application share it. Each value has its own mutex; a pair
 * of values (speed order and its validity) is not updated as a pair. Nothing in the library uses it.
 */
class NKR_EXPORT Model {
 public:
  /** All values 0 or false. */
  Model();
  virtual ~Model() = default;

  /** Calls clear(). */
  void init();
  /** Sets application state, node state, odometry and speed order to 0; leaves the other two as they are. */
  void clear();

  [[nodiscard]] _app_state getAppState() const;
  [[nodiscard]] _app_state getNodeState() const;
  [[nodiscard]] int getOdometry() const;
  [[nodiscard]] short getQuickStopOptionCode() const;
  [[nodiscard]] int getSpeedOrder() const;
  [[nodiscard]] bool getSpeedOrderValidity() const;

  void setAppState(const _app_state& state);
  void setNodeState(const _app_state& state);
  void setOdometry(const int& odometry);
  void setQuickStopOptionCode(const short& code);
  void setSpeedOrder(const int& order);
  void setSpeedOrderValidity(bool valid);

 private:
  mutable tools::Mutexed<_app_state> app_state_;
  mutable tools::Mutexed<_app_state> node_state_;
  mutable tools::Mutexed<int> odometry_;
  mutable tools::Mutexed<short> quick_stop_option_code_;
  mutable tools::Mutexed<int> speed_order_;
  mutable tools::Mutexed<bool> speed_order_validity_;
};

}  // namespace nkr::tavcore

#endif
