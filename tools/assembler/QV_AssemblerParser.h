// Inside the assembler: the statement parser and the pieces shared by the
// instruction parser (QV_AssemblerInstruction.cpp) and the source assembler
// (QV_Assembler.cpp).
#pragma once

#include <cctype>
#include <cerrno>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <map>
#include <string>
#include <utility>
#include <vector>

#include "qv_helper/qv_helper.h"

namespace qvasm::detail {

enum Section : int { kCode = 0, kInts = 1, kFloats = 2, kPointers = 3 };
constexpr std::uint32_t kSectionTags[4] = {VM_POINTER_CODE, VM_POINTER_INT, VM_POINTER_FLOAT, VM_POINTER_POINTER};

struct LabelPlace {
  Section section;
  bool reserved;  // in the reserve behind the section: its address is known at the end
  std::uint32_t offset;
  int line;
};

struct Failure {
  int column;
  std::string message;
};

inline bool isIdentifierStart(char c) {
  return std::isalpha(static_cast<unsigned char>(c)) || c == '_';
}
inline bool isIdentifierChar(char c) {
  return std::isalnum(static_cast<unsigned char>(c)) || c == '_';
}

inline std::string lower(std::string text) {
  for (char& c : text) c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
  return text;
}

// A register name: bank 0 to 2 and number, or -1.
inline int registerBank(const std::string& name, int& number) {
  if (name.size() != 3 || !std::isdigit(static_cast<unsigned char>(name[2])) || name[2] > '7') return -1;
  number = name[2] - '0';
  const std::string prefix = lower(name.substr(0, 2));
  if (prefix == "ir") return 0;
  if (prefix == "fr") return 1;
  if (prefix == "pr") return 2;
  return -1;
}

// A system register for a pointer operand in mode 1: its number, or -1.
inline int systemRegister(const std::string& name) {
  const std::string n = lower(name);
  if (n == "spi") return 0;
  if (n == "spf") return 1;
  if (n == "spp") return 2;
  if (n == "cp") return 7;
  return -1;
}

// The bank of a stack pointer name, or -1.
inline int stackBank(const std::string& name) {
  const std::string n = lower(name);
  if (n == "spi") return 0;
  if (n == "spf") return 1;
  if (n == "spp") return 2;
  return -1;
}

inline bool isReservedName(const std::string& name) {
  int number;
  return registerBank(name, number) >= 0 || systemRegister(name) >= 0;
}

// The parser of one statement. Columns are 1-based in the source line;
// `base` is the index of the statement's text within its line.
class Parser {
 public:
  Parser(const std::string& text, int base, const std::map<std::string, LabelPlace>* labels,
         const std::vector<std::uint32_t>* sectionSizes)
      : text(text), base(base), labels(labels), sectionSizes(sectionSizes) {}

  const std::string& text;
  int base;
  std::size_t pos = 0;
  const std::map<std::string, LabelPlace>* labels;  // null: labels unknown yet (sizing pass)
  const std::vector<std::uint32_t>* sectionSizes;

  int column(std::size_t at) const { return base + static_cast<int>(at) + 1; }
  Failure fail(std::size_t at, const std::string& message) const { return Failure{column(at), message}; }

  void skipBlanks() {
    while (pos < text.size() && std::isspace(static_cast<unsigned char>(text[pos]))) ++pos;
  }
  bool atEnd() {
    skipBlanks();
    return pos >= text.size();
  }
  bool take(char c) {
    skipBlanks();
    if (pos < text.size() && text[pos] == c) {
      ++pos;
      return true;
    }
    return false;
  }
  std::string identifier() {
    skipBlanks();
    const std::size_t start = pos;
    if (pos < text.size() && isIdentifierStart(text[pos])) {
      while (pos < text.size() && isIdentifierChar(text[pos])) ++pos;
    }
    return text.substr(start, pos - start);
  }
  std::string peekIdentifier() {
    const std::size_t saved = pos;
    std::string name = identifier();
    pos = saved;
    return name;
  }

  // A label's value: its tagged pointer, or with `plain` its address alone.
  bool labelValue(const std::string& name, std::size_t at, bool plain, std::int64_t& value, Failure& failure) {
    if (labels == nullptr) {
      value = 0;
      return true;
    }
    auto found = labels->find(name);
    if (found == labels->end()) {
      failure = fail(at, "unknown label '" + name + "'");
      return false;
    }
    const LabelPlace& place = found->second;
    std::uint32_t address = place.offset;
    if (place.reserved) address += (*sectionSizes)[place.section];
    value = plain ? address : (kSectionTags[place.section] | address);
    return true;
  }

  // number | 'c' | label | -term
  bool term(bool plainLabels, std::int64_t& value, Failure& failure) {
    skipBlanks();
    const std::size_t start = pos;
    if (pos >= text.size()) {
      failure = fail(start, "expression expected");
      return false;
    }
    const char c = text[pos];
    if (c == '-') {
      ++pos;
      if (!term(plainLabels, value, failure)) return false;
      value = -value;
      return true;
    }
    if (c == '\'') {
      if (pos + 2 < text.size() && text[pos + 2] == '\'') {
        value = static_cast<unsigned char>(text[pos + 1]);
        pos += 3;
        return true;
      }
      failure = fail(start, "character constant expected");
      return false;
    }
    if (std::isdigit(static_cast<unsigned char>(c))) {
      const char* begin = text.c_str() + pos;
      char* end = nullptr;
      errno = 0;
      const unsigned long long parsed = std::strtoull(begin, &end, 0);
      if (end == begin || errno == ERANGE || parsed > 0xFFFFFFFFull || isIdentifierChar(*end) || *end == '.') {
        while (pos < text.size() && (isIdentifierChar(text[pos]) || text[pos] == '.')) ++pos;
        failure = fail(start, "bad number '" + text.substr(start, pos - start) + "'");
        return false;
      }
      pos += static_cast<std::size_t>(end - begin);
      value = static_cast<std::int64_t>(parsed);
      return true;
    }
    if (isIdentifierStart(c)) {
      const std::string name = identifier();
      if (isReservedName(name)) {
        failure = fail(start, "register '" + name + "' is not allowed here");
        return false;
      }
      return labelValue(name, start, plainLabels, value, failure);
    }
    failure = fail(start, std::string("unexpected '") + c + "'");
    return false;
  }

  bool expression(bool plainLabels, std::int64_t& value, Failure& failure) {
    if (!term(plainLabels, value, failure)) return false;
    for (;;) {
      skipBlanks();
      if (pos >= text.size() || (text[pos] != '+' && text[pos] != '-')) return true;
      const char op = text[pos++];
      std::int64_t right;
      if (!term(plainLabels, right, failure)) return false;
      value = op == '+' ? value + right : value - right;
    }
  }

  // An expression that must fit 32 bits, signed or unsigned.
  bool word32(bool plainLabels, std::uint32_t& value, Failure& failure) {
    skipBlanks();
    const std::size_t start = pos;
    std::int64_t v;
    if (!expression(plainLabels, v, failure)) return false;
    if (v < -2147483648LL || v > 0xFFFFFFFFLL) {
      failure = fail(start, "value does not fit 32 bits");
      return false;
    }
    value = static_cast<std::uint32_t>(v);
    return true;
  }

  // A float literal: what strtof reads (nan and inf included), or an integer.
  bool floatLiteral(std::uint32_t& bits, Failure& failure) {
    skipBlanks();
    const std::size_t start = pos;
    const char* begin = text.c_str() + pos;
    char* end = nullptr;
    const float value = std::strtof(begin, &end);
    if (end == begin || isIdentifierChar(*end) || *end == '.') {
      failure = fail(start, "float constant expected");
      return false;
    }
    // strtof reads "nan(...)" and hex floats too; the listing writes neither,
    // but both are plain C notation and harmless.
    pos += static_cast<std::size_t>(end - begin);
    std::memcpy(&bits, &value, sizeof bits);
    return true;
  }
};

// Parses one instruction, mnemonic and operands, from text[start] on.
// `labels` null means labels are not placed yet: they then read as 0.
bool parseInstruction(const std::string& text, std::size_t start, int base,
                      const std::map<std::string, LabelPlace>* labels, const std::vector<std::uint32_t>* sizes,
                      std::uint64_t& word, Failure& failure);

// Splits `text` at top-level commas (outside brackets and quotes). Each part
// is given with its start index in `text`.
std::vector<std::pair<std::size_t, std::string>> splitArguments(const std::string& text);

// Whether a text holds nothing but blanks.
bool blank(const std::string& text);

// Skips a listing's "hhhhhhhh:" address and "hhhhhhhhhhhhhhhh" code word.
std::size_t skipListingPrefix(const std::string& line, std::size_t at);

// The end of the statement: the first ';' or '#' outside quotes.
std::size_t commentStart(const std::string& line);

}  // namespace qvasm::detail
