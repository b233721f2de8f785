#ifndef NKR_CANOPEN_REQUESTS_DIAGNOSIS_HPP
#define NKR_CANOPEN_REQUESTS_DIAGNOSIS_HPP

#include <nkr/canopen/RequestFailure.hpp>

namespace nkr::canopen {

/** What the likely cause of a failure is judged by, beside the record itself. */
struct Circumstances {
  bool by_node = false;                  ///< the code came from the node, as an abort
  bool queued = false;                   ///< it was not sent: other requests to the node took its time
  bool fell_silent = false;              ///< its heartbeat stays away, and no other frame came since
  bool just_booted = false;              ///< the node's last sign of life but SDO was a boot-up, a moment ago
  bool answered_other_requests = false;  ///< the node answered another request a moment ago
};

/** The likely cause, by a table: what explains most comes first. */
[[nodiscard]] FailureCause likely_cause(const RequestFailure& failure, const Circumstances& circumstances);

}  // namespace nkr::canopen

#endif
