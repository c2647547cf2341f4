// qvmap on the dumps of a real graph build: a well-formed SVG with one shape
// per outline, and clear refusals of dumps whose sizes do not fit.
#include <gtest/gtest.h>

#include <cctype>
#include <fstream>
#include <sstream>
#include <string>
#include <vector>

#include "map/QV_MapTool.h"
#include "pathfinding/KX_ObstacleDump.h"
#include "qv_helper/qv_helper.h"
#include "support/TemporaryDirectory.h"

namespace {

// Well-formed XML in the small sense an SVG needs: one root, every element
// closed in order, attributes quoted, no stray '<' or '&' in text. Returns
// the element names in document order, or an empty list when not well formed.
std::vector<std::string> elementsOf(const std::string& xml) {
  std::vector<std::string> names;
  std::vector<std::string> open;
  std::size_t i = 0;
  bool rootClosed = false;
  auto fail = [&names]() {
    names.clear();
    return names;
  };
  while (i < xml.size()) {
    if (xml[i] != '<') {
      if (xml[i] == '&' || (rootClosed && !std::isspace(static_cast<unsigned char>(xml[i])))) return fail();
      ++i;
      continue;
    }
    if (xml.compare(i, 2, "<?") == 0) {
      std::size_t end = xml.find("?>", i);
      if (end == std::string::npos || !names.empty()) return fail();
      i = end + 2;
      continue;
    }
    std::size_t end = xml.find('>', i);
    if (end == std::string::npos) return fail();
    std::string tag = xml.substr(i + 1, end - i - 1);
    i = end + 1;
    if (tag[0] == '/') {
      if (open.empty() || open.back() != tag.substr(1)) return fail();
      open.pop_back();
      rootClosed = open.empty();
      continue;
    }
    if (rootClosed) return fail();
    bool selfClosing = tag.back() == '/';
    if (selfClosing) tag.pop_back();
    std::istringstream parts(tag);
    std::string name;
    parts >> name;
    // Attributes: name="value" pairs, values without '<'.
    std::string rest = tag.substr(name.size());
    std::size_t at = 0;
    while ((at = rest.find_first_not_of(" \n\t", at)) != std::string::npos) {
      std::size_t eq = rest.find("=\"", at);
      std::size_t close = eq == std::string::npos ? eq : rest.find('"', eq + 2);
      if (close == std::string::npos || rest.substr(eq + 2, close - eq - 2).find('<') != std::string::npos) {
        return fail();
      }
      at = close + 1;
    }
    if (open.empty() && !names.empty()) return fail();  // a second root
    names.push_back(name);
    if (!selfClosing) open.push_back(name);
    rootClosed = open.empty();
  }
  return open.empty() ? names : fail();
}

int countOf(const std::string& text, const std::string& piece) {
  int n = 0;
  for (std::size_t at = text.find(piece); at != std::string::npos; at = text.find(piece, at + 1)) ++n;
  return n;
}

struct ToolRun {
  int code;
  std::string out;
  std::string err;
};

ToolRun runMapTool(std::vector<const char*> args) {
  args.insert(args.begin(), "qvmap");
  std::ostringstream out;
  std::ostringstream err;
  int code = QV_runMapTool(static_cast<int>(args.size()), args.data(), out, err);
  return {code, out.str(), err.str()};
}

class MapToolTest : public ::testing::Test {
 protected:
  // Three obstacles, a border and a barrier, dumped by the library itself.
  void SetUp() override {
    WorkingDirectoryScope scope(directory.path);
    ASSERT_TRUE(scope.entered);
    FindPath_init();
    void* finder = FindPath_create();
    float coordinates[] = {0, 0, 2, 0, 2, 2, 0, 2, 5, 1, 7, 1, 6, 4, 1, 6, 3, 6, 3, 7, 1, 7};
    int pointCounts[] = {4, 3, 4};
    float border[] = {-2, -2, 9, -2, 9, 9, -2, 9};
    FindPath_computeGraph(finder, coordinates, pointCounts, 3, 0.5f, 3, border, 4);
    FindPath_exit();
    float barrier[] = {3, 3, 4, 3, 4, 4};
    KX_writePointDump("dynobstacles", barrier, 3);
  }
  TemporaryDirectory directory;
};

TEST_F(MapToolTest, DrawsEachOutlineOnceInAWellFormedPicture) {
  ToolRun run = runMapTool({"--out", "-", "--inflation", "0.5", "--path", "-1,-1 4,2.5 8,8", directory.path.c_str()});
  ASSERT_EQ(run.code, 0) << run.err;
  std::vector<std::string> elements = elementsOf(run.out);
  ASSERT_FALSE(elements.empty()) << "not well-formed:\n" << run.out;
  EXPECT_EQ(elements.front(), "svg");
  EXPECT_EQ(countOf(run.out, "<polygon class=\"obstacle\""), 3);
  EXPECT_EQ(countOf(run.out, "<polygon class=\"inflated\""), 3);
  EXPECT_EQ(countOf(run.out, "<polygon class=\"border\""), 1);
  EXPECT_EQ(countOf(run.out, "<polygon class=\"barrier\""), 1);
  EXPECT_EQ(countOf(run.out, "<polyline class=\"path\""), 1);
  // The map spans 11.44 units (border and margin), so the grid steps by 2:
  // labels -2 to 8 on each axis, and a scale bar of 2 units.
  EXPECT_EQ(countOf(run.out, ">8</text>"), 2);
  EXPECT_NE(run.out.find(">2 units</text>"), std::string::npos);
  // 800 pixels over 11 units and a margin of 0.22 on each side: 69.93 pixels
  // a unit. The y axis points up: (-2, -2) is drawn at the bottom left, (-2, 9)
  // at the top left.
  EXPECT_NE(run.out.find("class=\"border\" points=\"79.38,800.62 848.62,800.62 848.62,31.38 79.38,31.38\""),
            std::string::npos);

  // Written to a file by default name; a directory without dumps draws an
  // empty map.
  TemporaryDirectory empty;
  std::string file = empty.file("picture.svg");
  run = runMapTool({"-o", file.c_str(), empty.path.c_str()});
  ASSERT_EQ(run.code, 0) << run.err;
  std::ifstream in(file);
  std::string picture((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
  EXPECT_FALSE(elementsOf(picture).empty());
  EXPECT_EQ(countOf(picture, "<polygon"), 0);
}

TEST_F(MapToolTest, RefusesDumpsWhoseSizesDoNotFitAndBadArguments) {
  // 3 polygons of 11 points: 8 + 12 + 88 = 108 bytes; cut the last point's y.
  ASSERT_EQ(truncate(directory.file("obstacles").c_str(), 104), 0);
  ToolRun run = runMapTool({"-o", "-", directory.path.c_str()});
  EXPECT_EQ(run.code, 1);
  EXPECT_EQ(run.err, "qvmap: " + directory.path + "/obstacles: 104 bytes do not fit 3 polygons of 11 points (expected 108 bytes)\n");
  EXPECT_TRUE(run.out.empty());

  ASSERT_EQ(truncate(directory.file("obstacles").c_str(), 0), 0);
  std::ofstream(directory.file("dynobstacles"), std::ios::binary | std::ios::app) << "x";
  run = runMapTool({"-o", "-", directory.path.c_str()});
  EXPECT_EQ(run.err, "qvmap: " + directory.path + "/obstacles: 0 bytes do not fit the polygon and point counts (expected 8 bytes)\n");
  ASSERT_EQ(std::remove(directory.file("obstacles").c_str()), 0);
  run = runMapTool({"-o", "-", directory.path.c_str()});
  EXPECT_EQ(run.err, "qvmap: " + directory.path + "/dynobstacles: 29 bytes do not fit 3 points (expected 28 bytes)\n");

  EXPECT_EQ(runMapTool({}).code, 2);
  EXPECT_EQ(runMapTool({"--path", "1,2 3", directory.path.c_str()}).err,
            "qvmap: bad path: 1,2 3\n(qvmap --help tells the options)\n");
  EXPECT_EQ(runMapTool({"--inflation", "-1", directory.path.c_str()}).code, 2);
  ToolRun help = runMapTool({"--help"});
  EXPECT_EQ(help.code, 0);
  EXPECT_EQ(help.out.rfind("usage: qvmap", 0), 0u);
}

}  // namespace
