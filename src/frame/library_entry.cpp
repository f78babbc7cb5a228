// The module's attach and detach: DllMain on Windows, constructor and destructor elsewhere.
#include "frame/library_state.h"

#if defined(_WIN32)
#include <windows.h>

extern "C" BOOL WINAPI DllMain(HINSTANCE, DWORD reason, LPVOID) {
    switch (reason) {
        case DLL_PROCESS_ATTACH:
            return kx::attachLibrary() ? TRUE : FALSE;
        case DLL_PROCESS_DETACH:
            kx::detachLibrary();
            return TRUE;
        default:
            return TRUE;
    }
}
#else
__attribute__((constructor)) static void kestrixAttach() { kx::attachLibrary(); }
__attribute__((destructor)) static void kestrixDetach() { kx::detachLibrary(); }
#endif
