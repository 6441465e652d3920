#include "codec/cod_encryption.h"

#include "fw/internal/fw_hooks.h"
#include "sys/sys_bytes.h"

namespace
{

constexpr int kMapSize = 256;

/// Moves that many bytes from the front to the end.
void RotateLeft(QZByte* map, int places)
{
    QZByte front[kMapSize];
    QZMemCopy(front, map, places);
    QZMemMove(map, map + places, kMapSize - places);
    QZMemCopy(map + kMapSize - places, front, places);
}

/// One mixing of the map, from 1 to 255 insertions of the last byte further in front.
void Shuffle(QZByte* map, int parameter)
{
    if (parameter % 2 != 0) RotateLeft(map, parameter);
    const float step = static_cast<float>(kMapSize - parameter) / static_cast<float>(parameter);
    for (int j = parameter; j >= 1; --j)
    {
        const int position = static_cast<int>(step * static_cast<float>(j));
        const QZByte last = map[kMapSize - 1];
        QZMemMove(map + position + 1, map + position, kMapSize - 1 - position);
        map[position] = last;
    }
}

void Substitute(const void* map, void* data, QZInt64 size)
{
    const QZByte* entries = static_cast<const QZByte*>(map);
    QZByte* bytes = static_cast<QZByte*>(data);
    for (QZInt64 i = size - 1; i >= 0; --i) bytes[i] = entries[bytes[i]];
}

}  // namespace

void QZEncryption::CreateEncryptionMapByChar(void* map, const void* key, QZInt64 keyLength)
{
    QZByte* entries = static_cast<QZByte*>(map);
    for (int i = 0; i < kMapSize; ++i) entries[i] = static_cast<QZByte>(i);
    for (QZInt64 i = 0; i < keyLength; ++i)
        for (int parameter = *QZAt(key, i); parameter >= 1; --parameter) Shuffle(entries, parameter);
}

void QZEncryption::CreateDecryptionMapByChar(void* map, const void* key, QZInt64 keyLength)
{
    QZByte* inverse = static_cast<QZByte*>(map);
    QZByte* scratch = inverse + kMapSize;
    CreateEncryptionMapByChar(scratch, key, keyLength);
    for (int i = 0; i < kMapSize; ++i) inverse[scratch[i]] = static_cast<QZByte>(i);
    QZMemClean(scratch, kMapSize);
}

void QZEncryption::Encryption(const void* map, void* data, QZInt64 size) { Substitute(map, data, size); }

void QZEncryption::Decryption(const void* map, void* data, QZInt64 size) { Substitute(map, data, size); }
