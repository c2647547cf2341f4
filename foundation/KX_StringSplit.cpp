// Cutting a string into tokens: the general cutter and split on top of it.
#include <cstring>

#include "foundation/KX_String.h"
#include "foundation/KX_StringList.h"

namespace {

// The delimiter characters, sorted so that each test is a binary search.
class DelimiterSet {
 public:
  explicit DelimiterSet(const char* delimiters) {
    if (delimiters != nullptr) {
      for (const char* c = delimiters; *c != 0; ++c) sorted.append(*c);
    }
    sorted.sort();
  }
  bool contains(char c) const { return c != 0 && sorted.findSorted(c) >= 0; }

 private:
  KX_CharArray sorted;
};

int indexIn(const char* set, char c) {
  if (set == nullptr || c == 0) return -1;
  const char* found = std::strchr(set, c);
  return found != nullptr ? static_cast<int>(found - set) : -1;
}

}  // namespace

int KX_String::tokenize(const KX_StringList& patterns, const char* delimiters, const char* openQuotes,
                        const char* closeQuotes, char escape, KX_IntArray& starts, KX_IntArray& lengths,
                        KX_IntArray& kinds) const {
  const DelimiterSet delimiterSet(delimiters);
  const char* text = getText();
  const int length = count;
  int position = 0;
  while (position < length) {
    const char c = text[position];
    if (delimiterSet.contains(c)) {
      ++position;
      continue;
    }
    const int quote = indexIn(openQuotes, c);
    if (quote >= 0) {
      const char close =
          closeQuotes != nullptr && quote < static_cast<int>(std::strlen(closeQuotes)) ? closeQuotes[quote] : 0;
      int scan = position + 1;
      while (scan < length && text[scan] != close) scan += text[scan] == escape ? 2 : 1;
      // An escape as the last character steps past the end; the scan stopped at the end.
      if (scan >= length) return -((scan > length ? length : scan) + 1);
      starts.append(position);
      lengths.append(scan + 1 - position);
      kinds.append(-(quote + 1));
      position = scan + 1;
      continue;
    }
    int runEnd = position;
    while (runEnd < length && !delimiterSet.contains(text[runEnd]) && indexIn(openQuotes, text[runEnd]) < 0) {
      ++runEnd;
    }
    // Cut the run at its longest beginning that a pattern matches, then go on
    // with the rest of the run.
    while (position < runEnd) {
      int cut = 0;
      int kind = -1;
      for (int piece = runEnd - position; piece > 0 && kind < 0; --piece) {
        KX_String beginning = substring(position, piece);
        beginning.caseInsensitive = caseInsensitive;
        for (int p = 0; p < patterns.getCount(); ++p) {
          if (beginning.matches(*patterns.getString(p))) {
            kind = p;
            cut = piece;
            break;
          }
        }
      }
      if (kind < 0) return position;
      starts.append(position);
      lengths.append(cut);
      kinds.append(kind);
      position += cut;
    }
  }
  return 0;
}

int KX_String::split(KX_StringList& list, const char* delimiters, const char* openQuotes, const char* closeQuotes,
                     char escape, bool trim) {
  list.clear();
  if (count == 0) return 0;
  const bool keptCaseInsensitive = caseInsensitive;
  caseInsensitive = false;

  KX_StringList everything;
  everything.appendText("*");
  KX_IntArray starts;
  KX_IntArray lengths;
  KX_IntArray kinds;
  const int result = tokenize(everything, delimiters, openQuotes, closeQuotes, escape, starts, lengths, kinds);
  caseInsensitive = keptCaseInsensitive;
  if (result != 0) return result;

  const DelimiterSet delimiterSet(delimiters);
  const char* text = getText();
  if (delimiterSet.contains(text[0])) list.appendText("");
  const int tokens = starts.getCount();
  for (int t = 0; t < tokens; ++t) {
    list.append(new KX_String(substring(starts.at(t), lengths.at(t))));
    if (t + 1 < tokens) {
      // Only delimiters lie between two tokens: n of them stand for n - 1 empty items.
      const int delimitersBetween = starts.at(t + 1) - (starts.at(t) + lengths.at(t));
      for (int e = 1; e < delimitersBetween; ++e) list.appendText("");
    }
  }
  if (tokens > 0 && delimiterSet.contains(text[count - 1])) list.appendText("");

  if (trim) {
    for (int i = 0; i < list.getCount(); ++i) {
      list.getString(i)->trimRight(" \t\v");
      list.getString(i)->trimLeft(" \t\v");
    }
  }
  return 0;
}
