#ifndef TAVCTL_CLI_OUTPUT_HPP
#define TAVCTL_CLI_OUTPUT_HPP

#include <iosfwd>
#include <mutex>
#include <string>
#include <string_view>
#include <vector>

#include "cli/Failure.hpp"
#include "cli/Json.hpp"
#include "cli/Terminal.hpp"

namespace tavctl {

/**
 * What a command has to say, once for people and once for programs.
 *
 * With --json a command prints one JSON document at its end (live commands: one document a line as things
 * happen), and nothing else on standard output. Warnings go to standard error in both cases. Lines, events
 * and notes may come from any thread.
 */
class Output {
 public:
  /** Version of what programs are told (docs/json.md): another one when a member changes its meaning. */
  static constexpr int kFormat = 1;

  Output(std::ostream& out, std::ostream& err, bool json);

  [[nodiscard]] bool json() const { return json_; }

  /** One named value: `label` and `text` for people, `key` and `value` for programs. */
  void fact(std::string_view label, const std::string& text, const std::string& key, Json value);
  /** A line for people alone. */
  void line(const std::string& text);
  /** A member of the document for programs alone. */
  void put(const std::string& key, Json value);
  /** The document, for commands that build it themselves. */
  [[nodiscard]] Json& document() { return document_; }
  /** Something that happened just now: printed at once. */
  void event(const std::string& text, const Json& value);
  /** One of many things that are told in a row: printed when there is enough to print. */
  void row(const std::string& text, const Json& value);
  /** Prints what row() left over. */
  void flush();
  /** Whether live() draws: standard output is a terminal, and people read it. */
  [[nodiscard]] bool is_live() const { return live_out_; }
  /** Draws lines in place at the end of the text, instead of those drawn before; nothing elsewhere than on a
   * terminal. Whatever else is said takes them away. */
  void live(const std::vector<std::string>& lines);
  /** Lets the lines that were drawn last stand. */
  void leave_live();
  [[nodiscard]] bool shows_progress() const { return live_err_; }
  /** One line about work that goes on, on standard error, in place; empty: takes it away. */
  void progress(const std::string& text);
  /** A warning or a remark, on standard error. */
  void note(const std::string& text);
  /** The end of a command that failed. */
  void failure(const Failure& failure);
  /** Prints the document when there is one to print. */
  void finish();

 private:
  /** Takes away what is drawn in place. */
  void make_room();

  std::ostream& out_;
  std::ostream& err_;
  bool json_;
  bool live_out_;
  bool live_err_;
  LiveBlock block_;
  LiveBlock progress_;
  bool has_rows_ = false;
  std::mutex mutex_;
  Json document_ = {{"format", kFormat}};
};

}  // namespace tavctl

#endif
