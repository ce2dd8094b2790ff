#include "driver/run_driver.h"
#include "platform/platform.h"

int main(int argc, char** argv) {
  platform::InitLocale();
  return RunDriver(argc, argv);
}
