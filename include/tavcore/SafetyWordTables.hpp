#ifndef TAVCORE_SAFETYWORDTABLES_HPP
#define TAVCORE_SAFETYWORDTABLES_HPP

#include <map>
#include <string>
#include <tavcore/ISafeMotionService.hpp>

namespace nkr::tavcore {

/** @name Base names of the objects that hold the bit mappings of the safety words
 * The object of bit k is the base name with the digit k. Built once, when the library is loaded; constant
 * afterwards, so any thread may read them.
 * @{ */
extern const std::map<ISafeMotionService::SafetyControlWordId, std::string> sSafetyControlWordMapping;
extern const std::map<ISafeMotionService::SafetyStatusWordId, std::string> sSafetyStatusWordMapping;
/** @} */

/** @name Mappable bits of a safety word: 8, of the safe input 6, of the safe output 4
 * @{ */
[[nodiscard]] int mappable_bits(ISafeMotionService::SafetyControlWordId word);
[[nodiscard]] int mappable_bits(ISafeMotionService::SafetyStatusWordId word);
/** @} */

}  // namespace nkr::tavcore

#endif
