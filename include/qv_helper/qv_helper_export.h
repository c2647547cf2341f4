// Export macro of the qv_helper shared library.
//
// The library is built with hidden visibility; only declarations marked QV_API
// (the exported function families and VM_ObjectInterface) are visible to a host.
#pragma once

#if defined(_WIN32)
#if defined(QV_HELPER_BUILDING)
#define QV_API __declspec(dllexport)
#else
#define QV_API __declspec(dllimport)
#endif
#else
#define QV_API __attribute__((visibility("default")))
#endif
