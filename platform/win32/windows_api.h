// <windows.h> for the Win32 side of the platform seam.
//
// <windows.h> defines many names as macros for their ...A or ...W variants;
// the seam spells every Win32 call with its A suffix, so the ones that
// could meet one of our names are undone here. CTime::GetCurrentTime keeps
// its name against the Win16 macro of the same name (see platform/time.h).

#ifndef ZDS_PLATFORM_WIN32_WINDOWS_API_H_
#define ZDS_PLATFORM_WIN32_WINDOWS_API_H_

#ifndef WIN32_LEAN_AND_MEAN
#define WIN32_LEAN_AND_MEAN
#endif
#ifndef NOMINMAX
#define NOMINMAX
#endif
#include <windows.h>

#undef CreateWindow
#undef DeleteFile
#undef MoveFile
#undef GetCurrentTime

#endif  // ZDS_PLATFORM_WIN32_WINDOWS_API_H_
