#ifndef QZLIB_SYS_BYTES_H
#define QZLIB_SYS_BYTES_H

#include <cstring>

/// Reads a T at any byte position: it needs no alignment and breaks no aliasing rule.
template <typename T>
inline T QZLoad(const void* position)
{
    T value;
    std::memcpy(&value, position, sizeof(T));
    return value;
}

/// Writes a T at any byte position.
template <typename T>
inline void QZStore(void* position, T value)
{
    std::memcpy(position, &value, sizeof(T));
}

/// The address `offset` bytes after `base`.
inline unsigned char* QZAt(void* base, long long offset)
{
    return static_cast<unsigned char*>(base) + offset;
}

inline const unsigned char* QZAt(const void* base, long long offset)
{
    return static_cast<const unsigned char*>(base) + offset;
}

#endif
