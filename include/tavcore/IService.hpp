#ifndef TAVCORE_ISERVICE_HPP
#define TAVCORE_ISERVICE_HPP

#include <nkr/export.h>

#include <tavcore/ICommunicationService.hpp>
#include <tavcore/IDiagnosticService.hpp>
#include <tavcore/IEMCYService.hpp>
#include <tavcore/IInternalService.hpp>
#include <tavcore/IManufacturerService.hpp>
#include <tavcore/INMTService.hpp>
#include <tavcore/IPDSService.hpp>
#include <tavcore/ISRDOService.hpp>
#include <tavcore/ISafeMotionService.hpp>
#include <tavcore/IVelocityModeService.hpp>

namespace nkr::tavcore {

/**
 * All service operations of the drive. Every operation answers NKR_OK or a failure: of this library, or of
 * the CANopen client, unchanged (see nkr/error.h).
 *
 * Repeat-once rule: an access that fails is made once more and the operation ends with that second result. So
 * an operation may answer NKR_OK although its later accesses were left out; docs/behaviour.md lists what to
 * verify.
 */
class NKR_EXPORT IService : public IDiagnosticService,
                            public IInternalService,
                            public INMTService,
                            public IEMCYService,
                            public IPDSService,
                            public ISafeMotionService,
                            public ICommunicationService,
                            public IManufacturerService,
                            public IVelocityModeService,
                            public ISRDOService {
 public:
  ~IService() override = default;
};

}  // namespace nkr::tavcore

#endif
