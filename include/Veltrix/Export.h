#pragma once

/// @file
/// Marks what the shared libraries export; everything else stays hidden.

#if defined(_WIN32)
#if defined(VELTRIX_BUILDING)
#define VELTRIX_API __declspec(dllexport)
#else
#define VELTRIX_API __declspec(dllimport)
#endif
#else
#define VELTRIX_API __attribute__((visibility("default")))
#endif
