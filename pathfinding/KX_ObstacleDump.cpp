// The files are written field by field through a local KX_File; results of
// open and write are not looked at, so a failing disk never changes what the
// path finder does. The fields are written in memory order, which is the
// little-endian order of the files on every platform the library runs on.
#include "pathfinding/KX_ObstacleDump.h"

#include "foundation/KX_File.h"

namespace {

constexpr unsigned char kDumpAccess = KX_ACCESS_READ | KX_ACCESS_WRITE | KX_ACCESS_SHARE_READ;
constexpr unsigned char kDumpCreate = KX_CREATE_OVERWRITE;

// The points actually read: a negative count reads none.
int pointsRead(int pointCount) {
  return pointCount > 0 ? pointCount : 0;
}

}  // namespace

void KX_writeObstacleDump(const float* coordinates, const int* pointCounts, int polygonCount) {
  if (polygonCount < 0) polygonCount = 0;
  // The total counts the points that were taken as coordinates, so that the
  // file always holds as many pairs as it announces; the per-polygon counts
  // are the caller's, as given.
  int totalPoints = 0;
  for (int i = 0; i < polygonCount; ++i) totalPoints += pointsRead(pointCounts[i]);
  KX_File file(nullptr);
  file.open("obstacles", kDumpAccess, kDumpCreate);
  file.write(&polygonCount, sizeof polygonCount, nullptr);
  file.write(&totalPoints, sizeof totalPoints, nullptr);
  if (polygonCount > 0) file.write(pointCounts, static_cast<int>(sizeof(int)) * polygonCount, nullptr);
  if (totalPoints > 0) file.write(coordinates, static_cast<int>(2 * sizeof(float)) * totalPoints, nullptr);
}

void KX_writePointDump(const char* fileName, const float* coordinates, int pointCount) {
  int count = pointsRead(pointCount);
  KX_File file(nullptr);
  file.open(fileName, kDumpAccess, kDumpCreate);
  file.write(&count, sizeof count, nullptr);
  if (count > 0) file.write(coordinates, static_cast<int>(2 * sizeof(float)) * count, nullptr);
}
