#include "cli/Output.hpp"

#include <nkr/error.h>
#include <unistd.h>

#include <cstddef>
#include <cstdint>
#include <iostream>
#include <tav/host/printable.hpp>
#include <tav/host/words.hpp>
#include <utility>

#include "cli/Format.hpp"

namespace tavctl {

using tav::host::printable_lines;

namespace {

constexpr std::size_t kLabelWidth = 24;
constexpr std::size_t kFailureLabelWidth = 14;

}  // namespace

Output::Output(std::ostream& out, std::ostream& err, bool json)
    : out_(out),
      err_(err),
      json_(json),
      live_out_(!json && &out == &std::cout && is_terminal(STDOUT_FILENO)),
      live_err_(&err == &std::cerr && is_terminal(STDERR_FILENO)),
      block_(out, STDOUT_FILENO),
      progress_(err, STDERR_FILENO) {}

void Output::make_room() {
  if (live_out_) block_.clear();
  if (live_err_) progress_.clear();
}

void Output::live(const std::vector<std::string>& lines) {
  if (!live_out_) return;
  const std::lock_guard<std::mutex> lock(mutex_);
  std::vector<std::string> shown;
  for (const std::string& line : lines) shown.push_back(printable_lines(line));
  if (live_err_) progress_.clear();
  block_.show(shown);
}

void Output::leave_live() {
  const std::lock_guard<std::mutex> lock(mutex_);
  block_.leave();
}

void Output::progress(const std::string& text) {
  if (!live_err_) return;
  const std::lock_guard<std::mutex> lock(mutex_);
  text.empty() ? progress_.clear() : progress_.show({printable_lines(text)});
}

void Output::fact(std::string_view label, const std::string& text, const std::string& key, Json value) {
  put(key, std::move(value));
  line(padded(label, kLabelWidth) + text);
}

void Output::line(const std::string& text) {
  if (json_) return;
  const std::lock_guard<std::mutex> lock(mutex_);
  make_room();
  out_ << printable_lines(text) << '\n';
}

void Output::put(const std::string& key, Json value) {
  if (json_) document_[key] = std::move(value);
}

void Output::row(const std::string& text, const Json& value) {
  const std::lock_guard<std::mutex> lock(mutex_);
  has_rows_ = true;
  make_room();
  if (!json_) {
    out_ << printable_lines(text) << '\n';
    return;
  }
  Json whole = {{"format", kFormat}};
  whole.update(value);
  out_ << whole.dump() << '\n';
}

void Output::event(const std::string& text, const Json& value) {
  row(text, value);
  flush();
}

void Output::flush() {
  const std::lock_guard<std::mutex> lock(mutex_);
  out_.flush();
}

void Output::note(const std::string& text) {
  const std::lock_guard<std::mutex> lock(mutex_);
  make_room();
  out_.flush();  // whole lines: what comes on the other stream cuts none
  err_ << printable_lines(text) << std::endl;
}

void Output::failure(const Failure& failure) {
  const std::string code = failure.code() ? tav::host::result_text(*failure.code()) : std::string{};
  if (json_) {
    Json error = {{"what", failure.what()}, {"exit_code", static_cast<int>(failure.exit_code())}};
    if (failure.code()) {
      error["code"] = static_cast<std::uint32_t>(*failure.code());
      error["name"] = nkr_error_name(*failure.code());
      error["text"] = code;
    }
    if (!failure.hint().empty()) error["hint"] = failure.hint();
    const Json* const facts = failure.facts() == nullptr ? nullptr : &failure.facts()->json;
    if (facts != nullptr && facts->is_object()) {
      if (const Json* const object = facts->find("object")) error["object"] = *object;
      error["request"] = *facts;
    } else if (facts != nullptr) {
      error["mistakes"] = *facts;
    }
    document_["error"] = std::move(error);
  }
  const auto tell = [this](const std::string& label, std::string text) {
    const std::string next_line = '\n' + std::string(kFailureLabelWidth + 2, ' ');
    for (std::size_t at = text.find('\n'); at != text.npos; at = text.find('\n', at + 1)) {
      text.replace(at, 1, next_line);
    }
    err_ << "  " << padded(label + ':', kFailureLabelWidth) << printable_lines(text) << '\n';
  };
  {
    const std::lock_guard<std::mutex> lock(mutex_);
    make_room();
    out_.flush();
  }
  err_ << "tavctl: " << printable_lines(failure.what()) << '\n';
  if (failure.code()) tell("code", code);
  if (failure.facts() != nullptr) {
    for (const auto& [label, text] : failure.facts()->lines) tell(label, text);
  }
  if (!failure.hint().empty()) tell("hint", failure.hint());
}

void Output::finish() {
  if (!json_ || (has_rows_ && document_.size() == 1)) return;
  out_ << document_.dump(has_rows_ ? -1 : 2) << '\n';
}

}  // namespace tavctl
