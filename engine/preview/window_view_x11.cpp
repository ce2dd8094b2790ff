// The preview's picture area inside the caller's X11 window (window_view.h).
#include "engine/preview/window_view.h"

#include <X11/Xlib.h>
#include <X11/Xutil.h>
#include <X11/extensions/XShm.h>
#include <sys/ipc.h>
#include <sys/shm.h>

#include <algorithm>
#include <atomic>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "engine/core/av_handles.h"
#include "engine/core/log.h"
#include "engine/preview/view_picture.h"

namespace orma {

namespace {

// Xlib reports protocol errors through one handler for the whole process,
// and its default handler ends the process. The view's requests can fail
// when the caller destroys its window while a picture is on its way, which
// must not end the program: errors are counted here instead, and the view
// looks at the count after each request it waits for.
std::atomic<int> xErrors{0};
std::atomic<int> lastXError{0};

int CountError(Display*, XErrorEvent* event) {
  lastXError = event->error_code;
  ++xErrors;
  return 0;
}

// A lost connection (the X server ended, a remote session closed) is an I/O
// error: Xlib calls the process's I/O error handler, then the display's exit
// handler, whose default ends the process, and with it a preview that its
// application still controls over the pipe. Here the first handler stays
// quiet (the view logs the loss once) and the exit handler only notes it for
// the view and returns; the Xlib call that met the loss then returns, and
// the view stops using the connection. The player goes on without pictures.
int QuietIoError(Display*) { return 0; }

void NoteDisplayLost(Display*, void* lost) { static_cast<std::atomic<bool>*>(lost)->store(true); }

// The libswscale layout of a 32-bit true-colour pixel as the server reads it.
AVPixelFormat PixelLayout(const XImage* image, const Visual* visual) {
  if (image->bits_per_pixel != 32) return AV_PIX_FMT_NONE;
  const bool lsb = image->byte_order == LSBFirst;
  if (visual->red_mask == 0xff0000 && visual->green_mask == 0xff00 && visual->blue_mask == 0xff)
    return lsb ? AV_PIX_FMT_BGRA : AV_PIX_FMT_ARGB;
  if (visual->red_mask == 0xff && visual->green_mask == 0xff00 && visual->blue_mask == 0xff0000)
    return lsb ? AV_PIX_FMT_RGBA : AV_PIX_FMT_ABGR;
  return AV_PIX_FMT_NONE;
}

} // namespace

struct WindowView::State {
  Display* display = nullptr;
  Window parent = 0;
  Window child = 0;
  Visual* visual = nullptr;
  int depth = 0;
  GC gc = nullptr;
  int windowW = 0, windowH = 0;
  // The picture's place in the window.
  int x = 0, y = 0, w = 0, h = 0;
  bool useShm = false;
  XShmSegmentInfo shm{};
  XImage* image = nullptr;
  AVPixelFormat layout = AV_PIX_FMT_NONE;
  SwsPtr scaler;
  // The last canvas shown, kept to draw it again after a resize.
  std::vector<uint8_t> canvas;
  int canvasW = 0, canvasH = 0, matrix = 601;
  bool gone = false;                    // nothing is drawn any more
  std::atomic<bool> displayLost{false}; // set by Xlib's exit handler: the connection is dead
  bool lossLogged = false;

  // Whether the connection was lost; logs it once and ends drawing.
  bool Dead() {
    if (!displayLost) return false;
    gone = true;
    if (!lossLogged) {
      lossLogged = true;
      LogText("preview: the X display was lost; pictures are no longer shown");
    }
    return true;
  }

  ~State() { Close(); }

  void FreeImage() {
    if (!image) return;
    if (useShm) {
      // A dead server has let go of the segment already, and the dead
      // connection must not be used (Close).
      if (!displayLost) {
        XShmDetach(display, &shm);
        XSync(display, False);
      }
      image->data = nullptr;
      XDestroyImage(image);
      shmdt(shm.shmaddr);
      shm = {};
    } else {
      XDestroyImage(image); // frees the pixels too
    }
    image = nullptr;
  }

  bool SharedImage(int width, int height) {
    image = XShmCreateImage(display, visual, depth, ZPixmap, nullptr, &shm, width, height);
    if (!image) return false;
    shm.shmid = shmget(IPC_PRIVATE, static_cast<size_t>(image->bytes_per_line) * height, IPC_CREAT | 0600);
    if (shm.shmid >= 0) {
      shm.shmaddr = image->data = static_cast<char*>(shmat(shm.shmid, nullptr, 0));
      shm.readOnly = False;
      const int before = xErrors;
      if (shm.shmaddr != reinterpret_cast<char*>(-1) && XShmAttach(display, &shm)) {
        XSync(display, False);
        // Once both sides are attached the segment goes when they detach.
        shmctl(shm.shmid, IPC_RMID, nullptr);
        if (xErrors == before) return true;
        XShmDetach(display, &shm);
      }
      if (shm.shmaddr != reinterpret_cast<char*>(-1)) shmdt(shm.shmaddr);
      shmctl(shm.shmid, IPC_RMID, nullptr);
    }
    image->data = nullptr;
    XDestroyImage(image);
    image = nullptr;
    shm = {};
    return false;
  }

  bool PlainImage(int width, int height) {
    image = XCreateImage(display, visual, depth, ZPixmap, 0, nullptr, width, height, 32, 0);
    if (!image) return false;
    image->data = static_cast<char*>(std::malloc(static_cast<size_t>(image->bytes_per_line) * height));
    if (image->data) return true;
    XDestroyImage(image);
    image = nullptr;
    return false;
  }

  // The picture's place for the window's size, and an image of that size.
  void Fit() {
    if (canvasW <= 0 || canvasH <= 0 || windowW <= 0 || windowH <= 0) return;
    const ViewPlace place = FitCanvas(canvasW, canvasH, windowW, windowH);
    const int fitW = place.w, fitH = place.h;
    x = place.x;
    y = place.y;
    if (image && fitW == w && fitH == h) return;
    FreeImage();
    w = fitW;
    h = fitH;
    if (!(useShm && SharedImage(w, h))) {
      useShm = false;
      PlainImage(w, h);
    }
  }

  void Draw() {
    if (Dead() || gone || canvas.empty()) return;
    Fit();
    if (!image) return;
    if (!ScaleCanvas(&scaler, canvas, canvasW, canvasH, matrix, layout, w, h,
                     reinterpret_cast<uint8_t*>(image->data), image->bytes_per_line))
      return;
    const int before = xErrors;
    if (useShm)
      XShmPutImage(display, child, gc, image, 0, 0, x, y, w, h, False);
    else
      XPutImage(display, child, gc, image, 0, 0, x, y, w, h);
    // The server has read the picture when the round trip returns, so the
    // image can be written again for the next one.
    XSync(display, False);
    if (Dead()) return;
    if (xErrors != before) Lost();
  }

  void Lost() {
    if (gone) return;
    gone = true;
    LogText("preview: the window can no longer be drawn into (X error " + std::to_string(lastXError.load()) +
            "); pictures are no longer shown");
  }

  void Resized(int width, int height) {
    if (width == windowW && height == windowH) return;
    windowW = width;
    windowH = height;
    XResizeWindow(display, child, static_cast<unsigned>(std::max(1, width)),
                  static_cast<unsigned>(std::max(1, height)));
    // The server paints the uncovered parts black (the child's background).
    XClearWindow(display, child);
    Draw();
  }

  void Close() {
    if (!display) return;
    FreeImage();
    if (!displayLost) {
      if (child && !gone) XDestroyWindow(display, child);
      if (gc) XFreeGC(display, gc);
      XSync(display, False);
      XCloseDisplay(display);
    }
    // A lost connection is left as it is: after its I/O error Xlib's display
    // lock is left taken (the process was meant to end), so any further call
    // on it, XFreeGC or XCloseDisplay included, would wait for ever. Its
    // client-side memory stays until the process ends, once per lost display.
    display = nullptr;
    child = 0;
    gc = nullptr;
    scaler.reset();
  }
};

WindowView::WindowView() : s_(std::make_unique<State>()) {}
WindowView::~WindowView() = default;

int WindowView::width() const { return s_->windowW; }
int WindowView::height() const { return s_->windowH; }

bool WindowView::Open(uint64_t window, std::string* error) {
  State& s = *s_;
  const char* name = std::getenv("DISPLAY");
  s.display = XOpenDisplay(nullptr);
  if (!s.display) {
    *error = name && name[0] ? std::string("cannot open the X display \"") + name + "\""
                             : std::string("no X display (DISPLAY is not set)");
    return false;
  }
  XSetErrorHandler(CountError);
  XSetIOErrorHandler(QuietIoError);
  XSetIOErrorExitHandler(s.display, NoteDisplayLost, &s.displayLost);
  char id[32];
  std::snprintf(id, sizeof(id), "0x%llx", static_cast<unsigned long long>(window));
  XWindowAttributes attributes{};
  const int before = xErrors;
  const Status status = XGetWindowAttributes(s.display, static_cast<Window>(window), &attributes);
  XSync(s.display, False);
  if (!status || xErrors != before) {
    *error =
        std::string("there is no window ") + id + " on the X display \"" + DisplayString(s.display) + "\"";
    s.Close();
    return false;
  }
  s.parent = static_cast<Window>(window);
  s.visual = attributes.visual;
  s.depth = attributes.depth;
  s.windowW = attributes.width;
  s.windowH = attributes.height;

  // A probe image tells the pixel layout the server takes.
  XImage* probe = XCreateImage(s.display, s.visual, s.depth, ZPixmap, 0, nullptr, 1, 1, 32, 0);
  s.layout = probe ? PixelLayout(probe, s.visual) : AV_PIX_FMT_NONE;
  if (probe) XDestroyImage(probe);
  if (s.layout == AV_PIX_FMT_NONE) {
    *error = std::string("the window ") + id + " is not 24- or 32-bit true colour (depth " +
             std::to_string(s.depth) + ")";
    s.Close();
    return false;
  }

  s.child = XCreateSimpleWindow(s.display, s.parent, 0, 0, static_cast<unsigned>(std::max(1, s.windowW)),
                                static_cast<unsigned>(std::max(1, s.windowH)), 0, 0, 0);
  XSelectInput(s.display, s.child, ExposureMask);
  // Only structure events of the caller's window: its input stays its own.
  XSelectInput(s.display, s.parent, StructureNotifyMask);
  s.gc = XCreateGC(s.display, s.child, 0, nullptr);
  XMapWindow(s.display, s.child);
  int major = 0, minor = 0;
  Bool pixmaps = False;
  s.useShm = XShmQueryVersion(s.display, &major, &minor, &pixmaps) == True;
  XSync(s.display, False);
  if (xErrors != before) {
    *error = std::string("cannot draw into the window ") + id;
    s.Close();
    return false;
  }
  return true;
}

void WindowView::Show(const uint8_t* yuv420p, int width, int height, int matrix) {
  State& s = *s_;
  const size_t size =
      static_cast<size_t>(width) * height + 2 * static_cast<size_t>((width + 1) / 2) * ((height + 1) / 2);
  s.canvas.assign(yuv420p, yuv420p + size);
  s.canvasW = width;
  s.canvasH = height;
  s.matrix = matrix;
  Poll();
  s.Draw();
}

void WindowView::Poll() {
  State& s = *s_;
  if (!s.display || s.Dead()) return;
  bool expose = false;
  int width = s.windowW, height = s.windowH;
  while (!s.displayLost && XPending(s.display)) {
    XEvent event;
    XNextEvent(s.display, &event);
    if (event.type == ConfigureNotify && event.xconfigure.window == s.parent) {
      width = event.xconfigure.width;
      height = event.xconfigure.height;
    } else if (event.type == Expose && event.xexpose.count == 0) {
      expose = true;
    } else if (event.type == DestroyNotify && event.xdestroywindow.window == s.parent) {
      s.Lost();
    }
  }
  if (s.Dead() || s.gone) return;
  if (width != s.windowW || height != s.windowH)
    s.Resized(width, height);
  else if (expose)
    s.Draw();
}

void WindowView::Close() { s_->Close(); }

} // namespace orma
