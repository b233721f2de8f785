#include "OperationSuite.hpp"

#include <ostream>

namespace tavtest {

namespace {

constexpr nkr_error_t kTimeout = 0x05040000;
constexpr nkr_error_t kDeviceState = 0x08000022;

std::vector<std::string> texts_of(const Values& values) {
  std::vector<std::string> texts;
  for (const Value& value : values) texts.push_back(text_of(value));
  return texts;
}

}  // namespace

void PrintTo(const Operation& operation, std::ostream* out) {
  *out << operation.name;
}

std::string operation_name(const testing::TestParamInfo<Operation>& info) {
  const Operation& operation = info.param;
  return operation.variant.empty() ? operation.name : operation.name + "_" + operation.variant;
}

Outcome OperationSuite::run_on(DispatcherBench& bench, const Faults& faults) {
  script_answers(operation(), description_, *bench.client);
  bench.client->clear();
  for (const auto& [nth, code] : faults.accesses) bench.client->fail_access(nth, code);
  bench.client->fail_from(faults.from, faults.from_code);
  log_.clear();
  Outcome outcome;
  outcome.result = operation().call(*bench.dispatcher, outcome.outputs);
  outcome.accesses = bench.client->accesses;
  outcome.records = log_.records();
  return outcome;
}

Outcome OperationSuite::run(const Faults& faults) {
  if (faults.missing.empty()) return run_on(bench_.renew().loaded(), faults);
  EdsFixture description = description_;
  for (const std::string& name : faults.missing) description.remove(name);
  DispatcherBench bench(description);
  return run_on(bench.loaded(), faults);
}

Outcome OperationSuite::run_uninitialized() {
  return run_on(bench_.renew(), {});
}

std::vector<Faults> OperationSuite::each_access_failing(const std::vector<nkr_error_t>& codes) const {
  std::vector<Faults> all;
  for (std::size_t nth = 1; nth <= predicted().accesses.size(); ++nth) {
    Faults faults;
    for (std::size_t i = 0; i < codes.size(); ++i) faults.accesses[nth + i] = codes[i];
    all.push_back(faults);
  }
  return all;
}

std::vector<Faults> OperationSuite::each_access_failing_for_good() const {
  std::vector<Faults> all;
  for (std::size_t nth = 1; nth <= predicted().accesses.size(); ++nth) {
    Faults faults;
    faults.from = nth;
    faults.from_code = kTimeout;
    all.push_back(faults);
  }
  return all;
}

void OperationSuite::expect_same_but_records(const Outcome& actual, const Outcome& expected) {
  EXPECT_EQ(actual.result, expected.result);
  EXPECT_EQ(actual.accesses, expected.accesses);
  EXPECT_EQ(texts_of(actual.outputs), texts_of(expected.outputs));
}

void OperationSuite::expect_same(const Outcome& actual, const Outcome& expected) {
  expect_same_but_records(actual, expected);
  EXPECT_EQ(lines_of(actual.records), lines_of(expected.records));
  for (const LogEntry& record : actual.records) EXPECT_GT(record.line, 0U) << line_of(record);
}

TEST_P(OperationSuite, SucceedsWithItsAccessesInOrder) {
  const Outcome expected = predicted();
  EXPECT_TRUE(expected.completed);
  expect_same(run(), expected);
}

TEST_P(OperationSuite, BeforeInitIsRefusedOrNeedsNoDescription) {
  const Outcome actual = run_uninitialized();
  if (operation().guarded) {
    Outcome expected;
    expected.result = NKR_NOT_AVAILABLE;
    expected.outputs = operation().before;
    expected.records = {
        {0, 2, operation().name, 0, "CANOpenDispatcher", "TAV CANOpenDispatcher is not initialized"}};
    expect_same(actual, expected);
  } else {
    Outcome expected = predicted();
    for (Access& access : expected.accesses) access.node = 0xFF;
    expect_same_but_records(actual, expected);
  }
}

TEST_P(OperationSuite, EndsWithTheRepeatOfTheAccessThatFailedOnce) {
  for (const Faults& faults : each_access_failing({kTimeout})) {
    SCOPED_TRACE("failing access " + std::to_string(faults.accesses.begin()->first));
    const Outcome expected = predicted(faults);
    EXPECT_FALSE(expected.completed);
    expect_same(run(faults), expected);
  }
}

TEST_P(OperationSuite, AnswersTheSecondCodeOfTheAccessThatFailedTwice) {
  for (const Faults& faults : each_access_failing({kTimeout, kDeviceState})) {
    SCOPED_TRACE("failing access " + std::to_string(faults.accesses.begin()->first));
    expect_same(run(faults), predicted(faults));
  }
}

TEST_P(OperationSuite, EndsAtTheAccessThatFailsForGood) {
  for (const Faults& faults : each_access_failing_for_good()) {
    SCOPED_TRACE("failing from access " + std::to_string(faults.from));
    expect_same(run(faults), predicted(faults));
  }
}

TEST_P(OperationSuite, EndsAtTheNameThatTheDescriptionLacks) {
  for (const auto& [name, type] : objects_of(operation())) {
    SCOPED_TRACE(name);
    Faults faults;
    faults.missing = {name};
    expect_same(run(faults), predicted(faults));
  }
}

TEST_P(OperationSuite, DoesTheSameWithTheLogSwitchedOff) {
  constexpr nkr_error_t kOff[] = {0, 2, NKR_ERROR};  // anything but 1 is off
  std::vector<Faults> all = each_access_failing_for_good();
  all.emplace_back();
  for (const nkr_error_t off : kOff) {
    for (const Faults& faults : all) {
      SCOPED_TRACE("failing from access " + std::to_string(faults.from));
      log_.answer_enabled(off);
      const Outcome expected = predicted(faults);
      expect_same_but_records(run(faults), expected);
      EXPECT_EQ(log_.enabled_questions(), static_cast<int>(expected.records.size())) << "once a message";
      EXPECT_EQ(log_.buffers_given(), 0);
      EXPECT_EQ(log_.encoding_calls(), 0);
    }
  }
}

TEST_P(OperationSuite, DoesTheSameWhenTheLogFails) {
  std::vector<Faults> all = each_access_failing_for_good();
  all.emplace_back();
  for (const LogStep step : {LogStep::BUFFER, LogStep::BEGIN, LogStep::HEADER, LogStep::STRING,
                             LogStep::NUMBER, LogStep::END, LogStep::SEND}) {
    for (const Faults& faults : all) {
      SCOPED_TRACE("log step " + std::to_string(static_cast<int>(step)) + ", failing from access " +
                   std::to_string(faults.from));
      log_.fail(step);
      const Outcome actual = run(faults);
      expect_same_but_records(actual, predicted(faults));
      EXPECT_TRUE(actual.records.empty());
      EXPECT_EQ(log_.buffers_given(), log_.buffers_freed());
      if (step == LogStep::BUFFER) {
        EXPECT_EQ(log_.encoding_calls(), 0);
      }
    }
  }
}

GTEST_ALLOW_UNINSTANTIATED_PARAMETERIZED_TEST(OperationSuite);

}  // namespace tavtest
