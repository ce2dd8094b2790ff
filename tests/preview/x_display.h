// A private X display for the preview tests, and windows on it to play into.
//
// XvfbServer starts Xvfb on a free display number (it picks the number and
// writes it to a pipe: -displayfd) with a 24-bit screen, and stops it again.
// TestWindow is the calling application's window: it is created and mapped
// on that display, and the test reads back the colours shown in it with
// XGetImage, as a person would look at it.
#pragma once

#include <X11/Xlib.h>

#include <string>

namespace previewtest {

class XvfbServer {
public:
  /// Starts the server; display() is empty (and error() says why) on failure.
  XvfbServer();
  ~XvfbServer();
  const std::string& display() const { return display_; }
  /// Ends the server at once (SIGKILL), as a crash or a closed session
  /// would; its clients lose their connection.
  void Kill();
  const std::string& error() const { return error_; }

private:
  int pid_ = -1;
  std::string display_;
  std::string error_;
};

struct Rgb {
  int r = 0, g = 0, b = 0;
};
std::string ToString(const Rgb& c);
/// Each channel within `tolerance` of the expected one.
bool Near(const Rgb& actual, const Rgb& expected, int tolerance = 40);

class TestWindow {
public:
  /// A mapped top-level window of this size (white) on `display`.
  TestWindow(const std::string& display, int width, int height);
  ~TestWindow();
  bool ok() const { return window_ != 0; }
  /// The window id as the command file carries it ("0x..." hexadecimal).
  std::string Id() const;
  /// The colour shown at (x, y) of the window, children included.
  Rgb At(int x, int y);
  void Resize(int width, int height);
  /// Closes the test's own connection but leaves the window on the display
  /// (close-down mode RetainPermanent), so that the server can go away
  /// without the test process noticing it; only Id() may be used afterwards.
  void Release();
  /// Whether the window still exists, and how many child windows it has.
  bool Exists();
  int Children();

private:
  Display* display_ = nullptr;
  Window window_ = 0;
};

} // namespace previewtest
