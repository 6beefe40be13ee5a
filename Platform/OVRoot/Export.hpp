#pragma once

/// Marks what a host may use of the library: all else is hidden in the shared one. Under Windows
/// the library's own build defines SYC_BUILDS_LIBRARY, and who links the static one
/// SYC_STATIC_LIBRARY.
#if !defined(_WIN32)
#define SYC_API __attribute__((visibility("default")))
#elif defined(SYC_STATIC_LIBRARY)
#define SYC_API
#elif defined(SYC_BUILDS_LIBRARY)
#define SYC_API __declspec(dllexport)
#else
#define SYC_API __declspec(dllimport)
#endif
