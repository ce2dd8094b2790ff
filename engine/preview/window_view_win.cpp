// The preview's picture area inside the caller's window on Windows
// (window_view.h), drawn with GDI.
//
// As on X11 the view makes one child window of its own that fills the
// caller's window and draws only there. The child is created by the
// player's thread, the one that draws and calls Poll, because a window
// belongs to the thread that creates it and only that thread receives its
// messages: made by the thread that called OrmaPreview, which does not
// pump messages, it would stall the caller's window whenever that window
// sent it something (a resize does). Open only checks the window and takes
// its size.
//
// Pictures are converted and scaled with libswscale (bilinear) into a
// 32-bit top-down DIB of the picture's size and copied to the child with
// SetDIBitsToDevice; the bars around it are filled black. GDI was chosen
// over SDL2's renderer: a child window of a foreign process's window is
// plain Win32, and one CPU copy per picture is what the X11 view does too.
#include "engine/preview/window_view.h"

#include <windows.h>

#include <algorithm>

#include "engine/core/av_handles.h"
#include "engine/core/log.h"
#include "engine/preview/view_picture.h"

namespace orma {

namespace {

const wchar_t kClassName[] = L"OrmaPreviewView";

LRESULT CALLBACK ViewProcedure(HWND window, UINT message, WPARAM w, LPARAM l) {
  switch (message) {
  case WM_ERASEBKGND:
    return 1; // the view paints every pixel itself
  case WM_PAINT: {
    // Painting is done by the view after Poll; here the region is only
    // validated so that Windows stops asking.
    PAINTSTRUCT ps;
    BeginPaint(window, &ps);
    EndPaint(window, &ps);
    auto* dirty = reinterpret_cast<bool*>(GetWindowLongPtrW(window, GWLP_USERDATA));
    if (dirty) *dirty = true;
    return 0;
  }
  case WM_NCHITTEST:
    return HTTRANSPARENT; // clicks go to the caller's window
  default:
    return DefWindowProcW(window, message, w, l);
  }
}

bool RegisterViewClass() {
  static const bool registered = [] {
    WNDCLASSEXW c{};
    c.cbSize = sizeof c;
    c.lpfnWndProc = ViewProcedure;
    c.hInstance = GetModuleHandleW(nullptr);
    c.hCursor = LoadCursor(nullptr, IDC_ARROW);
    c.lpszClassName = kClassName;
    return RegisterClassExW(&c) != 0 || GetLastError() == ERROR_CLASS_ALREADY_EXISTS;
  }();
  return registered;
}

} // namespace

struct WindowView::State {
  HWND parent = nullptr;
  HWND child = nullptr;
  bool gone = false;
  bool dirty = false;
  int windowW = 0, windowH = 0;
  // The picture's place in the window.
  int x = 0, y = 0, w = 0, h = 0;
  std::vector<uint8_t> pixels; // BGRA, top-down, w × h
  SwsPtr scaler;
  // The last canvas shown, kept to draw it again after a resize.
  std::vector<uint8_t> canvas;
  int canvasW = 0, canvasH = 0, matrix = 601;

  bool ParentSize(int* width, int* height) {
    RECT r;
    if (!IsWindow(parent) || !GetClientRect(parent, &r)) return false;
    *width = r.right - r.left;
    *height = r.bottom - r.top;
    return true;
  }

  // The child window, made by the calling (player) thread on first use.
  bool EnsureChild() {
    if (child) return true;
    if (gone) return false;
    if (!RegisterViewClass()) {
      Lost("the view's window class cannot be registered");
      return false;
    }
    child = CreateWindowExW(0, kClassName, L"", WS_CHILD | WS_VISIBLE | WS_CLIPSIBLINGS, 0, 0,
                            std::max(1, windowW), std::max(1, windowH), parent, nullptr,
                            GetModuleHandleW(nullptr), nullptr);
    if (!child) {
      Lost("the view's window cannot be made (error " + std::to_string(GetLastError()) + ")");
      return false;
    }
    SetWindowLongPtrW(child, GWLP_USERDATA, reinterpret_cast<LONG_PTR>(&dirty));
    return true;
  }

  void Fit() {
    if (canvasW <= 0 || canvasH <= 0 || windowW <= 0 || windowH <= 0) return;
    const ViewPlace place = FitCanvas(canvasW, canvasH, windowW, windowH);
    x = place.x;
    y = place.y;
    w = place.w;
    h = place.h;
    pixels.resize(static_cast<size_t>(w) * h * 4);
  }

  void Draw() {
    if (gone || canvas.empty() || !EnsureChild()) return;
    Fit();
    if (pixels.empty()) return;
    if (!ScaleCanvas(&scaler, canvas, canvasW, canvasH, matrix, AV_PIX_FMT_BGRA, w, h, pixels.data(), w * 4))
      return;

    HDC dc = GetDC(child);
    if (!dc) {
      if (!IsWindow(child)) Lost("the window was closed");
      return;
    }
    BITMAPINFO info{};
    info.bmiHeader.biSize = sizeof info.bmiHeader;
    info.bmiHeader.biWidth = w;
    info.bmiHeader.biHeight = -h; // top-down
    info.bmiHeader.biPlanes = 1;
    info.bmiHeader.biBitCount = 32;
    info.bmiHeader.biCompression = BI_RGB;
    SetDIBitsToDevice(dc, x, y, static_cast<DWORD>(w), static_cast<DWORD>(h), 0, 0, 0, static_cast<UINT>(h),
                      pixels.data(), &info, DIB_RGB_COLORS);
    // The bars around the picture.
    HBRUSH black = static_cast<HBRUSH>(GetStockObject(BLACK_BRUSH));
    RECT bars[4] = {
        {0, 0, windowW, y}, {0, y + h, windowW, windowH}, {0, y, x, y + h}, {x + w, y, windowW, y + h}};
    for (const RECT& r : bars)
      if (r.right > r.left && r.bottom > r.top) FillRect(dc, &r, black);
    ReleaseDC(child, dc);
    GdiFlush();
    dirty = false;
  }

  void Lost(const std::string& why) {
    if (gone) return;
    gone = true;
    LogText("preview: the window can no longer be drawn into (" + why + "); pictures are no longer shown");
  }

  void Close() {
    if (child && IsWindow(child)) DestroyWindow(child);
    child = nullptr;
    parent = nullptr;
    scaler.reset();
  }
};

WindowView::WindowView() : s_(std::make_unique<State>()) {}
WindowView::~WindowView() { Close(); }

int WindowView::width() const { return s_->windowW; }
int WindowView::height() const { return s_->windowH; }

bool WindowView::Open(uint64_t window, std::string* error) {
  State& s = *s_;
  s.parent = reinterpret_cast<HWND>(static_cast<uintptr_t>(window));
  if (!window || !IsWindow(s.parent)) {
    *error = "no such window: " + std::to_string(window);
    s.parent = nullptr;
    return false;
  }
  if (!s.ParentSize(&s.windowW, &s.windowH)) {
    *error = "the size of window " + std::to_string(window) + " cannot be read";
    return false;
  }
  return true;
}

void WindowView::Show(const uint8_t* yuv420p, int width, int height, int matrix) {
  State& s = *s_;
  if (s.gone || !s.parent) return;
  const size_t size =
      static_cast<size_t>(width) * height + 2 * static_cast<size_t>((width + 1) / 2) * ((height + 1) / 2);
  s.canvas.assign(yuv420p, yuv420p + size);
  s.canvasW = width;
  s.canvasH = height;
  s.matrix = matrix;
  s.Draw();
}

void WindowView::Poll() {
  State& s = *s_;
  if (s.gone || !s.parent) return;
  if (!IsWindow(s.parent)) {
    s.Lost("the window was closed");
    s.child = nullptr; // destroyed with its parent
    return;
  }
  // The messages of this thread's windows (the child's).
  MSG message;
  while (PeekMessageW(&message, nullptr, 0, 0, PM_REMOVE)) {
    TranslateMessage(&message);
    DispatchMessageW(&message);
  }
  int width = 0, height = 0;
  if (s.ParentSize(&width, &height) && (width != s.windowW || height != s.windowH)) {
    s.windowW = width;
    s.windowH = height;
    if (s.child) MoveWindow(s.child, 0, 0, std::max(1, width), std::max(1, height), FALSE);
    s.dirty = true;
  }
  if (s.dirty) s.Draw();
}

void WindowView::Close() {
  if (s_) s_->Close();
}

} // namespace orma
