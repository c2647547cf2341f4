// A text on a KX_CharArray. The array's terminating zero element makes the
// storage a C string at all times, so the text needs no fields of its own.
// By default strings compare without regard to case.
#pragma once

#include <cstdarg>

#include "foundation/KX_CharArray.h"
#include "foundation/KX_IntArray.h"

class KX_StringList;

class KX_String : public KX_CharArray {
 public:
  KX_String() : KX_CharArray(32) {}
  // A copy of `text`; null gives an empty string.
  explicit KX_String(const char* text);
  // Copies text, growStep and the case flag.
  KX_String(const KX_String& other);
  // Copies the text as copyFrom does: the target keeps its case flag.
  KX_String& operator=(const KX_String& other);
  ~KX_String() override = default;

  KX_Base* newInstance() const override { return new KX_String(); }
  bool isLess(const KX_Base* other) const override;
  bool isEqual(const KX_Base* other) const override;

  const char* getText() const { return getBuffer(); }
  int getLength() const { return count; }

  // Compares the text with `other`: below, at or above 0. This string's case
  // flag decides: folded to lower case and compared as signed chars, or
  // byte by byte as unsigned values.
  int compareText(const char* other) const;

  // Replaces the contents by the formatted text (see KX_StringFormatter.h).
  // The string is emptied first, so no argument may point into its own text.
  void format(const char* text, ...);
  void formatList(const char* text, va_list arguments);

  // The number in the text: decimal, or hexadecimal after "0x", or binary
  // after "0b". With removeGroupSeparators, digit group separators of the
  // settings record are taken out first, if that kind of number is grouped.
  int toInt(bool removeGroupSeparators) const;

  // Wildcard test of the whole text against `pattern`: * ? [list] {list}
  // and backslash escapes. With the case flag set both sides are folded.
  bool matches(const KX_String& pattern) const;
  bool matches(const char* pattern) const;

  // Up to `length` characters from `start`; cut at the end of the text.
  KX_String substring(int start, int length) const;
  // Take off the characters of `set` at the end or at the start.
  void trimRight(const char* set);
  void trimLeft(const char* set);
  KX_String concat(const char* text) const;
  KX_String concat(const KX_String& text) const;
  KX_String replaceChar(char from, char to) const;

  // Cuts the text into `list` at the characters of `delimiters`, keeping
  // quoted parts (from a character of `openQuotes` to the character at the
  // same index of `closeQuotes`, with `escape` passing over the character
  // behind it) in one piece, quotes included. An empty string before the
  // first delimiter, between two delimiters in a row and behind the last one
  // stands for an empty item. With `trim`, blanks, tabs and vertical tabs
  // are taken off each item. Result 0, or -(p + 1) when the text ends at p
  // inside a quote; the list is then empty.
  int split(KX_StringList& list, const char* delimiters, const char* openQuotes, const char* closeQuotes, char escape,
            bool trim);

  // The general cutter behind split. Characters of `delimiters` separate
  // tokens; a quoted part is one token of kind -(q + 1), q being the index of
  // its opening quote. A plain run up to the next delimiter or opening quote
  // is cut at its longest beginning that matches a pattern of `patterns`
  // (the first pattern that matches gives the kind, its index), and the rest
  // of the run is cut the same way. Appends each token's start, length and
  // kind. Result 0; -(p + 1) for a quote unterminated at p; or the start of
  // a run of which no beginning matches.
  int tokenize(const KX_StringList& patterns, const char* delimiters, const char* openQuotes, const char* closeQuotes,
               char escape, KX_IntArray& starts, KX_IntArray& lengths, KX_IntArray& kinds) const;

  bool caseInsensitive = true;

 private:
  void assignText(const char* text, int length);
};

// The wildcard test on plain texts, exactly (no case folding).
bool KX_matchWildcard(const char* text, const char* pattern);
