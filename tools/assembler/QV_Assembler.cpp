#include "assembler/QV_Assembler.h"

#include <algorithm>
#include <cctype>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <map>

#include "assembler/QV_AssemblerParser.h"
#include "foundation/KX_String.h"
#include "qv_helper/qv_helper.h"
#include "vm/KX_VMImageFormat.h"
#include "vm/KX_VMOpcodeTable.h"

using namespace KX_VMWord;

namespace qvasm {

const char* const kAssemblerSyntaxHelp =
    "Source syntax:\n"
    "  label:  MNEMONIC  operands        ; comment (also # comment)\n"
    "  Instructions use the listing notation of the machine: registers ir0-ir7,\n"
    "  fr0-fr7, pr0-pr7; immediates 5, -3, 0x1f, 1.5; absolute [expr];\n"
    "  based [pr1], [pr1 + 4], [pr1 - 4], [spi + 1]; indexed [pr1 + ir2 + 4];\n"
    "  a property id after a based or indexed operand: [pr1].0x0007.\n"
    "  The target register gives the bank; PARAM takes it from the operand\n"
    "  (decimal int, hex pointer, a '.' float, a register or spX) or from a\n"
    "  suffix: PARAM.i, PARAM.f, PARAM.p. Pointer operands may name spi, spf,\n"
    "  spp and cp as registers.\n"
    "  Expressions: numbers (decimal, 0x hex, 'c') and labels joined by + and -.\n"
    "  A label stands for its tagged pointer (code 0x60000000 | address, int\n"
    "  memory the address, float 0x20000000 | address, pointer memory\n"
    "  0x40000000 | address); in an offset it stands for its address alone.\n"
    "  A label marks the next instruction or data cell, whatever its section.\n"
    "Directives:\n"
    "  .int expr, ...          int memory cells\n"
    "  .float 1.5, ...         float memory cells\n"
    "  .pointer expr, ...      pointer memory cells (tagged pointers)\n"
    "  .string \"text\"          int cells, four bytes each, then a zero cell\n"
    "  .reserve int|float|pointer N   N zero cells behind the section\n"
    "  .word expr              a raw 64-bit code word\n"
    "  .export label, ...      export labels as symbols (their tagged pointers)\n"
    "  .symbol name, expr      export a symbol with a value of its own\n"
    "Code address 0 and cell 0 of each memory are place-holders made by the\n"
    "assembler: the first instruction has address 1.\n";

std::string formatDiagnostic(const std::string& fileName, const Diagnostic& d) {
  return fileName + ":" + std::to_string(d.line) + ":" + std::to_string(d.column) + ": error: " + d.message;
}

namespace {

using namespace detail;

class SourceAssembler {
 public:
  explicit SourceAssembler(Program& program, std::vector<Diagnostic>& errors) : program(program), errors(errors) {}

  bool run(const std::string& source) {
    std::vector<std::string> lines;
    std::size_t start = 0;
    while (start <= source.size()) {
      std::size_t end = source.find('\n', start);
      if (end == std::string::npos) end = source.size();
      std::string line = source.substr(start, end - start);
      if (!line.empty() && line.back() == '\r') line.pop_back();
      lines.push_back(line);
      start = end + 1;
    }
    // The first pass places the labels, the second builds the sections.
    for (int pass = 0; pass < 2; ++pass) {
      resetSections();
      emitting = pass == 1;
      for (std::size_t i = 0; i < lines.size(); ++i) statement(lines[i], static_cast<int>(i) + 1);
      if (!emitting) {
        for (const auto& pending : pendingLabels) {
          error(pending.second.first, pending.second.second, "label '" + pending.first + "' marks nothing", true);
        }
        pendingLabels.clear();
        sizes = {static_cast<std::uint32_t>(program.code.size()), static_cast<std::uint32_t>(program.ints.size()),
                 static_cast<std::uint32_t>(program.floats.size()),
                 static_cast<std::uint32_t>(program.pointers.size())};
      }
    }
    finishSymbols();
    std::stable_sort(errors.begin(), errors.end(),
                     [](const Diagnostic& a, const Diagnostic& b) { return a.line < b.line; });
    return errors.empty();
  }

 private:
  Program& program;
  std::vector<Diagnostic>& errors;
  bool emitting = false;
  std::map<std::string, LabelPlace> labels;
  std::vector<std::uint32_t> sizes = {0, 0, 0, 0};
  std::uint32_t reserves[4] = {};
  // Labels waiting for the next cell: name, line and column.
  std::vector<std::pair<std::string, std::pair<int, int>>> pendingLabels;
  struct Export {
    std::string name;
    std::uint32_t value;
    int line;
    int column;
  };
  std::vector<Export> exports;

  // Errors are recorded in the second pass, except those of label
  // definitions, which only the first pass meets.
  void error(int line, int column, const std::string& message, bool firstPass = false) {
    if (emitting || firstPass) errors.push_back(Diagnostic{line, column, message});
  }
  void fail(int line, const Failure& f) {
    if (emitting) errors.push_back(Diagnostic{line, f.column, f.message});
  }

  void resetSections() {
    program.code.assign(1, 0);
    program.ints.assign(1, 0);
    program.floats.assign(1, 0);
    program.pointers.assign(1, 0);
    for (std::uint32_t& r : reserves) r = 0;
    exports.clear();
  }

  std::uint32_t sectionCount(Section s) const {
    switch (s) {
      case kCode:
        return static_cast<std::uint32_t>(program.code.size());
      case kInts:
        return static_cast<std::uint32_t>(program.ints.size());
      case kFloats:
        return static_cast<std::uint32_t>(program.floats.size());
      default:
        return static_cast<std::uint32_t>(program.pointers.size());
    }
  }

  // Gives the waiting labels the next cell of a section (or of its reserve).
  void bindLabels(Section section, bool reserved) {
    if (!emitting) {
      for (const auto& pending : pendingLabels) {
        LabelPlace place{section, reserved, reserved ? reserves[section] : sectionCount(section), pending.second.first};
        labels[pending.first] = place;
      }
    }
    pendingLabels.clear();
  }

  void statement(const std::string& fullLine, int lineNumber) {
    const std::string line = fullLine.substr(0, commentStart(fullLine));
    std::size_t at = skipListingPrefix(line, 0);
    // Labels: identifiers followed by ':'.
    for (;;) {
      while (at < line.size() && std::isspace(static_cast<unsigned char>(line[at]))) ++at;
      std::size_t end = at;
      if (end < line.size() && isIdentifierStart(line[end])) {
        while (end < line.size() && isIdentifierChar(line[end])) ++end;
      }
      if (end == at || end >= line.size() || line[end] != ':') break;
      const std::string name = line.substr(at, end - at);
      if (!emitting) {
        if (isReservedName(name)) {
          error(lineNumber, static_cast<int>(at) + 1, "label '" + name + "' is a register name", true);
        } else if (labels.count(name) != 0 || std::any_of(pendingLabels.begin(), pendingLabels.end(),
                                                          [&](const auto& p) { return p.first == name; })) {
          error(lineNumber, static_cast<int>(at) + 1, "label '" + name + "' defined twice", true);
        } else {
          pendingLabels.push_back({name, {lineNumber, static_cast<int>(at) + 1}});
        }
      }
      at = end + 1;
    }
    while (at < line.size() && std::isspace(static_cast<unsigned char>(line[at]))) ++at;
    if (at >= line.size()) return;
    if (line[at] == '.') {
      directive(line, at, lineNumber);
      return;
    }
    bindLabels(kCode, false);
    std::uint64_t word = 0;
    Failure failure;
    if (!parseInstruction(line, at, 0, emitting ? &labels : nullptr, &sizes, word, failure)) fail(lineNumber, failure);
    program.code.push_back(word);
  }

  void directive(const std::string& line, std::size_t at, int lineNumber) {
    Parser p(line, 0, emitting ? &labels : nullptr, &sizes);
    p.pos = at + 1;
    const std::string name = lower(p.identifier());
    const std::size_t argsAt = p.pos;
    const std::string args = line.substr(argsAt);
    auto parts = splitArguments(args);
    if (parts.size() == 1 && blank(parts[0].second)) parts.clear();
    auto partParser = [&](std::size_t i) {
      Parser q(parts[i].second, static_cast<int>(argsAt + parts[i].first), emitting ? &labels : nullptr, &sizes);
      return q;
    };
    Failure failure;
    if (name == "int" || name == "pointer" || name == "float") {
      const Section section = name == "int" ? kInts : name == "float" ? kFloats : kPointers;
      std::vector<std::uint32_t>& cells = section == kInts     ? program.ints
                                          : section == kFloats ? program.floats
                                                               : program.pointers;
      if (parts.empty()) error(lineNumber, static_cast<int>(argsAt) + 1, "." + name + " needs at least one value");
      bindLabels(section, false);
      for (std::size_t i = 0; i < parts.size(); ++i) {
        Parser q = partParser(i);
        std::uint32_t value = 0;
        const bool ok = section == kFloats ? q.floatLiteral(value, failure) : q.word32(false, value, failure);
        if (!ok) {
          fail(lineNumber, failure);
        } else if (!q.atEnd()) {
          fail(lineNumber, q.fail(q.pos, "',' expected"));
        }
        cells.push_back(value);
      }
    } else if (name == "string") {
      bindLabels(kInts, false);
      std::string text;
      if (!stringLiteral(line, argsAt, lineNumber, text)) return;
      for (std::size_t i = 0; i < text.size(); i += 4) {
        std::uint32_t packed = 0;
        for (std::size_t b = 0; b < 4 && i + b < text.size(); ++b) {
          packed |= std::uint32_t{static_cast<unsigned char>(text[i + b])} << (8 * b);
        }
        program.ints.push_back(packed);
      }
      program.ints.push_back(0);
    } else if (name == "reserve") {
      // Labels place cells, so a reserve's size cannot depend on them.
      static const std::map<std::string, LabelPlace> noLabels;
      Parser q(line, 0, &noLabels, &sizes);
      q.pos = argsAt;
      q.skipBlanks();
      const std::size_t kindAt = q.pos;
      const std::string kind = lower(q.identifier());
      const Section section = kind == "int" ? kInts : kind == "float" ? kFloats : kind == "pointer" ? kPointers : kCode;
      if (section == kCode) {
        error(lineNumber, static_cast<int>(kindAt) + 1, ".reserve needs int, float or pointer");
        return;
      }
      q.take(',');
      q.skipBlanks();
      const std::size_t countAt = q.pos;
      std::int64_t count = 0;
      if (!q.expression(false, count, failure)) {
        fail(lineNumber, failure);
        return;
      }
      if (count < 0 || count > 0x1FFFFFFF || !q.atEnd()) {
        error(lineNumber, static_cast<int>(countAt) + 1, "reserve count must be 0 to 0x1fffffff");
        return;
      }
      bindLabels(section, true);
      reserves[section] += static_cast<std::uint32_t>(count);
    } else if (name == "word") {
      bindLabels(kCode, false);
      Parser q(line, 0, nullptr, &sizes);
      q.pos = argsAt;
      q.skipBlanks();
      const char* begin = line.c_str() + q.pos;
      char* end = nullptr;
      errno = 0;
      const unsigned long long value = std::strtoull(begin, &end, 0);
      q.pos += static_cast<std::size_t>(end - begin);
      if (end == begin || errno == ERANGE || !q.atEnd()) {
        error(lineNumber, static_cast<int>(argsAt) + 1, ".word needs one number of up to 64 bits");
      }
      program.code.push_back(value);
    } else if (name == "export") {
      if (parts.empty()) error(lineNumber, static_cast<int>(argsAt) + 1, ".export needs a label");
      for (std::size_t i = 0; i < parts.size(); ++i) {
        Parser q = partParser(i);
        q.skipBlanks();
        const std::size_t labelAt = q.pos;
        const std::string label = q.identifier();
        std::int64_t value = 0;
        if (label.empty() || !q.atEnd()) {
          fail(lineNumber, q.fail(labelAt, "label expected"));
        } else if (!q.labelValue(label, labelAt, false, value, failure)) {
          fail(lineNumber, failure);
        } else {
          exports.push_back({label, static_cast<std::uint32_t>(value), lineNumber, q.column(labelAt)});
        }
      }
    } else if (name == "symbol") {
      if (parts.size() != 2) {
        error(lineNumber, static_cast<int>(argsAt) + 1, ".symbol needs a name and a value");
        return;
      }
      Parser n = partParser(0);
      n.skipBlanks();
      const std::size_t nameAt = n.pos;
      const std::string symbol = n.identifier();
      if (symbol.empty() || !n.atEnd()) {
        fail(lineNumber, n.fail(nameAt, "symbol name expected"));
        return;
      }
      Parser v = partParser(1);
      std::uint32_t value = 0;
      if (!v.word32(false, value, failure)) {
        fail(lineNumber, failure);
      } else if (!v.atEnd()) {
        fail(lineNumber, v.fail(v.pos, "unexpected text after the value"));
      } else {
        exports.push_back({symbol, value, lineNumber, n.column(nameAt)});
      }
    } else {
      error(lineNumber, static_cast<int>(at) + 1, "unknown directive '." + name + "'");
    }
  }

  bool stringLiteral(const std::string& line, std::size_t at, int lineNumber, std::string& text) {
    while (at < line.size() && std::isspace(static_cast<unsigned char>(line[at]))) ++at;
    if (at >= line.size() || line[at] != '"') {
      error(lineNumber, static_cast<int>(at) + 1, ".string needs a quoted text");
      return false;
    }
    std::size_t i = at + 1;
    for (; i < line.size() && line[i] != '"'; ++i) {
      char c = line[i];
      if (c == '\\' && i + 1 < line.size()) {
        const char e = line[++i];
        c = e == 'n' ? '\n' : e == 't' ? '\t' : e == '0' ? '\0' : e;
      }
      text.push_back(c);
    }
    if (i >= line.size()) {
      error(lineNumber, static_cast<int>(at) + 1, "text without closing quote");
      return false;
    }
    if (!blank(line.substr(i + 1))) {
      error(lineNumber, static_cast<int>(i) + 2, "unexpected text after the string");
      return false;
    }
    return true;
  }

  // Sorts the exports in the loader's order: case-insensitive, as the
  // machine's own strings compare. Names equal in that order would make its
  // binary search ambiguous, so they are refused.
  void finishSymbols() {
    program.symbols.clear();
    program.intReserve = reserves[kInts];
    program.floatReserve = reserves[kFloats];
    program.pointerReserve = reserves[kPointers];
    auto compare = [](const std::string& a, const std::string& b) {
      KX_String key(a.c_str());
      key.caseInsensitive = true;
      return key.compareText(b.c_str());
    };
    std::stable_sort(exports.begin(), exports.end(),
                     [&](const Export& a, const Export& b) { return compare(a.name, b.name) < 0; });
    for (std::size_t i = 0; i < exports.size(); ++i) {
      if (i > 0 && compare(exports[i - 1].name, exports[i].name) == 0) {
        errors.push_back(Diagnostic{exports[i].line, exports[i].column,
                                    "symbol '" + exports[i].name + "' exported twice (letter case does not count)"});
        continue;
      }
      program.symbols.emplace_back(exports[i].name, exports[i].value);
    }
  }
};

}  // namespace

bool assemble(const std::string& source, Program& program, std::vector<Diagnostic>& errors) {
  errors.clear();
  program = Program();
  SourceAssembler assembler(program, errors);
  return assembler.run(source);
}

bool assembleInstruction(const std::string& text, std::uint64_t& word, std::string& error) {
  const std::string line = text.substr(0, commentStart(text));
  const std::size_t at = skipListingPrefix(line, 0);
  static const std::map<std::string, LabelPlace> noLabels;
  static const std::vector<std::uint32_t> noSizes = {0, 0, 0, 0};
  Failure failure;
  if (!parseInstruction(line, at, 0, &noLabels, &noSizes, word, failure)) {
    error = std::to_string(failure.column) + ": " + failure.message;
    return false;
  }
  return true;
}

std::vector<unsigned char> buildImage(const Program& program) {
  using namespace KX_VMImage;
  std::uint32_t nameBytes = 0;
  for (const auto& symbol : program.symbols) nameBytes += static_cast<std::uint32_t>(symbol.first.size()) + 1;
  const std::uint32_t counts[4] = {
      static_cast<std::uint32_t>(program.code.size()), static_cast<std::uint32_t>(program.ints.size()),
      static_cast<std::uint32_t>(program.floats.size()), static_cast<std::uint32_t>(program.pointers.size())};
  std::vector<unsigned char> image(kHeaderBytes);
  std::memcpy(image.data(), kMagic, sizeof kMagic);
  writeWord(&image[kOffsetVersion], kVersion);
  writeWord(&image[kOffsetHeaderSize], kHeaderBytes);
  writeWord(&image[kOffsetCodeCount], counts[0]);
  writeWord(&image[kOffsetIntCount], counts[1]);
  writeWord(&image[kOffsetFloatCount], counts[2]);
  writeWord(&image[kOffsetPointerCount], counts[3]);
  writeWord(&image[kOffsetIntReserve], program.intReserve);
  writeWord(&image[kOffsetFloatReserve], program.floatReserve);
  writeWord(&image[kOffsetPointerReserve], program.pointerReserve);
  writeWord(&image[kOffsetSymbolCount], static_cast<std::uint32_t>(program.symbols.size()));
  writeWord(&image[kOffsetSymbolNameBytes], nameBytes);
  auto put = [&image](std::uint32_t value) {
    const std::size_t at = image.size();
    image.resize(at + 4);
    writeWord(&image[at], value);
  };
  for (std::uint64_t word : program.code) {
    put(static_cast<std::uint32_t>(word));
    put(static_cast<std::uint32_t>(word >> 32));
  }
  for (std::uint32_t cell : program.ints) put(cell);
  for (std::uint32_t cell : program.floats) put(cell);
  for (std::uint32_t cell : program.pointers) put(cell);
  for (const auto& symbol : program.symbols) put(symbol.second);
  for (const auto& symbol : program.symbols) {
    image.insert(image.end(), symbol.first.begin(), symbol.first.end());
    image.push_back(0);
  }
  writeWord(&image[kOffsetChecksum],
            checksum(image.data() + kChecksumStart, static_cast<std::uint32_t>(image.size()) - kChecksumStart));
  return image;
}

}  // namespace qvasm