// Local paths in parts, the current directory, and names made absolute.
// Inside the library the separator is the forward slash; a backslash in a
// name counts as one.
#pragma once

#include "foundation/KX_String.h"

// Cuts `path` into drive (with its colon), directory (with its closing "/"),
// base name and extension (with its leading full stop): "c:/a/x.tar.gz"
// gives "c:", "/a/", "x.tar", ".gz". Missing parts are empty.
void splitPath(const char* path, KX_String& drive, KX_String& directory, KX_String& baseName, KX_String& extension);

// The working directory of the process with forward slashes and a closing
// "/". Returns 0, or KX_FILE_NO_CURRENT_DIRECTORY with `directory` as it was.
int getCurrentDirectory(KX_String& directory);

// The name with a relative directory joined to the current directory and the
// segments "." and ".." worked out. A segment in double quotes stays whole,
// and blanks around a segment go. Scheme, host and the other parts of the
// name stay as they are. A name that can't be worked out (a port that isn't
// a number, no current directory, an unclosed quote) comes back unchanged.
// The current directory is read at each call.
KX_String makeAbsoluteName(const char* name);
