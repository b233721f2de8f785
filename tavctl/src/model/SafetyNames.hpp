#ifndef TAVCTL_MODEL_SAFETYNAMES_HPP
#define TAVCTL_MODEL_SAFETYNAMES_HPP

#include <cstdint>
#include <string>
#include <tavcore/ISafeMotionService.hpp>
#include <vector>

namespace tavctl {

using SafetyFunction = nkr::tavcore::ISafeMotionService::SafetyFunctionId;

/** "STO", "SLS_3", "none", ... */
[[nodiscard]] std::string safety_function_name(SafetyFunction function);
/** Failure(USAGE), with the names there are, for another one. */
[[nodiscard]] SafetyFunction safety_function_named(const std::string& name);

/** Number of a safety word: 0 to 7 for "can1" to "can8", 8 for "safein" or "safeout". */
struct SafetyWord {
  bool control;  ///< control word; else status word
  std::int32_t number;
  int mappable_bits;

  [[nodiscard]] std::string name() const;
};
[[nodiscard]] std::vector<SafetyWord> all_safety_words();
/** "control can1", "status safeout". Failure(USAGE) for another one. */
[[nodiscard]] SafetyWord safety_word_named(const std::string& kind, const std::string& name);

/** The function mapped to a bit of the mapping, by the bit's number 0 to 7. */
[[nodiscard]] SafetyFunction& mapped_bit(nkr::tavcore::ISafeMotionService::SafetyWordMapping& mapping,
                                         int bit);
/** A bit of the word, by its number 0 to 7. */
[[nodiscard]] bool& word_bit(nkr::tavcore::ISafeMotionService::SafetyWordType& word, int bit);

}  // namespace tavctl

#endif
