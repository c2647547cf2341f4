// The wildcard test of KX_String::matches, from a table of texts and patterns.
#include <gtest/gtest.h>

#include "foundation/KX_String.h"
#include "support/LiveBlockGuard.h"

namespace {

struct MatchCase {
  const char* text;
  const char* pattern;
  bool expected;
};

class StringMatch : public LiveBlockTest {};

TEST_F(StringMatch, PatternTable) {
  const MatchCase cases[] = {
      {"abc", "a*c", true},
      {"abc", "a?c", true},
      {"abc", "a?d", false},
      {"abc", "[a-c]bc", true},
      {"abc", "[^a]bc", false},
      {"xbc", "[^a]bc", true},
      // ^ negates one item, and the bracket matches if any item does.
      {"abc", "[^a,b]bc", false},
      {"bbc", "[^a,b]bc", true},
      {"abc", "[^a,a]bc", true},
      {"abc", "a{b,c}", true},
      {"a", "a{b,c}", true},
      {"abd", "a{b,c}", false},
      {"", "*", true},
      {"", "?", false},
      {"", "", true},
      {"a", "", false},
      {"", "{a}{b,c}", true},
      {"", "{a}*x", true},
      {"", "{a}x", false},
      {"", "{a", false},
      {"abc", "[a-c", false},
      {"abc", "{a-c", false},
      {"abc", "abc*", true},
      {"abc", "ab*c", true},
      {"abc", "*", true},
      {"abc", "*c", true},
      {"abc", "*b", false},
      {"abc", "abc{x}", true},
      {"abc", "abc{x}*{y}", true},
      // The text ends inside a repetition: only an ended pattern matches behind it.
      {"ab", "a{b}{c}", false},
      {"ab", "a{b}", true},
      {"ab", "a{b}*", true},
      {"ab", "a{b}c", false},
      // The shortest repetition that lets the rest match.
      {"aaab", "{a}ab", true},
      {"aaab", "{a,b}", true},
      {"ab", "a?", true},
      {"a*", "a\\*", true},
      {"ab", "a\\*", false},
      {"a?", "a\\?", true},
      {"a[", "a\\[", true},
      {"a\\x", "a\\x", true},  // before x the backslash stands for itself
      {"a\\", "a\\", true},
      {"]", "[\\]]", true},
      {"-", "[+,-,.]", true},
      {"b", "[+,-,.]", false},
      {"k", "[a-c,x-z,k]", true},
      {"m", "[a-c,x-z,k]", false},
      {"http", "[a-z,A-Z]{a-z,A-Z,0-9,+,-,.}", true},
      {"svn+ssh", "[a-z,A-Z]{a-z,A-Z,0-9,+,-,.}", true},
      {"9abc", "[a-z,A-Z]{a-z,A-Z,0-9,+,-,.}", false},
      {"a_b", "[a-z,A-Z]{a-z,A-Z,0-9,+,-,.}", false},
      {"8080", "[0-9]{0-9}", true},
      {"80a", "[0-9]{0-9}", false},
      {"c:", "[a-z,A-Z]{a-z,A-Z,0-9,+,-,.}:", true},
  };
  for (const MatchCase& c : cases) {
    KX_String text(c.text);
    text.caseInsensitive = false;
    EXPECT_EQ(text.matches(c.pattern), c.expected) << '"' << c.text << "\" against \"" << c.pattern << '"';
  }
}

TEST_F(StringMatch, CaseFoldingFollowsTheTextsFlag) {
  KX_String text("ABC");
  EXPECT_TRUE(text.matches("a?c"));
  EXPECT_TRUE(text.matches(KX_String("[a-c]B*")));
  text.caseInsensitive = false;
  EXPECT_FALSE(text.matches("a?c"));
  EXPECT_TRUE(text.matches("[A-C]B*"));
  EXPECT_FALSE(text.matches("[a-c]B*"));
}

}  // namespace
