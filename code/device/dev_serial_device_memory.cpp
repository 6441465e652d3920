// The device's memory, block by block.

#include <algorithm>

#include "device/dev_serial_device.h"
#include "device/internal/dev_call.h"
#include "device/internal/dev_protocol.h"
#include "sys/sys_bytes.h"

using namespace serialdevice;

namespace
{

/// Bytes of one exchange in bulk mode.
constexpr QZInt64 kChunk = 32;

/// In bulk mode a block larger than kChunk is sent in groups of kChunk bytes, a smaller one byte by byte.
bool GoesInChunks(QZByte bulk, QZInt64 block) { return bulk != 0 && block > kChunk; }

/// The checksum of `count` bytes from `offset` on. A device that reports a negative block size moves the
/// range out of the caller's bytes; bytes outside count as 0.
QZByte BlockCrc(const QZByte* data, QZInt64 length, QZInt64 offset, QZInt64 count)
{
    QZByte bytes[kChecksumCoverageMax + 1] = {};
    const QZUInt16 size = static_cast<QZUInt16>(count);
    for (QZInt64 i = 0; i < ChecksumCoverage(size); ++i)
    {
        const QZInt64 at = offset + i;
        if (at >= 0 && at < length) bytes[i] = data[at];
    }
    return Crc8(bytes, size);
}

/// The start of a block; null for a block without bytes, so that no address outside the buffer is formed.
template <typename B>
B* BlockAt(B* data, QZInt64 offset, QZInt64 count)
{
    return count > 0 ? data + offset : nullptr;
}

}  // namespace

QZInt64 QZSerialDevice::AskBlockSize()
{
    QZSerialDeviceBuffer buffer{};
    ExecCommand(LoadBlockSize);
    ReadFromReturnBuffer(&buffer, sizeof(buffer));
    return QZLoad<QZInt32>(buffer.Bytes + kBlockSizeAt);
}

void QZSerialDevice::SelectBlock(QZUInt64 address, QZInt64 count, QZByte direction)
{
    ExecCommand(CleanParameters);
    WriteParameters(&address, kAddressSize);
    WriteParameters(&count, kLengthSize);
    ExecCommand(TakeAddress);
    ExecCommand(direction);
}

void QZSerialDevice::SendBlock(const QZByte* bytes, QZInt64 count, QZInt64 block, QZByte* refused)
{
    const QZInt64 step = GoesInChunks(m_bulk, block) ? kChunk : 1;
    for (QZInt64 i = 0; i < count; i += step)
    {
        const QZInt64 size = std::min(step, count - i);
        QZByte answers[kChunk] = {};
        Exec(bytes + i, size, answers, size);
        // A refusal does not stop the transfer; only the first one is kept.
        for (QZInt64 j = 0; j < size && *refused == kStatusDone; ++j) *refused = answers[j];
    }
}

void QZSerialDevice::ReceiveBlock(QZByte* bytes, QZInt64 count, QZInt64 block)
{
    const QZInt64 step = GoesInChunks(m_bulk, block) ? kChunk : 1;
    QZByte commands[kChunk];
    std::fill(std::begin(commands), std::end(commands), QZByte{NextByte});
    for (QZInt64 i = 0; i < count; i += step)
    {
        const QZInt64 size = std::min(step, count - i);
        Exec(commands, size, bytes + i, size);
    }
}

void QZSerialDevice::VerifyBlock(const QZByte* data, QZInt64 length, QZInt64 offset, QZInt64 count)
{
    const QZByte command = BlockChecksum;
    QZByte ignored = 0;
    Exec(&command, 1, &ignored, 1);
    QZSerialDeviceBuffer buffer{};
    ReadFromReturnBuffer(&buffer, sizeof(buffer));
    if (buffer.Bytes[kBlockChecksumAt] != BlockCrc(data, length, offset, count))
        throw new QZSerialException(kStatusVerifyFailed);
}

QZInt64 QZSerialDevice::WriteMemory(QZInt64 address, const void* data, QZInt64 length, QZBool verify)
{
    const QZWChar* method = QZ_W("MemoryWrite");
    return Locked(
        Mutex(), method,
        [&] {
            const QZByte* bytes = static_cast<const QZByte*>(data);
            QZByte refused = kStatusDone;
            const QZInt64 block = AskBlockSize();
            QZUInt64 at = static_cast<QZUInt64>(address);
            // A block size of 0 is not tested: the loop then runs until the line fails.
            for (QZInt64 done = 0; done < length;)
            {
                const QZInt64 count = std::min(block, length - done);
                SelectBlock(at, count, OpenForWriting);
                SendBlock(BlockAt(bytes, done, count), count, block, &refused);
                ExecCommand(EndBlock);
                if (verify != 0) VerifyBlock(bytes, length, done, count);
                ExecCommand(CommitBlock);
                at += static_cast<QZUInt64>(count);
                done += count;
            }
            if (refused != kStatusDone) throw new QZSerialException(refused);
            return length;
        },
        Arg(QZ_W("QZInt64"), address), Arg(QZ_W("QZPVoid"), AddressOf(data)), Arg(QZ_W("QZInt64"), length),
        Arg(QZ_W("QZBool"), static_cast<int>(verify)));
}

QZInt64 QZSerialDevice::ReadMemory(QZInt64 address, void* data, QZInt64 length, QZBool verify)
{
    const QZWChar* method = QZ_W("MemoryRead");
    return Locked(
        Mutex(), method,
        [&] {
            QZByte* bytes = static_cast<QZByte*>(data);
            const QZInt64 block = AskBlockSize();
            QZUInt64 at = static_cast<QZUInt64>(address);
            for (QZInt64 done = 0; done < length;)
            {
                const QZInt64 count = std::min(block, length - done);
                SelectBlock(at, count, OpenForReading);
                ExecCommand(StartReadOut);
                ReceiveBlock(BlockAt(bytes, done, count), count, block);
                ExecCommand(EndBlock);
                if (verify != 0) VerifyBlock(bytes, length, done, count);
                at += static_cast<QZUInt64>(count);
                done += count;
            }
            return length;
        },
        Arg(QZ_W("QZInt64"), address), Arg(QZ_W("QZPVoid"), AddressOf(data)), Arg(QZ_W("QZInt64"), length),
        Arg(QZ_W("QZBool"), static_cast<int>(verify)));
}
