// KX_File on real files in a temporary directory: every operation, the codes
// this system can give, locks between two descriptors, mappings and attached
// handles.
#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <string>

#include "foundation/KX_File.h"
#include "support/LiveBlockGuard.h"
#include "support/TemporaryDirectory.h"
#include "vm/VM_reportError.h"

namespace {

constexpr unsigned char kReadWrite = KX_ACCESS_READ | KX_ACCESS_WRITE;

class FileTest : public LiveBlockTest {
 protected:
  // A file of `size` bytes counting up from 0, made with the class itself.
  std::string makeFile(const char* fileName, int size) {
    const std::string path = directory.file(fileName);
    KX_File file;
    EXPECT_EQ(file.open(path.c_str(), KX_ACCESS_WRITE, KX_CREATE_OVERWRITE), 0);
    for (int i = 0; i < size; ++i) file.write(&i, 1, nullptr);  // the low byte, little-endian
    return path;
  }
  static bool exists(const std::string& path) { return ::access(path.c_str(), F_OK) == 0; }

  TemporaryDirectory directory;
};

TEST_F(FileTest, WritesReadsSeeksAndSetsTheSize) {
  const std::string path = directory.file("data.bin");
  KX_File file(path.c_str());
  EXPECT_EQ(file.close(), 0);  // closed from the start
  ASSERT_EQ(file.open(nullptr, kReadWrite, KX_CREATE_OVERWRITE), 0);
  EXPECT_STREQ(file.absoluteName.getText(), path.c_str());
  int count = -1;
  EXPECT_EQ(file.write("hello world", 11, &count), 0);
  EXPECT_EQ(count, 11);
  EXPECT_EQ(file.write(nullptr, 0, &count), 0);  // nothing is called, or the null buffer would fail
  EXPECT_EQ(count, 0);
  EXPECT_EQ(file.getSize(), 11);
  char buffer[16] = {};
  EXPECT_EQ(file.seek(2, 0), 2);
  EXPECT_EQ(file.readBytes(buffer, 3, count), 0);
  EXPECT_EQ(std::string(buffer, 3), "llo");
  EXPECT_EQ(file.seek(-4, 2), 7);
  EXPECT_EQ(file.seek(1, 1), 8);
  EXPECT_EQ(file.readBytes(buffer, 16, count), 0);  // cut at the end
  EXPECT_EQ(std::string(buffer, count), "rld");
  EXPECT_EQ(file.seek(-1, 0), -1);
  EXPECT_EQ(VM_getLastErrorCode(), KX_FILE_NO_POSITION);

  // setSize: a position behind the new end moves to it; one before it stays.
  EXPECT_EQ(file.seek(9, 0), 9);
  EXPECT_EQ(file.setSize(4), 0);
  EXPECT_EQ(file.getSize(), 4);
  EXPECT_EQ(file.seek(0, 1), 4);
  EXPECT_EQ(file.seek(1, 0), 1);
  EXPECT_EQ(file.setSize(100), 0);
  EXPECT_EQ(file.getSize(), 100);
  EXPECT_EQ(file.seek(0, 1), 1);
  EXPECT_EQ(file.setSize(-1), KX_FILE_NO_POSITION);
  EXPECT_EQ(file.close(), 0);
  EXPECT_EQ(file.close(), 0);
  EXPECT_EQ(file.getSize(), 0);  // a closed file has no size
}

TEST_F(FileTest, FailedOpensGiveTheirCodesAndLeaveTheFileClosed) {
  struct Case {
    std::string name;
    bool create;
    unsigned char createFlags;
    int code;
  };
  const std::string existing = makeFile("existing.bin", 8);
  const Case cases[] = {
      {directory.file("missing.txt"), false, 0, KX_FILE_NOT_FOUND},
      {directory.file("nowhere/x.txt"), false, 0, KX_FILE_PATH_NOT_FOUND},
      {directory.file("nowhere/x.txt"), true, KX_CREATE_OVERWRITE, KX_FILE_PATH_NOT_FOUND},
      {directory.file("nowhere"), true, KX_CREATE_OVERWRITE | KX_CREATE_TEMPORARY, KX_FILE_PATH_NOT_FOUND},
      {existing, true, 0, KX_FILE_EXISTS},
      {directory.path, true, KX_CREATE_OVERWRITE, KX_FILE_CANNOT_CREATE},  // a directory is no file
      {directory.path, false, 0, KX_FILE_CANNOT_OPEN},
  };
  KX_File file;
  for (const Case& c : cases) {
    const int code = c.create ? file.open(c.name.c_str(), KX_ACCESS_WRITE, c.createFlags)
                              : file.openExisting(c.name.c_str(), KX_ACCESS_READ);
    EXPECT_EQ(code, c.code) << c.name;
    EXPECT_FALSE(file.isOpen());
    EXPECT_EQ(file.name.getText(), c.name);  // kept
    EXPECT_EQ(VM_getLastErrorText(), c.name);
    EXPECT_EQ(file.close(), 0);
  }
  EXPECT_EQ(file.open(existing.c_str(), KX_ACCESS_WRITE, KX_CREATE_OVERWRITE), 0);
  EXPECT_EQ(file.getSize(), 0);  // overwritten
}

TEST_F(FileTest, ReadOnlyFilesAndDescriptorsRefuseWrites) {
  const std::string path = makeFile("locked.bin", 16);
  KX_File file(path.c_str());
  ASSERT_EQ(file.openExisting(nullptr, KX_ACCESS_READ), 0);
  EXPECT_EQ(file.setAttributes(KX_ATTRIBUTE_READ_ONLY), 0);
  EXPECT_EQ(file.getAttributes(), KX_ATTRIBUTE_READ_ONLY);
  int count = -1;
  EXPECT_EQ(file.write("x", 1, &count), KX_FILE_WRITE_FAILED);  // a descriptor for reading only
  EXPECT_EQ(count, 0);
  EXPECT_EQ(file.setSize(2), KX_FILE_WRITE_FAILED);
  EXPECT_EQ(file.map(KX_MAP_READ | KX_MAP_WRITE, 0, 0, nullptr), KX_FILE_ACCESS_DENIED);
  EXPECT_EQ(file.mapPointer, nullptr);
  EXPECT_EQ(file.close(), 0);  // closing after failures

  KX_File writer(path.c_str());
  const int code = writer.openExisting(nullptr, KX_ACCESS_WRITE);
  // The superuser may write to a read-only file, so only others see the denial.
  if (geteuid() != 0) {
    EXPECT_EQ(code, KX_FILE_ACCESS_DENIED);
  }
  ASSERT_EQ(file.openExisting(nullptr, KX_ACCESS_READ), 0);
  EXPECT_EQ(file.setAttributes(0), 0);
  EXPECT_EQ(file.getAttributes(), 0);
  ASSERT_EQ(writer.openExisting(nullptr, KX_ACCESS_WRITE), 0);
  char buffer[4];
  EXPECT_EQ(writer.readBytes(buffer, 4, count), KX_FILE_READ_FAILED);  // opened for writing only
  EXPECT_EQ(count, 0);
}

TEST_F(FileTest, TimeStampsAndAttributes) {
  const std::string path = makeFile(".hidden", 4);
  KX_File file(path.c_str());
  EXPECT_EQ(file.getModificationTime().year, 0);  // closed: all fields 0
  ASSERT_EQ(file.openExisting(nullptr, kReadWrite), 0);
  KX_DateTime stamp;
  stamp.setDate(29, 2, 2024);
  stamp.setTime(13, 14, 15, 678901);
  EXPECT_EQ(file.setModificationTime(stamp), 0);
  const KX_DateTime read = file.getModificationTime();
  stamp.microseconds = 678000;  // milliseconds are kept, the rest is cut
  EXPECT_TRUE(read.isEqual(&stamp));
  struct stat status;
  ASSERT_EQ(stat(path.c_str(), &status), 0);
  EXPECT_EQ(status.st_mtim.tv_sec, 1709212455);  // the same moment, counted by the system

  stamp.year = 2023;  // 29 February: not a day of that year
  EXPECT_EQ(file.setModificationTime(stamp), KX_FILE_WRITE_FAILED);

  EXPECT_EQ(file.getAttributes(), KX_ATTRIBUTE_HIDDEN);
  ASSERT_EQ(chmod(path.c_str(), 0755), 0);
  EXPECT_EQ(file.getAttributes(), KX_ATTRIBUTE_HIDDEN | KX_ATTRIBUTE_EXECUTABLE);
  file.close();
  EXPECT_EQ(file.getAttributes(), 0);
  EXPECT_EQ(VM_getLastErrorCode(), KX_FILE_NOT_FOUND);
}

TEST_F(FileTest, MapsFromAnOffsetUpToTheEndAndCopiesTheMapping) {
  KX_File file(makeFile("map.bin", 100).c_str());
  ASSERT_EQ(file.openExisting(nullptr, kReadWrite), 0);
  void* pointer = nullptr;
  EXPECT_EQ(file.map(KX_MAP_READ, 100, 0, &pointer), KX_FILE_NOTHING_TO_MAP);
  EXPECT_EQ(file.map(KX_MAP_READ, 150, 0, &pointer), KX_FILE_NOTHING_TO_MAP);
  ASSERT_EQ(file.map(KX_MAP_READ | KX_MAP_WRITE, 90, 50, &pointer), 0);
  EXPECT_EQ(file.mapSize, 10);  // cut at the end
  unsigned char* bytes = static_cast<unsigned char*>(pointer);
  EXPECT_EQ(bytes[0], 90);
  EXPECT_EQ(bytes[9], 99);
  bytes[0] = 0xAB;

  KX_File copy;
  copy.copyFrom(&file);  // reopened by name and mapped the same way
  ASSERT_TRUE(copy.isOpen());
  EXPECT_NE(copy.handle, file.handle);
  EXPECT_EQ(copy.mapSize, 10);
  EXPECT_EQ(static_cast<unsigned char*>(copy.mapPointer)[0], 0xAB);  // both views show the one file
  EXPECT_EQ(file.close(), 0);
  ASSERT_EQ(file.openExisting(nullptr, KX_ACCESS_READ), 0);
  ASSERT_EQ(file.map(KX_MAP_READ, 0, 0, &pointer), 0);
  EXPECT_EQ(file.mapSize, 100);
  EXPECT_EQ(static_cast<unsigned char*>(pointer)[90], 0xAB);  // the write reached the file

  KX_File empty(directory.file("empty").c_str());
  copy.copyFrom(&empty);  // a closed source: a closed copy with its name
  EXPECT_FALSE(copy.isOpen());
  EXPECT_STREQ(copy.name.getText(), empty.name.getText());
  ASSERT_EQ(empty.open(nullptr, KX_ACCESS_READ, KX_CREATE_OVERWRITE), 0);
  EXPECT_EQ(empty.map(KX_MAP_READ, 0, 0, nullptr), KX_FILE_NOTHING_TO_MAP);

  ASSERT_EQ(empty.open(nullptr, kReadWrite, KX_CREATE_OVERWRITE), 0);
  ASSERT_EQ(empty.setSize(0x100000000LL), 0);  // sparse: no blocks are written
  EXPECT_EQ(empty.map(KX_MAP_READ, 0xFFFFFFF0LL, 0, nullptr), KX_FILE_MAP_FAILED);
  EXPECT_EQ(empty.map(KX_MAP_READ, 0, 0, nullptr), KX_FILE_MAP_FAILED);                // longer than an int
  EXPECT_EQ(empty.map(KX_MAP_READ, 0xFFFFFF00LL, 0xFF, nullptr), KX_FILE_MAP_FAILED);  // ends at 0xFFFFFFFF
  EXPECT_EQ(empty.map(KX_MAP_READ, 0xFFFFFF00LL, 0xFE, nullptr), 0);
}

TEST_F(FileTest, LocksKeepASecondDescriptorOut) {
  const std::string path = makeFile("locks.bin", 64);
  KX_File first(path.c_str());
  KX_File second(path.c_str());
  ASSERT_EQ(first.openExisting(nullptr, kReadWrite), 0);
  ASSERT_EQ(second.openExisting(nullptr, kReadWrite), 0);
  const long long offsets[] = {30, 10, 20};
  const long long sizes[] = {4, 10, 5};
  for (int i = 0; i < 3; ++i) EXPECT_EQ(first.lockRange(offsets[i], sizes[i]), 0);
  ASSERT_EQ(first.lockOffsets.getCount(), 3);
  for (int i = 0; i < 3; ++i) {  // by ascending start, sizes alongside
    EXPECT_EQ(first.lockOffsets.at(i), offsets[(i + 1) % 3]);
    EXPECT_EQ(first.lockSizes.at(i), sizes[(i + 1) % 3]);
  }
  EXPECT_EQ(first.lockRange(12, 1), KX_FILE_RANGE_LOCKED);  // overlaps its own range
  EXPECT_EQ(second.lockRange(15, 2), KX_FILE_RANGE_LOCKED);
  EXPECT_EQ(second.lockRange(0, 10), 0);  // touching is not overlapping
  char buffer[4] = {};
  int count = -1;
  EXPECT_EQ(second.seek(12, 0), 12);
  EXPECT_EQ(second.readBytes(buffer, 2, count), KX_FILE_RANGE_LOCKED);
  EXPECT_EQ(second.write("ab", 2, &count), KX_FILE_RANGE_LOCKED);
  EXPECT_EQ(first.seek(12, 0), 12);
  EXPECT_EQ(first.write("ab", 2, &count), 0);  // its own lock doesn't keep it out

  EXPECT_EQ(first.unlockRange(99), KX_FILE_LOCK_FAILED);
  EXPECT_EQ(first.lockRange(40, 0), KX_FILE_LOCK_FAILED);
  EXPECT_EQ(first.unlockRange(10), 0);
  EXPECT_EQ(second.lockRange(15, 2), 0);
  EXPECT_EQ(second.lockRange(22, 1), KX_FILE_RANGE_LOCKED);
  EXPECT_EQ(first.close(), 0);  // releases the rest
  EXPECT_EQ(second.lockRange(22, 1), 0);
}

TEST_F(FileTest, AttachedHandlesStayOpenButLoseLocksAndMapping) {
  const std::string path = makeFile("attached.bin", 32);
  const int descriptor = ::open(path.c_str(), O_RDWR);
  ASSERT_GE(descriptor, 0);
  KX_File file;
  file.attach(descriptor, path.c_str(), kReadWrite, true);
  EXPECT_TRUE(file.isOpen());
  EXPECT_EQ(file.lockRange(0, 8), 0);
  EXPECT_EQ(file.map(KX_MAP_READ, 4, 0, nullptr), 0);
  KX_File copy;
  copy.copyFrom(&file);  // an attached source is attached again, to the same handle
  EXPECT_TRUE(copy.attached);
  EXPECT_EQ(copy.handle, descriptor);
  EXPECT_EQ(copy.mapSize, 28);
  EXPECT_EQ(copy.close(), 0);

  EXPECT_EQ(file.close(), 0);
  EXPECT_EQ(file.mapPointer, nullptr);
  EXPECT_EQ(file.lockOffsets.getCount(), 0);
  EXPECT_NE(fcntl(descriptor, F_GETFD), -1);  // still open
  KX_File other(path.c_str());
  ASSERT_EQ(other.openExisting(nullptr, kReadWrite), 0);
  EXPECT_EQ(other.lockRange(0, 8), 0);  // the lock went with the close

  file.attach(descriptor, nullptr, KX_ACCESS_READ, false);  // owned: closed by close
  EXPECT_EQ(file.close(), 0);
  EXPECT_EQ(fcntl(descriptor, F_GETFD), -1);
  file.attach(descriptor, nullptr, KX_ACCESS_READ, false);  // a handle no longer open
  EXPECT_EQ(file.close(), KX_FILE_CANNOT_CLOSE);
  EXPECT_FALSE(file.isOpen());
  EXPECT_EQ(file.close(), 0);
}

TEST_F(FileTest, TemporaryFilesGetANameAndMayGoOnClose) {
  KX_File file;
  ASSERT_EQ(file.open(directory.path.c_str(), kReadWrite, KX_CREATE_OVERWRITE | KX_CREATE_TEMPORARY), 0);
  const std::string chosen = file.absoluteName.getText();
  EXPECT_EQ(chosen.rfind(directory.path + "/kx_", 0), 0u) << chosen;
  EXPECT_EQ(file.write("abc", 3, nullptr), 0);
  KX_File copy;
  copy.copyFrom(&file);  // a copy reopens the name, which is the directory: no file
  EXPECT_FALSE(copy.isOpen());
  EXPECT_EQ(VM_getLastErrorCode(), KX_FILE_CANNOT_OPEN);
  EXPECT_EQ(file.close(), 0);
  EXPECT_TRUE(exists(chosen));

  ASSERT_EQ(file.open(nullptr, KX_ACCESS_WRITE, 7), 0);
  const std::string deleted = file.absoluteName.getText();
  EXPECT_NE(deleted, chosen);
  EXPECT_TRUE(exists(deleted));
  EXPECT_EQ(file.close(), 0);
  EXPECT_FALSE(exists(deleted));
  // Without overwrite, the freshly made temporary file counts as existing.
  EXPECT_EQ(file.open(nullptr, KX_ACCESS_WRITE, KX_CREATE_TEMPORARY), KX_FILE_EXISTS);

  const std::string scopedPath = directory.file("scoped.tmp");
  {
    KX_File scoped;
    ASSERT_EQ(scoped.open(scopedPath.c_str(), 7, KX_CREATE_OVERWRITE | KX_CREATE_DELETE_ON_CLOSE), 0);
    EXPECT_TRUE(exists(scopedPath));
  }  // the destructor closes
  EXPECT_FALSE(exists(scopedPath));
}

TEST_F(FileTest, AFullDeviceReportsDiskFull) {
  if (!exists("/dev/full")) GTEST_SKIP() << "no /dev/full here";
  KX_File file("/dev/full");
  ASSERT_EQ(file.openExisting(nullptr, KX_ACCESS_WRITE), 0);
  int count = -1;
  EXPECT_EQ(file.write("x", 1, &count), KX_FILE_DISK_FULL);
  EXPECT_EQ(count, 0);
}

}  // namespace
