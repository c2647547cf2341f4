// The wildcard test behind KX_String::matches.
//
//   *        any number of characters, also none
//   ?        any one character
//   \c       c itself, for c one of * ? [ \ ] { }; before another character
//            the backslash stands for itself
//   [list]   exactly one item of the list
//   {list}   any number of items of the list, the shortest repetition that
//            lets the rest of the pattern match
// A list has items separated by commas: a character, or a range such as a-z
// (both ends included). In a list, ^ before an item negates that item alone,
// and a list matches if any of its items does. An unterminated list fails.
#include <cstring>

#include "foundation/KX_String.h"

namespace {

bool isEscapable(char c) {
  return c != 0 && std::strchr("*?[\\]{}", c) != nullptr;
}

// The closing character of a list that starts behind its opening one, or
// null when the pattern ends first. Escaped characters don't close it.
const char* findListEnd(const char* list, char close) {
  for (const char* p = list; *p != 0; ++p) {
    if (*p == '\\' && isEscapable(p[1])) {
      ++p;
    } else if (*p == close) {
      return p;
    }
  }
  return nullptr;
}

// One item of a list, from `begin` up to its comma or the list's end.
// A range is exactly three characters with an unescaped minus in the middle.
// An item of several other characters matches any one of them: no pattern of
// the library uses such items, so this is simply the most lenient reading.
bool itemMatches(const char* begin, const char* end, unsigned char c) {
  unsigned char characters[3];
  bool escapedMinus = false;
  int n = 0;
  bool any = false;
  for (const char* p = begin; p < end; ++p) {
    char current = *p;
    bool escaped = false;
    if (current == '\\' && p + 1 < end && isEscapable(p[1])) {
      current = *++p;
      escaped = true;
    }
    if (n == 1 && current == '-' && escaped) escapedMinus = true;
    if (n < 3) characters[n] = static_cast<unsigned char>(current);
    ++n;
    any = any || static_cast<unsigned char>(current) == c;
  }
  if (n == 3 && characters[1] == '-' && !escapedMinus) return characters[0] <= c && c <= characters[2];
  return any;
}

// Whether character c is one of the items of the list between begin and end.
bool listMatches(const char* begin, const char* end, char c) {
  const unsigned char value = static_cast<unsigned char>(c);
  const char* item = begin;
  while (item < end) {
    const char* itemEnd = item;
    while (itemEnd < end && *itemEnd != ',') itemEnd += (*itemEnd == '\\' && isEscapable(itemEnd[1])) ? 2 : 1;
    if (itemEnd > end) itemEnd = end;
    bool negated = false;
    const char* first = item;
    if (first < itemEnd && *first == '^') {
      negated = true;
      ++first;
    }
    if (first < itemEnd && itemMatches(first, itemEnd, value) != negated) return true;
    item = itemEnd + 1;
  }
  return false;
}

// What an ended text still matches: brace groups (matching nothing) up to the
// end of the pattern or up to a star, which matches the rest.
bool matchesEndOfText(const char* pattern) {
  for (;;) {
    if (*pattern == 0 || *pattern == '*') return true;
    if (*pattern != '{') return false;
    const char* end = findListEnd(pattern + 1, '}');
    if (end == nullptr) return false;
    pattern = end + 1;
  }
}

bool matchFrom(const char* text, const char* pattern) {
  for (;;) {
    if (*text == 0) return matchesEndOfText(pattern);
    switch (*pattern) {
      case 0:
        return false;
      case '*':
        if (pattern[1] == 0) return true;
        for (;; ++text) {
          if (matchFrom(text, pattern + 1)) return true;
          if (*text == 0) return false;
        }
      case '?':
        ++text;
        ++pattern;
        break;
      case '[': {
        const char* end = findListEnd(pattern + 1, ']');
        if (end == nullptr || !listMatches(pattern + 1, end, *text)) return false;
        ++text;
        pattern = end + 1;
        break;
      }
      case '{': {
        const char* end = findListEnd(pattern + 1, '}');
        if (end == nullptr) return false;
        const char* rest = end + 1;
        // Shortest repetition first: try the rest before taking one more item.
        for (; *text != 0; ++text) {
          if (matchFrom(text, rest)) return true;
          if (!listMatches(pattern + 1, end, *text)) return false;
        }
        // The text ended inside the repetition: only an ended pattern matches.
        return *rest == 0;
      }
      case '\\':
        if (isEscapable(pattern[1])) ++pattern;
        if (*pattern != *text) return false;
        ++text;
        ++pattern;
        break;
      default:
        if (*pattern != *text) return false;
        ++text;
        ++pattern;
        break;
    }
  }
}

}  // namespace

bool KX_matchWildcard(const char* text, const char* pattern) {
  return matchFrom(text, pattern);
}
