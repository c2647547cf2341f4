// The qvmap command: reads a directory's map dumps and writes an SVG picture.
#pragma once

#include <ostream>

// Runs qvmap with its arguments (argv[0] is the program); messages go to
// `err`, and the picture to `out` when the output is "-". Returns the exit code.
int QV_runMapTool(int argc, const char* const* argv, std::ostream& out, std::ostream& err);
