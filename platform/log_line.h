// The program's one console line format: "[build time/build date - source line] -- message".
// Each translation unit carries its own build stamp, as the compiler gives it.
#pragma once

#include <cstdio>

#define LogLine(fmt, ...)                                                                                    \
  std::printf("[%s/%s - %d] -- " fmt, __TIME__, __DATE__, __LINE__ __VA_OPT__(, ) __VA_ARGS__)
