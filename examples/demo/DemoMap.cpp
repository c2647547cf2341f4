#include "DemoMap.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <sstream>

namespace {

// Every word after the keyword as a finite number, or false.
bool readNumbers(std::istringstream& words, std::vector<float>& numbers, std::string& bad) {
  std::string word;
  while (words >> word) {
    char* end = nullptr;
    const float value = std::strtof(word.c_str(), &end);
    if (*end != '\0' || !std::isfinite(value)) {
      bad = word;
      return false;
    }
    numbers.push_back(value);
  }
  return true;
}

}  // namespace

float DemoMap::width() const {
  float largest = 0.0f;
  for (std::size_t i = 0; i < border.size(); i += 2) largest = std::max(largest, border[i]);
  return largest;
}

float DemoMap::height() const {
  float largest = 0.0f;
  for (std::size_t i = 1; i < border.size(); i += 2) largest = std::max(largest, border[i]);
  return largest;
}

bool parseDemoMap(const std::string& text, const std::string& name, DemoMap& map, std::string& error) {
  map = DemoMap();
  std::istringstream lines(text);
  std::string line;
  int lineNumber = 0;
  const auto fail = [&](const std::string& message) {
    error = name + ":" + std::to_string(lineNumber) + ": " + message;
    return false;
  };
  while (std::getline(lines, line)) {
    ++lineNumber;
    const std::size_t comment = line.find('#');
    if (comment != std::string::npos) line.erase(comment);
    std::istringstream words(line);
    std::string keyword;
    if (!(words >> keyword)) continue;
    std::vector<float> numbers;
    std::string bad;
    if (!readNumbers(words, numbers, bad)) return fail("'" + bad + "' is not a number");

    if (keyword == "border") {
      if (!map.border.empty()) return fail("a second border");
      if (numbers.size() < 6 || numbers.size() % 2 != 0) return fail("border needs at least 3 x, y pairs");
      if (std::any_of(numbers.begin(), numbers.end(), [](float v) { return v < 0.0f; })) {
        return fail("border points need x, y >= 0");
      }
      map.border = numbers;
    } else if (keyword == "inflation") {
      if (numbers.size() != 1 || numbers[0] < 0.0f) return fail("inflation needs one number >= 0");
      map.inflation = numbers[0];
    } else if (keyword == "box") {
      if (numbers.size() != 4) return fail("box needs x y width height");
      const float x = numbers[0], y = numbers[1], w = numbers[2], h = numbers[3];
      if (!(w > 0.0f && h > 0.0f)) return fail("box needs a width and height above 0");
      map.points.insert(map.points.end(), {x, y, x + w, y, x + w, y + h, x, y + h});
      map.pointCounts.push_back(4);
      map.isBox.push_back(true);
    } else if (keyword == "polygon") {
      if (numbers.size() < 6 || numbers.size() % 2 != 0) return fail("polygon needs at least 3 x, y pairs");
      map.points.insert(map.points.end(), numbers.begin(), numbers.end());
      map.pointCounts.push_back(static_cast<int>(numbers.size() / 2));
      map.isBox.push_back(false);
    } else {
      return fail("unknown statement '" + keyword + "'");
    }
  }
  if (map.border.empty()) {
    error = name + ": no border";
    return false;
  }
  return true;
}
