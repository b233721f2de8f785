#ifndef TAVCTL_COMMANDS_SESSION_ARROWKEYS_HPP
#define TAVCTL_COMMANDS_SESSION_ARROWKEYS_HPP

#include <termios.h>

#include <chrono>
#include <optional>

namespace tavctl {

/** The arrow keys of the terminal, key by key, from construction to destruction. */
class ArrowKeys {
 public:
  enum class Key { UP, DOWN, LEFT, RIGHT, STOP, END };

  ArrowKeys();
  ~ArrowKeys();
  ArrowKeys(const ArrowKeys&) = delete;
  ArrowKeys& operator=(const ArrowKeys&) = delete;

  /** Whether standard input is a terminal. */
  [[nodiscard]] static bool are_there();
  /** The next key within that time: an arrow; the space bar is STOP, "q" is END. */
  [[nodiscard]] std::optional<Key> wait(std::chrono::milliseconds longest);

 private:
  [[nodiscard]] static std::optional<char> read_character(std::chrono::milliseconds longest);

  termios before_{};
  bool is_changed_ = false;
};

}  // namespace tavctl

#endif
