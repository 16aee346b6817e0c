#pragma once

/// @file
/// Where the build put things; kept out of the tests' own sources, so that these compile alike in
/// every folder.

namespace Veltrix::Testing {

/// The folder of the reference data.
extern const char* const kTestData;
/// The command-line program; empty when it is not built.
extern const char* const kVeltrix;
/// A job server in another language, for those who have it.
extern const char* const kRecordedServer;

}  // namespace Veltrix::Testing
