// Commands and statuses of the safety functions, one object each.

#include <map>

#include "../dispatcher/Steps.hpp"

namespace nkr::tavcore {
namespace {

using Function = ISafeMotionService::SafetyFunctionId;
using FunctionNames = std::map<Function, std::string>;

/** Name of a function's command object; std::out_of_range for an unknown function. */
const std::string& command_name(Function function) {
  static const FunctionNames names = {
      {Function::STO, "STO command"},
      {Function::SBC_1, "SBC commands SBC command 1"},
      {Function::SBC_2, "SBC commands SBC command 2"},
      {Function::SBC_3, "SBC commands SBC command 3"},
      {Function::SLS_1, "SLS commands SLS command 1"},
      {Function::SLS_2, "SLS commands SLS command 2"},
      {Function::SLS_3, "SLS commands SLS command 3"},
      {Function::SLS_4, "SLS commands SLS command 4"},
      {Function::SLS_5, "SLS commands SLS command 5"},
      {Function::SLS_6, "SLS commands SLS command 6"},
      {Function::SLS_7, "SLS commands SLS command 7"},
      {Function::SLS_8, "SLS commands SLS command 8"},
      {Function::SDIP_1, "SDIp commands SDIp command 1"},
      {Function::SDIP_2, "SDIp commands SDIp command 2"},
      {Function::SDIN_1, "SDIn commands SDIn command 1"},
      {Function::SDIN_2, "SDIn commands SDIn command 2"},
      {Function::ERROR_ACKNOWLEDGE, "Error acknowledge command"},
      {Function::RESTART_ACKNOWLEDGE, "Restart acknowledge command"},
  };
  return names.at(function);
}

/** Name of a function's status object; std::out_of_range for an unknown function. */
const std::string& status_name(Function function) {
  static const FunctionNames names = {
      {Function::STO, "STO status"},
      {Function::SBC_1, "SBC statuses SBC status 1"},
      {Function::SBC_2, "SBC statuses SBC status 2"},
      {Function::SBC_3, "SBC statuses SBC status 3"},
      {Function::SLS_1, "SLS statuses SLS status 1"},
      {Function::SLS_2, "SLS statuses SLS status 2"},
      {Function::SLS_3, "SLS statuses SLS status 3"},
      {Function::SLS_4, "SLS statuses SLS status 4"},
      {Function::SLS_5, "SLS statuses SLS status 5"},
      {Function::SLS_6, "SLS statuses SLS status 6"},
      {Function::SLS_7, "SLS statuses SLS status 7"},
      {Function::SLS_8, "SLS statuses SLS status 8"},
      {Function::SDIP_1, "SDIp statuses SDIp status 1"},
      {Function::SDIP_2, "SDIp statuses SDIp status 2"},
      {Function::SDIN_1, "SDIn statuses SDIn status 1"},
      {Function::SDIN_2, "SDIn statuses SDIn status 2"},
      {Function::ERROR_ACKNOWLEDGE, "Error acknowledge status"},
      {Function::RESTART_ACKNOWLEDGE, "Restart acknowledge status"},
  };
  return names.at(function);
}

/** Reads the bit of a function into `active`; no function is never active. */
void read_function(Steps& steps, const std::string& (*name_of)(Function), Function function, bool& active) {
  if (!steps.completed()) return;
  if (function == Function::NONE) {
    active = false;
    return;
  }
  steps.read(name_of(function), active);
}

}  // namespace

nkr_error_t CANOpenDispatcher::getSafetyFunctionCommand(const SafetyFunctionId& function,
                                                        bool& active) const {
  Steps steps = Steps::guarded(*this);
  read_function(steps, command_name, function, active);
  return steps.result();
}

nkr_error_t CANOpenDispatcher::getSafetyFunctionStatus(const SafetyFunctionId& function, bool& active) const {
  Steps steps = Steps::guarded(*this);
  read_function(steps, status_name, function, active);
  return steps.result();
}

}  // namespace nkr::tavcore
