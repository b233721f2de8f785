#ifndef CONSUMER_EXPECT_HPP
#define CONSUMER_EXPECT_HPP

#include <cstdio>
#include <cstdlib>

/** Ends the program with a failure when what was expected is not so. */
inline void expect(bool holds, const char* what) {
  if (holds) return;
  std::fprintf(stderr, "not so: %s\n", what);
  std::exit(1);
}

#endif
