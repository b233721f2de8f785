#include <tavcore/CANOpenDispatcher.hpp>

#include "../logging/LogRecord.hpp"
#include "../objects/Steps.hpp"

namespace nkr::tavcore {

nkr_error_t CANOpenDispatcher::getNMTState(NMTState& state) const {
  Steps steps = Steps::guarded(*dictionary_);
  if (!steps.completed()) return steps.result();
  const nkr_error_t result = dictionary_->client().getNMTState(dictionary_->node(), state);
  if (result == NKR_OK) {
    log_record_with({dictionary_->context(), NKR_LOG_TRACE, Here::now(), kDispatcherClass},
                    [&] { return "getNmtState get " + log_text_of(static_cast<std::uint32_t>(state)); });
  } else {
    log_record({dictionary_->context(), NKR_LOG_FAILURE, Here::now(), kDispatcherClass},
               "getNmtState failed !");
  }
  return result;
}

nkr_error_t CANOpenDispatcher::setNMTState(const NMTCommand& command) {
  Steps steps = Steps::guarded(*dictionary_);
  if (!steps.completed()) return steps.result();
  const auto text = [&] { return "setNmtState set " + log_text_of(static_cast<std::uint32_t>(command)); };
  const nkr_error_t result = dictionary_->client().setNMTState(dictionary_->node(), command);
  if (result != NKR_OK) {
    log_record_with({dictionary_->context(), NKR_LOG_FAILURE, Here::now(), kDispatcherClass},
                    [&] { return text() + " failed !"; });
    return result;
  }
  log_record_with({dictionary_->context(), NKR_LOG_TRACE, Here::now(), kDispatcherClass}, text);
  if (command == NMTCommand::RESET_NODE || command == NMTCommand::RESET_COMMUNICATION) {
    dictionary_->address_node(configured_node_id_);
    log_record_with({dictionary_->context(), NKR_LOG_WARNING, Here::now(), kDispatcherClass}, [&] {
      return "node id changed to " + log_text_of(static_cast<std::int32_t>(configured_node_id_));
    });
  }
  return NKR_OK;
}

}  // namespace nkr::tavcore
