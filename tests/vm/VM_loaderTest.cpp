// Executable images: validation order, sections, reserves, symbols, and a
// machine left exactly as it was by every failing load.
#include <gtest/gtest.h>

#include <cstdint>
#include <cstring>
#include <random>
#include <string>
#include <vector>

#include "qv_helper/qv_helper.h"
#include "support/LiveBlockGuard.h"
#include "support/MachineTest.h"
#include "vm/KX_VirtualMachine.h"
#include "vm/VM_reportError.h"

namespace {

// The image's checksum written out the long way: the byte as a signed
// 32-bit number, times 2^(i mod 24), truncated to 32 bits.
std::uint32_t referenceChecksum(const std::vector<unsigned char>& image) {
  std::uint32_t sum = 0;
  for (std::size_t i = 12; i < image.size(); ++i) {
    const std::int64_t value = image[i] >= 0x80 ? static_cast<std::int64_t>(image[i]) - 256 : image[i];
    sum ^= static_cast<std::uint32_t>(static_cast<std::uint64_t>(value * (std::int64_t{1} << ((i - 12) % 24))));
  }
  return sum;
}

struct ImageParts {
  std::vector<std::uint64_t> code;
  std::vector<std::uint32_t> ints, floats, pointers;
  std::uint32_t reserves[3] = {0, 0, 0};
  std::vector<std::uint32_t> addresses;
  std::vector<std::string> names;
};

void put(std::vector<unsigned char>& image, std::uint32_t value) {
  for (int b = 0; b < 4; ++b) image.push_back(static_cast<unsigned char>(value >> (8 * b)));
}

std::vector<unsigned char> build(const ImageParts& s) {
  std::vector<unsigned char> image = {'K', 'X', 'V', 'M'};
  std::uint32_t nameBytes = 0;
  for (const std::string& n : s.names) nameBytes += static_cast<std::uint32_t>(n.size()) + 1;
  for (std::uint32_t v :
       {1u, 0u, 52u, static_cast<std::uint32_t>(s.code.size()), static_cast<std::uint32_t>(s.ints.size()),
        static_cast<std::uint32_t>(s.floats.size()), static_cast<std::uint32_t>(s.pointers.size()), s.reserves[0],
        s.reserves[1], s.reserves[2], static_cast<std::uint32_t>(s.addresses.size()), nameBytes}) {
    put(image, v);
  }
  for (std::uint64_t w : s.code) {
    put(image, static_cast<std::uint32_t>(w));
    put(image, static_cast<std::uint32_t>(w >> 32));
  }
  for (const auto* section : {&s.ints, &s.floats, &s.pointers, &s.addresses}) {
    for (std::uint32_t v : *section) put(image, v);
  }
  for (const std::string& n : s.names) image.insert(image.end(), n.c_str(), n.c_str() + n.size() + 1);
  const std::uint32_t sum = referenceChecksum(image);
  std::memcpy(&image[8], &sum, 4);
  return image;
}

class Loader : public MachineTest {
 protected:
  // A machine in a state no load would make: odd code, memories, registers.
  void dirty() {
    ImageParts s;
    s.code = {0, 0x1234, 0x5678};
    s.ints = {0, 11, 12};
    s.floats = {0, 0x3FC00000};
    s.pointers = {0, 0x20000001};
    s.addresses = {0x60000002};
    s.names = {"main"};
    const std::vector<unsigned char> image = build(s);
    ASSERT_EQ(machine->loadImage(image.data(), "MAIN"), 0);
    machine->ir[3] = 77;
    machine->intStack.append(5);
    machine->spi = 1;
  }
  void expectUnchanged() {
    EXPECT_EQ(machine->code.getCount(), 3);
    EXPECT_EQ(machine->code.at(2), 0x5678);
    EXPECT_EQ(machine->intMemory.getCount(), 3);
    EXPECT_EQ(machine->intMemory.at(2), 12);
    EXPECT_EQ(machine->floatMemory.at(1), 1.5f);
    EXPECT_EQ(machine->pointerMemory.at(1), 0x20000001);
    EXPECT_EQ(machine->ir[3], 77);
    EXPECT_EQ(machine->spi, 1);
    EXPECT_EQ(machine->intStack.getCount(), 2);
    EXPECT_EQ(machine->cp, 2);
    EXPECT_TRUE(machine->running);
    EXPECT_EQ(VM_getSymbolAddress(handle, "main"), 0x60000002);
  }
};

TEST_F(Loader, ChecksumSignExtendsEachByteAndShiftsByItsIndexModulo24) {
  std::vector<unsigned char> bytes(12, 0);
  bytes.insert(bytes.end(), {0x61, 0x62, 0x63});
  EXPECT_EQ(referenceChecksum(bytes), 0x129u);
  // The worked byte: 0x80 at index 1 contributes 0xFFFFFF00.
  std::vector<unsigned char> high(12, 0);
  high.insert(high.end(), {0x00, 0x80});
  EXPECT_EQ(referenceChecksum(high), 0xFFFFFF00u);

  // The loader agrees with the long-way checksum on random images, and a
  // byte changed anywhere from offset 12 fails as checksum unless it cancels.
  std::mt19937 random(7);
  for (int round = 0; round < 40; ++round) {
    ImageParts s;
    for (int i = 0; i < 1 + round % 5; ++i) s.code.push_back((std::uint64_t{random()} << 32 | random()) & ~0x1Full);
    for (int i = 0; i < 30 + round; ++i) s.ints.push_back(random());
    std::vector<unsigned char> image = build(s);
    ASSERT_EQ(machine->loadImage(image.data(), nullptr), 0);
    // Any byte but the counts, which would move the end of the image: the
    // checksum word, a reserve, or the sections.
    std::size_t at = 8 + random() % (image.size() - 8);
    if (at >= 12 && at < 52 && (at < 32 || at >= 44)) at = 32 + at % 12;
    image[at] ^= static_cast<unsigned char>(1 + random() % 255);
    std::uint32_t stored;
    std::memcpy(&stored, &image[8], 4);
    const bool cancels = referenceChecksum(image) == stored;
    EXPECT_EQ(machine->loadImage(image.data(), nullptr, static_cast<long long>(image.size())),
              cancels ? 0 : VM_ERROR_CHECKSUM)
        << "byte " << at;
  }
}

TEST_F(Loader, FailuresAreCheckedInOrderAndLeaveTheMachineAsItWas) {
  dirty();
  ImageParts s;
  s.code = {0, 0};
  const std::vector<unsigned char> good = build(s);

  std::vector<unsigned char> image = good;
  image[3] = 'X';
  image[4] = 2;  // a bad version behind a bad magic still fails as magic
  EXPECT_EQ(machine->loadImage(image.data(), "main"), VM_ERROR_MAGIC);
  expectUnchanged();

  for (std::uint32_t version : {0u, 2u, 0xFFFFFFFFu}) {
    image = good;
    std::memcpy(&image[4], &version, 4);
    image[20] ^= 1;  // a bad checksum behind a bad version still fails as version
    EXPECT_EQ(machine->loadImage(image.data(), "main"), VM_ERROR_VERSION);
    EXPECT_EQ(std::string(VM_getLastErrorText()), "executable version: " + std::to_string(version));
    expectUnchanged();
  }

  image = good;
  image[8] ^= 0x10;
  EXPECT_EQ(machine->loadImage(image.data(), "main"), VM_ERROR_CHECKSUM);
  expectUnchanged();

  // Counts whose length wraps in 32 bits would reach past what the checksum
  // covered: refused before any section is read.
  image = good;
  const std::uint32_t huge = 0x20000000;  // 8 * huge wraps to 0
  std::memcpy(&image[16], &huge, 4);
  EXPECT_EQ(machine->loadImage(image.data(), "main"), VM_ERROR_FORMAT);
  expectLastError(VM_ERROR_FORMAT, "executable length out of range");
  expectUnchanged();

  // A memory whose reserve takes it past the address space, behind a right
  // checksum: refused after the checksum.
  ImageParts wide;
  wide.ints = {0, 1};
  wide.reserves[0] = 0x1FFFFFFF;
  image = build(wide);
  EXPECT_EQ(machine->loadImage(image.data(), "main"), VM_ERROR_FORMAT);
  expectLastError(VM_ERROR_FORMAT, "executable memory beyond the address space");
  expectUnchanged();
}

TEST_F(Loader, TheCheckedLoadReadsNothingBeyondItsSizeAndNamesTheFormatFailures) {
  dirty();
  ImageParts s;
  s.code = {0, 0, 0};
  s.ints = {0, 4, 5};
  s.addresses = {0x60000002};
  s.names = {"main"};
  const std::vector<unsigned char> good = build(s);

  // Every cut of a real image is a format failure, read from a block of just
  // that size (the sanitizers see any byte read beyond it).
  for (std::size_t size = 0; size < good.size(); ++size) {
    std::vector<unsigned char> cut(good.begin(), good.begin() + static_cast<long>(size));
    cut.shrink_to_fit();
    EXPECT_EQ(VM_loadExecutableChecked(handle, size == 0 ? nullptr : cut.data(), static_cast<int>(size), "main"),
              VM_ERROR_FORMAT)
        << size;
    EXPECT_EQ(std::string(VM_getLastErrorText()), "executable image too short") << size;
    expectUnchanged();
  }
  EXPECT_EQ(VM_loadExecutableChecked(handle, good.data(), -5, "main"), VM_ERROR_FORMAT);
  expectUnchanged();

  // The tests keep their order: a cut image with a bad magic fails as magic
  // once its 4 bytes are there, a bad version once its 8 are.
  std::vector<unsigned char> image = good;
  image[0] = 'k';
  EXPECT_EQ(VM_loadExecutableChecked(handle, image.data(), 4, "main"), VM_ERROR_MAGIC);
  EXPECT_EQ(VM_loadExecutableChecked(handle, image.data(), 3, "main"), VM_ERROR_FORMAT);
  image = good;
  image[4] = 7;
  EXPECT_EQ(VM_loadExecutableChecked(handle, image.data(), 8, "main"), VM_ERROR_VERSION);
  EXPECT_EQ(VM_loadExecutableChecked(handle, image.data(), 7, "main"), VM_ERROR_FORMAT);

  // A header size below the header's own: the sections would overlap it.
  // The trusting load reads it as it stands; the checked one refuses it.
  image = good;
  const std::uint32_t shortHeader = 48;
  std::memcpy(&image[12], &shortHeader, 4);
  image.resize(image.size() - 4);  // the length the header now gives
  const std::uint32_t sum = referenceChecksum(image);
  std::memcpy(&image[8], &sum, 4);
  EXPECT_EQ(VM_loadExecutableChecked(handle, image.data(), static_cast<int>(image.size()), "main"), VM_ERROR_FORMAT);
  expectLastError(VM_ERROR_FORMAT, "executable header too short");
  expectUnchanged();
  EXPECT_EQ(machine->loadImage(image.data(), nullptr), 0);
  EXPECT_EQ(machine->loadImage(good.data(), "main"), 0);

  // A reserve of 2^24 cells is taken from an untrusted image, one more is not
  // (the trusting load would take it: the address space allows 2^29).
  ImageParts big = s;
  big.reserves[2] = 1u << 24;
  image = build(big);
  EXPECT_EQ(VM_loadExecutableChecked(handle, image.data(), static_cast<int>(image.size()), "main"), 0);
  EXPECT_EQ(VM_getPointerMemorySize(handle), 1 << 24);
  dirty();
  big.reserves[2] = 0;
  big.reserves[1] = (1u << 24) + 1;
  image = build(big);
  EXPECT_EQ(VM_loadExecutableChecked(handle, image.data(), static_cast<int>(image.size()), "main"), VM_ERROR_FORMAT);
  expectLastError(VM_ERROR_FORMAT, "executable reserve beyond 16777216 cells");
  expectUnchanged();

  // A whole image loads, with room to spare behind it.
  image = good;
  image.resize(good.size() + 16, 0xEE);
  EXPECT_EQ(VM_loadExecutableChecked(handle, image.data(), static_cast<int>(image.size()), "main"), 0);
  EXPECT_EQ(machine->cp, 2);
  EXPECT_EQ(VM_getIntMemory(handle, 2), 5);
}

TEST_F(Loader, SectionsAndReservesMakeTheMemories) {
  ImageParts empty;
  std::vector<unsigned char> image = build(empty);
  ASSERT_EQ(machine->loadImage(image.data(), nullptr), 0);
  EXPECT_EQ(VM_getCodeSize(handle), 2);
  EXPECT_EQ(VM_getIntMemorySize(handle), 1);
  EXPECT_EQ(VM_getFloatMemorySize(handle), 1);
  EXPECT_EQ(VM_getPointerMemorySize(handle), 1);
  EXPECT_EQ(machine->symbolNames.getCount(), 0);

  ImageParts s;
  s.code = {0x0000000000000123};
  s.ints = {};
  s.floats = {0, 0x40000000, 0xC0000000};
  s.pointers = {0, 0x60000001};
  s.reserves[0] = 5;  // no section: 5 cells, not 6
  s.reserves[1] = 3;  // behind a section of 3
  image = build(s);
  ASSERT_EQ(machine->loadImage(image.data(), nullptr), 0);
  ASSERT_EQ(VM_getCodeSize(handle), 2);
  EXPECT_EQ(machine->code.at(0), 0x123);
  EXPECT_EQ(machine->code.at(1), 0);
  EXPECT_EQ(VM_getIntMemorySize(handle), 5);
  ASSERT_EQ(VM_getFloatMemorySize(handle), 6);
  EXPECT_EQ(VM_getFloatMemory(handle, 1), 2.0f);
  EXPECT_EQ(VM_getFloatMemory(handle, 2), -2.0f);
  for (int i = 3; i < 6; ++i) EXPECT_EQ(VM_getFloatMemory(handle, i), 0.0f);
  EXPECT_EQ(VM_getPointerMemoryPointerType(handle, 1), VM_POINTER_CODE);
}

TEST_F(Loader, SymbolsAreFoundInAnyCaseAndCutToEqualLength) {
  ImageParts s;
  s.code = {0, 0, 0, 0};
  s.names = {"alpha", "Beta", "delta", "Gamma", "zeta"};  // ascending without regard to case
  s.addresses = {0x60000001, 0x60000002, 0x60000003, 0x60000003, 7, 99};
  std::vector<unsigned char> image = build(s);
  ASSERT_EQ(machine->loadImage(image.data(), "gAmMa"), 0);
  EXPECT_EQ(machine->cp, 3);  // the tag is stripped at the start
  EXPECT_TRUE(machine->running);
  EXPECT_EQ(machine->symbolAddresses.getCount(), 5);  // the sixth address is dropped
  const char* queries[] = {"ALPHA", "beta", "Delta", "gamma", "ZETA", "alph", "zetas", "", "omega"};
  const int expected[] = {0x60000001, 0x60000002, 0x60000003, 0x60000003, 7, 0, 0, 0, 0};
  for (int i = 0; i < 9; ++i) EXPECT_EQ(VM_getSymbolAddress(handle, queries[i]), expected[i]) << queries[i];

  // More names than addresses: the surplus names go. An unknown entry
  // starts at address 0, and the first run then fails.
  s.addresses = {1, 2};
  image = build(s);
  VM_loadExecutable(handle, image.data(), "nothing");
  EXPECT_EQ(machine->symbolNames.getCount(), 2);
  EXPECT_EQ(VM_getSymbolAddress(handle, "delta"), 0);
  EXPECT_EQ(machine->cp, 0);
  EXPECT_FALSE(VM_execute(handle, 1));

  // A null entry stops the machine and keeps cp and the stacks.
  VM_start(handle, 2);
  machine->intStack.append(9);
  VM_loadExecutable(handle, image.data(), nullptr);
  EXPECT_FALSE(VM_isRunning(handle));
  EXPECT_EQ(machine->cp, 2);
  EXPECT_EQ(machine->intStack.getCount(), 2);
}

TEST_F(Loader, ALastNameThatRunsOnIsCutAtTheEndOfTheImage) {
  ImageParts s;
  s.addresses = {5};
  s.names = {"entry"};
  std::vector<unsigned char> image = build(s);
  image.pop_back();  // drop the terminator: the name now ends with the image
  // Shrink the name section by one and fix the checksum, so the image ends
  // right behind the unterminated name.
  const std::uint32_t nameBytes = 5;
  std::memcpy(&image[48], &nameBytes, 4);
  const std::uint32_t sum = referenceChecksum(image);
  std::memcpy(&image[8], &sum, 4);
  ASSERT_EQ(machine->loadImage(image.data(), nullptr, static_cast<long long>(image.size())), 0);
  ASSERT_EQ(machine->symbolNames.getCount(), 1);
  EXPECT_STREQ(machine->symbolNames.getString(0)->getText(), "entry");
}

}  // namespace
