#include "ParameterBlocks.hpp"

#include <tavcore/CANOpenDispatcher.hpp>

#include "../logging/LogRecord.hpp"
#include "../objects/DictionaryAccess.hpp"

namespace nkr::tavcore {

nkr_error_t CANOpenDispatcher::refuse_block(std::int32_t number, Here here) const {
  log_record_with({dictionary_->context(), NKR_LOG_FAILURE, here, kDispatcherClass},
                  [&] { return "Invalid block id : " + log_text_of(number); });
  return NKR_ERROR;
}

}  // namespace nkr::tavcore
