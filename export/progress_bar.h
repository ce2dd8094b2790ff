// The progress bar that a person watching an export sees on standard error:
// one line, redrawn in place, with the percentage, a bar, frames done of the
// export range, frames per second, the time since the run started and an
// estimate of the time left. The "progress:" lines on standard output are
// for the programs that read them and stay as they are; the bar is drawn by
// the same progress thread (ProgressReporter), only when standard error is
// a terminal. With NO_COLOR set or TERM=dumb it is plain text: no colour and
// no escape sequence, the old text overwritten with blanks.
#pragma once

#include <chrono>
#include <cstdint>
#include <cstdio>
#include <memory>
#include <string>

#include "corelib/orma_core.h"

/// What the bar shows at one moment.
struct ProgressSnapshot {
  double percent = 0;          ///< the library's figure, 0 to 100
  int64_t framesDone = 0;      ///< frames of the export range rendered so far
  int64_t framesTotal = 0;     ///< frames of the export range; 0 when unknown
  double framesPerSecond = -1; ///< rendering rate; below 0 while unknown
  double elapsedSeconds = 0;   ///< since the run started
  double secondsLeft = -1;     ///< estimate; below 0 while unknown
};

enum class BarStyle {
  Color, ///< ANSI colours, the rest of the line cleared with an escape
  Plain, ///< text only
};

/// The bar's line for a terminal `columns` wide, without "\r" or line end;
/// never wider than columns - 1, so the terminal does not wrap it.
std::string FormatProgressBar(const ProgressSnapshot& snapshot, int columns, BarStyle style);

/// "m:ss", or "h:mm:ss" from an hour on; "--:--" for a negative time.
std::string FormatClock(double seconds);

/// The style asked for by the environment: Plain when NO_COLOR is set and
/// not empty, or when TERM is "dumb"; Color otherwise.
BarStyle BarStyleFromEnvironment();

/// The export range of a progress bar, in the core library's terms.
struct ProgressRange {
  double fps = 25;     ///< output frame rate
  int64_t startUs = 0; ///< first rendered instant (0, or the limit's start)
  int64_t endUs = 0;   ///< end of the rendered range
};

class ProgressBar {
public:
  /// A bar drawn on `stream`, `columns` wide (or as wide as the terminal
  /// behind `stream` is at each drawing), measuring frames through the
  /// library's playback position over `range`; the time shown counts from
  /// `runStartMs` (TickCount64 milliseconds when the run started).
  ProgressBar(FILE* stream, int columns, BarStyle style, ProgressRange range, uint64_t runStartMs);

  /// The bar for standard error when it is a terminal, for the export of
  /// `vv` over [limitStartUs, limitEndUs) (0 for the timeline's ends) at
  /// `fps`, counting time from `runStartMs`; null when standard error is
  /// not a terminal.
  static std::unique_ptr<ProgressBar> ForStandardError(OrmaVideoHandle vv, double fps, int64_t limitStartUs,
                                                       int64_t limitEndUs, uint64_t runStartMs);

  /// Redraws the line for `percent`, reading the position from the library;
  /// does nothing when the last drawing is less than 100 ms old.
  void Update(OrmaVideoHandle vv, double percent);

  /// Removes the line, so that a line on standard output, when both go to
  /// the same terminal, starts at the left margin.
  void Erase();

  /// Draws the last state once more and ends the line.
  void Finish(OrmaVideoHandle vv, double percent);

private:
  ProgressSnapshot Measure(OrmaVideoHandle vv, double percent);
  void Draw(const ProgressSnapshot& snapshot);

  FILE* stream_;
  int columns_;
  BarStyle style_;
  ProgressRange range_;
  uint64_t runStartMs_; ///< when the run started: the time shown
  uint64_t startedMs_;  ///< when the bar was made: the export's start
  // When the line was last drawn, on a clock of its own: the tick count
  // (GetTickCount64 on Windows) advances in steps of about 16 ms there, and
  // read from it, 110 ms could count as 94 and a due redraw was skipped.
  std::chrono::steady_clock::time_point lastDraw_{};
  bool drawn_ = false;    ///< a line is on the terminal now
  size_t drawnWidth_ = 0; ///< widest line drawn, for blanking in plain text
};
