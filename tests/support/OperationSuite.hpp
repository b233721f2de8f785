#ifndef TESTS_SUPPORT_OPERATIONSUITE_HPP
#define TESTS_SUPPORT_OPERATIONSUITE_HPP

#include <gtest/gtest.h>

#include <string>

#include "DispatcherBench.hpp"
#include "Doubles.hpp"
#include "Operation.hpp"

namespace tavtest {

/**
 * What holds for every service operation, run over a list of them:
 *
 *   INSTANTIATE_TEST_SUITE_P(Velocity, OperationSuite, testing::ValuesIn(velocity_operations()),
 * operation_name);
 *
 * The rules themselves are in OperationSuite.cpp (target tav-operation-suite).
 */
class OperationSuite : public testing::TestWithParam<Operation> {
 protected:
  OperationSuite() : description_(description_of(GetParam())), bench_(description_) {}

  [[nodiscard]] const Operation& operation() const { return GetParam(); }
  [[nodiscard]] Outcome predicted(const Faults& faults = {}) const {
    return predict(operation(), description_, faults);
  }
  /** Runs the operation on a fresh dispatcher; the log may have been told to fail. */
  Outcome run(const Faults& faults = {});
  /** The same before init(). */
  Outcome run_uninitialized();
  /** Faults that a run of the operation may meet: every access in turn fails with `code`, for `attempts`
   * accesses. */
  [[nodiscard]] std::vector<Faults> each_access_failing(const std::vector<nkr_error_t>& codes) const;
  /** Every access in turn fails for good. */
  [[nodiscard]] std::vector<Faults> each_access_failing_for_good() const;

  static void expect_same(const Outcome& actual, const Outcome& expected);
  static void expect_same_but_records(const Outcome& actual, const Outcome& expected);

  RecordingLog log_;
  EdsFixture description_;
  DispatcherBench bench_;

 private:
  Outcome run_on(DispatcherBench& bench, const Faults& faults);
};

/** Name of a row: the operation's, and its variant's if it has one. */
std::string operation_name(const testing::TestParamInfo<Operation>& info);

}  // namespace tavtest

#endif
