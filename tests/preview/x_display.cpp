// Xvfb and the test's own window (x_display.h).
#include "tests/preview/x_display.h"

#include <X11/Xutil.h>
#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <string>

namespace previewtest {

namespace {

// Errors on the test's own connection (a window read while it is resized)
// must not end the test process.
int IgnoreError(Display*, XErrorEvent*) { return 0; }

// The channel's value as 0..255 from a pixel and its mask.
int Channel(unsigned long pixel, unsigned long mask) {
  if (!mask) return 0;
  int shift = 0;
  while (!(mask & 1)) {
    mask >>= 1;
    ++shift;
  }
  return static_cast<int>(((pixel >> shift) & mask) * 255 / mask);
}

} // namespace

XvfbServer::XvfbServer() {
  int fds[2];
  if (pipe(fds) != 0) {
    error_ = "no pipe";
    return;
  }
  pid_ = fork();
  if (pid_ == 0) {
    close(fds[0]);
    const int devnull = open("/dev/null", O_RDWR);
    dup2(devnull, 0);
    dup2(devnull, 1);
    dup2(devnull, 2);
    const std::string fd = std::to_string(fds[1]);
    execlp("Xvfb", "Xvfb", "-displayfd", fd.c_str(), "-screen", "0", "1280x720x24", "-nolisten", "tcp",
           "-noreset", static_cast<char*>(nullptr));
    _exit(127);
  }
  close(fds[1]);
  // The server writes its display number once it accepts connections.
  std::string number;
  pollfd p{fds[0], POLLIN, 0};
  while (poll(&p, 1, 20000) > 0) {
    char c;
    if (read(fds[0], &c, 1) != 1 || c == '\n') break;
    number += c;
  }
  close(fds[0]);
  if (number.empty()) {
    error_ = "Xvfb did not start (is the xvfb package installed?)";
    return;
  }
  display_ = ":" + number;
}

XvfbServer::~XvfbServer() {
  if (pid_ <= 0) return;
  kill(pid_, SIGTERM);
  int status = 0;
  waitpid(pid_, &status, 0);
}

void XvfbServer::Kill() {
  if (pid_ <= 0) return;
  kill(pid_, SIGKILL);
  int status = 0;
  waitpid(pid_, &status, 0);
  pid_ = -1;
}

std::string ToString(const Rgb& c) {
  return "(" + std::to_string(c.r) + ", " + std::to_string(c.g) + ", " + std::to_string(c.b) + ")";
}

bool Near(const Rgb& a, const Rgb& e, int tolerance) {
  return std::abs(a.r - e.r) <= tolerance && std::abs(a.g - e.g) <= tolerance &&
         std::abs(a.b - e.b) <= tolerance;
}

TestWindow::TestWindow(const std::string& display, int width, int height) {
  display_ = XOpenDisplay(display.c_str());
  if (!display_) return;
  XSetErrorHandler(IgnoreError);
  const int screen = DefaultScreen(display_);
  window_ = XCreateSimpleWindow(display_, RootWindow(display_, screen), 0, 0, static_cast<unsigned>(width),
                                static_cast<unsigned>(height), 0, BlackPixel(display_, screen),
                                WhitePixel(display_, screen));
  XMapWindow(display_, window_);
  XSync(display_, False);
}

TestWindow::~TestWindow() {
  if (!display_) return;
  if (window_) XDestroyWindow(display_, window_);
  XCloseDisplay(display_);
}

void TestWindow::Release() {
  if (!display_) return;
  XSetCloseDownMode(display_, RetainPermanent);
  XCloseDisplay(display_);
  display_ = nullptr;
}

std::string TestWindow::Id() const {
  char text[32];
  std::snprintf(text, sizeof(text), "0x%lx", static_cast<unsigned long>(window_));
  return text;
}

Rgb TestWindow::At(int x, int y) {
  Rgb c;
  XSync(display_, False);
  XImage* image = XGetImage(display_, window_, x, y, 1, 1, AllPlanes, ZPixmap);
  if (!image) return {-1, -1, -1};
  const unsigned long pixel = XGetPixel(image, 0, 0);
  c.r = Channel(pixel, image->red_mask);
  c.g = Channel(pixel, image->green_mask);
  c.b = Channel(pixel, image->blue_mask);
  XDestroyImage(image);
  return c;
}

void TestWindow::Resize(int width, int height) {
  XResizeWindow(display_, window_, static_cast<unsigned>(width), static_cast<unsigned>(height));
  XSync(display_, False);
}

bool TestWindow::Exists() {
  XWindowAttributes attributes;
  return XGetWindowAttributes(display_, window_, &attributes) != 0;
}

int TestWindow::Children() {
  Window root = 0, parent = 0, *children = nullptr;
  unsigned int count = 0;
  if (!XQueryTree(display_, window_, &root, &parent, &children, &count)) return -1;
  if (children) XFree(children);
  return static_cast<int>(count);
}

} // namespace previewtest
