// The operations that write safety parameters or a mapping and then signatures, with everything that can go
// wrong with an access: on the real client and the virtual drive they do what they do on a client that
// answers the same codes, and the next operation works.
#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <functional>
#include <string>
#include <support/OperationSuite.hpp>
#include <tavcore/safety/SafetyBench.hpp>
#include <thread>
#include <vector>

#include "DriveFaults.hpp"
#include "FaultRig.hpp"

namespace tavtest {
namespace {

using nkr::tavcore::CANOpenDispatcher;
using std::chrono::milliseconds;
using Safe = nkr::tavcore::ISafeMotionService;
using Srdo = nkr::tavcore::ISRDOService;
using Function = Safe::SafetyFunctionId;

Outcome run_scripted(SafetyBench& bench, RecordingLog& log, const Operation& operation,
                     const std::function<void(RecordingClient&)>& break_it) {
  bench.client->clear();
  break_it(*bench.client);
  log.clear();
  Outcome outcome;
  outcome.result = operation.call(*bench.dispatcher, outcome.outputs);
  outcome.accesses = bench.client->accesses;
  outcome.records = log.records();
  return outcome;
}

/** What is written is what the object holds before: whether a write that failed came through makes no
 * difference to the reads that follow. */
void hold_what_is_written(SafetyBench& bench, const std::vector<Access>& accesses) {
  for (const Access& access : accesses) {
    if (access.kind == AccessKind::WRITE) bench.client->answer(access.address, access.value);
  }
}

template <class Call>
Operation writer(const std::string& name, Call call) {
  Operation operation = setter(name, call, {});
  RecordingLog log;
  log.disable();
  SafetyBench bench;
  hold_what_is_written(bench, run_scripted(bench, log, operation, [](RecordingClient&) {}).accesses);
  for (const Access& access : run_scripted(bench, log, operation, [](RecordingClient&) {}).accesses) {
    operation.steps.push_back(read_at(access.address, access.value));
  }
  return operation;
}

constexpr Function kNone = Function::NONE;
constexpr Safe::SafetyWordMapping kControl{kNone, Function::SBC_2,  kNone, kNone,
                                           kNone, Function::SDIN_1, kNone, kNone};
constexpr Safe::SafetyWordMapping kStatus{
    Function::STO, kNone, Function::SLS_8, Function::RESTART_ACKNOWLEDGE, kNone, kNone, kNone, kNone};

std::vector<Operation> signature_writers() {
  return {
      writer("setSTOParameters",
             [](auto& d) {
               return d.setSTOParameters(Safe::STOId{1}, {true, 5});
             }),
      writer("setSLSParameters",
             [](auto& d) {
               return d.setSLSParameters(Safe::SLSId{8}, {100, 200000, 300, true});
             }),
      writer("setSDIParameters", [](auto& d) { return d.setSDIParameters(Safe::SDIId{1}, {70000}); }),
      writer("setSBCParameters", [](auto& d) { return d.setSBCParameters(Safe::SBCId{2}, {250}); }),
      writer("setSRDOParameters",
             [](auto& d) {
               return d.setSRDOParameters(Srdo::SRDOId{2}, {true, 25, 20, 254, 0x101, 0x102});
             }),
      writer(
          "setSafetyControlWordMapping",
          [](auto& d) { return d.setSafetyControlWordMapping(Safe::SafetyControlWordId::CAN_1, kControl); }),
      writer("setSafetyStatusWordMapping",
             [](auto& d) {
               return d.setSafetyStatusWordMapping(Safe::SafetyStatusWordId::SAFE_OUTPUT, kStatus);
             }),
  };
}

/** A read of the mapping other than its first, one in the middle and its last. */
bool is_inner_mapping_read(std::uint32_t address) {
  return address >= at(0x66F0, 1) && address <= at(0x66FF, 8) && address != at(0x66F0, 1) &&
         address != at(0x66F7, 3) && address != at(0x66FF, 8);
}

class SignatureFaults : public OperationSuite {
 protected:
  static constexpr std::chrono::seconds kNoHang{3};
  static constexpr std::uint32_t kFirstContext = 1000;
  /** Of the refresh of all signatures some accesses are tried, of the others all but the inner mapping reads.
   */
  static constexpr std::size_t kMostPlaces = 8;

  struct Trial {
    const Fault* fault;
    std::size_t nth;
    Outcome stated;
  };

  SignatureFaults() {
    files_.host_description = safety_description().text();
    hold_what_is_written(safety_, run({}).accesses);
    clean_ = run({});
  }

  Outcome run(const std::function<void(RecordingClient&)>& break_it) {
    return run_scripted(
        safety_, log_, operation(), break_it ? break_it : [](RecordingClient&) {});
  }

  [[nodiscard]] std::vector<std::size_t> places() const {
    std::vector<std::size_t> all;
    for (std::size_t i = 0; i < clean_.accesses.size(); ++i) {
      if (!is_inner_mapping_read(clean_.accesses[i].address)) all.push_back(i + 1);
    }
    if (all.size() <= kMostPlaces) return all;
    std::vector<std::size_t> some;
    for (std::size_t i = 0; i < kMostPlaces; ++i) some.push_back(all[i * all.size() / kMostPlaces]);
    return some;
  }

  Trial trial(const Fault& fault, std::size_t nth) {
    const nkr_error_t code = fault.expected(clean_.accesses[nth - 1]);
    return {&fault, nth, run([&](RecordingClient& client) {
              if (fault.lasts) {
                client.fail_from(nth, code);
              } else if (code != NKR_OK) {
                client.fail_access(nth, code);
              }
            })};
  }

  void try_out(const Trial& trial, std::uint32_t context);

  RigFiles files_ = files_of(operation());
  SafetyBench safety_;
  Outcome clean_;
};

void SignatureFaults::try_out(const Trial& trial, std::uint32_t context) {
  SCOPED_TRACE(std::string(trial.fault->name) + " at access " + std::to_string(trial.nth));
  FaultRig rig(files_, context, milliseconds(trial.fault->answer_comes ? 2000 : 60));
  rig.play("access " + std::to_string(trial.nth) + " any * " + trial.fault->event);
  const auto start = rig.time().elapsed();
  const Outcome actual = rig.run(operation(), log_);
  EXPECT_LT(rig.time().elapsed() - start, kNoHang);
  if (trial.fault->changes_values && trial.stated.result == NKR_OK) {
    // Another value that was read gives another signature: no failure of the access.
    EXPECT_EQ(actual.result, NKR_OK);
    EXPECT_EQ(actual.accesses.size(), trial.stated.accesses.size());
  } else {
    expect_same(actual, trial.stated);
  }
  rig.play("bus back\n" + files_.initial_values);
  SCOPED_TRACE("the next operation");
  expect_same(rig.run(operation(), log_), clean_);
}

TEST_P(SignatureFaults, EndAsStatedAndTheNextOperationWorks) {
  const std::size_t kThreads = std::max(1U, std::thread::hardware_concurrency());
  std::vector<Trial> trials;
  for (const std::size_t nth : places()) {
    for (const Fault& fault : drive_faults()) trials.push_back(trial(fault, nth));
  }
  ASSERT_FALSE(trials.empty());
  log_.clear();
  std::atomic<std::size_t> next{0};
  std::vector<std::thread> threads;
  for (std::size_t i = 0; i < std::min(kThreads, trials.size()); ++i) {
    threads.emplace_back([&] {
      for (std::size_t n = next++; n < trials.size(); n = next++) {
        try_out(trials[n], kFirstContext + static_cast<std::uint32_t>(n));
      }
    });
  }
  for (std::thread& thread : threads) thread.join();
}

INSTANTIATE_TEST_SUITE_P(Safety, SignatureFaults, testing::ValuesIn(signature_writers()), operation_name);

}  // namespace
}  // namespace tavtest
