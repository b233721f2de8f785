#include "commands/session/ArrowKeys.hpp"

#include <poll.h>
#include <unistd.h>

namespace tavctl {

namespace {

constexpr char kEscape = '\x1B';
/** The rest of a key's sequence comes with its first character. */
constexpr std::chrono::milliseconds kSequence{20};

}  // namespace

bool ArrowKeys::are_there() {
  return ::isatty(STDIN_FILENO) == 1;
}

ArrowKeys::ArrowKeys() {
  if (::tcgetattr(STDIN_FILENO, &before_) != 0) return;
  termios by_key = before_;
  by_key.c_lflag &= ~static_cast<tcflag_t>(ICANON | ECHO);
  is_changed_ = ::tcsetattr(STDIN_FILENO, TCSANOW, &by_key) == 0;
}

ArrowKeys::~ArrowKeys() {
  if (is_changed_) static_cast<void>(::tcsetattr(STDIN_FILENO, TCSANOW, &before_));
}

std::optional<char> ArrowKeys::read_character(std::chrono::milliseconds longest) {
  pollfd input{STDIN_FILENO, POLLIN, 0};
  char character = 0;
  if (::poll(&input, 1, static_cast<int>(longest.count())) <= 0) return std::nullopt;
  if (::read(STDIN_FILENO, &character, 1) != 1) return 'q';  // nobody is there any more
  return character;
}

std::optional<ArrowKeys::Key> ArrowKeys::wait(std::chrono::milliseconds longest) {
  const std::optional<char> first = read_character(longest);
  if (first == 'q') return Key::END;
  if (first == ' ') return Key::STOP;
  if (first != kEscape || read_character(kSequence) != '[') return std::nullopt;
  const std::optional<char> arrow = read_character(kSequence);
  if (arrow == 'A') return Key::UP;
  if (arrow == 'B') return Key::DOWN;
  if (arrow == 'C') return Key::RIGHT;
  if (arrow == 'D') return Key::LEFT;
  return std::nullopt;
}

}  // namespace tavctl
