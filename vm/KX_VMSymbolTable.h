// The symbol table of an image, read the same way from an executable image
// and from a saved state.
#pragma once

#include <cstdint>

#include "foundation/KX_IntArray.h"
#include "foundation/KX_StringList.h"

// Replaces `names` and `addresses` by the image's: `count` little-endian
// words at `addressSection`, and the zero-terminated names at `nameSection`
// until `nameBytes` are consumed. Only the start of each name must lie
// inside the name section; the last one may run on, but never to or past
// `end`, where it is cut. Names keep the image's order and compare without
// regard to case; the longer of the two lists loses its tail.
void KX_readVMSymbolTable(const unsigned char* addressSection, std::uint32_t count, const unsigned char* nameSection,
                          std::uint32_t nameBytes, const unsigned char* end, KX_StringList& names,
                          KX_IntArray& addresses);
