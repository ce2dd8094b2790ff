// The run driver defines startTicks, but its object also needs the draft
// reader; until both link into the test binary, the tests define the variable
// here (it is read by the export's progress reporter). Remove this file when
// the driver's object links into program_tests.
#include <cstdint>

uint64_t startTicks = 0;
