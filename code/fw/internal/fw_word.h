#ifndef QZLIB_FW_WORD_H
#define QZLIB_FW_WORD_H

#include <cstdint>

#include "sys/sys_types.h"

/// Pointers as the 64-bit words that a QZCollection holds, and back.

inline QZUInt64 ToWord(const void* pointer) { return reinterpret_cast<std::uintptr_t>(pointer); }

template <typename T>
T* FromWord(QZUInt64 word)
{
    return reinterpret_cast<T*>(static_cast<std::uintptr_t>(word));
}

#endif
