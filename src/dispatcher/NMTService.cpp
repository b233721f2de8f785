#include <tavcore/CANOpenDispatcher.hpp>

#include "../logging/LogRecord.hpp"
#include "Steps.hpp"

namespace nkr::tavcore {

nkr_error_t CANOpenDispatcher::getNMTState(NMTState& state) const {
  Steps steps = Steps::guarded(*this);
  if (!steps.completed()) return steps.result();
  const nkr_error_t result = client_->getNMTState(node(), state);
  if (result == NKR_OK) {
    log_record_with({context(), NKR_LOG_TRACE, Here::now(), kDispatcherClass},
                    [&] { return "getNmtState get " + log_text_of(static_cast<std::uint32_t>(state)); });
  } else {
    log_record({context(), NKR_LOG_FAILURE, Here::now(), kDispatcherClass}, "getNmtState failed !");
  }
  return result;
}

nkr_error_t CANOpenDispatcher::setNMTState(const NMTCommand& command) {
  Steps steps = Steps::guarded(*this);
  if (!steps.completed()) return steps.result();
  const auto text = [&] { return "setNmtState set " + log_text_of(static_cast<std::uint32_t>(command)); };
  const nkr_error_t result = client_->setNMTState(node(), command);
  if (result != NKR_OK) {
    log_record_with({context(), NKR_LOG_FAILURE, Here::now(), kDispatcherClass},
                    [&] { return text() + " failed !"; });
    return result;
  }
  log_record_with({context(), NKR_LOG_TRACE, Here::now(), kDispatcherClass}, text);
  if (command == NMTCommand::RESET_NODE || command == NMTCommand::RESET_COMMUNICATION) {
    node_id_ = configured_node_id_;
    log_record_with({context(), NKR_LOG_WARNING, Here::now(), kDispatcherClass},
                    [&] { return "node id changed to " + log_text_of(static_cast<std::int32_t>(node_id_)); });
  }
  return NKR_OK;
}

}  // namespace nkr::tavcore
