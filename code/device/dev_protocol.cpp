#include "device/internal/dev_protocol.h"

QZByte serialdevice::Crc8(const QZByte* bytes, QZUInt16 length)
{
    QZByte sum = kChecksumStart;
    for (QZInt64 i = 0; i < ChecksumCoverage(length); ++i)
    {
        sum ^= bytes[i];
        for (int bit = 0; bit < 8; ++bit)
            sum = static_cast<QZByte>(sum & 0x80 ? sum << 1 ^ kChecksumPolynomial : sum << 1);
    }
    return sum;
}
