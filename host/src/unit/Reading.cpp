#include <nkr/canopen/Emergency.hpp>
#include <nkr/time/clock.hpp>
#include <tav/host/words.hpp>

#include "UnitImpl.hpp"

namespace tav::host {

using nkr::canopen::Emergency;
using nkr::tavcore::CANOpenDispatcher;

nkr::canopencore::NMTState Unit::Impl::wait_for_nmt_state(std::chrono::milliseconds patience) {
  using nkr::canopencore::NMTState;
  constexpr std::chrono::milliseconds kLook{10};
  const auto deadline = nkr::time::now() + patience;
  NMTState state = NMTState::UNKNOWN;
  while (true) {
    const bool known = link.dispatcher->getNMTState(state) == NKR_OK && state != NMTState::UNKNOWN;
    const auto now = nkr::time::now();
    if (known || now >= deadline || !link.wait_until(now + kLook)) return state;
  }
}

Result Unit::Impl::read_state(Snapshot& now) {
  const InterruptWatch::Span while_it_reads = link.interruptible();
  const CANOpenDispatcher& drive = *link.dispatcher;
  std::int16_t target = 0;
  std::int16_t demand = 0;
  Result result;
  const auto read = [&](nkr_error_t code, const char* action) { result = link.check(code, action); };
  read(drive.getNMTState(now.nmt), "ask for the NMT state");
  if (result.ok()) read(drive.getCIA402StatusWord(now.status_word), "read the status word");
  if (result.ok()) read(drive.getTargetVelocity(target), "read the target velocity");
  if (result.ok()) read(drive.getVelocityDemand(demand), "read the velocity demand");
  if (result.ok()) read(drive.getVelocityActualValue(now.velocity), "read the velocity");
  if (result.ok()) read(drive.getPositionValue(now.position), "read the position");
  if (result.ok()) read(drive.getErrorRegister(now.error_register), "read the error register");
  if (result.ok()) read(drive.getErrorCount(now.errors), "read the number of errors");
  now.state = state_of(now.status_word);
  now.target_velocity = target;
  now.velocity_demand = demand;
  return result;
}

Result Unit::Impl::read_power(PowerFacts& facts) {
  const InterruptWatch::Span while_it_reads = link.interruptible();
  constexpr std::uint32_t kErrorCode = 0x603F0010;
  constexpr auto kSto = CANOpenDispatcher::SafetyFunctionId::STO;
  const CANOpenDispatcher& drive = *link.dispatcher;
  Result result = link.check(drive.getCIA402StatusWord(facts.status_word), "read the status word");
  if (!result.ok()) return result;
  facts.state = state_of(facts.status_word);
  result = link.check(drive.get_value_by_address(kErrorCode, facts.error_code), "read the last error");
  if (!result.ok()) return result;
  bool command = true;  // active-low
  result = link.check(drive.getSafetyFunctionCommand(kSto, command), "read the STO command");
  if (!result.ok()) return result;
  facts.sto_demanded = !command;
  if (facts.sto_demanded) return result;
  return link.check(drive.getSafetyFunctionStatus(kSto, facts.sto_acts), "read the STO status");
}

Result Unit::Impl::read_errors(std::vector<Emergency>& errors) {
  const InterruptWatch::Span while_it_reads = link.interruptible();
  const CANOpenDispatcher& drive = *link.dispatcher;
  int count = 0;
  errors.clear();
  Result result = link.check(drive.getErrorCount(count), "read the number of errors");
  for (int i = 1; result.ok() && i <= count; ++i) {
    unsigned int raw = 0;
    result = link.check(drive.getError(i, raw), "read error " + std::to_string(i));
    if (!result.ok()) return result;
    Emergency error;
    error.node = link.node;
    error.code = static_cast<std::uint16_t>(raw);
    error.vendor_data[0] = static_cast<std::uint8_t>(raw >> 16);
    error.vendor_data[1] = static_cast<std::uint8_t>(raw >> 24);
    errors.push_back(error);
  }
  return result;
}

}  // namespace tav::host
