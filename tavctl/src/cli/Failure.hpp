#ifndef TAVCTL_CLI_FAILURE_HPP
#define TAVCTL_CLI_FAILURE_HPP

#include <nkr/error.h>

#include <exception>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "cli/ExitCode.hpp"
#include "cli/Json.hpp"

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

  /** What is known besides: a label and a text a line for people, and the same for programs. */
  struct Facts {
    std::vector<std::pair<std::string, std::string>> lines;
    Json json;
  };
  /** Null when nothing is. */
  [[nodiscard]] const Facts* facts() const { return facts_.get(); }
  void set_facts(Facts facts) { facts_ = std::make_shared<const Facts>(std::move(facts)); }

 private:
  ExitCode exit_code_;
  std::string what_;
  std::string hint_;
  std::optional<nkr_error_t> code_;
  std::shared_ptr<const Facts> facts_;
};

/** The exit code that a result code of the library or the client stands for. */
[[nodiscard]] ExitCode exit_code_of(nkr_error_t code);

/** What usually helps against a result code of the drive; empty when nothing general can be said. */
[[nodiscard]] std::string hint_for(nkr_error_t code);

}  // namespace tavctl

#endif
