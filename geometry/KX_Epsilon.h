// The planar tolerance of the geometry code: two coordinates, parameters or
// cross products closer than this count as the same.
#pragma once

inline constexpr float epsilon = 1e-5f;
