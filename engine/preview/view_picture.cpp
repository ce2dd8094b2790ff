// The preview views' shared picture steps (view_picture.h).
#include "engine/preview/view_picture.h"

extern "C" {
#include <libswscale/swscale.h>
}

#include <algorithm>

namespace orma {

ViewPlace FitCanvas(int canvasW, int canvasH, int windowW, int windowH) {
  const double scale =
      std::min(static_cast<double>(windowW) / canvasW, static_cast<double>(windowH) / canvasH);
  ViewPlace p;
  p.w = std::max(1, static_cast<int>(canvasW * scale + 0.5));
  p.h = std::max(1, static_cast<int>(canvasH * scale + 0.5));
  p.x = (windowW - p.w) / 2;
  p.y = (windowH - p.h) / 2;
  return p;
}

bool ScaleCanvas(SwsPtr* scaler, const std::vector<uint8_t>& canvas, int canvasW, int canvasH, int matrix,
                 AVPixelFormat layout, int w, int h, uint8_t* out, int outStride) {
  // The cached context is handed over: a new one replaces (and frees) it.
  scaler->reset(sws_getCachedContext(scaler->release(), canvasW, canvasH, AV_PIX_FMT_YUV420P, w, h, layout,
                                     SWS_BILINEAR, nullptr, nullptr, nullptr));
  if (!*scaler) return false;
  const int* coefficients = sws_getCoefficients(matrix == 709 ? SWS_CS_ITU709 : SWS_CS_ITU601);
  sws_setColorspaceDetails(scaler->get(), coefficients, 0, coefficients, 1, 0, 1 << 16, 1 << 16);
  const int cw = (canvasW + 1) / 2, ch = (canvasH + 1) / 2;
  const size_t luma = static_cast<size_t>(canvasW) * canvasH;
  const uint8_t* planes[3] = {canvas.data(), canvas.data() + luma,
                              canvas.data() + luma + static_cast<size_t>(cw) * ch};
  const int strides[3] = {canvasW, cw, cw};
  uint8_t* outPlanes[1] = {out};
  const int outStrides[1] = {outStride};
  sws_scale(scaler->get(), planes, strides, 0, canvasH, outPlanes, outStrides);
  return true;
}

} // namespace orma
