// Instructions in the listing notation: mnemonic, bank and operand forms,
// encoded into instruction words.
#include <algorithm>

#include "assembler/QV_AssemblerParser.h"
#include "vm/KX_VMOpcodeTable.h"
#include "vm/KX_VMWordEncoder.h"

using namespace KX_VMWord;

namespace qvasm::detail {

namespace {

const char* const kBankNames[3] = {"int", "float", "pointer"};
const char* const kBankArticles[3] = {"an ", "a ", "a "};

using Operand = KX_VMOperandFields;

// The bank an operand's notation implies, for PARAM: -1 when it shows none.
int impliedBank(const std::string& text) {
  std::string t = text;
  t.erase(0, t.find_first_not_of(" \t"));
  int number;
  const std::string head = t.substr(0, 3);
  if (registerBank(head, number) >= 0 && (t.size() == 3 || !isIdentifierChar(t[3]))) return registerBank(head, number);
  if (t.rfind("[", 0) == 0) {
    std::string inner = t.substr(1);
    inner.erase(0, inner.find_first_not_of(" \t"));
    const std::string sp = inner.substr(0, 3);
    if (stackBank(sp) >= 0 && (inner.size() == 3 || !isIdentifierChar(inner[3]))) return stackBank(sp);
    return -1;
  }
  if (systemRegister(t.substr(0, t.find_first_of(" \t"))) >= 0) return 2;
  const std::string l = lower(t);
  if (l.find('.') != std::string::npos || l.find("nan") != std::string::npos || l.find("inf") != std::string::npos) {
    return 1;
  }
  if (l.rfind("0x", 0) == 0) return 2;
  return 0;
}

// Parses the operand text of `p` (up to its end) in `bank`. `stackBanks`
// is a bit set of the banks whose stack pointer may stand as a base.
bool parseOperand(Parser& p, int bank, unsigned stackBanks, Operand& op, Failure& failure) {
  p.skipBlanks();
  const std::size_t start = p.pos;
  if (p.atEnd()) {
    failure = p.fail(start, "operand expected");
    return false;
  }
  if (p.take('[')) {
    const std::size_t baseAt = p.pos;
    const std::string name = p.peekIdentifier();
    int number = 0;
    const int regBank = registerBank(name, number);
    const int spBank = stackBank(name);
    if (regBank >= 0 || spBank >= 0) {
      p.identifier();
      if (regBank >= 0 && regBank != 2) {
        failure = p.fail(baseAt, "base register must be a pointer register, not '" + name + "'");
        return false;
      }
      if (spBank >= 0 && (stackBanks & (1u << spBank)) == 0) {
        failure = p.fail(baseAt, "stack pointer '" + name + "' does not match the " + kBankNames[bank] + " operand");
        return false;
      }
      op.mode = kBased;
      op.base = regBank >= 0 ? number : 0;
      op.system = spBank >= 0;
      bool haveIndex = false;
      std::int64_t offset = 0;
      bool haveOffset = false;
      for (;;) {
        p.skipBlanks();
        if (p.take(']')) break;
        const std::size_t signAt = p.pos;
        if (p.pos >= p.text.size() || (p.text[p.pos] != '+' && p.text[p.pos] != '-')) {
          failure = p.fail(signAt, p.pos >= p.text.size() ? "']' expected" : "'+', '-' or ']' expected");
          return false;
        }
        const bool minus = p.text[p.pos++] == '-';
        p.skipBlanks();
        const std::size_t termAt = p.pos;
        const std::string next = p.peekIdentifier();
        int indexNumber = 0;
        const int indexBank = registerBank(next, indexNumber);
        if (indexBank >= 0) {
          p.identifier();
          if (indexBank != 0 || minus || haveIndex || haveOffset) {
            failure = p.fail(termAt, "index must be one int register added before the offset");
            return false;
          }
          op.mode = kIndexed;
          op.index = indexNumber;
          haveIndex = true;
          continue;
        }
        std::int64_t v;
        if (!p.term(true, v, failure)) return false;
        offset += minus ? -v : v;
        haveOffset = true;
      }
      // The listing writes an offset as its 32-bit pattern; both it and a
      // signed value are taken, when they fit the 24-bit field.
      if (offset >= 0x80000000LL && offset <= 0xFFFFFFFFLL) offset -= 0x100000000LL;
      if (offset < -(1 << 23) || offset >= (1 << 23)) {
        failure = p.fail(baseAt, "offset does not fit 24 bits");
        return false;
      }
      op.offset = static_cast<std::int32_t>(offset);
    } else {
      op.mode = kAbsolute;
      if (!p.word32(false, op.constant, failure)) return false;
      if (!p.take(']')) {
        failure = p.fail(p.pos, "']' expected");
        return false;
      }
    }
    p.skipBlanks();
    if (p.pos < p.text.size() && p.text[p.pos] == '.') {
      const std::size_t propertyAt = p.pos++;
      if (op.mode != kBased && op.mode != kIndexed) {
        failure = p.fail(propertyAt, "a property id needs a based or indexed operand");
        return false;
      }
      std::int64_t id;
      if (!p.term(true, id, failure)) return false;
      if (id < 0 || id > 0xFFFF) {
        failure = p.fail(propertyAt, "property id does not fit 16 bits");
        return false;
      }
      op.hasProperty = true;
      op.propertyId = static_cast<std::uint32_t>(id);
    }
  } else {
    const std::string name = p.peekIdentifier();
    int number = 0;
    const int regBank = registerBank(name, number);
    const int sys = systemRegister(name);
    if (regBank >= 0) {
      p.identifier();
      if (regBank != bank) {
        failure = p.fail(start, "'" + name + "' is not " + kBankArticles[bank] + kBankNames[bank] + " register");
        return false;
      }
      op.mode = kRegister;
      op.source = number;
    } else if (sys >= 0) {
      p.identifier();
      if (bank != 2) {
        failure = p.fail(start, "'" + name + "' can only be read as a pointer");
        return false;
      }
      op.mode = kRegister;
      op.source = sys;
      op.system = true;
    } else if (bank == 1) {
      op.mode = kImmediate;
      if (!p.floatLiteral(op.constant, failure)) return false;
    } else {
      op.mode = kImmediate;
      if (!p.word32(false, op.constant, failure)) return false;
    }
  }
  if (!p.atEnd()) {
    failure = p.fail(p.pos, "unexpected text after the operand");
    return false;
  }
  return true;
}

}  // namespace

std::vector<std::pair<std::size_t, std::string>> splitArguments(const std::string& text) {
  std::vector<std::pair<std::size_t, std::string>> parts;
  int depth = 0;
  bool quoted = false;
  std::size_t start = 0;
  for (std::size_t i = 0; i <= text.size(); ++i) {
    const char c = i < text.size() ? text[i] : ',';
    if (quoted) {
      if (c == '\\') {
        ++i;
      } else if (c == '"') {
        quoted = false;
      }
      if (i < text.size()) continue;
    }
    if (c == '"') quoted = true;
    if (c == '[') ++depth;
    if (c == ']') --depth;
    if (c == ',' && (depth <= 0 || i == text.size())) {
      parts.emplace_back(start, text.substr(start, i - start));
      start = i + 1;
    }
  }
  return parts;
}

bool blank(const std::string& text) {
  return text.find_first_not_of(" \t\r") == std::string::npos;
}

// Looks a mnemonic up in the opcode table (any letter case).
static bool findMnemonic(const std::string& name, int& group, int& subType) {
  std::string upper = name;
  for (char& c : upper) c = static_cast<char>(std::toupper(static_cast<unsigned char>(c)));
  for (group = 0; group <= kLastGroup; ++group) {
    for (subType = 0; subType < 8; ++subType) {
      const char* m = kOpcodeTable[group].mnemonics[subType];
      if (m != nullptr && upper == m) return true;
    }
  }
  return false;
}

bool parseInstruction(const std::string& text, std::size_t start, int base,
                      const std::map<std::string, LabelPlace>* labels, const std::vector<std::uint32_t>* sizes,
                      std::uint64_t& word, Failure& failure) {
  Parser head(text, base, labels, sizes);
  head.pos = start;
  head.skipBlanks();
  const std::size_t mnemonicAt = head.pos;
  const std::string mnemonic = head.identifier();
  int group = 0;
  int subType = 0;
  if (mnemonic.empty() || !findMnemonic(mnemonic, group, subType)) {
    std::size_t end = mnemonicAt;
    while (end < text.size() && !std::isspace(static_cast<unsigned char>(text[end]))) ++end;
    failure = head.fail(mnemonicAt, "unknown mnemonic '" + text.substr(mnemonicAt, end - mnemonicAt) + "'");
    return false;
  }
  int suffixBank = -1;
  if (head.pos < text.size() && text[head.pos] == '.') {
    const std::size_t suffixAt = head.pos++;
    const std::string suffix = lower(head.identifier());
    suffixBank = suffix == "i" ? 0 : suffix == "f" ? 1 : suffix == "p" ? 2 : -1;
    if (suffixBank < 0) {
      failure = head.fail(suffixAt, "bank suffix must be .i, .f or .p");
      return false;
    }
  }
  if (head.pos < text.size() && !std::isspace(static_cast<unsigned char>(text[head.pos]))) {
    failure = head.fail(head.pos, "blank expected after the mnemonic");
    return false;
  }
  const std::string rest = text.substr(head.pos);
  const int restBase = base + static_cast<int>(head.pos);
  auto parts = splitArguments(rest);
  if (parts.size() == 1 && blank(parts[0].second)) parts.clear();

  OperandShape shape = kOpcodeTable[group].shape;
  if (shape == kShapeWatch) shape = subType == 0 ? kShapeOperand : subType == 7 ? kShapeNone : kShapeRegisterOperand;
  const std::size_t wanted = shape == kShapeNone ? 0 : shape == kShapeOperand ? 1 : shape == kShapeLocals ? 3 : 2;
  if (parts.size() != wanted) {
    const std::size_t firstAt = rest.find_first_not_of(" \t");
    const int at = restBase + 1 + static_cast<int>(firstAt == std::string::npos ? 0 : firstAt);
    failure = Failure{at, mnemonic + " takes " + std::to_string(wanted) + " operand" + (wanted == 1 ? "" : "s") +
                              ", not " + std::to_string(parts.size())};
    return false;
  }
  if (suffixBank >= 0 && shape != kShapeOperand) {
    failure = head.fail(mnemonicAt, "a bank suffix is only taken where no register shows the bank");
    return false;
  }

  Operand op;
  int bank = suffixBank >= 0 ? suffixBank : 0;
  int target = 0;
  switch (shape) {
    case kShapeNone:
      break;
    case kShapeLocals: {
      std::uint32_t counts[3];
      for (int i = 0; i < 3; ++i) {
        Parser p(parts[i].second, restBase + static_cast<int>(parts[i].first), labels, sizes);
        p.skipBlanks();
        const std::size_t at = p.pos;
        std::int64_t v;
        if (!p.expression(false, v, failure)) return false;
        if (v < 0 || v > 0xFFFF || !p.atEnd()) {
          failure = p.fail(at, v < 0 || v > 0xFFFF ? "count must be 0 to 65535" : "unexpected text after the count");
          return false;
        }
        counts[i] = static_cast<std::uint32_t>(v);
      }
      word = place(kGroupLocals, kGroupShift, kGroupBits) | place(counts[0], kLocalIntsShift, kLocalBits) |
             place(counts[1], kLocalFloatsShift, kLocalBits) | place(counts[2], kLocalPointersShift, kLocalBits);
      return true;
    }
    case kShapeOperand: {
      if (suffixBank < 0 && kOperandBanks[group] == kBankOwn) {
        const int implied = impliedBank(parts[0].second);
        if (implied >= 0) bank = implied;
      }
      const int operandBank = operandBankOf(group, subType, bank);
      Parser p(parts[0].second, restBase + static_cast<int>(parts[0].first), labels, sizes);
      if (!parseOperand(p, operandBank, 1u << operandBank, op, failure)) return false;
      break;
    }
    default: {  // register and operand, in either order
      const bool operandFirst = shape == kShapeOperandRegister;
      const auto& regPart = parts[operandFirst ? 1 : 0];
      const auto& opPart = parts[operandFirst ? 0 : 1];
      Parser r(regPart.second, restBase + static_cast<int>(regPart.first), labels, sizes);
      r.skipBlanks();
      const std::size_t regAt = r.pos;
      const std::string name = r.identifier();
      bank = registerBank(name, target);
      if (bank < 0 || !r.atEnd()) {
        failure = r.fail(regAt, "register expected (ir0-ir7, fr0-fr7, pr0-pr7)");
        return false;
      }
      const int operandBank = operandBankOf(group, subType, bank);
      // LOADPTR takes the stack of its target's bank; the listing names it spp.
      const unsigned stacks = (1u << operandBank) | (group == kGroupLoadPtr ? 1u << bank : 0u);
      Parser p(opPart.second, restBase + static_cast<int>(opPart.first), labels, sizes);
      if (!parseOperand(p, operandBank, stacks, op, failure)) return false;
      break;
    }
  }
  word = KX_encodeVMWord(group, subType, bank, target, op);
  return true;
}

static bool isHexRun(const std::string& text, std::size_t at, std::size_t length) {
  if (at + length > text.size()) return false;
  for (std::size_t i = at; i < at + length; ++i) {
    if (!std::isxdigit(static_cast<unsigned char>(text[i]))) return false;
  }
  return true;
}

std::size_t skipListingPrefix(const std::string& line, std::size_t at) {
  while (at < line.size() && std::isspace(static_cast<unsigned char>(line[at]))) ++at;
  if (!isHexRun(line, at, 8) || at + 8 >= line.size() || line[at + 8] != ':') return at;
  at += 9;
  while (at < line.size() && std::isspace(static_cast<unsigned char>(line[at]))) ++at;
  if (isHexRun(line, at, 16) && (at + 16 == line.size() || std::isspace(static_cast<unsigned char>(line[at + 16])))) {
    at += 16;
  }
  return at;
}

std::size_t commentStart(const std::string& line) {
  bool quoted = false;
  for (std::size_t i = 0; i < line.size(); ++i) {
    const char c = line[i];
    if (quoted) {
      if (c == '\\') {
        ++i;
      } else if (c == '"') {
        quoted = false;
      }
    } else if (c == '"') {
      quoted = true;
    } else if (c == '\'' && i + 2 < line.size() && line[i + 2] == '\'') {
      i += 2;
    } else if (c == ';' || c == '#') {
      return i;
    }
  }
  return line.size();
}

}  // namespace qvasm::detail
