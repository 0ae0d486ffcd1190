// Releasing the process-lifetime state at unload: DllMain's process detach on
// Windows, a destructor of the shared object elsewhere (it also runs at the
// end of a program that links the library statically).
#include "entry/lifetime.hpp"

#if defined(_WIN32)
#define WIN32_LEAN_AND_MEAN
#ifndef NOMINMAX
#define NOMINMAX
#endif
#include <windows.h>
#endif

namespace volp {
namespace {

void ReleaseAll() {
  ReleaseFileServices();
  ReleaseEntryState();
}

}  // namespace
}  // namespace volp

#if defined(_WIN32)
extern "C" BOOL WINAPI DllMain(HINSTANCE, DWORD reason, LPVOID reserved) {
  // At process exit (reserved set) the system reclaims everything, and other
  // threads are already gone: only an unload by FreeLibrary cleans up.
  if (reason == DLL_PROCESS_DETACH && reserved == nullptr) volp::ReleaseAll();
  return TRUE;
}
#else
__attribute__((destructor)) static void VolpUnload() { volp::ReleaseAll(); }
#endif
