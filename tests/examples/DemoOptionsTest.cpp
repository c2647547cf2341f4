// qvdemo's command line: values in both spellings, limits, and the exact
// message of each refusal.
#include <gtest/gtest.h>

#include <vector>

#include "DemoOptions.h"

namespace {

bool parse(std::vector<const char*> args, DemoOptions& options, std::string& error) {
  args.insert(args.begin(), "qvdemo");
  return parseDemoOptions(static_cast<int>(args.size()), args.data(), options, error);
}

TEST(DemoOptions, ReadsEveryOptionInBothSpellings) {
  DemoOptions options;
  std::string error;
  ASSERT_TRUE(parse({"--seed", "18446744", "--units=7", "--frames", "120", "--out=a.svg", "--map", "m.map",
                     "--speed=2.5", "--positions", "p.txt", "--no-save", "--slices"},
                    options, error))
      << error;
  EXPECT_EQ(options.seed, 18446744u);
  EXPECT_EQ(options.units, 7);
  EXPECT_EQ(options.frames, 120);
  EXPECT_EQ(options.out, "a.svg");
  EXPECT_EQ(options.mapFile, "m.map");
  EXPECT_FLOAT_EQ(options.speed, 2.5f);
  EXPECT_EQ(options.positionsFile, "p.txt");
  EXPECT_FALSE(options.saveHalfway);
  EXPECT_FALSE(options.countInstructions);
  EXPECT_FALSE(options.help);

  DemoOptions defaults;
  ASSERT_TRUE(parse({}, defaults, error));
  EXPECT_EQ(defaults.out, "demo.svg");
  EXPECT_EQ(defaults.speed, 0.0f);  // unpaced
  EXPECT_TRUE(defaults.saveHalfway);
  EXPECT_TRUE(defaults.countInstructions);
  ASSERT_TRUE(parse({"-h"}, defaults, error));
  EXPECT_TRUE(defaults.help);
}

TEST(DemoOptions, LimitsAreInclusive) {
  DemoOptions options;
  std::string error;
  EXPECT_TRUE(parse({"--units", "1", "--frames", "1", "--speed", "0.01", "--seed", "0"}, options, error));
  EXPECT_TRUE(parse({"--units", "1000", "--frames", "10000000", "--speed", "100"}, options, error));
  EXPECT_EQ(options.units, 1000);
  EXPECT_EQ(options.frames, 10000000);
}

TEST(DemoOptions, RefusalsSayWhatIsWrong) {
  const struct {
    std::vector<const char*> args;
    const char* message;
  } cases[] = {
      {{"--colour"}, "unknown option '--colour'"},
      {{"extra"}, "unknown option 'extra'"},
      {{"--units"}, "option --units needs a value"},
      {{"--units", "0"}, "--units needs a whole number from 1 to 1000, not '0'"},
      {{"--units=1001"}, "--units needs a whole number from 1 to 1000, not '1001'"},
      {{"--units", "12x"}, "--units needs a whole number from 1 to 1000, not '12x'"},
      {{"--frames", "10000001"}, "--frames needs a whole number from 1 to 10000000, not '10000001'"},
      {{"--seed", "-1"}, "--seed needs a whole number from 0, not '-1'"},
      {{"--seed="}, "--seed needs a whole number from 0, not ''"},
      {{"--speed", "0"}, "--speed needs a number from 0.01 to 100, not '0'"},
      {{"--speed", "nan"}, "--speed needs a number from 0.01 to 100, not 'nan'"},
      {{"--speed", "101"}, "--speed needs a number from 0.01 to 100, not '101'"},
      {{"--out="}, "option --out needs a file name"},
      {{"--no-save=1"}, "option --no-save takes no value"},
  };
  for (const auto& c : cases) {
    DemoOptions options;
    std::string error;
    EXPECT_FALSE(parse(c.args, options, error)) << c.message;
    EXPECT_EQ(error, c.message);
  }
}

}  // namespace
