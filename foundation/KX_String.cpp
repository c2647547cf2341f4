#include "foundation/KX_String.h"

#include <cctype>
#include <cstring>

#include "foundation/KX_StringFormatter.h"
#include "foundation/KX_StringList.h"

KX_String::KX_String(const char* text) : KX_CharArray(32) {
  if (text != nullptr) assignText(text, static_cast<int>(std::strlen(text)));
}

KX_String::KX_String(const KX_String& other) : KX_CharArray(32), caseInsensitive(other.caseInsensitive) {
  copyFrom(&other);
}

KX_String& KX_String::operator=(const KX_String& other) {
  copyFrom(&other);
  return *this;
}

void KX_String::assignText(const char* text, int length) {
  resize(length);
  if (length > 0) std::memcpy(getBuffer(), text, static_cast<std::size_t>(length));
}

int KX_String::compareText(const char* other) const {
  const unsigned char* left = reinterpret_cast<const unsigned char*>(getText());
  const unsigned char* right = reinterpret_cast<const unsigned char*>(other);
  if (!caseInsensitive) {
    while (*left != 0 && *left == *right) {
      ++left;
      ++right;
    }
    return static_cast<int>(*left) - static_cast<int>(*right);
  }
  for (;; ++left, ++right) {
    const signed char foldedLeft = static_cast<signed char>(std::tolower(*left));
    const signed char foldedRight = static_cast<signed char>(std::tolower(*right));
    if (foldedLeft != foldedRight) return foldedLeft - foldedRight;
    if (foldedLeft == 0) return 0;
  }
}

bool KX_String::isLess(const KX_Base* other) const {
  return compareText(static_cast<const KX_String*>(other)->getText()) < 0;
}

bool KX_String::isEqual(const KX_Base* other) const {
  return compareText(static_cast<const KX_String*>(other)->getText()) == 0;
}

void KX_String::format(const char* text, ...) {
  va_list arguments;
  va_start(arguments, text);
  KX_formatText(*this, stringFormatSettings, text, arguments);
  va_end(arguments);
}

void KX_String::formatList(const char* text, va_list arguments) {
  KX_formatText(*this, stringFormatSettings, text, arguments);
}

int KX_String::toInt(bool removeGroupSeparators) const {
  return KX_parseInt(getText(), removeGroupSeparators, stringFormatSettings);
}

bool KX_String::matches(const char* pattern) const {
  if (pattern == nullptr) pattern = "";
  if (!caseInsensitive) return KX_matchWildcard(getText(), pattern);
  KX_String text(getText());
  KX_String folded(pattern);
  char* characters = text.getBuffer();
  for (int i = 0; i < text.getLength(); ++i) {
    characters[i] = static_cast<char>(std::tolower(static_cast<unsigned char>(characters[i])));
  }
  characters = folded.getBuffer();
  for (int i = 0; i < folded.getLength(); ++i) {
    characters[i] = static_cast<char>(std::tolower(static_cast<unsigned char>(characters[i])));
  }
  return KX_matchWildcard(text.getText(), folded.getText());
}

bool KX_String::matches(const KX_String& pattern) const {
  return matches(pattern.getText());
}

KX_String KX_String::substring(int start, int length) const {
  KX_String result;
  if (start + length > count) length = count - start;
  if (length > 0) result.assignText(getText() + start, length);
  return result;
}

namespace {

bool inSet(const char* set, char c) {
  return c != 0 && set != nullptr && std::strchr(set, c) != nullptr;
}

}  // namespace

void KX_String::trimRight(const char* set) {
  int end = count;
  const char* text = getText();
  while (end > 0 && inSet(set, text[end - 1])) --end;
  if (end != count) resize(end);
}

void KX_String::trimLeft(const char* set) {
  int start = 0;
  const char* text = getText();
  while (start < count && inSet(set, text[start])) ++start;
  if (start == 0) return;
  if (start == count) {
    clear();
  } else {
    removeRange(0, start);
  }
}

KX_String KX_String::concat(const char* text) const {
  KX_String result;
  const int added = text != nullptr ? static_cast<int>(std::strlen(text)) : 0;
  result.resize(count + added);
  std::memcpy(result.getBuffer(), getText(), static_cast<std::size_t>(count));
  if (added > 0) std::memcpy(result.getBuffer() + count, text, static_cast<std::size_t>(added));
  return result;
}

KX_String KX_String::concat(const KX_String& text) const {
  return concat(text.getText());
}

KX_String KX_String::replaceChar(char from, char to) const {
  KX_String result(getText());
  char* characters = result.getBuffer();
  for (int i = 0; i < result.count; ++i) {
    if (characters[i] == from) characters[i] = to;
  }
  return result;
}
