// <windows.h> for the Win32 side of the platform seam.
//
// The seam's own names (DataRoot::DeleteFile, DataRoot::MoveFile,
// MessageQueue::CreateWindow, CTime::GetCurrentTime) are macros in
// <windows.h> that would silently become their ...A variants in one
// translation unit and not in the others; they are undone here, so the
// Win32 calls are spelled with their A suffix wherever they are used.

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
