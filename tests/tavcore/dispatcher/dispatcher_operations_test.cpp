#include <gtest/gtest.h>

#include <support/OperationSuite.hpp>

#include "operations.hpp"

namespace tavtest {

INSTANTIATE_TEST_SUITE_P(Dispatcher, OperationSuite, testing::ValuesIn(all_operations()), operation_name);

}  // namespace tavtest
