/* iconv on Windows code pages (iconv.h): the text goes through UTF-16 with
 * MultiByteToWideChar and WideCharToMultiByte, which refuse invalid input
 * (EILSEQ). */
#include "iconv.h"

#include <errno.h>
#include <stdlib.h>
#include <string.h>
#include <windows.h>

struct converter {
  UINT from, to;
};

static UINT code_page(const char* name) {
  if (!name) return 0;
  if (_stricmp(name, "UTF-8") == 0 || _stricmp(name, "UTF8") == 0) return CP_UTF8;
  if (_stricmp(name, "GBK") == 0 || _stricmp(name, "GB2312") == 0) return 936;
  if (_strnicmp(name, "CP", 2) == 0) name += 2;
  return (UINT)strtoul(name, NULL, 10);
}

iconv_t iconv_open(const char* to, const char* from) {
  struct converter* c;
  UINT t = code_page(to), f = code_page(from);
  if (!t || !f || !IsValidCodePage(t) || !IsValidCodePage(f)) {
    errno = EINVAL;
    return (iconv_t)-1;
  }
  c = (struct converter*)malloc(sizeof *c);
  if (!c) {
    errno = ENOMEM;
    return (iconv_t)-1;
  }
  c->from = f;
  c->to = t;
  return c;
}

size_t iconv(iconv_t cd, char** in, size_t* in_left, char** out, size_t* out_left) {
  struct converter* c = (struct converter*)cd;
  int wide, bytes;
  wchar_t* w;
  if (!in || !*in || !*in_left) return 0; /* no shift state to reset */
  wide = MultiByteToWideChar(c->from, MB_ERR_INVALID_CHARS, *in, (int)*in_left, NULL, 0);
  if (wide <= 0) {
    errno = EILSEQ;
    return (size_t)-1;
  }
  w = (wchar_t*)malloc(sizeof(wchar_t) * (size_t)wide);
  if (!w) {
    errno = ENOMEM;
    return (size_t)-1;
  }
  MultiByteToWideChar(c->from, 0, *in, (int)*in_left, w, wide);
  bytes = WideCharToMultiByte(c->to, 0, w, wide, NULL, 0, NULL, NULL);
  if (bytes <= 0 || (size_t)bytes > *out_left) {
    free(w);
    errno = bytes <= 0 ? EILSEQ : E2BIG;
    return (size_t)-1;
  }
  WideCharToMultiByte(c->to, 0, w, wide, *out, bytes, NULL, NULL);
  free(w);
  *in += *in_left;
  *in_left = 0;
  *out += bytes;
  *out_left -= (size_t)bytes;
  return 0;
}

int iconv_close(iconv_t cd) {
  free(cd);
  return 0;
}
