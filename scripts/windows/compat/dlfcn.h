/* The POSIX dynamic-loading interface that MLT loads its modules with, on
 * LoadLibrary and GetProcAddress. File names are UTF-8. */
#ifndef ORMA_COMPAT_DLFCN_H
#define ORMA_COMPAT_DLFCN_H

#ifdef __cplusplus
extern "C" {
#endif

#define RTLD_LAZY 0x1
#define RTLD_NOW 0x2
#define RTLD_GLOBAL 0x100
#define RTLD_LOCAL 0x0

void* dlopen(const char* file, int mode);
void* dlsym(void* handle, const char* name);
int dlclose(void* handle);
char* dlerror(void);

#ifdef __cplusplus
}
#endif

#endif
