// The AVX2 row resamplers of resampled_rows.h and the window plan they
// share; built only where ORMA_AVX2 is set.
#include "engine/picture/resampled_rows.h"

#if ORMA_AVX2
#include <immintrin.h>

namespace orma {

// One item row resampled, eight columns at a time: out[i] = src[i0[i]] *
// (256 - f[i]) + src[i0[i] + 1] * f[i], both neighbours gathered as one
// little-endian word. The word reaches two bytes beyond the second
// neighbour, so the caller uses this only where a next row follows.
ORMA_AVX2_FUNCTION void ResampleRowAvx2(const uint8_t* src, const int32_t* i0, const int32_t* f, int from,
                                        int to, uint16_t* out) {
  const __m256i low = _mm256_set1_epi32(255), whole = _mm256_set1_epi32(256);
  int i = from;
  for (; i + 8 <= to; i += 8) {
    __m256i index = _mm256_loadu_si256(reinterpret_cast<const __m256i*>(i0 + i));
    __m256i words = _mm256_i32gather_epi32(reinterpret_cast<const int*>(src), index, 1);
    __m256i weight = _mm256_loadu_si256(reinterpret_cast<const __m256i*>(f + i));
    __m256i first = _mm256_and_si256(words, low);
    __m256i second = _mm256_and_si256(_mm256_srli_epi32(words, 8), low);
    __m256i sum = _mm256_add_epi32(_mm256_mullo_epi32(first, _mm256_sub_epi32(whole, weight)),
                                   _mm256_mullo_epi32(second, weight));
    // At most 255 * 256: packed to 16 bits without saturating.
    __m256i packed = _mm256_permute4x64_epi64(_mm256_packus_epi32(sum, sum), 0x08);
    _mm_storeu_si128(reinterpret_cast<__m128i*>(out + i), _mm256_castsi256_si128(packed));
  }
  for (; i < to; ++i)
    out[i] = static_cast<uint16_t>(src[i0[i]] * (256 - f[i]) + src[i0[i] + 1] * f[i]);
}

bool MakeWindowPlan(const int32_t* i0, const int32_t* f, int width, WindowPlan* plan) {
  plan->groups = width / 8;
  plan->base.resize(plan->groups);
  plan->first.resize(static_cast<size_t>(plan->groups) * 16);
  plan->second.resize(static_cast<size_t>(plan->groups) * 16);
  plan->keep.resize(width);
  plan->take.resize(width);
  for (int g = 0; g < plan->groups; ++g) {
    const int c = 8 * g, base = *std::min_element(i0 + c, i0 + c + 8);
    if (*std::max_element(i0 + c, i0 + c + 8) + 1 - base > 15) return false;
    plan->base[g] = base;
    for (int j = 0; j < 8; ++j) {
      plan->first[16 * g + 2 * j] = static_cast<uint8_t>(i0[c + j] - base);
      plan->first[16 * g + 2 * j + 1] = 0x80; // a zero high byte
      plan->second[16 * g + 2 * j] = static_cast<uint8_t>(i0[c + j] + 1 - base);
      plan->second[16 * g + 2 * j + 1] = 0x80;
    }
  }
  for (int i = 0; i < width; ++i) {
    plan->keep[i] = static_cast<int16_t>(256 - f[i]);
    plan->take[i] = static_cast<int16_t>(f[i]);
  }
  return true;
}

// Columns `from` to `to` and the rest of their groups. Reads up to 15 bytes
// beyond a group's last neighbour, so the caller uses this only where a next
// row follows.
ORMA_AVX2_FUNCTION void ResampleRowWindowsAvx2(const uint8_t* src, const WindowPlan& plan, const int32_t* i0,
                                               const int32_t* f, int from, int to, uint16_t* out) {
  int g = from / 8;
  const int groups = std::min(plan.groups, (to + 7) / 8);
  for (; g + 2 <= groups; g += 2) {
    __m128i lo = _mm_loadu_si128(reinterpret_cast<const __m128i*>(src + plan.base[g]));
    __m128i hi = _mm_loadu_si128(reinterpret_cast<const __m128i*>(src + plan.base[g + 1]));
    __m256i window = _mm256_inserti128_si256(_mm256_castsi128_si256(lo), hi, 1);
    __m256i first = _mm256_shuffle_epi8(
        window, _mm256_loadu_si256(reinterpret_cast<const __m256i*>(plan.first.data() + 16 * g)));
    __m256i second = _mm256_shuffle_epi8(
        window, _mm256_loadu_si256(reinterpret_cast<const __m256i*>(plan.second.data() + 16 * g)));
    __m256i keep = _mm256_loadu_si256(reinterpret_cast<const __m256i*>(plan.keep.data() + 8 * g));
    __m256i take = _mm256_loadu_si256(reinterpret_cast<const __m256i*>(plan.take.data() + 8 * g));
    __m256i sum = _mm256_add_epi16(_mm256_mullo_epi16(first, keep), _mm256_mullo_epi16(second, take));
    _mm256_storeu_si256(reinterpret_cast<__m256i*>(out + 8 * g), sum);
  }
  for (int i = 8 * g; i < to; ++i)
    out[i] = static_cast<uint16_t>(src[i0[i]] * (256 - f[i]) + src[i0[i] + 1] * f[i]);
}

} // namespace orma
#endif
