#ifndef TESTS_SYSTEM_DRIVEFAULTS_HPP
#define TESTS_SYSTEM_DRIVEFAULTS_HPP

#include <nkr/error.h>

#include <support/Doubles.hpp>
#include <vector>

namespace tavtest {

/** Something that goes wrong with one access. */
struct Fault {
  const char* name;
  const char* event;                       ///< what the drive is told to do at the access
  nkr_error_t (*expected)(const Access&);  ///< result of the access
  bool lasts = false;                      ///< all later accesses have the same result
  bool answer_comes = false;               ///< an answer is under way when the time is over
  bool changes_values = false;             ///< a read may bring another value
};

/** All that an access is tried with, and what the client is to answer then. */
[[nodiscard]] const std::vector<Fault>& drive_faults();

}  // namespace tavtest

#endif
