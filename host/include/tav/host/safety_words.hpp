#ifndef TAV_HOST_SAFETY_WORDS_HPP
#define TAV_HOST_SAFETY_WORDS_HPP

#include <nkr/export.h>

#include <cstdint>
#include <optional>
#include <string>
#include <tavcore/ISafeMotionService.hpp>
#include <vector>

namespace tav::host {

using SafetyFunction = nkr::tavcore::ISafeMotionService::SafetyFunctionId;

/** "STO", "SLS_3", "none", ... */
[[nodiscard]] NKR_EXPORT std::string safety_function_name(SafetyFunction function);
/** None for another name than safety_function_names(). */
[[nodiscard]] NKR_EXPORT std::optional<SafetyFunction> safety_function_named(const std::string& name);
/** All of them, "none" first. */
[[nodiscard]] NKR_EXPORT std::vector<std::string> safety_function_names();

/** Number of a safety word: 0 to 7 for "can1" to "can8", 8 for "safein" or "safeout". */
struct NKR_EXPORT SafetyWord {
  bool control;  ///< control word; else status word
  std::int32_t number;
  int mappable_bits;

  [[nodiscard]] std::string name() const;
};
[[nodiscard]] NKR_EXPORT std::vector<SafetyWord> all_safety_words();
/** "control can1", "status safeout"; none for another one. */
[[nodiscard]] NKR_EXPORT std::optional<SafetyWord> safety_word_named(const std::string& kind,
                                                                     const std::string& name);

/** The function mapped to a bit of the mapping, by the bit's number 0 to 7. */
[[nodiscard]] NKR_EXPORT SafetyFunction& mapped_bit(
    nkr::tavcore::ISafeMotionService::SafetyWordMapping& mapping, int bit);
/** A bit of the word, by its number 0 to 7. */
[[nodiscard]] NKR_EXPORT bool& word_bit(nkr::tavcore::ISafeMotionService::SafetyWordType& word, int bit);

}  // namespace tav::host

#endif
