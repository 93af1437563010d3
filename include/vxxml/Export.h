// Symbol visibility for the vxxml shared library.
//
// The library is built with hidden visibility; only classes and functions
// marked VXXML_API form its binary interface.
#pragma once

#if defined(_WIN32)
#if defined(VXXML_BUILDING)
#define VXXML_API __declspec(dllexport)
#else
#define VXXML_API __declspec(dllimport)
#endif
#else
#define VXXML_API __attribute__((visibility("default")))
#endif
