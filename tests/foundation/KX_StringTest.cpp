// KX_String: order, copies, substrings, trimming, number parsing, and
// KX_StringList built on it.
#include <gtest/gtest.h>

#include <climits>
#include <string>

#include "foundation/KX_String.h"
#include "foundation/KX_StringFormatter.h"
#include "foundation/KX_StringList.h"
#include "support/LiveBlockGuard.h"

namespace {

class StringTest : public LiveBlockTest {};

TEST_F(StringTest, OrderFoldsCaseUnlessClearedAndFollowsTheCalledString) {
  KX_String mixed("HeLLo");
  KX_String lower("hello");
  EXPECT_TRUE(mixed.isEqual(&lower));
  EXPECT_FALSE(mixed.isLess(&lower));
  mixed.caseInsensitive = false;
  EXPECT_FALSE(mixed.isEqual(&lower));
  EXPECT_TRUE(mixed.isLess(&lower));   // 'H' < 'h' as bytes
  EXPECT_TRUE(lower.isEqual(&mixed));  // lower still folds
  EXPECT_FALSE(lower.isLess(&mixed));

  // A prefix is below the longer text; folded characters compare as signed
  // chars, exact ones as unsigned bytes.
  KX_String abc("abc");
  KX_String ab("AB");
  EXPECT_TRUE(ab.isLess(&abc));
  EXPECT_FALSE(abc.isLess(&ab));
  KX_String high("\xe9");
  KX_String letter("z");
  EXPECT_TRUE(high.isLess(&letter));
  high.caseInsensitive = false;
  EXPECT_FALSE(high.isLess(&letter));
  EXPECT_GT(high.compareText("z"), 0);
  EXPECT_EQ(abc.compareText("ABC"), 0);
}

TEST_F(StringTest, CopiesKeepTheTargetsCaseFlag) {
  KX_String source("Text");
  source.caseInsensitive = true;
  KX_String target;
  target.caseInsensitive = false;
  target.copyFrom(&source);
  EXPECT_STREQ(target.getText(), "Text");
  EXPECT_FALSE(target.caseInsensitive);

  KX_Base* fresh = source.newInstance();
  KX_String* freshString = static_cast<KX_String*>(fresh);
  EXPECT_EQ(freshString->getLength(), 0);
  EXPECT_EQ(freshString->getGrowStep(), 32);
  EXPECT_TRUE(freshString->caseInsensitive);
  delete fresh;
}

TEST_F(StringTest, SubstringConcatAndReplace) {
  KX_String text("abcdef");
  text.caseInsensitive = false;
  EXPECT_STREQ(text.substring(1, 3).getText(), "bcd");
  EXPECT_STREQ(text.substring(4, 10).getText(), "ef");
  EXPECT_EQ(text.substring(6, 2).getLength(), 0);
  EXPECT_EQ(text.substring(9, 2).getLength(), 0);
  EXPECT_EQ(text.substring(2, 0).getLength(), 0);
  KX_String part = text.substring(0, 2);
  EXPECT_TRUE(part.caseInsensitive);
  EXPECT_EQ(part.getGrowStep(), 32);

  KX_String joined = text.concat("ghi");
  EXPECT_STREQ(joined.getText(), "abcdefghi");
  EXPECT_TRUE(joined.caseInsensitive);
  EXPECT_STREQ(text.concat(KX_String("XYZ")).getText(), "abcdefXYZ");
  EXPECT_STREQ(text.concat(nullptr).getText(), "abcdef");
  std::string longText(40, 'q');  // beyond the inline storage
  EXPECT_EQ(std::string(text.concat(longText.c_str()).getText()), "abcdef" + longText);

  KX_String path("a/b/c");
  EXPECT_STREQ(path.replaceChar('/', '\\').getText(), "a\\b\\c");
  EXPECT_STREQ(path.getText(), "a/b/c");
}

TEST_F(StringTest, TrimmingEndsAndEverything) {
  KX_String text("  \tword \v ");
  text.trimRight(" \t\v");
  EXPECT_STREQ(text.getText(), "  \tword");
  text.trimLeft(" \t\v");
  EXPECT_STREQ(text.getText(), "word");
  text.trimLeft("xyz");
  text.trimRight("");
  EXPECT_STREQ(text.getText(), "word");

  std::string longText(60, 'a');
  KX_String all(longText.c_str());
  EXPECT_GT(all.getCapacity(), 24);
  all.trimRight("a");
  EXPECT_EQ(all.getLength(), 0);
  EXPECT_EQ(all.getCapacity(), 24);
  KX_String allLeft(longText.c_str());
  allLeft.trimLeft("ba");
  EXPECT_EQ(allLeft.getLength(), 0);
  EXPECT_EQ(allLeft.getCapacity(), 24);
  EXPECT_STREQ(allLeft.getText(), "");
}

TEST_F(StringTest, ToIntReadsDecimalHexAndBinary) {
  EXPECT_EQ(KX_String("0x10").toInt(false), 16);
  EXPECT_EQ(KX_String("0b101").toInt(false), 5);
  EXPECT_EQ(KX_String("  42").toInt(false), 42);
  EXPECT_EQ(KX_String("\t\v-17x").toInt(false), -17);
  EXPECT_EQ(KX_String("0x").toInt(false), 0);
  EXPECT_EQ(KX_String("0b").toInt(false), 0);
  EXPECT_EQ(KX_String(" \t ").toInt(false), 0);
  EXPECT_EQ(KX_String("").toInt(false), 0);
  EXPECT_EQ(KX_String("0X1F").toInt(false), 0);  // only a lower-case prefix makes hex
  EXPECT_EQ(KX_String("99999999999").toInt(false), INT_MAX);
  EXPECT_EQ(KX_String("-99999999999").toInt(false), INT_MIN);
  EXPECT_EQ(KX_String("0xffffffff").toInt(false), INT_MAX);
  // No grouping is configured, so separators are not taken out.
  EXPECT_EQ(KX_String("1'234").toInt(true), 1);
}

TEST_F(StringTest, ToIntRemovesGroupSeparatorsOfGroupedKinds) {
  KX_StringFormatSettings grouped;
  grouped.decimalGroupSize = 3;
  grouped.binaryGroupSize = 4;
  EXPECT_EQ(KX_parseInt("1'234'567", true, grouped), 1234567);
  EXPECT_EQ(KX_parseInt("1'234'567", false, grouped), 1);
  EXPECT_EQ(KX_parseInt("0b1'0000", true, grouped), 16);
  EXPECT_EQ(KX_parseInt("0x1'0", true, grouped), 1);  // hex isn't grouped here
}

TEST_F(StringTest, SettingsRecordNeedsNoMemoryAndHoldsTheConventions) {
  long long before = KX_getAllocationCount();
  { KX_StringFormatSettings local; }
  EXPECT_EQ(KX_getAllocationCount(), before);
  EXPECT_EQ(stringFormatSettings.decimalGroupSize, 0);
  EXPECT_EQ(stringFormatSettings.hexGroupSize, 0);
  EXPECT_EQ(stringFormatSettings.binaryGroupSize, 0);
  EXPECT_EQ(stringFormatSettings.parseGroupSeparator, '\'');
  EXPECT_EQ(stringFormatSettings.dateSeparator, '.');
  EXPECT_EQ(stringFormatSettings.timeSeparator, ':');
}

TEST_F(StringTest, StringListOwnsSortsAndClonesItsStrings) {
  KX_StringList list;
  list.appendText("beta");
  list.appendText("Alpha");
  list.appendText("gamma");
  list.appendText("ALPHA");
  list.getString(0)->caseInsensitive = false;
  int indices[4];
  list.sort(indices);
  EXPECT_STREQ(list.getString(0)->getText(), "Alpha");
  EXPECT_STREQ(list.getString(1)->getText(), "ALPHA");
  EXPECT_STREQ(list.getString(3)->getText(), "gamma");
  EXPECT_EQ(indices[3], 2);
  KX_String probe("GAMMA");
  EXPECT_EQ(list.findSorted(&probe), 3);
  KX_String missing("delta");
  EXPECT_EQ(list.findSorted(&missing), -1);
  EXPECT_EQ(list.findInsertPosition(&missing), 3);

  KX_StringList copy;
  copy.copyFrom(&list);
  ASSERT_EQ(copy.getCount(), 4);
  EXPECT_NE(copy.at(2), list.at(2));
  EXPECT_STREQ(copy.getString(2)->getText(), "beta");
  EXPECT_FALSE(list.getString(2)->caseInsensitive);
  EXPECT_TRUE(copy.getString(2)->caseInsensitive);

  KX_Base* fresh = list.newInstance();
  EXPECT_EQ(static_cast<KX_StringList*>(fresh)->getCount(), 0);
  EXPECT_EQ(static_cast<KX_StringList*>(fresh)->getGrowStep(), 32);
  delete fresh;
}

}  // namespace
