#include "QV_MapDumps.h"

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <fstream>
#include <iterator>

namespace {

// False if the file does not exist; `bytes` gets its contents otherwise.
bool readFile(const std::string& path, std::vector<unsigned char>& bytes) {
  std::ifstream in(path, std::ios::binary);
  if (!in) return false;
  bytes.assign(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
  return true;
}

// Little-endian fields, as the library writes them.
std::int32_t intAt(const std::vector<unsigned char>& bytes, std::size_t offset) {
  std::uint32_t v = 0;
  for (int k = 0; k < 4; ++k) v |= static_cast<std::uint32_t>(bytes[offset + k]) << (8 * k);
  return static_cast<std::int32_t>(v);
}

float floatAt(const std::vector<unsigned char>& bytes, std::size_t offset) {
  std::uint32_t v = static_cast<std::uint32_t>(intAt(bytes, offset));
  float f;
  std::memcpy(&f, &v, sizeof f);
  return f;
}

QV_MapOutline pointsAt(const std::vector<unsigned char>& bytes, std::size_t offset, long long count) {
  QV_MapOutline points;
  points.reserve(static_cast<std::size_t>(count));
  for (long long i = 0; i < count; ++i) {
    points.push_back({floatAt(bytes, offset + 8 * i), floatAt(bytes, offset + 8 * i + 4)});
  }
  return points;
}

std::string sizeMessage(const std::string& path, std::size_t size, const std::string& announced, long long expected) {
  std::string text = path + ": " + std::to_string(size) + " bytes do not fit " + announced;
  if (expected >= 0) text += " (expected " + std::to_string(expected) + " bytes)";
  return text;
}

// A count of points and the points: "obstacleborder" and "dynobstacles".
bool readPointFile(const std::string& path, QV_MapOutline& points, std::string& error) {
  std::vector<unsigned char> bytes;
  if (!readFile(path, bytes)) return true;
  if (bytes.size() < 4) {
    error = sizeMessage(path, bytes.size(), "a point count", 4);
    return false;
  }
  long long count = intAt(bytes, 0);
  long long expected = 4 + 8 * count;
  if (count < 0 || static_cast<long long>(bytes.size()) != expected) {
    error = sizeMessage(path, bytes.size(), std::to_string(count) + " points", count < 0 ? -1 : expected);
    return false;
  }
  points = pointsAt(bytes, 4, count);
  return true;
}

bool readObstacleFile(const std::string& path, std::vector<QV_MapOutline>& obstacles, std::string& error) {
  std::vector<unsigned char> bytes;
  if (!readFile(path, bytes)) return true;
  if (bytes.size() < 8) {
    error = sizeMessage(path, bytes.size(), "the polygon and point counts", 8);
    return false;
  }
  long long polygons = intAt(bytes, 0);
  long long total = intAt(bytes, 4);
  std::string announced = std::to_string(polygons) + " polygons of " + std::to_string(total) + " points";
  long long expected = 8 + 4 * polygons + 8 * total;
  if (polygons < 0 || total < 0 || static_cast<long long>(bytes.size()) != expected) {
    error = sizeMessage(path, bytes.size(), announced, polygons < 0 || total < 0 ? -1 : expected);
    return false;
  }
  // A negative count stands for a polygon the library read no points of.
  long long sum = 0;
  for (long long i = 0; i < polygons; ++i) sum += std::max<std::int32_t>(intAt(bytes, 8 + 4 * i), 0);
  if (sum != total) {
    error = path + ": the polygons' point counts add up to " + std::to_string(sum) + ", not " + std::to_string(total);
    return false;
  }
  std::size_t next = 8 + 4 * polygons;
  for (long long i = 0; i < polygons; ++i) {
    long long count = std::max<std::int32_t>(intAt(bytes, 8 + 4 * i), 0);
    obstacles.push_back(pointsAt(bytes, next, count));
    next += 8 * count;
  }
  return true;
}

}  // namespace

bool QV_readMapDumps(const std::string& directory, QV_MapDumps& dumps, std::string& error) {
  const std::string prefix = directory.empty() || directory.back() == '/' ? directory : directory + "/";
  dumps = QV_MapDumps();
  return readObstacleFile(prefix + "obstacles", dumps.obstacles, error) &&
         readPointFile(prefix + "obstacleborder", dumps.border, error) &&
         readPointFile(prefix + "dynobstacles", dumps.barrier, error);
}
