#ifndef TAVCORE_SAFETYWORDTABLES_HPP
#define TAVCORE_SAFETYWORDTABLES_HPP

#include <nkr/export.h>

#include <map>
#include <string>
#include <tavcore/ISafeMotionService.hpp>

namespace nkr::tavcore {

/** @name Base names of the objects that hold the bit mappings of the safety words
 * The object of bit k is the base name with the digit k. Built once, when the library is loaded; constant
 * afterwards, so any thread may read them.
 * @{ */
NKR_EXPORT extern const std::map<ISafeMotionService::SafetyControlWordId, std::string>
    sSafetyControlWordMapping;
NKR_EXPORT extern const std::map<ISafeMotionService::SafetyStatusWordId, std::string>
    sSafetyStatusWordMapping;
/** @} */

/** @name Mappable bits of a safety word: 8, of the safe input 6, of the safe output 4
 * @{ */
[[nodiscard]] NKR_EXPORT int mappable_bits(ISafeMotionService::SafetyControlWordId word);
[[nodiscard]] NKR_EXPORT int mappable_bits(ISafeMotionService::SafetyStatusWordId word);
/** @} */

}  // namespace nkr::tavcore

#endif
