// A name with the grammar of a URI, in its eight parts: scheme, user,
// password, host, port, path, query and fragment, each optional. A plain
// relative path and a path behind a drive letter are its commonest forms.
// A backslash counts as a forward slash.
#pragma once

#include "foundation/KX_String.h"

// Cuts `text` (null counts as empty) into its parts; a port that is absent
// is 0. Returns 0, or 1 if the text after the host's colon isn't all digits
// (the parts found so far are then kept). A text before the first colon
// that can't be a scheme, such as a drive letter without two slashes behind
// it, stays part of the path: "c:/x" has the path "c:/x".
int parseUri(const char* text, KX_String& scheme, KX_String& user, KX_String& password, KX_String& host, int& port,
             KX_String& path, KX_String& query, KX_String& fragment);

// Joins parts into a text; parseUri of that text gives the parts again. A
// port of 0 or less is left out; a text of a query alone is the query alone.
KX_String composeUri(const KX_String& scheme, const KX_String& user, const KX_String& password, const KX_String& host,
                     int port, const KX_String& path, const KX_String& query, const KX_String& fragment);
