/* The part of the POSIX iconv interface that MLT's Windows support uses
 * (converting property texts between UTF-8 and a code page), on the
 * Windows code-page conversions. Names: "UTF-8", "CPnnn", "GBK", or a bare
 * code-page number. Each call converts the whole input it is given. */
#ifndef ORMA_COMPAT_ICONV_H
#define ORMA_COMPAT_ICONV_H

#include <stddef.h>

#ifdef __cplusplus
extern "C" {
#endif

typedef void* iconv_t;

iconv_t iconv_open(const char* to, const char* from);
size_t iconv(iconv_t cd, char** in, size_t* in_left, char** out, size_t* out_left);
int iconv_close(iconv_t cd);

#ifdef __cplusplus
}
#endif

#endif
