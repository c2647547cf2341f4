// qv_fuzz_seeds DIR: writes the seed corpus of the fuzz targets.
//
//   DIR/executables  images of the example scripts and of the fuzz seed
//                    scripts, each also with a "main" symbol at its entry
//   DIR/execute      the same programs in the input form of the execute
//                    target, where they fit it
//   DIR/states       saved states of those programs after each of their first
//                    steps, with the host objects in pr1 to pr3: inside calls,
//                    waits, host methods that answered VM_WAIT, watch
//                    handlers, with holes in the object table; a new machine;
//                    and version 1 forms of the states with watches
//
// It checks that the states cover each of those situations and fails if one
// is missing, so that a change to the scripts cannot quietly thin the corpus.
#include <sys/stat.h>

#include <algorithm>
#include <cctype>
#include <cstdint>
#include <cstdio>
#include <fstream>
#include <set>
#include <sstream>
#include <string>
#include <vector>

#include "QV_FuzzObjects.h"
#include "QV_FuzzStateLayout.h"
#include "assembler/QV_Assembler.h"
#include "qv_helper/qv_helper.h"
#include "vm/KX_VMImageFormat.h"
#include "vm/KX_VMOpcodeTable.h"
#include "vm/KX_VirtualMachine.h"

namespace {

using Bytes = std::vector<unsigned char>;

struct Script {
  const char* path;  // below the source tree
  const char* entry;
};

constexpr Script kScripts[] = {
    {"examples/scripts/fibonacci.qvs", "main"},      {"examples/scripts/sieve.qvs", "sieve"},
    {"examples/scripts/insertion_sort.qvs", "sort"}, {"tools/fuzz/scripts/host_objects.qvs", "main"},
    {"tools/fuzz/scripts/watches.qvs", "main"},      {"tools/fuzz/scripts/slots.qvs", "main"},
};

// Saves after each of this many single steps of a script.
constexpr int kSavedSteps = 80;

std::string readText(const std::string& path) {
  std::ifstream in(path, std::ios::binary);
  std::stringstream text;
  text << in.rdbuf();
  return text.str();
}

bool writeBytes(const std::string& path, const Bytes& bytes) {
  std::ofstream out(path, std::ios::binary | std::ios::trunc);
  out.write(reinterpret_cast<const char*>(bytes.data()), static_cast<std::streamsize>(bytes.size()));
  return static_cast<bool>(out);
}

std::string baseName(const std::string& path) {
  const std::size_t slash = path.find_last_of('/');
  const std::string file = slash == std::string::npos ? path : path.substr(slash + 1);
  return file.substr(0, file.find_last_of('.'));
}

bool lessNoCase(const std::string& a, const std::string& b) {
  return std::lexicographical_compare(a.begin(), a.end(), b.begin(), b.end(),
                                      [](char x, char y) { return std::tolower(x) < std::tolower(y); });
}

std::uint32_t symbolValue(const qvasm::Program& program, const std::string& name) {
  for (const auto& symbol : program.symbols) {
    if (symbol.first == name) return symbol.second;
  }
  return 0;
}

// The program with a "main" symbol at `entry`, in the sorted place.
qvasm::Program withMain(qvasm::Program program, const std::string& entry) {
  if (symbolValue(program, "main") != 0) return program;
  program.symbols.push_back({"main", symbolValue(program, entry)});
  std::sort(program.symbols.begin(), program.symbols.end(),
            [](const auto& a, const auto& b) { return lessNoCase(a.first, b.first); });
  return program;
}

// The execute target's input for a program (see fuzz_execute.cpp), or an
// empty one if the program does not fit that form.
Bytes executeInput(const qvasm::Program& program, std::uint32_t entry) {
  const std::size_t words = program.code.size();
  const std::size_t ints = program.ints.size() + program.intReserve;
  const std::size_t floats = program.floats.size() + program.floatReserve;
  const std::size_t pointers = program.pointers.size() + program.pointerReserve;
  const std::uint32_t address = entry & 0x1FFFFFFFu;
  if (words < 2 || words > 64 || ints > 16 || floats > 16 || pointers > 16 || address == 0 || address >= words) {
    return {};
  }
  Bytes input = {static_cast<unsigned char>(words - 2), static_cast<unsigned char>((ints - 1) | (floats - 1) << 4),
                 static_cast<unsigned char>((pointers - 1) | 0x7 << 4), 0xFF, static_cast<unsigned char>(address - 1)};
  const auto put = [&input](std::uint64_t value, int bytes) {
    for (int i = 0; i < bytes; ++i) input.push_back(static_cast<unsigned char>(value >> (8 * i)));
  };
  for (std::uint64_t word : program.code) put(word, 8);
  for (std::size_t i = 0; i < ints; ++i) put(i < program.ints.size() ? program.ints[i] : 0, 4);
  for (std::size_t i = 0; i < floats; ++i) put(i < program.floats.size() ? program.floats[i] : 0, 4);
  for (std::size_t i = 0; i < pointers; ++i) put(i < program.pointers.size() ? program.pointers[i] : 0, 4);
  return input;
}

// What the saved states have shown so far.
struct Coverage {
  int inCall = 0;
  int inWait = 0;
  int inHostWait = 0;
  int withWatches = 0;
  int inHandler = 0;
  int withHole = 0;
  int version1 = 0;

  void count(const KX_VirtualMachine& m) {
    using namespace KX_VMWord;
    if (m.savedCp.getCount() > 0) ++inCall;
    if (m.pending && m.instruction.group == kGroupWait) ++inWait;
    if (m.pending && m.instruction.group == kGroupCall) ++inHostWait;
    if (m.watches.getCount() > 0) ++withWatches;
    for (int i = 0; i < m.frameWatches.getCount(); ++i) {
      if (m.frameWatches.at(i) != nullptr) {
        ++inHandler;
        break;
      }
    }
    // A hole: a swept slot before a live one.
    for (int i = 1; i < m.objects.getCount(); ++i) {
      if (m.objects.at(i - 1) == nullptr && m.objects.at(i) != nullptr) {
        ++withHole;
        break;
      }
    }
  }
};

// A saved image of the machine, as bytes; the save's blocks are given back.
Bytes save(void* machine) {
  void* image = nullptr;
  int size = 0;
  VM_ObjectInterface** objects = nullptr;
  int objectCount = 0;
  VM_saveCurrentState(machine, image, size, objects, objectCount);
  const unsigned char* bytes = static_cast<const unsigned char*>(image);
  Bytes copy(bytes, bytes + size);
  VM_deleteCurrentState(machine, image, objects);
  return copy;
}

class SeedWriter {
 public:
  explicit SeedWriter(const std::string& dir) : dir(dir) {
    for (const char* sub : {"", "/executables", "/execute", "/states"}) mkdir((dir + sub).c_str(), 0755);
  }

  // Writes a saved state after making sure that it restores.
  bool writeState(const std::string& name, const Bytes& image, VM_ObjectInterface** objects, int objectCount) {
    void* machine = VM_createVirtualMachine();
    const int result =
        VM_restoreCurrentStateChecked(machine, image.data(), static_cast<int>(image.size()), objects, objectCount);
    VM_deleteVirtualMachine(machine);
    if (result == 0) return write("states", name, image);
    std::fprintf(stderr, "qv_fuzz_seeds: the saved state %s does not restore (0x%x)\n", name.c_str(), result);
    return false;
  }

  bool write(const std::string& sub, const std::string& name, const Bytes& bytes) {
    ++written;
    if (writeBytes(dir + "/" + sub + "/" + name, bytes)) return true;
    std::fprintf(stderr, "qv_fuzz_seeds: cannot write %s/%s/%s\n", dir.c_str(), sub.c_str(), name.c_str());
    return false;
  }

  // The states of a script's machine after each of its first steps, each
  // distinct image once.
  bool writeStates(const std::string& name, const Bytes& executable) {
    QV_FuzzObjects objects;
    VM_init();
    void* machine = VM_createVirtualMachine();
    VM_loadExecutable(machine, executable.data(), "main");
    objects.place(machine, 0x07);
    std::set<Bytes> seen;
    bool ok = true;
    for (int step = 0; step <= kSavedSteps && ok; ++step) {
      if (step > 0) VM_execute(machine, 1);
      const Bytes image = save(machine);
      if (!seen.insert(image).second) continue;
      coverage.count(*static_cast<const KX_VirtualMachine*>(machine));
      const std::string stem = name + "-" + std::to_string(step);
      ok = writeState(stem + ".vmst", image, objects.list, QV_FuzzObjects::kCount);
      if (ok && KX_VMImage::readWord(image.data() + qvfuzz::kStateWatchCount) != 0 && step % 8 == 0) {
        ++coverage.version1;
        ok = writeState(stem + "-v1.vmst", qvfuzz::toVersion1(image), objects.list, QV_FuzzObjects::kCount);
      }
    }
    VM_exit();
    return ok;
  }

  bool writeNewMachine() {
    VM_init();
    const Bytes image = save(VM_createVirtualMachine());
    const bool ok = writeState("new-machine.vmst", image, nullptr, 0);
    VM_exit();
    return ok;
  }

  std::string dir;
  int written = 0;
  Coverage coverage;
};

}  // namespace

int main(int argc, char** argv) {
  if (argc != 2) {
    std::fprintf(stderr, "usage: qv_fuzz_seeds DIR\n");
    return 2;
  }
  SeedWriter seeds(argv[1]);
  bool ok = seeds.writeNewMachine();
  for (const Script& script : kScripts) {
    const std::string path = std::string(QV_SOURCE_DIR) + "/" + script.path;
    qvasm::Program program;
    std::vector<qvasm::Diagnostic> errors;
    if (!qvasm::assemble(readText(path), program, errors)) {
      std::fprintf(stderr, "%s\n",
                   qvasm::formatDiagnostic(path, errors.empty() ? qvasm::Diagnostic{} : errors[0]).c_str());
      return 1;
    }
    const std::string name = baseName(path);
    const qvasm::Program runnable = withMain(program, script.entry);
    const Bytes executable = qvasm::buildImage(runnable);
    ok = ok && seeds.write("executables", name + ".qvx", qvasm::buildImage(program));
    ok = ok && seeds.write("executables", name + "-main.qvx", executable);
    const Bytes input = executeInput(program, symbolValue(program, script.entry));
    if (!input.empty()) ok = ok && seeds.write("execute", name + ".bin", input);
    ok = ok && seeds.writeStates(name, executable);
  }
  if (!ok) return 1;

  const Coverage& c = seeds.coverage;
  std::printf(
      "qv_fuzz_seeds: %d seeds in %s; states inside a call %d, a WAIT %d, a host method that waits %d, "
      "with watches %d, inside a handler %d, with a hole in the object table %d; version 1 forms %d\n",
      seeds.written, seeds.dir.c_str(), c.inCall, c.inWait, c.inHostWait, c.withWatches, c.inHandler, c.withHole,
      c.version1);
  for (int n : {c.inCall, c.inWait, c.inHostWait, c.withWatches, c.inHandler, c.withHole, c.version1}) {
    if (n == 0) {
      std::fprintf(stderr, "qv_fuzz_seeds: a kind of saved state is missing from the seeds\n");
      return 1;
    }
  }
  return 0;
}
