#ifndef TESTS_PLATFORM_LOG_COUNTING_NEW_HPP
#define TESTS_PLATFORM_LOG_COUNTING_NEW_HPP

#include <atomic>

/** Calls of the global operator new since the program started. */
extern std::atomic<int> allocations;

#endif
