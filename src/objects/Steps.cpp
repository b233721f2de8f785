#include "Steps.hpp"

#include "../logging/LogRecord.hpp"

namespace nkr::tavcore {

nkr_error_t Steps::refuse(Here here) {
  log_record({0, NKR_LOG_FAILURE, here, kDispatcherClass}, "TAV CANOpenDispatcher is not initialized");
  return NKR_NOT_AVAILABLE;
}

}  // namespace nkr::tavcore
