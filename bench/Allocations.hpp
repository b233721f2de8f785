#ifndef BENCH_ALLOCATIONS_HPP
#define BENCH_ALLOCATIONS_HPP

#include <cstddef>

namespace bench {

/** Allocations that this program made so far, on any thread: its operator new counts. */
[[nodiscard]] std::size_t allocations();

}  // namespace bench

#endif
