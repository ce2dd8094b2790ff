// Drawing of the export's progress bar; see progress_bar.h. Frames are
// counted from the library's playback position, which an export advances
// frame by frame; the rate is the average since the export started, which
// stays readable where a per-interval rate would jump between frames of
// different cost.
#include "export/progress_bar.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <cstring>
#include <vector>

#include "platform/platform.h"
#include "platform/terminal.h"

namespace {

constexpr std::chrono::milliseconds kRedraw{100}; // at most ten drawings a second
constexpr int kMaxBarWidth = 30;
constexpr int kMinBarWidth = 10;

const char kBold[] = "\x1b[1m";
const char kGreen[] = "\x1b[32m";
const char kDim[] = "\x1b[2m";
const char kReset[] = "\x1b[0m";
const char kClearToEnd[] = "\x1b[K";

std::string Printf(const char* format, double a, double b = 0) {
  char buffer[64];
  std::snprintf(buffer, sizeof buffer, format, a, b);
  return buffer;
}

std::string Bar(double percent, int width, BarStyle style) {
  const int filled = std::clamp(static_cast<int>(percent / 100.0 * width), 0, width);
  const std::string done(static_cast<size_t>(filled), '#');
  const std::string rest(static_cast<size_t>(width - filled), '-');
  if (style == BarStyle::Plain) return "[" + done + rest + "]";
  std::string bar = "[";
  if (!done.empty()) bar += kGreen + done + kReset;
  if (!rest.empty()) bar += kDim + rest + kReset;
  return bar + "]";
}

} // namespace

std::string FormatClock(double seconds) {
  if (seconds < 0 || !std::isfinite(seconds)) return "--:--";
  const long long whole = static_cast<long long>(seconds);
  char buffer[32];
  if (whole >= 3600)
    std::snprintf(buffer, sizeof buffer, "%lld:%02lld:%02lld", whole / 3600, whole / 60 % 60, whole % 60);
  else
    std::snprintf(buffer, sizeof buffer, "%lld:%02lld", whole / 60, whole % 60);
  return buffer;
}

std::string FormatProgressBar(const ProgressSnapshot& s, int columns, BarStyle style) {
  const double percent = std::clamp(s.percent, 0.0, 100.0);
  const std::string head = Printf("%3.0f%%", percent);
  // The parts after the bar, dropped from the front when the terminal is narrow.
  std::vector<std::string> tail;
  if (s.framesTotal > 0)
    tail.push_back(
        Printf("%.0f/%.0f frames", static_cast<double>(s.framesDone), static_cast<double>(s.framesTotal)));
  else
    tail.push_back(Printf("%.0f frames", static_cast<double>(s.framesDone)));
  tail.push_back(s.framesPerSecond >= 0 ? Printf("%.1f fps", s.framesPerSecond) : std::string("-- fps"));
  tail.push_back(FormatClock(s.elapsedSeconds) + " elapsed");
  tail.push_back(FormatClock(s.secondsLeft) + " left");

  const int room = std::max(columns - 1, 0);
  auto tailWidth = [&] {
    int width = 0;
    for (const std::string& part : tail)
      width += 2 + static_cast<int>(part.size());
    return width;
  };
  const int fixed = static_cast<int>(head.size()) + tailWidth();
  const int barWidth = std::min(kMaxBarWidth, room - fixed - 3); // " [" and "]"
  const bool withBar = barWidth >= kMinBarWidth;
  while (!tail.empty() && static_cast<int>(head.size()) + tailWidth() + (withBar ? barWidth + 3 : 0) > room)
    tail.erase(tail.begin());

  std::string line = style == BarStyle::Color ? std::string(kBold) + head + kReset : head;
  int width = static_cast<int>(head.size());
  if (withBar) {
    line += " " + Bar(percent, barWidth, style);
    width += barWidth + 3;
  }
  for (const std::string& part : tail) {
    line += "  " + part;
    width += 2 + static_cast<int>(part.size());
  }
  // A terminal narrower than the percentage alone gets what fits of it.
  if (width > room && style == BarStyle::Plain) line.resize(static_cast<size_t>(room));
  if (width > room && style == BarStyle::Color) line = head.substr(0, static_cast<size_t>(room));
  return line;
}

BarStyle BarStyleFromEnvironment() {
  const char* noColor = std::getenv("NO_COLOR");
  if (noColor && *noColor) return BarStyle::Plain;
  const char* term = std::getenv("TERM");
  if (term && std::strcmp(term, "dumb") == 0) return BarStyle::Plain;
  return BarStyle::Color;
}

ProgressBar::ProgressBar(FILE* stream, int columns, BarStyle style, ProgressRange range, uint64_t runStartMs)
    : stream_(stream), columns_(columns), style_(style), range_(range), runStartMs_(runStartMs),
      startedMs_(platform::TickCount64()) {}

std::unique_ptr<ProgressBar> ProgressBar::ForStandardError(OrmaVideoHandle vv, double fps,
                                                           int64_t limitStartUs, int64_t limitEndUs,
                                                           uint64_t runStartMs) {
  if (!platform::IsTerminal(stderr)) return nullptr;
  // The range the library renders: the limit, within the timeline.
  const int64_t total = OrmaGetTotalPlaybackTime(vv);
  ProgressRange range;
  range.fps = fps > 0 ? fps : 25;
  range.endUs = limitEndUs > 0 && (total <= 0 || limitEndUs < total) ? limitEndUs : total;
  range.startUs = std::clamp<int64_t>(limitStartUs, 0, std::max<int64_t>(range.endUs, 0));
  return std::make_unique<ProgressBar>(stderr, platform::TerminalColumns(stderr), BarStyleFromEnvironment(),
                                       range, runStartMs);
}

ProgressSnapshot ProgressBar::Measure(OrmaVideoHandle vv, double percent) {
  ProgressSnapshot s;
  s.percent = percent;
  const double perUs = range_.fps / 1000000.0;
  s.framesTotal =
      std::max<int64_t>(std::llround(static_cast<double>(range_.endUs - range_.startUs) * perUs), 0);
  const int64_t position = OrmaGetCurrentPlaybackTime(vv);
  // Not forced to the total at the end: an export that failed halfway shows
  // where it stopped.
  const int64_t done =
      static_cast<int64_t>(std::floor(static_cast<double>(position - range_.startUs) * perUs + 1e-6));
  s.framesDone = std::max<int64_t>(s.framesTotal > 0 ? std::min(done, s.framesTotal) : done, 0);

  const uint64_t now = platform::TickCount64();
  s.elapsedSeconds = static_cast<double>(now - runStartMs_) / 1000.0;
  const double exportSeconds = static_cast<double>(now - startedMs_) / 1000.0;
  if (exportSeconds >= 0.2 && s.framesDone > 0)
    s.framesPerSecond = static_cast<double>(s.framesDone) / exportSeconds;
  if (percent >= 99.5)
    s.secondsLeft = 0;
  else if (s.framesPerSecond > 0 && s.framesTotal > 0)
    s.secondsLeft = static_cast<double>(s.framesTotal - s.framesDone) / s.framesPerSecond;
  else if (percent > 0)
    s.secondsLeft = exportSeconds * (100.0 - percent) / percent;
  return s;
}

void ProgressBar::Draw(const ProgressSnapshot& snapshot) {
  // A terminal can be resized during a long export; asking costs one ioctl.
  columns_ = platform::TerminalColumns(stream_, columns_);
  const std::string line = FormatProgressBar(snapshot, columns_, style_);
  std::string text = "\r" + line;
  if (style_ == BarStyle::Color) {
    text += kClearToEnd;
  } else {
    // Plain text overwrites what a longer line left with blanks.
    if (line.size() < drawnWidth_) text += std::string(drawnWidth_ - line.size(), ' ');
  }
  std::fputs(text.c_str(), stream_);
  std::fflush(stream_);
  drawn_ = true;
  drawnWidth_ = std::max(drawnWidth_, line.size());
  lastDraw_ = std::chrono::steady_clock::now();
}

void ProgressBar::Update(OrmaVideoHandle vv, double percent) {
  if (drawn_ && std::chrono::steady_clock::now() - lastDraw_ < kRedraw) return;
  Draw(Measure(vv, percent));
}

void ProgressBar::Erase() {
  // Only a standard output on a terminal can share the bar's line.
  if (!drawn_ || !platform::IsTerminal(stdout)) return;
  if (style_ == BarStyle::Color)
    std::fprintf(stream_, "\r%s", kClearToEnd);
  else
    std::fprintf(stream_, "\r%s\r", std::string(drawnWidth_, ' ').c_str());
  std::fflush(stream_);
  drawn_ = false;
}

void ProgressBar::Finish(OrmaVideoHandle vv, double percent) {
  Draw(Measure(vv, percent));
  std::fputs("\n", stream_);
  std::fflush(stream_);
  drawn_ = false;
  drawnWidth_ = 0;
}
