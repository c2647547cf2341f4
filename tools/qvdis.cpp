// qvdis: lists an executable image: header, symbols, data and code. The
// listing is itself assembler source: data and symbols as directives, code
// in the machine's listing notation (a word without a mnemonic as .word),
// everything else as comments.
#include <cmath>
#include <cstdio>
#include <cstring>
#include <fstream>
#include <iostream>
#include <iterator>
#include <string>
#include <vector>

#include "foundation/KX_StringList.h"
#include "vm/KX_VMDisassembler.h"
#include "vm/KX_VMImageFormat.h"
#include "vm/KX_VirtualMachine.h"

using namespace KX_VMImage;

namespace {

void printHelp() {
  std::cout << "usage: qvdis [--code] image\n"
               "Lists a script executable image: its header, its symbols, the initial\n"
               "contents of int, float and pointer memory, and its code one word a line in\n"
               "the machine's listing notation. --code shows each code word in hexadecimal\n"
               "as well. Code word 0 and cell 0 of each memory, the place-holders, are\n"
               "shown as comments. Exits with 1 when the file is not a whole image.\n";
}

void cellLine(const char* directive, const std::string& value, unsigned address, bool placeHolder) {
  if (placeHolder) {
    std::printf("; %08x: %s %s (place-holder)\n", address, directive, value.c_str());
  } else {
    std::printf("        %-8s %-16s ; %08x\n", directive, value.c_str(), address);
  }
}

std::string hex(std::uint32_t value) {
  char text[16];
  std::snprintf(text, sizeof text, "0x%08x", value);
  return text;
}

}  // namespace

int main(int argc, char** argv) {
  std::string path;
  bool withCode = false;
  for (int i = 1; i < argc; ++i) {
    const std::string arg = argv[i];
    if (arg == "--help" || arg == "-h") {
      printHelp();
      return 0;
    }
    if (arg == "--code") {
      withCode = true;
    } else if (path.empty() && (arg.empty() || arg[0] != '-')) {
      path = arg;
    } else {
      std::cerr << "qvdis: unexpected argument '" << arg << "' (see --help)\n";
      return 2;
    }
  }
  if (path.empty()) {
    std::cerr << "qvdis: no image (see --help)\n";
    return 2;
  }
  std::ifstream in(path, std::ios::binary);
  if (!in) {
    std::cerr << "qvdis: cannot read '" << path << "'\n";
    return 2;
  }
  const std::vector<unsigned char> bytes((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
  if (bytes.size() < kHeaderBytes || std::memcmp(bytes.data(), kMagic, sizeof kMagic) != 0) {
    std::cerr << "qvdis: " << path << ": not an executable image (no KXVM header)\n";
    return 1;
  }
  const Header h = readHeader(bytes.data());
  const std::uint64_t length = exactImageLength(h);
  if (h.headerSize < kChecksumStart || length > bytes.size()) {
    std::cerr << "qvdis: " << path << ": the header gives " << length << " bytes, the file has " << bytes.size()
              << "\n";
    return 1;
  }
  const std::uint32_t sum =
      checksum(bytes.data() + kChecksumStart, static_cast<std::uint32_t>(length) - kChecksumStart);
  std::printf("; image %s: %llu bytes, version %u, checksum %s (%s)\n", path.c_str(),
              static_cast<unsigned long long>(length), h.version, hex(h.checksum).c_str(),
              sum == h.checksum ? "ok" : ("computed " + hex(sum)).c_str());
  std::printf("; header %u bytes; code %u words; int %u + %u reserved; float %u + %u; pointer %u + %u\n", h.headerSize,
              h.codeCount, h.intCount, h.intReserve, h.floatCount, h.floatReserve, h.pointerCount, h.pointerReserve);
  std::printf("; symbols %u (%u name bytes)\n", h.symbolCount, h.symbolNameBytes);

  const unsigned char* cursor = bytes.data() + h.headerSize;
  const unsigned char* codeStart = cursor;
  cursor += 8ull * h.codeCount;
  const unsigned char* intStart = cursor;
  cursor += 4ull * h.intCount;
  const unsigned char* floatStart = cursor;
  cursor += 4ull * h.floatCount;
  const unsigned char* pointerStart = cursor;
  cursor += 4ull * h.pointerCount;
  const unsigned char* addressStart = cursor;
  cursor += 4ull * h.symbolCount;
  const unsigned char* end = bytes.data() + length;

  std::printf("\n; symbols\n");
  std::uint32_t consumed = 0;
  for (std::uint32_t i = 0; consumed < h.symbolNameBytes; ++i) {
    const char* name = reinterpret_cast<const char*>(cursor + consumed);
    const std::size_t nameLength = strnlen(name, static_cast<std::size_t>(end - (cursor + consumed)));
    const std::string text(name, nameLength);
    if (i < h.symbolCount) {
      std::printf("        .symbol  %s, %s\n", text.c_str(), hex(readWord(addressStart + 4 * i)).c_str());
    } else {
      std::printf("; name without address: %s\n", text.c_str());
    }
    consumed += static_cast<std::uint32_t>(nameLength) + 1;
  }

  std::printf("\n; int memory\n");
  for (std::uint32_t i = 0; i < h.intCount; ++i) {
    cellLine(".int", std::to_string(static_cast<std::int32_t>(readWord(intStart + 4 * i))), i, i == 0);
  }
  if (h.intReserve != 0) std::printf("        .reserve int %u\n", h.intReserve);
  std::printf("\n; float memory\n");
  for (std::uint32_t i = 0; i < h.floatCount; ++i) {
    const std::uint32_t bits = readWord(floatStart + 4 * i);
    float value;
    std::memcpy(&value, &bits, sizeof value);
    // Nine significant digits give every float back exactly.
    char text[48];
    std::snprintf(text, sizeof text, "%.9g", static_cast<double>(value));
    std::string shown = text;
    if (std::isfinite(value) && shown.find_first_of(".en") == std::string::npos) shown += ".0";
    cellLine(".float", shown, i | 0x20000000u, i == 0);
  }
  if (h.floatReserve != 0) std::printf("        .reserve float %u\n", h.floatReserve);
  std::printf("\n; pointer memory\n");
  for (std::uint32_t i = 0; i < h.pointerCount; ++i) {
    cellLine(".pointer", hex(readWord(pointerStart + 4 * i)), i | 0x40000000u, i == 0);
  }
  if (h.pointerReserve != 0) std::printf("        .reserve pointer %u\n", h.pointerReserve);

  std::printf("\n; code\n");
  KX_VirtualMachine machine;
  machine.code.clear();
  for (std::uint32_t i = 0; i < h.codeCount; ++i) {
    const std::uint64_t word =
        std::uint64_t{readWord(codeStart + 8 * i)} | std::uint64_t{readWord(codeStart + 8 * i + 4)} << 32;
    machine.code.append(static_cast<long long>(word));
  }
  KX_StringList lines;
  KX_VMDisassembler::formatLine(machine, lines, 0, machine.code.getCount(), withCode);
  for (int i = 0; i < lines.getCount(); ++i) {
    const char* text = lines.getString(i)->getText();
    if (i == 0) {
      std::printf("; %s (place-holder)\n", text);
    } else if (std::strstr(text, "  ???") != nullptr) {
      // No mnemonic to assemble from: the raw word, with the listing behind it.
      std::printf("        .word    0x%016llx ; %s\n", static_cast<unsigned long long>(machine.code.at(i)), text);
    } else {
      std::printf("%s\n", text);
    }
  }
  return sum == h.checksum ? 0 : 1;
}
