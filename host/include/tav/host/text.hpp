#ifndef TAV_HOST_TEXT_HPP
#define TAV_HOST_TEXT_HPP

#include <nkr/export.h>

#include <string>
#include <tav/host/Result.hpp>

namespace tav::host {

struct StopReason;

// What the records say, in words. The facts are in the records: nobody needs to read these texts but people.

/** One sentence: "the drive was not enabled (node 10 on can0)". */
[[nodiscard]] NKR_EXPORT std::string headline(const Explanation& explanation);
/** What is known besides, one sentence a line; may be empty. */
[[nodiscard]] NKR_EXPORT std::string details(const Explanation& explanation);
/** All of it, with the result code; "done" for success. */
[[nodiscard]] NKR_EXPORT std::string text(const Result& result);

/** Why a group stopped: "node 11 restarted". */
[[nodiscard]] NKR_EXPORT std::string text(const StopReason& reason);

/** What the power stage says: the state, the status word's bits, the last error, STO. One sentence a line. */
[[nodiscard]] NKR_EXPORT std::string power_text(const PowerFacts& facts);
/** The same; the state with the transition that a drive waits for that does not become enabled. */
[[nodiscard]] NKR_EXPORT std::string stall_text(const PowerFacts& facts);
/** When the node was last heard and what its heartbeat tells; "never heard, but node 10 is". */
[[nodiscard]] NKR_EXPORT std::string heard_text(const Heard& heard);

}  // namespace tav::host

#endif
