#include <nkr/log.h>
#include <unistd.h>

#include <cstdlib>
#include <string_view>

#include "Line.hpp"
#include "LineWriter.hpp"
#include "Sink.hpp"

namespace nkr::log {
namespace {

constexpr std::string_view kNoColour = "\x1b[0m";

std::string_view colour_of(std::uint32_t level) {
  switch (level) {
    case NKR_LOG_FAILURE:
      return "\x1b[31m";
    case NKR_LOG_WARNING:
      return "\x1b[33m";
    case NKR_LOG_NOTICE:
      return "\x1b[32m";
    default:
      return "\x1b[2m";
  }
}

bool wants_colour() {
  const char* const no_colour = std::getenv("NO_COLOR");
  const char* const terminal = std::getenv("TERM");
  const bool dumb = terminal == nullptr || std::string_view(terminal) == "dumb";
  return isatty(STDERR_FILENO) == 1 && (no_colour == nullptr || *no_colour == '\0') && !dumb;
}

class StandardErrorSink final : public Sink {
 public:
  explicit StandardErrorSink(std::uint32_t level) : Sink(level), coloured_(wants_colour()) {}

 protected:
  bool write(const nkr_log_record_t& record) override {
    Line line;
    append_time(line, record.time_ns);
    line.append(" ");
    if (coloured_) line.append(colour_of(record.level));
    append_level(line, record.level);
    if (coloured_) line.append(kNoColour);
    line.append(" [");
    line.append_number(record.context);
    line.append("] ");
    line.append(record.text);
    line.finish();
    return write_line(STDERR_FILENO, line.view());
  }

 private:
  const bool coloured_;
};

}  // namespace

std::shared_ptr<Sink> make_stderr_sink(std::uint32_t level) {
  return std::make_shared<StandardErrorSink>(level);
}

}  // namespace nkr::log
