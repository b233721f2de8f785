#ifndef TAV_HOST_RESULT_HPP
#define TAV_HOST_RESULT_HPP

#include <nkr/error.h>

#include <tav/host/Explanation.hpp>
#include <utility>

namespace tav::host {

/** How an operation went: the code, and for a failure the record that explains it. text(result) words it. */
class [[nodiscard]] Result {
 public:
  /** Success. */
  Result() = default;
  /** The failure that the record tells of; its code must not be NKR_OK. */
  explicit Result(Explanation explanation)
      : code_(explanation.code), explanation_(std::make_shared<const Explanation>(std::move(explanation))) {}

  [[nodiscard]] bool ok() const { return code_ == NKR_OK; }
  /** NKR_OK; an SDO abort code of the drive; what the bus said; NKR_INVALID_STATE for a drive that is not in
   * the state that the operation needs or leads to; NKR_INTERRUPTED. */
  [[nodiscard]] nkr_error_t code() const { return code_; }
  /** What failed and why; Cause::NONE after success. */
  [[nodiscard]] const Explanation& explanation() const {
    static const Explanation none;
    return explanation_ ? *explanation_ : none;
  }
  [[nodiscard]] Cause cause() const { return explanation().cause; }

 private:
  nkr_error_t code_ = NKR_OK;
  std::shared_ptr<const Explanation> explanation_;
};

}  // namespace tav::host

#endif
