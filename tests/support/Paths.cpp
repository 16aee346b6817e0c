#include "tests/support/Paths.h"

namespace Veltrix::Testing {

const char* const kTestData = VELTRIX_TEST_DATA;
const char* const kVeltrix = VELTRIX_CLI;
const char* const kRecordedServer = VELTRIX_RECORDED_SERVER;

}  // namespace Veltrix::Testing
