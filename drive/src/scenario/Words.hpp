#ifndef TAV_DRIVE_SRC_SCENARIO_WORDS_HPP
#define TAV_DRIVE_SRC_SCENARIO_WORDS_HPP

#include <chrono>
#include <cstdint>
#include <string>
#include <string_view>
#include <tav/drive/Scenario.hpp>

namespace tav::drive {

/** A mistake in a line: unwinds to whoever reads it. */
struct Mistake {
  std::string text;
};

/** The words of a line: separated by blanks, those in quotation marks as one; # begins a comment. */
class Words {
 public:
  explicit Words(std::string_view line) : rest_(line) { advance(); }

  [[nodiscard]] bool empty() const { return !there_; }
  [[nodiscard]] const std::string& peek() const { return word_; }
  [[nodiscard]] bool quoted() const { return quoted_; }
  /** The next word is that one, and is taken. */
  bool take(std::string_view word);
  /** The next word, whatever it is. */
  std::string take_any(const char* what);

 private:
  void advance();
  void advance_quoted();
  void cut(std::size_t size);

  std::string_view rest_;
  std::string word_;
  bool quoted_ = false;
  bool there_ = false;
};

/** A whole number in decimal or, with 0x, hexadecimal digits; else a Mistake: the word "is not `what`". */
[[nodiscard]] std::int64_t number_between(const std::string& word, std::int64_t low, std::int64_t high,
                                          const char* what);
/** The next word as such a number. */
std::int64_t take_number(Words& words, std::int64_t low, std::int64_t high, const char* what);
/** The next word as a number with digits behind the point. */
double take_real(Words& words, double low, double high, const char* what);
/** "250", "250ms" or "1.5s". */
std::chrono::milliseconds take_time(Words& words);
/** "0x6041", "0x1018:1" or "Identity Object Vendor Id" in quotation marks. */
ObjectReference take_object(Words& words);
/** "tpdo1", "sdo-reply from 3", "id 0x181-0x200" ... */
FrameClass take_frame_class(Words& words);
/** "3", "3..7": one number, or the first and the last of several. */
void take_range(Words& words, std::uint32_t& first, std::uint32_t& last, const char* what);
/** "velocity < 10 and not state FAULT". */
Condition take_condition(Words& words);
/** The PowerState, or the NMTState, of that name. */
std::uint32_t take_power_state(Words& words);
std::uint32_t take_nmt_state(Words& words);
/** What stands between the words. */
[[nodiscard]] bool is_blank(char c);

}  // namespace tav::drive

#endif
