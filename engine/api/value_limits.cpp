#include "engine/api/value_limits.h"

#include <algorithm>
#include <charconv>
#include <string>

#include "engine/core/log.h"

namespace orma {

namespace {

// Six significant digits: a float from a draft (1.01f is 1.00999999...) is
// shown as it was written.
std::string Short(double value) {
  char buffer[64];
  auto result = std::to_chars(buffer, buffer + sizeof buffer, value, std::chars_format::general, 6);
  return std::string(buffer, result.ptr);
}

} // namespace

double Limited(const char* function, const char* what, double value, double low, double high) {
  double limited = std::clamp(value, low, high);
  if (limited != value)
    LogText(std::string(function) + ": " + what + " " + Short(value) + " is outside " + Short(low) + ".." +
            Short(high) + "; " + Short(limited) + " is used");
  return limited;
}

double AtLeast(const char* function, const char* what, double value, double low) {
  if (value >= low) return value;
  LogText(std::string(function) + ": " + what + " " + Short(value) + " is below " + Short(low) + "; " +
          Short(low) + " is used");
  return low;
}

int64_t NotNegative(const char* function, const char* what, int64_t us) {
  if (us >= 0) return us;
  LogText(std::string(function) + ": " + what + " " + std::to_string(us) + " us is negative; 0 is used");
  return 0;
}

int32_t WithoutResource(const char* function, const std::string& error) {
  LogText(std::string(function) + ": " + error + "; the item is drawn without it");
  return 1;
}

bool EmptySpan(const char* function, int64_t fromUs, int64_t toUs) {
  if (toUs > fromUs && toUs > 0) return false;
  LogText(std::string(function) + ": span " + std::to_string(fromUs) + ".." + std::to_string(toUs) +
          " us is empty; the element is left out of the video");
  return true;
}

void PlaceNew(const char* function, Element& element, int64_t fromUs, int64_t toUs) {
  const bool empty = EmptySpan(function, fromUs, toUs);
  element.startUs = empty ? fromUs : NotNegative(function, "start", fromUs);
  element.endUs = toUs;
  if (empty) LeaveOut(element);
  RegisterHandle(&element);
}

} // namespace orma
