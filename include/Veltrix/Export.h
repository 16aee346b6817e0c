#pragma once

/// @file
/// Marks what the shared libraries export; everything else stays hidden. Each library has a mark of
/// its own, which its build turns from import to export by defining `VELTRIX_BUILDING_…`: a library
/// built on another one imports what that one exports.

#if defined(_MSVC_LANG)
#define VELTRIX_LANGUAGE _MSVC_LANG
#elif defined(__cplusplus)
#define VELTRIX_LANGUAGE __cplusplus
#else  // C, for the plain functions
#define VELTRIX_LANGUAGE 202002L
#endif
#if VELTRIX_LANGUAGE < 202002L
#error "Veltrix needs C++20: compile with -std=c++20 (/std:c++20) or later"
#endif
#undef VELTRIX_LANGUAGE

#if defined(_WIN32)
#define VELTRIX_EXPORTED __declspec(dllexport)
#define VELTRIX_IMPORTED __declspec(dllimport)
#else
#define VELTRIX_EXPORTED __attribute__((visibility("default")))
#define VELTRIX_IMPORTED __attribute__((visibility("default")))
#endif

#if defined(VELTRIX_BUILDING_DATA)
#define VELTRIX_DATA_API VELTRIX_EXPORTED
#else
#define VELTRIX_DATA_API VELTRIX_IMPORTED
#endif

#if defined(VELTRIX_BUILDING_EVALUATOR)
#define VELTRIX_EVALUATOR_API VELTRIX_EXPORTED
#else
#define VELTRIX_EVALUATOR_API VELTRIX_IMPORTED
#endif

#if defined(VELTRIX_BUILDING_ENGINE)
#define VELTRIX_ENGINE_API VELTRIX_EXPORTED
#else
#define VELTRIX_ENGINE_API VELTRIX_IMPORTED
#endif

#if defined(VELTRIX_BUILDING_BIGDATA)
#define VELTRIX_BIGDATA_API VELTRIX_EXPORTED
#else
#define VELTRIX_BIGDATA_API VELTRIX_IMPORTED
#endif
