/* dlopen and friends on Windows (dlfcn.h). A module is loaded with its own
 * folder searched first for the DLLs it needs, as a shared object finds
 * its neighbours through its run path. dlerror gives the last failure's
 * system text once, as POSIX says. */
#include "dlfcn.h"

#include <stdio.h>
#include <stdlib.h>
#include <windows.h>

static __thread char last_error[512];
static __thread int have_error;

static void remember(const char* what, const char* name) {
  DWORD code = GetLastError();
  char text[256] = "";
  FormatMessageA(FORMAT_MESSAGE_FROM_SYSTEM | FORMAT_MESSAGE_IGNORE_INSERTS, NULL, code, 0, text, sizeof text,
                 NULL);
  snprintf(last_error, sizeof last_error, "%s %s: %s (error %lu)", what, name ? name : "", text,
           (unsigned long)code);
  have_error = 1;
}

void* dlopen(const char* file, int mode) {
  HMODULE module;
  wchar_t* wide;
  int n;
  (void)mode;
  if (!file) return GetModuleHandleW(NULL);
  n = MultiByteToWideChar(CP_UTF8, 0, file, -1, NULL, 0);
  wide = n > 0 ? (wchar_t*)malloc(sizeof(wchar_t) * (size_t)n) : NULL;
  if (!wide) {
    SetLastError(ERROR_INVALID_NAME);
    remember("cannot load", file);
    return NULL;
  }
  MultiByteToWideChar(CP_UTF8, 0, file, -1, wide, n);
  module = LoadLibraryExW(wide, NULL, LOAD_WITH_ALTERED_SEARCH_PATH);
  free(wide);
  if (!module) remember("cannot load", file);
  return (void*)module;
}

void* dlsym(void* handle, const char* name) {
  FARPROC symbol = GetProcAddress((HMODULE)handle, name);
  if (!symbol) remember("no symbol", name);
  return (void*)symbol;
}

int dlclose(void* handle) {
  if (FreeLibrary((HMODULE)handle)) return 0;
  remember("cannot unload", "");
  return -1;
}

char* dlerror(void) {
  if (!have_error) return NULL;
  have_error = 0;
  return last_error;
}
