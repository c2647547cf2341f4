// The debugging dumps of the path finder: what the host passed, before
// inflation, written as plain little-endian binary files in the working
// directory so that a map can be looked at outside the game (tools/qvmap).
// Nothing in the library reads them back, and a file that cannot be opened or
// written is silently skipped.
#pragma once

// "obstacles": the polygon count, the total point count, the caller's point
// count of each polygon, then every point as an x, y pair of floats.
void KX_writeObstacleDump(const float* coordinates, const int* pointCounts, int polygonCount);

// A 32-bit point count, then the points as x, y pairs: the layout of both
// "obstacleborder" and "dynobstacles".
void KX_writePointDump(const char* fileName, const float* coordinates, int pointCount);
