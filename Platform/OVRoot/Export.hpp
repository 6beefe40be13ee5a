#pragma once

/// SYC_API marks what a host may use of the library, SYC_QT_API of the one with the windows: all
/// else is hidden in them. Under Windows the build of each library defines SYC_BUILDS_LIBRARY or
/// SYC_BUILDS_QT_LIBRARY, and who links the static one SYC_STATIC_LIBRARY. SYC_LOCAL hides a part
/// of what is marked.
#if !defined(_WIN32)
#define SYC_API __attribute__((visibility("default")))
#define SYC_QT_API SYC_API
#define SYC_LOCAL __attribute__((visibility("hidden")))
#else
#define SYC_LOCAL
#if defined(SYC_STATIC_LIBRARY)
#define SYC_API
#elif defined(SYC_BUILDS_LIBRARY)
#define SYC_API __declspec(dllexport)
#else
#define SYC_API __declspec(dllimport)
#endif
#if defined(SYC_BUILDS_QT_LIBRARY)
#define SYC_QT_API __declspec(dllexport)
#else
#define SYC_QT_API __declspec(dllimport)
#endif
#endif
