// KX_String::split and the cutter behind it.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "foundation/KX_String.h"
#include "foundation/KX_StringList.h"
#include "support/LiveBlockGuard.h"

namespace {

class StringSplit : public LiveBlockTest {};

std::vector<std::string> items(const KX_StringList& list) {
  std::vector<std::string> out;
  for (int i = 0; i < list.getCount(); ++i) out.push_back(list.getString(i)->getText());
  return out;
}

using Items = std::vector<std::string>;

std::vector<std::string> split(const char* text, const char* delimiters, const char* open = "", const char* close = "",
                               char escape = 0, bool trim = false, int* result = nullptr) {
  KX_String string(text);
  KX_StringList list;
  int code = string.split(list, delimiters, open, close, escape, trim);
  if (result != nullptr) *result = code;
  EXPECT_TRUE(string.caseInsensitive);
  return items(list);
}

TEST_F(StringSplit, DelimitersAtTheEndsAndInARow) {
  EXPECT_EQ(split("a//b", "/"), (Items{"a", "", "b"}));
  EXPECT_EQ(split("/a/", "/"), (Items{"", "a", ""}));
  EXPECT_EQ(split("a/b", "/"), (Items{"a", "b"}));
  EXPECT_EQ(split("///", "/"), (Items{""}));
  EXPECT_EQ(split("//a", "/"), (Items{"", "a"}));
  EXPECT_EQ(split("a///", "/"), (Items{"a", ""}));
  EXPECT_EQ(split("a,b;;c", ";,"), (Items{"a", "b", "", "c"}));
  EXPECT_EQ(split("abc", "/"), (Items{"abc"}));
  EXPECT_EQ(split("", "/"), Items{});
  EXPECT_EQ(split("a b", nullptr), (Items{"a b"}));
}

TEST_F(StringSplit, QuotesAndEscapes) {
  EXPECT_EQ(split("a/\"b/c\"/d", "/", "\"", "\""), (Items{"a", "\"b/c\"", "d"}));
  EXPECT_EQ(split("x\"y\"z", "/", "\"", "\""), (Items{"x", "\"y\"", "z"}));
  EXPECT_EQ(split("(a/b)/[c)]", "/", "([", ")]"), (Items{"(a/b)", "[c)]"}));
  EXPECT_EQ(split("\"a\\\"b\"/c", "/", "\"", "\"", '\\'), (Items{"\"a\\\"b\"", "c"}));
  // Outside quotes the escape has no effect.
  EXPECT_EQ(split("a\\/b", "/", "\"", "\"", '\\'), (Items{"a\\", "b"}));

  int result = 0;
  EXPECT_EQ(split("ab/\"cd", "/", "\"", "\"", 0, false, &result), Items{});
  EXPECT_EQ(result, -(6 + 1));
  EXPECT_EQ(split("\"cd\\", "/", "\"", "\"", '\\', false, &result), Items{});
  EXPECT_EQ(result, -(4 + 1));
  EXPECT_EQ(split("a/b", "/", nullptr, nullptr, 0, false, &result), (Items{"a", "b"}));
  EXPECT_EQ(result, 0);
}

TEST_F(StringSplit, TrimAndExactComparisons) {
  EXPECT_EQ(split(" a \t, b ,\v", ",", "", "", 0, true), (Items{"a", "b", ""}));
  // Case folding is off during the split, so an upper-case delimiter isn't a lower-case one.
  EXPECT_EQ(split("aXbxc", "x"), (Items{"aXb", "c"}));

  KX_String string("a/b");
  string.caseInsensitive = false;
  KX_StringList list;
  list.appendText("old");
  EXPECT_EQ(string.split(list, "/", "", "", 0, false), 0);
  EXPECT_EQ(items(list), (Items{"a", "b"}));
  EXPECT_FALSE(string.caseInsensitive);
}

TEST_F(StringSplit, CutterCutsRunsByTheFirstMatchingPattern) {
  KX_StringList patterns;
  patterns.appendText("[0-9]{0-9}");
  patterns.appendText("[a-z]{a-z}");
  patterns.appendText("?");
  KX_String text("ab12+c 'q r'");
  KX_IntArray starts;
  KX_IntArray lengths;
  KX_IntArray kinds;
  ASSERT_EQ(text.tokenize(patterns, " ", "'", "'", 0, starts, lengths, kinds), 0);
  const int expected[][3] = {{0, 2, 1}, {2, 2, 0}, {4, 1, 2}, {5, 1, 1}, {7, 5, -1}};
  ASSERT_EQ(starts.getCount(), 5);
  for (int i = 0; i < 5; ++i) {
    EXPECT_EQ(starts.at(i), expected[i][0]) << i;
    EXPECT_EQ(lengths.at(i), expected[i][1]) << i;
    EXPECT_EQ(kinds.at(i), expected[i][2]) << i;
  }

  // A run of which no beginning matches ends the cut with its start.
  KX_StringList digits;
  digits.appendText("[0-9]");
  KX_String mixed("12 3x");
  starts.clear();
  lengths.clear();
  kinds.clear();
  EXPECT_EQ(mixed.tokenize(digits, " ", "", "", 0, starts, lengths, kinds), 4);
  EXPECT_EQ(starts.getCount(), 3);
}

}  // namespace
