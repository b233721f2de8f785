#include "Steps.hpp"

#include "../logging/LogRecord.hpp"

namespace nkr::tavcore {

Steps Steps::guarded(const CANOpenDispatcher& dispatcher, Here here) {
  Steps steps(dispatcher);
  if (!dispatcher.config_loaded_) {
    log_record({0, NKR_LOG_FAILURE, here, kDispatcherClass}, "TAV CANOpenDispatcher is not initialized");
    steps.end(NKR_NOT_AVAILABLE);
  }
  return steps;
}

}  // namespace nkr::tavcore
