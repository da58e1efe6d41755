#pragma once
// The Windows headers in the order Winsock needs (winsock2.h before windows.h), lean,
// without the min/max macros that clash with the standard library.
#ifndef WIN32_LEAN_AND_MEAN
#define WIN32_LEAN_AND_MEAN
#endif
#ifndef NOMINMAX
#define NOMINMAX
#endif
// clang-format off
#include <winsock2.h>
#include <windows.h>
#include <shellapi.h>
#include <winnetwk.h>
// clang-format on
// The seam has MessageBox, CopyFile and ReplaceFile members; the A/W macros
// must not rename them.
#undef MessageBox
#undef CopyFile
#undef ReplaceFile
