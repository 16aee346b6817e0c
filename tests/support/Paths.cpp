#include "tests/support/Paths.h"

namespace Veltrix::Testing {

const char* const kTestData = VELTRIX_TEST_DATA;
const char* const kVeltrix = VELTRIX_CLI;

}  // namespace Veltrix::Testing
