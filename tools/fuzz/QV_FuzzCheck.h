// A property a fuzz target holds the library to: when it fails, the target
// says which and aborts, so that libFuzzer reports the input like a crash.
#pragma once

#include <cstdio>
#include <cstdlib>

#define QV_FUZZ_CHECK(condition, what)                                                  \
  do {                                                                                  \
    if (!(condition)) {                                                                 \
      std::fprintf(stderr, "%s:%d: fuzz check failed: %s\n", __FILE__, __LINE__, what); \
      std::abort();                                                                     \
    }                                                                                   \
  } while (false)
