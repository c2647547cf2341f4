// Paths in parts, the current directory and absolute names, with a temporary
// directory as the working directory.
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <string>

#include "foundation/KX_FileCodes.h"
#include "foundation/KX_FileName.h"
#include "support/LiveBlockGuard.h"
#include "support/TemporaryDirectory.h"
#include "vm/VM_reportError.h"

namespace {

class FileNameTest : public LiveBlockTest {};

std::string absolute(const std::string& name) {
  return makeAbsoluteName(name.c_str()).getText();
}

TEST_F(FileNameTest, SplitPathCutsDriveDirectoryBaseAndExtension) {
  const char* cases[][5] = {
      {"c:/a/x.tar.gz", "c:", "/a/", "x.tar", ".gz"}, {"noext", "", "", "noext", ""},
      {".profile", "", "", "", ".profile"},           {"a\\b.txt", "", "a/", "b", ".txt"},
      {"dir.d/file", "", "dir.d/", "file", ""},       {"1a:b.c", "", "", "1a:b", ".c"},
  };
  for (const auto& c : cases) {
    KX_String parts[4];
    splitPath(c[0], parts[0], parts[1], parts[2], parts[3]);
    for (int i = 0; i < 4; ++i) EXPECT_STREQ(parts[i].getText(), c[i + 1]) << c[0] << " part " << i;
  }
}

TEST_F(FileNameTest, NamesAreMadeAbsolute) {
  TemporaryDirectory temporary;
  WorkingDirectoryScope scope(temporary.path);
  ASSERT_TRUE(scope.entered);
  const std::string current = WorkingDirectoryScope::current();
  KX_String directory;
  ASSERT_EQ(getCurrentDirectory(directory), 0);
  EXPECT_EQ(directory.getText(), current);
  const std::string parent = current.substr(0, current.find_last_of('/', current.size() - 2) + 1);

  const std::string cases[][2] = {
      {"obstacles", current + "obstacles"},
      {"sub/../x.dat", current + "x.dat"},
      {"sub/./y.dat", current + "sub/y.dat"},
      {"a\\b.txt", current + "a/b.txt"},
      {" a / . /b.txt", current + "a/b.txt"},  // blanks around segments go
      {"../up.txt", parent + "up.txt"},
      {"c:a.txt", "c:" + current + "a.txt"},
      {"c:/a/b/../c.txt", "c:/a/c.txt"},
      {"/\"x/y\"/../f.txt", "/f.txt"},  // a quoted segment goes as one, and keeps its quotes
      {"/\"a b\"/./f.txt", "/\"a b\"/f.txt"},
      {"file://host:21/a/./b/../x?q#f", "file://host:21/a/x?q#f"},
      {"http://host:ab/x/../y", "http://host:ab/x/../y"},  // can't be worked out: kept
      {"/\"a/b", "/\"a/b"},                                // a quote that never closes
      // The root's own empty segment counts as a segment before "..": a ".."
      // above the root eats it, and the name loses its leading "/".
      {"/../a/x", "a/x"},
      {"/../x", "/x"},
  };
  for (const auto& c : cases) EXPECT_EQ(absolute(c[0]), c[1]) << c[0];
}

TEST_F(FileNameTest, AVanishedCurrentDirectoryLeavesNamesAlone) {
  TemporaryDirectory temporary;
  const std::string gone = temporary.file("gone");
  ASSERT_EQ(mkdir(gone.c_str(), 0700), 0);
  WorkingDirectoryScope scope(gone);
  ASSERT_TRUE(scope.entered);
  ASSERT_EQ(rmdir(gone.c_str()), 0);
  KX_String directory("kept");
  EXPECT_EQ(getCurrentDirectory(directory), KX_FILE_NO_CURRENT_DIRECTORY);
  EXPECT_EQ(VM_getLastErrorCode(), KX_FILE_NO_CURRENT_DIRECTORY);
  EXPECT_STREQ(directory.getText(), "kept");
  EXPECT_EQ(absolute("x.dat"), "x.dat");
  EXPECT_EQ(absolute("d/../x.dat"), "d/../x.dat");
  EXPECT_EQ(absolute("/d/../x.dat"), "/x.dat");  // an absolute directory needs no current one
}

}  // namespace
