#include "cli/Output.hpp"

#include <cstddef>
#include <ostream>
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

void Output::fact(std::string_view label, const std::string& text, const std::string& key, Json value) {
  put(key, std::move(value));
  line(padded(label, kLabelWidth) + text);
}

void Output::line(const std::string& text) {
  if (json_) return;
  const std::lock_guard<std::mutex> lock(mutex_);
  out_ << printable_lines(text) << '\n';
}

void Output::put(const std::string& key, Json value) {
  if (json_) document_[key] = std::move(value);
}

void Output::row(const std::string& text, const Json& value) {
  const std::lock_guard<std::mutex> lock(mutex_);
  live_ = true;
  out_ << (json_ ? value.dump() : printable_lines(text)) << '\n';
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
  err_ << printable_lines(text) << std::endl;
}

void Output::failure(const Failure& failure) {
  const std::string code = failure.code() ? tav::host::result_text(*failure.code()) : std::string{};
  if (json_) {
    Json error = {{"what", failure.what()}, {"exit_code", static_cast<int>(failure.exit_code())}};
    if (failure.code()) error["code"] = code;
    if (!failure.hint().empty()) error["hint"] = failure.hint();
    if (failure.facts() != nullptr) error["request"] = failure.facts()->json;
    document_["error"] = std::move(error);
  }
  const auto tell = [this](const std::string& label, std::string text) {
    const std::string next_line = '\n' + std::string(kFailureLabelWidth + 2, ' ');
    for (std::size_t at = text.find('\n'); at != text.npos; at = text.find('\n', at + 1)) {
      text.replace(at, 1, next_line);
    }
    err_ << "  " << padded(label + ':', kFailureLabelWidth) << printable_lines(text) << '\n';
  };
  err_ << "tavctl: " << printable_lines(failure.what()) << '\n';
  if (failure.code()) tell("code", code);
  if (failure.facts() != nullptr) {
    for (const auto& [label, text] : failure.facts()->lines) tell(label, text);
  }
  if (!failure.hint().empty()) tell("hint", failure.hint());
}

void Output::finish() {
  if (!json_ || (live_ && document_.empty())) return;
  out_ << document_.dump(live_ ? -1 : 2) << '\n';
}

}  // namespace tavctl
