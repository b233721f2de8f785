#include "Steps.hpp"

#include "../logging/LogRecord.hpp"

namespace nkr::tavcore {

void Steps::refuse(Here here) {
  log_record({0, NKR_LOG_FAILURE, here, kDispatcherClass}, "TAV CANOpenDispatcher is not initialized");
  end(NKR_NOT_AVAILABLE);
}

}  // namespace nkr::tavcore
