// A program that prefers exceptions.
#include <nkr/Error.hpp>

#include "expect.hpp"

int main() {
  try {
    nkr::throw_if_failed(NKR_OK, "nothing");
    nkr::throw_if_failed(NKR_SDO_TIMED_OUT, "read the position");
  } catch (const std::system_error& failure) {
    expect(failure.code() == std::errc::timed_out, "a time-out is a time-out to the standard library too");
    expect(failure.code().value() == NKR_SDO_TIMED_OUT, "the code is kept");
    return 0;
  }
  expect(false, "a failure is thrown");
}
