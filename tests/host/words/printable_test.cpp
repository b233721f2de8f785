#include <gtest/gtest.h>

#include <string>
#include <tav/host/printable.hpp>

namespace {

using tav::host::printable;
using tav::host::printable_lines;

TEST(Printable, LeavesTextAsItIs) {
  for (const char* const text :
       {"", "TAV 1.0", "m\xC3\xBCrz", "\xE2\x82\xAC 5", "\xF0\x9F\x94\xA7", "C:\\x"}) {
    EXPECT_EQ(printable(text), text);
  }
}

TEST(Printable, ShowsControlCharactersInsteadOfSendingThem) {
  EXPECT_EQ(printable("\x1B[2J"), "\\x1B[2J") << "clears a terminal";
  EXPECT_EQ(printable("\x1B]0;title\x07"), "\\x1B]0;title\\x07") << "renames its window";
  EXPECT_EQ(printable("a\rb\nc\td\x7F"), "a\\x0Db\\x0Ac\\x09d\\x7F");
  EXPECT_EQ(printable("\xC2\x9B"
                      "2J"),
            "\\xC2\\x9B2J")
      << "CSI as one character of C1 (ISO 6429)";
  EXPECT_EQ(printable("\xE2\x80\xAE"), "\\xE2\\x80\\xAE") << "turns the direction of what follows";
}

TEST(Printable, ShowsEveryNul) {
  EXPECT_EQ(printable(std::string("TAV\0\0", 5)), "TAV\\x00\\x00");
}

TEST(Printable, ShowsBytesThatAreNoUtf8) {
  EXPECT_EQ(printable("\xFF"), "\\xFF");
  EXPECT_EQ(printable("\x9B"
                      "2J"),
            "\\x9B2J")
      << "CSI where a terminal takes ISO 8859";
  EXPECT_EQ(printable("a\xC3"), "a\\xC3") << "cut off";
  EXPECT_EQ(printable("\xC3("), "\\xC3(");
  EXPECT_EQ(printable("\xC0\x9B"), "\\xC0\\x9B") << "longer than needed";
  EXPECT_EQ(printable("\xE0\x80\x9B"), "\\xE0\\x80\\x9B");
  EXPECT_EQ(printable("\xED\xA0\x80"), "\\xED\\xA0\\x80") << "half a pair";
  EXPECT_EQ(printable("\xF4\x90\x80\x80"), "\\xF4\\x90\\x80\\x80") << "beyond the last character";
}

TEST(Printable, KeepsTheLinesOfTextOfSeveral) {
  EXPECT_EQ(printable_lines("a\n\x1B\r\n"), "a\n\\x1B\\x0D\n");
}

}  // namespace
