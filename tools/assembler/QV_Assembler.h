// The assembler of script source text into executable images, shared by the
// qvasm tool and the tests.
//
// Instructions are written in the notation of the machine's listing, one per
// line, so that a listing assembles again:
//
//   loop:   LOAD      ir1,[pr2 + ir3 + 0x00000004]   ; comment
//           STORE     [spi],ir1
//           JUMPL     loop
//
// The mnemonics are those of the machine's opcode table (any letter case).
// A line may start with a listing's address ("60000005:") and code word,
// which are skipped; for that reason a label cannot be eight hex digits.
// The rest of the language (labels, expressions, directives) is described in
// the --help text of qvasm, kept in kAssemblerSyntaxHelp below.
#pragma once

#include <cstdint>
#include <string>
#include <utility>
#include <vector>

namespace qvasm {

extern const char* const kAssemblerSyntaxHelp;

// One error, at a 1-based line and column of the source.
struct Diagnostic {
  int line = 0;
  int column = 0;
  std::string message;
};

// "file:line:column: error: message"
std::string formatDiagnostic(const std::string& fileName, const Diagnostic& diagnostic);

// An assembled program, section by section. Word 0 of the code and cell 0 of
// each memory are the place-holders that address 0 (never legal) refers to.
struct Program {
  std::vector<std::uint64_t> code;
  std::vector<std::uint32_t> ints;
  std::vector<std::uint32_t> floats;  // IEEE single bits
  std::vector<std::uint32_t> pointers;
  std::uint32_t intReserve = 0;
  std::uint32_t floatReserve = 0;
  std::uint32_t pointerReserve = 0;
  // Exported symbols, sorted by name without regard to case, as the loader's
  // binary search expects.
  std::vector<std::pair<std::string, std::uint32_t>> symbols;
};

// Assembles a whole source text. Returns true and fills `program` when there
// is no error; otherwise `errors` holds every error found, in line order.
bool assemble(const std::string& source, Program& program, std::vector<Diagnostic>& errors);

// Assembles one instruction without labels (a line of a listing, with or
// without its address). Returns true and sets `word`, or sets `error`.
bool assembleInstruction(const std::string& text, std::uint64_t& word, std::string& error);

// The executable image of a program: header, sections and checksum.
std::vector<unsigned char> buildImage(const Program& program);

}  // namespace qvasm
