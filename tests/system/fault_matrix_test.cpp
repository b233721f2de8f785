// Every operation, every access in it, everything that can go wrong with an access: the result, the attempts
// and the records that are stated for that case, no wait beyond the time-outs, and the next operation works.
#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <string>
#include <support/OperationSuite.hpp>
#include <tavcore/dispatcher/operations.hpp>
#include <tavcore/safety/safety_operations.hpp>
#include <thread>
#include <vector>

#include "DriveFaults.hpp"
#include "FaultRig.hpp"

namespace tavtest {
namespace {

using std::chrono::milliseconds;

/** An access as the drive sees it, and which of the operation's own accesses it belongs to, counted from 1.
 */
struct WireAccess {
  Access access;
  std::size_t of;
};

/** An exchange of process data with a node that maps nothing: the order out, the three objects in. */
std::vector<Access> parts_of(const Access& access) {
  if (access.kind == AccessKind::READ || access.kind == AccessKind::WRITE) return {access};
  if (access.kind != AccessKind::SYNC) return {};
  return {{AccessKind::WRITE, access.node, 0x60420000, std::int16_t{-321}},
          {AccessKind::READ, access.node, 0, std::uint16_t{0}},
          {AccessKind::READ, access.node, 0, std::int32_t{0}},
          {AccessKind::READ, access.node, 0, std::int32_t{0}}};
}

std::vector<WireAccess> on_the_wire(const std::vector<Access>& accesses) {
  std::vector<WireAccess> wire;
  for (std::size_t i = 0; i < accesses.size(); ++i) {
    for (const Access& part : parts_of(accesses[i])) wire.push_back({part, i + 1});
  }
  return wire;
}

/** One thing to try: this fault at that access on the wire, counted from 1. */
struct Trial {
  const Fault* fault;
  std::size_t nth;
};

std::vector<Operation> operations_with_accesses() {
  std::vector<Operation> all = all_operations();
  const std::vector<Operation> safety = safety_operations();
  all.insert(all.end(), safety.begin(), safety.end());
  std::vector<Operation> chosen;
  for (Operation& operation : all) {
    const Outcome outcome = predict(operation, description_of(operation));
    // A command that CiA 301 does not define is refused by the client itself.
    if (operation.variant == "unknown") continue;
    if (!outcome.accesses.empty()) chosen.push_back(std::move(operation));
  }
  return chosen;
}

class FaultMatrix : public OperationSuite {
 protected:
  /** Longer than all time-outs and graces of one operation together. */
  static constexpr std::chrono::seconds kNoHang{3};

  void try_out(const Trial& trial, std::uint32_t context);
  Outcome expected(const Trial& trial) const;

  RigFiles files_ = files_of(operation());
  Outcome clean_ = predicted();
  std::vector<WireAccess> wire_ = on_the_wire(clean_.accesses);

  static constexpr std::uint32_t kFirstContext = 1000;
};

Outcome FaultMatrix::expected(const Trial& trial) const {
  const WireAccess& wire = wire_[trial.nth - 1];
  const nkr_error_t code = trial.fault->expected(wire.access);
  Faults faults;
  if (trial.fault->lasts) {
    faults.from = wire.of;
    faults.from_code = code;
  } else if (code != NKR_OK) {
    faults.accesses[wire.of] = code;
  }
  return predicted(faults);
}

void FaultMatrix::try_out(const Trial& trial, std::uint32_t context) {
  SCOPED_TRACE(std::string(trial.fault->name) + " at access " + std::to_string(trial.nth));
  FaultRig rig(files_, context, milliseconds(trial.fault->answer_comes ? 2000 : 60));
  rig.play("access " + std::to_string(trial.nth) + " any * " + trial.fault->event);
  const auto start = rig.time().elapsed();
  const Outcome actual = rig.run(operation(), log_);
  EXPECT_LT(rig.time().elapsed() - start, kNoHang);
  const Outcome stated = expected(trial);
  if (trial.fault->changes_values && stated.result == NKR_OK) {
    // What the operation makes of the other value is its own matter; it is no failure of the access.
    EXPECT_TRUE(actual.result == NKR_OK || actual.result == NKR_ERROR) << actual.result;
    EXPECT_GE(actual.accesses.size(), wire_[trial.nth - 1].of);
  } else {
    expect_same(actual, stated);
  }
  rig.play("bus back\n" + files_.initial_values);
  SCOPED_TRACE("the next operation");
  expect_same(rig.run(operation(), log_), clean_);
}

TEST_P(FaultMatrix, WithoutAFaultTheDriveAnswersAsDescribed) {
  FaultRig rig(files_, kFirstContext, milliseconds(60));
  expect_same(rig.run(operation(), log_), clean_);
}

TEST_P(FaultMatrix, OnABusThatIsOffEndsAtItsFirstAccess) {
  // What the client knows of a node by itself it tells on any bus.
  if (clean_.accesses[0].kind == AccessKind::NMT_READ) return;
  FaultRig rig(files_, kFirstContext, milliseconds(60));
  rig.play("bus off");
  Faults faults;
  faults.from = 1;
  faults.from_code = NKR_CAN_BUS_OFF;
  expect_same(rig.run(operation(), log_), predicted(faults));
  rig.play("bus back");
  expect_same(rig.run(operation(), log_), clean_);
}

TEST_P(FaultMatrix, EndsAsStatedAndTheNextOperationWorks) {
  const std::size_t kThreads = std::max(1U, std::thread::hardware_concurrency());
  std::vector<Trial> trials;
  for (std::size_t nth = 1; nth <= wire_.size(); ++nth) {
    for (const Fault& fault : drive_faults()) trials.push_back({&fault, nth});
  }
  std::atomic<std::size_t> next{0};
  std::vector<std::thread> threads;
  for (std::size_t i = 0; i < std::min(kThreads, trials.size()); ++i) {
    threads.emplace_back([&] {
      for (std::size_t trial = next++; trial < trials.size(); trial = next++) {
        try_out(trials[trial], kFirstContext + static_cast<std::uint32_t>(trial));
      }
    });
  }
  for (std::thread& thread : threads) thread.join();
}

INSTANTIATE_TEST_SUITE_P(Operations, FaultMatrix, testing::ValuesIn(operations_with_accesses()),
                         operation_name);

}  // namespace
}  // namespace tavtest
