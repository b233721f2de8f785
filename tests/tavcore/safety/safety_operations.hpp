#ifndef TESTS_TAVCORE_SAFETY_SAFETY_OPERATIONS_HPP
#define TESTS_TAVCORE_SAFETY_SAFETY_OPERATIONS_HPP

#include <support/Operation.hpp>
#include <vector>

namespace tavtest {

/** The safety operations but those that write a signature, each with its accesses in order. */
std::vector<Operation> safety_operations();

}  // namespace tavtest

#endif
