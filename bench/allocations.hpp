#ifndef BENCH_ALLOCATIONS_HPP
#define BENCH_ALLOCATIONS_HPP

#include <cstdint>

/** How many allocations the program made so far, in all threads. */
std::uint64_t allocations();

#endif
