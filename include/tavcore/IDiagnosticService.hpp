#ifndef TAVCORE_IDIAGNOSTICSERVICE_HPP
#define TAVCORE_IDIAGNOSTICSERVICE_HPP

#include <nkr/error.h>
#include <nkr/export.h>

#include <cstdint>

namespace nkr::tavcore {

/** A compact motion interface: move at a percentage of the configured speed, and read back a snapshot. */
class NKR_EXPORT IDiagnosticService {
 public:
  /** Direction of a motion order. */
  enum class MoveEnum : std::int32_t {
    STOP = 0,      ///< no motion; the speed is forced to 0
    FORWARD = 1,   ///< positive target velocity
    BACKWARD = 2,  ///< negative target velocity
  };

  virtual ~IDiagnosticService() = default;

  /** Position value and actual velocity, in the drive's units. The controller alone serves it. */
  NKR_NODISCARD virtual nkr_error_t getAxisData(int& position, int& velocity) const = 0;

  /**
   * A snapshot of the drive. All nine outputs are 0 or false before the first access.
   * @param operationEnabled  the drive is in OPERATION_ENABLED
   * @param nmtState          NMT state as in the heartbeat; 0 ends the snapshot with NKR_OK
   * @param usbPresent        the configured serial device exists
   * @param odometry          distance travelled, in the unit of the configured diameter
   * @param position          position value, in the drive's position unit
   * @param velocity          actual velocity, in the drive's velocity unit
   * @param reserved          always 0
   * @param speedPercent      velocity in percent of the configured maximum, negative when moving backward
   * @param move              direction of the actual velocity
   */
  NKR_NODISCARD virtual nkr_error_t getTavInfos(bool& operationEnabled, unsigned char& nmtState,
                                                bool& usbPresent, int& odometry, int& position, int& velocity,
                                                unsigned int& reserved, int& speedPercent,
                                                MoveEnum& move) const = 0;

  /**
   * A motion order: a target velocity of `speedPercent` of the configured maximum, in the direction of
   * `order`. Above the maximum the speed is limited; a negative percentage passes through as it is.
   * @return NKR_ERROR for an order outside MoveEnum (nothing is sent)
   */
  NKR_NODISCARD virtual nkr_error_t setTavInfos(const int& speedPercent, const MoveEnum& order) = 0;
};

}  // namespace nkr::tavcore

#endif
