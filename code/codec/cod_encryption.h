#ifndef QZLIB_CODEC_ENCRYPTION_H
#define QZLIB_CODEC_ENCRYPTION_H

#include "sys/sys_types.h"

/// A keyed byte substitution: every byte of the data becomes the map's entry for it.
///
/// A map is a permutation of the 256 byte values made from a key. It hides content from a casual look and is
/// no cipher that withstands an attack. Only static operations without state; any thread.
class QZ_API QZEncryption
{
public:
    /// Fills the 256 bytes at `map` with the permutation of the key. A key without bytes gives the identity.
    static void CreateEncryptionMapByChar(void* map, const void* key, QZInt64 keyLength);

    /// The inverse permutation, in the first 256 bytes at `map`.
    /// @param map  512 bytes; the second half is scratch and zero afterwards
    static void CreateDecryptionMapByChar(void* map, const void* key, QZInt64 keyLength);

    /// Replaces `size` bytes at `data` by their entries in the map.
    static void Encryption(const void* map, void* data, QZInt64 size);
    static void Decryption(const void* map, void* data, QZInt64 size);
};

#endif
