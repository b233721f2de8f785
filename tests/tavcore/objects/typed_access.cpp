// Accesses to safety parameters as an operation makes them. Each CASE but 0 takes the wrong C++ type and must
// not compile; typed_access.py compiles them in turn.

#include "objects/Steps.hpp"
#include "safety/SafetyObjects.hpp"

using namespace nkr::tavcore;

void accesses(Steps& steps) {
  const auto limit = kSLSVelocityLimit.of(1);  // UNSIGNED32
  const SRDOObjects srdo(1);
  std::uint8_t byte = 0;
  std::uint16_t word = 0;
  std::uint32_t long_word = 0;
  std::int32_t signed_long_word = 0;
  bool flag = false;
#if CASE == 0
  steps.read(limit, long_word);
  steps.read(limit, [&](std::uint32_t value) { long_word = value; });
  steps.write(limit, long_word);
  steps.read(kSTORestartAcknowledgeBehavior, flag);
  steps.write(srdo.refresh_time(), word);
  steps.read(kSTOSignatures.readable(1), word);
  steps.write(srdo.direction(), std::uint8_t{1});
#elif CASE == 1  // narrower
  steps.read(limit, word);
#elif CASE == 2  // of the other sign
  steps.read(limit, signed_long_word);
#elif CASE == 3  // a number into a truth
  steps.read(limit, flag);
#elif CASE == 4  // handed on as a narrower one
  steps.read(limit, [&](std::uint16_t value) { word = value; });
#elif CASE == 5
  steps.write(limit, word);
#elif CASE == 6  // an int, as every sum of shorter numbers is
  steps.write(kSTOSignatures.writable(1), word + 1);
#elif CASE == 7  // by number
  steps.read(srdo.refresh_time(), byte);
#elif CASE == 8
  steps.write(srdo.cob_id_1(), word);
#elif CASE == 9   // by name, without a number
  steps.read(kSTOActivateSBC, flag);
#elif CASE == 10  // no type at all
  steps.read("STO activate SBC", long_word);
#elif CASE == 11
  steps.insist(limit, word);
#else
#error "no such case"
#endif
  static_cast<void>(byte);
  static_cast<void>(word);
  static_cast<void>(long_word);
  static_cast<void>(signed_long_word);
  static_cast<void>(flag);
}
