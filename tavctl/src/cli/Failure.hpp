#ifndef TAVCTL_CLI_FAILURE_HPP
#define TAVCTL_CLI_FAILURE_HPP

#include <nkr/error.h>

#include <exception>
#include <memory>
#include <optional>
#include <string>
#include <utility>

#include "cli/ExitCode.hpp"

namespace nkr::canopen {
struct RequestFailure;
}

namespace tavctl {

/** Why a command ended: what failed, the result code behind it, and what to do about it. */
class Failure : public std::exception {
 public:
  Failure(ExitCode exit_code, std::string what, std::string hint = {},
          std::optional<nkr_error_t> code = std::nullopt)
      : exit_code_(exit_code), what_(std::move(what)), hint_(std::move(hint)), code_(code) {}

  [[nodiscard]] const char* what() const noexcept override { return what_.c_str(); }
  [[nodiscard]] ExitCode exit_code() const { return exit_code_; }
  [[nodiscard]] const std::string& hint() const { return hint_; }
  [[nodiscard]] std::optional<nkr_error_t> code() const { return code_; }

  /** The request on the bus that failed; null when it was none. */
  [[nodiscard]] const nkr::canopen::RequestFailure* request() const { return request_.get(); }
  void set_request(std::shared_ptr<const nkr::canopen::RequestFailure> request) {
    request_ = std::move(request);
  }

 private:
  ExitCode exit_code_;
  std::string what_;
  std::string hint_;
  std::optional<nkr_error_t> code_;
  std::shared_ptr<const nkr::canopen::RequestFailure> request_;
};

/** The exit code that a result code of the library or the client stands for. */
[[nodiscard]] ExitCode exit_code_of(nkr_error_t code);

/** What usually helps against a result code of the drive; empty when nothing general can be said. */
[[nodiscard]] std::string hint_for(nkr_error_t code);

}  // namespace tavctl

#endif
