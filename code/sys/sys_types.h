#ifndef QZLIB_SYS_TYPES_H
#define QZLIB_SYS_TYPES_H

/// Base aliases and the export mark. Nothing else lives here.

#include <cstddef>
#include <cstdint>

#if defined(_WIN32)
#if defined(QZLIB_BUILD)
#define QZ_API __declspec(dllexport)
#elif defined(QZLIB_STATIC)
#define QZ_API
#else
#define QZ_API __declspec(dllimport)
#endif
#define QZ_W(text) L##text
/// One UTF-16 unit.
using QZWChar = wchar_t;
using QZULong = unsigned long;
using QZLong = long;
#else
#define QZ_API __attribute__((visibility("default")))
#define QZ_W(text) u##text
/// One UTF-16 unit.
using QZWChar = char16_t;
using QZULong = std::uint32_t;
using QZLong = std::int32_t;
#endif

using QZInt64 = long long;
using QZUInt64 = unsigned long long;
using QZInt32 = int;
using QZUInt32 = unsigned int;
using QZInt16 = short;
using QZUInt16 = unsigned short;
/// Narrow text in the system's ANSI page on Windows, UTF-8 elsewhere.
using QZChar = char;
/// 0 or 1.
using QZBool = unsigned char;
using QZByte = unsigned char;
using QZFloat = float;
using QZDouble = double;
using QZPVoid = void*;
/// A byte buffer.
using QZPBuf = void*;
/// A raw string block.
using QZPString = void*;

inline constexpr std::nullptr_t QZNull = nullptr;

#endif
