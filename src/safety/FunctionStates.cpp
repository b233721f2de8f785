// Commands and statuses of the safety functions, one object each.

#include <array>
#include <tavcore/CANOpenDispatcher.hpp>

#include "../objects/Steps.hpp"

namespace nkr::tavcore {
namespace {

using Function = ISafeMotionService::SafetyFunctionId;

/** The objects by which a safety function is demanded and reports. */
struct FunctionObjects {
  Object<bool> command;
  Object<bool> status;
};

/** By the function's number: STO 0 to RESTART_ACKNOWLEDGE 17. */
constexpr std::array<FunctionObjects, 18> kFunctions = {{
    {{"STO command"}, {"STO status"}},
    {{"SBC commands SBC command 1"}, {"SBC statuses SBC status 1"}},
    {{"SBC commands SBC command 2"}, {"SBC statuses SBC status 2"}},
    {{"SBC commands SBC command 3"}, {"SBC statuses SBC status 3"}},
    {{"SLS commands SLS command 1"}, {"SLS statuses SLS status 1"}},
    {{"SLS commands SLS command 2"}, {"SLS statuses SLS status 2"}},
    {{"SLS commands SLS command 3"}, {"SLS statuses SLS status 3"}},
    {{"SLS commands SLS command 4"}, {"SLS statuses SLS status 4"}},
    {{"SLS commands SLS command 5"}, {"SLS statuses SLS status 5"}},
    {{"SLS commands SLS command 6"}, {"SLS statuses SLS status 6"}},
    {{"SLS commands SLS command 7"}, {"SLS statuses SLS status 7"}},
    {{"SLS commands SLS command 8"}, {"SLS statuses SLS status 8"}},
    {{"SDIp commands SDIp command 1"}, {"SDIp statuses SDIp status 1"}},
    {{"SDIp commands SDIp command 2"}, {"SDIp statuses SDIp status 2"}},
    {{"SDIn commands SDIn command 1"}, {"SDIn statuses SDIn status 1"}},
    {{"SDIn commands SDIn command 2"}, {"SDIn statuses SDIn status 2"}},
    {{"Error acknowledge command"}, {"Error acknowledge status"}},
    {{"Restart acknowledge command"}, {"Restart acknowledge status"}},
}};

/** Reads one of a function's objects; no function is never active. std::out_of_range for an unknown function.
 */
void read_function(Steps& steps, Object<bool> FunctionObjects::*object, Function function, bool& active) {
  if (!steps.completed()) return;
  if (function == Function::NONE) {
    active = false;
    return;
  }
  steps.read(kFunctions.at(static_cast<std::size_t>(function)).*object, active);
}

}  // namespace

nkr_error_t CANOpenDispatcher::getSafetyFunctionCommand(const SafetyFunctionId& function,
                                                        bool& active) const {
  Steps steps = Steps::guarded(*dictionary_);
  read_function(steps, &FunctionObjects::command, function, active);
  return steps.result();
}

nkr_error_t CANOpenDispatcher::getSafetyFunctionStatus(const SafetyFunctionId& function, bool& active) const {
  Steps steps = Steps::guarded(*dictionary_);
  read_function(steps, &FunctionObjects::status, function, active);
  return steps.result();
}

}  // namespace nkr::tavcore
