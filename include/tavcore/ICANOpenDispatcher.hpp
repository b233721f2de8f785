#ifndef TAVCORE_ICANOPENDISPATCHER_HPP
#define TAVCORE_ICANOPENDISPATCHER_HPP

#include <nkr/export.h>

#include <nkr/canopenservice/Tav.hpp>
#include <tavcore/IService.hpp>

namespace nkr::tavcore {

/** What carries the service operations out as accesses to the drive's object dictionary. */
class NKR_EXPORT ICANOpenDispatcher : public IService {
 public:
  ~ICANOpenDispatcher() override = default;

  /** Loads the device description that the configuration names. The application calls it. */
  NKR_NODISCARD virtual nkr_error_t init() = 0;
  /** True once a device description was loaded. */
  [[nodiscard]] virtual bool isConfigLoaded() const = 0;
  /** True when the CANopen client is ready. */
  [[nodiscard]] virtual bool isClientInitialized() const = 0;

  /** One process-data exchange: status word, position and velocity in; `order` out when `flag` is set. */
  NKR_NODISCARD virtual nkr_error_t syncTav(const int& order, bool flag, canopenservice::TavOut& out) = 0;

  using IManufacturerService::getHWVersion;
  using IManufacturerService::getSWVersion;
  /** @name Raw version and hardware numbers
   * @{ */
  NKR_NODISCARD virtual nkr_error_t getSWVersion(unsigned int& version) const = 0;
  NKR_NODISCARD virtual nkr_error_t getHWVersion(unsigned int& version) const = 0;
  NKR_NODISCARD virtual nkr_error_t getHWConfig(unsigned int& config) const = 0;
  NKR_NODISCARD virtual nkr_error_t getHWId(unsigned int& id) const = 0;
  /** @} */
};

}  // namespace nkr::tavcore

#endif
