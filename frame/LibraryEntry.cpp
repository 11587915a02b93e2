// The library's entry point on Windows: the library keeps no per-thread
// state, so it asks not to be told of threads starting and ending.
#if defined(_WIN32)
#include <windows.h>

BOOL WINAPI DllMain(HINSTANCE instance, DWORD reason, LPVOID /*reserved*/) {
  if (reason == DLL_PROCESS_ATTACH) DisableThreadLibraryCalls(instance);
  return TRUE;
}
#endif
