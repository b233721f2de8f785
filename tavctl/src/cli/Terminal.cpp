#include "cli/Terminal.hpp"

#include <signal.h>
#include <sys/ioctl.h>
#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <iostream>
#include <ostream>

namespace tavctl {

namespace {

volatile sig_atomic_t times_continued = 0;

extern "C" void on_continue(int /*signal*/) {
  times_continued = times_continued + 1;
}

void watch_for_sleep() {
  static const bool watching = [] {
    struct sigaction action = {};
    action.sa_handler = on_continue;
    action.sa_flags = SA_RESTART;
    return ::sigaction(SIGCONT, &action, nullptr) == 0;
  }();
  static_cast<void>(watching);
}

/** Columns of a UTF-8 text; every letter that the tool draws takes one. */
std::size_t columns_of(const std::string& text) {
  return static_cast<std::size_t>(std::count_if(
      text.begin(), text.end(), [](char byte) { return (static_cast<unsigned char>(byte) & 0xC0) != 0x80; }));
}

std::string cut(const std::string& text, std::size_t columns) {
  std::size_t at = 0;
  for (std::size_t seen = 0; at < text.size(); ++at) {
    const bool begins = (static_cast<unsigned char>(text[at]) & 0xC0) != 0x80;
    if (begins && seen++ == columns) break;
  }
  return text.substr(0, at);
}

}  // namespace

bool is_terminal(int descriptor) {
  const char* const kind = std::getenv("TERM");
  return ::isatty(descriptor) == 1 && kind != nullptr && std::string(kind) != "dumb";
}

std::size_t terminal_width(int descriptor) {
  constexpr std::size_t kUsual = 80;
  winsize size = {};
  if (::ioctl(descriptor, TIOCGWINSZ, &size) == 0 && size.ws_col > 0) return size.ws_col;
  const char* const columns = std::getenv("COLUMNS");
  const long number = columns == nullptr ? 0 : std::strtol(columns, nullptr, 10);
  return number > 0 && number < 10'000 ? static_cast<std::size_t>(number) : kUsual;
}

bool confirmed(const std::string& question) {
  std::cerr << question << " [y/N] " << std::flush;
  std::string answer;
  return std::getline(std::cin, answer) && (answer == "y" || answer == "yes");
}

void LiveBlock::show(const std::vector<std::string>& lines) {
  watch_for_sleep();
  const int continued = times_continued;
  if (continued != slept_ && !widths_.empty()) {
    widths_.clear();
    stream_ << "\n(the display slept)\n";
  }
  slept_ = continued;
  go_up();
  const std::size_t width = std::max<std::size_t>(terminal_width(descriptor_), 2) - 1;
  widths_.clear();
  for (const std::string& line : lines) {
    const std::string shown = cut(line, width);
    stream_ << shown << "\033[K\n";
    widths_.push_back(columns_of(shown));
  }
  stream_ << "\033[J" << std::flush;
}

void LiveBlock::clear() {
  if (widths_.empty()) return;
  go_up();
  widths_.clear();
  stream_ << "\033[J" << std::flush;
}

/** A terminal that became narrower has broken the lines. */
void LiveBlock::go_up() {
  const std::size_t width = std::max<std::size_t>(terminal_width(descriptor_), 1);
  std::size_t rows = 0;
  for (const std::size_t columns : widths_) rows += std::max<std::size_t>(1, (columns + width - 1) / width);
  if (rows > 0) stream_ << "\r\033[" << rows << 'A';
}

}  // namespace tavctl
