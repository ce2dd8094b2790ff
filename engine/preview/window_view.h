// Where a preview's pictures are shown: a window of the calling application,
// named by its X11 window id on the display that DISPLAY names, or by its
// HWND on Windows (window_view_x11.cpp, window_view_win.cpp).
//
// The view never draws on the caller's window itself: it makes one child
// window of its own that fills it, shows every picture there scaled to fit
// with the canvas' proportions kept (black bars around), follows the
// caller's window when it is resized, and destroys only that child when it
// is closed. Pictures are converted and scaled with libswscale (bilinear).
// On X11 they go into a shared-memory image (MIT-SHM) that the X server
// copies from, or into an ordinary image sent over the connection when the
// server has no shared memory (a remote display); on Windows into a DIB
// copied with GDI.
//
// A display that goes away (the X server ends, a remote session closes) or a
// window that is destroyed never ends the process, as Xlib's default
// handlers would: the view notes the loss, logs it once, stops drawing and
// no longer uses the connection; the player goes on without pictures.
//
// All calls but Open come from one thread, the player's; Open hands the
// connection over to it.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

namespace orma {

class WindowView {
public:
  WindowView();
  ~WindowView();
  WindowView(const WindowView&) = delete;
  WindowView& operator=(const WindowView&) = delete;

  /// Connects to the display and makes the picture area inside `window`;
  /// false with *error naming the cause (no display, no such window, a
  /// visual that is not 24- or 32-bit true colour).
  bool Open(uint64_t window, std::string* error);

  /// Size of the caller's window when it was opened or last resized.
  int width() const;
  int height() const;

  /// Shows a 4:2:0 canvas (contiguous planes, limited range, BT.601 or
  /// BT.709 as `matrix` says) and keeps it for redrawing.
  void Show(const uint8_t* yuv420p, int width, int height, int matrix);

  /// Handles what the display reported (resizing, exposure) and redraws the
  /// last picture when needed. Cheap when nothing happened.
  void Poll();

  /// Destroys the child window and closes the connection; the caller's
  /// window is left as it was. Also done by the destructor.
  void Close();

private:
  struct State;
  std::unique_ptr<State> s_;
};

} // namespace orma
