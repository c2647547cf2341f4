// The assembler: example scripts run to their results, listings assemble
// back to the same lines, and mistakes are reported where they stand.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <fstream>
#include <random>
#include <sstream>
#include <string>
#include <vector>

#include "assembler/QV_Assembler.h"
#include "qv_helper/qv_helper.h"
#include "support/LiveBlockGuard.h"
#include "support/MachineTest.h"
#include "vm/KX_VMDisassembler.h"
#include "vm/KX_VMOpcodeTable.h"
#include "vm/KX_VirtualMachine.h"

namespace {

std::string sourceDir() {
  return QV_SOURCE_DIR;
}

std::string readFile(const std::string& path) {
  std::ifstream in(path, std::ios::binary);
  std::stringstream text;
  text << in.rdbuf();
  return text.str();
}

class Assembler : public MachineTest {
 protected:
  // Assembles a source text, loads it at `entry` and runs it to its halt.
  void run(const std::string& source, const char* entry) {
    qvasm::Program program;
    std::vector<qvasm::Diagnostic> errors;
    ASSERT_TRUE(qvasm::assemble(source, program, errors))
        << (errors.empty() ? "" : qvasm::formatDiagnostic("source", errors[0]));
    const std::vector<unsigned char> image = qvasm::buildImage(program);
    ASSERT_EQ(machine->loadImage(image.data(), entry, static_cast<long long>(image.size())), 0);
    ASSERT_TRUE(VM_isRunning(handle));
    for (int slice = 0; slice < 1000 && VM_isRunning(handle); ++slice) ASSERT_TRUE(VM_execute(handle, 100));
    ASSERT_FALSE(VM_isRunning(handle));
  }
  std::string listing(std::uint64_t word) {
    char buffer[96];
    machine->code.set(1, static_cast<long long>(word));
    VM_disassemble(handle, buffer, sizeof buffer, 1, false);
    return buffer;
  }
  std::vector<std::string> errorsOf(const std::string& source) {
    qvasm::Program program;
    std::vector<qvasm::Diagnostic> errors;
    EXPECT_FALSE(qvasm::assemble(source, program, errors));
    std::vector<std::string> texts;
    for (const auto& e : errors) texts.push_back(qvasm::formatDiagnostic("t.qvs", e));
    return texts;
  }
};

TEST_F(Assembler, ExampleScriptsRunToTheirResults) {
  const std::string dir = sourceDir() + "/examples/scripts/";
  run(readFile(dir + "fibonacci.qvs"), "MAIN");
  constexpr int fib = 2;  // behind the place-holder and the count
  EXPECT_EQ(machine->exitCode, 20);
  long long a = 0, b = 1;
  for (int i = 0; i < 20; ++i, b += a, a = b - a) EXPECT_EQ(VM_getIntMemory(handle, fib + i), a) << i;

  run(readFile(dir + "sieve.qvs"), "Sieve");
  std::vector<int> primes;
  for (int n = 2; n <= 100; ++n) {
    bool prime = true;
    for (int d = 2; d * d <= n; ++d) prime = prime && n % d != 0;
    if (prime) primes.push_back(n);
  }
  ASSERT_EQ(machine->exitCode, static_cast<int>(primes.size()));
  EXPECT_EQ(VM_getIntMemory(handle, 2), 25);  // found
  const int firstPrime = 3 + 101;             // limit, found, then the flags
  for (std::size_t i = 0; i < primes.size(); ++i) EXPECT_EQ(VM_getIntMemory(handle, firstPrime + i), primes[i]);

  run(readFile(dir + "insertion_sort.qvs"), "sort");
  std::vector<float> expected = {3.5f, -1.25f, 7.0f, 0.5f, 2.0f, -8.0f, 4.25f, 0.0f};
  std::sort(expected.begin(), expected.end());
  for (int i = 0; i < 8; ++i) EXPECT_EQ(VM_getFloatMemory(handle, 1 + i), expected[i]) << i;
  EXPECT_EQ(machine->floatStack.getCount(), 1);  // every call returned its frame
}

TEST_F(Assembler, ListingLinesOfRandomWordsAssembleToTheSameLines) {
  std::mt19937_64 random(2024);
  int checked = 0;
  KX_VMInstruction in;
  while (checked < 20000) {
    std::uint64_t word = random();
    // Favour the low groups and modes so that every form comes up often.
    word = (word & ~0x1Full) | random() % 23;
    word = (word & ~(7ull << 13)) | (random() % 5) << 13;
    if (in.decode(word) != 0 || KX_VMWord::mnemonicOf(in.group, in.subType) == nullptr) continue;
    const std::string line = listing(word);
    std::uint64_t again = 0;
    std::string error;
    ASSERT_TRUE(qvasm::assembleInstruction(line, again, error)) << line << ": " << error;
    ASSERT_EQ(listing(again), line) << std::hex << word << " " << again;
    ++checked;
  }
}

TEST_F(Assembler, LabelsDataReservesAndSymbolsLandWhereTheySay) {
  run(R"(
        .export Start, zeta, alpha
        .symbol custom, 0x1234
alpha:  .int 5, -1, 'A'
text:   .string "hey!x"
buffer: .reserve int 3
ratio:  .float 0.25
cells:  .pointer text, ratio + 1, Start
        .reserve pointer 2
zeta:
Start:  LOAD      pr1,buffer
        LOAD      ir1,[alpha + 1]
        STORE     [pr1 - 0],ir1       # buffer[0] = -1
        LOAD      fr1,[ratio]
        HALT      buffer
)",
      "start");
  EXPECT_EQ(VM_getIntMemory(handle, 1), 5);
  EXPECT_EQ(VM_getIntMemory(handle, 3), 'A');
  char text[8];
  VM_getIntMemoryString(handle, 4, text, sizeof text);
  EXPECT_STREQ(text, "hey!x");
  // Ints: place-holder, 3 values, 3 string cells; the reserve follows.
  EXPECT_EQ(VM_getIntMemorySize(handle), 7 + 3);
  EXPECT_EQ(machine->exitCode, 7);
  EXPECT_EQ(VM_getIntMemory(handle, 7), -1);
  EXPECT_EQ(VM_getFloatRegister(handle, 1), 0.25f);
  EXPECT_EQ(static_cast<unsigned>(machine->pointerMemory.at(1)), VM_POINTER_INT | 4u);
  EXPECT_EQ(static_cast<unsigned>(machine->pointerMemory.at(2)), VM_POINTER_FLOAT | 2u);
  EXPECT_EQ(VM_getPointerMemorySize(handle), 4 + 2);
  EXPECT_EQ(VM_getSymbolAddress(handle, "ZETA"), VM_getSymbolAddress(handle, "start"));
  EXPECT_EQ(VM_getSymbolAddress(handle, "Custom"), 0x1234);
  EXPECT_EQ(VM_getSymbolAddress(handle, "alpha"), 1);
  // Sorted without regard to case, as the loader searches.
  EXPECT_EQ(machine->symbolNames.getCount(), 4);
  EXPECT_STREQ(machine->symbolNames.getString(2)->getText(), "Start");
}

TEST_F(Assembler, MistakesAreReportedWithLineColumnAndReason) {
  struct Case {
    const char* source;
    const char* message;
  } cases[] = {
      {"  LOAD ir1,fr2", "t.qvs:1:12: error: 'fr2' is not an int register"},
      {"\n  JUMP nowhere", "t.qvs:2:8: error: unknown label 'nowhere'"},
      {"  LAOD ir1,2", "t.qvs:1:3: error: unknown mnemonic 'LAOD'"},
      {"  ADD ir1", "t.qvs:1:7: error: ADD takes 2 operands, not 1"},
      {"  RETURN ir1", "t.qvs:1:10: error: RETURN takes 0 operands, not 1"},
      {"  LOAD ir9,2", "t.qvs:1:8: error: register expected (ir0-ir7, fr0-fr7, pr0-pr7)"},
      {"  LOAD ir1,[pr1 + 0x800000]", "t.qvs:1:13: error: offset does not fit 24 bits"},
      {"  LOAD ir1,[ir2]", "t.qvs:1:13: error: base register must be a pointer register, not 'ir2'"},
      {"  LOAD fr1,[spi + 2]", "t.qvs:1:13: error: stack pointer 'spi' does not match the float operand"},
      {"  LOAD ir1,[5].0x0001", "t.qvs:1:15: error: a property id needs a based or indexed operand"},
      {"  LOAD ir1,[pr1 + ir2", "t.qvs:1:22: error: ']' expected"},
      {"  LOAD fr1,abc", "t.qvs:1:12: error: float constant expected"},
      {"  LOAD ir1,12abc", "t.qvs:1:12: error: bad number '12abc'"},
      {"  LOAD ir1,0x100000000", "t.qvs:1:12: error: bad number '0x100000000'"},
      {"  LOCALS 1,2", "t.qvs:1:10: error: LOCALS takes 3 operands, not 2"},
      {"  .int", "t.qvs:1:7: error: .int needs at least one value"},
      {"  .reserve bytes 3", "t.qvs:1:12: error: .reserve needs int, float or pointer"},
      {"  .frobnicate", "t.qvs:1:3: error: unknown directive '.frobnicate'"},
      {"a: HALT 0\na: HALT 1", "t.qvs:2:1: error: label 'a' defined twice"},
      {"pr1: HALT 0", "t.qvs:1:1: error: label 'pr1' is a register name"},
      {"  HALT 0\nend:", "t.qvs:2:1: error: label 'end' marks nothing"},
      {"a: HALT 0\nA: HALT 0\n .export a, A",
       "t.qvs:3:13: error: symbol 'A' exported twice (letter case does not count)"},
      {"  .string \"open", "t.qvs:1:11: error: text without closing quote"},
  };
  for (const Case& c : cases) {
    const std::vector<std::string> errors = errorsOf(c.source);
    ASSERT_FALSE(errors.empty()) << c.source;
    EXPECT_EQ(errors[0], c.message) << c.source;
  }
  // Every faulty line is reported, in line order, not just the first.
  EXPECT_EQ(errorsOf("  FOO\n  HALT 0\n  LOAD ir1,fr1\n").size(), 2u);
}

// The installed tools, as a user runs them.
TEST_F(Assembler, ToolsRefuseBadSourceAndListImagesThatAssembleBack) {
  const std::string tools = std::string(QV_TOOLS_DIR) + "/";
  const std::string work = QV_TOOLS_WORK_DIR;
  ASSERT_EQ(std::system(("mkdir -p " + work).c_str()), 0);
  {
    std::ofstream bad(work + "/bad.qvs");
    bad << "main:  LOAD ir1,2\n       JUMP nowhere\n";
  }
  std::remove((work + "/bad.qvx").c_str());
  const int status = std::system((tools + "qvasm " + work + "/bad.qvs 2>" + work + "/bad.err").c_str());
  EXPECT_EQ(WEXITSTATUS(status), 1);
  EXPECT_EQ(readFile(work + "/bad.err"), work + "/bad.qvs:2:13: error: unknown label 'nowhere'\n");
  EXPECT_FALSE(std::ifstream(work + "/bad.qvx").good());

  const std::string example = sourceDir() + "/examples/scripts/insertion_sort.qvs";
  ASSERT_EQ(std::system((tools + "qvasm -o " + work + "/sort.qvx " + example).c_str()), 0);
  ASSERT_EQ(std::system((tools + "qvdis --code " + work + "/sort.qvx >" + work + "/sort.list.qvs").c_str()), 0);
  ASSERT_EQ(std::system((tools + "qvasm -o " + work + "/again.qvx " + work + "/sort.list.qvs").c_str()), 0);
  EXPECT_EQ(readFile(work + "/again.qvx"), readFile(work + "/sort.qvx"));
  EXPECT_EQ(WEXITSTATUS(std::system((tools + "qvdis " + example + " 2>/dev/null").c_str())), 1);
}

}  // namespace
