// The device's memory, block by block.

#include <algorithm>

#include "device/internal/dev_serial_device_internal.h"
#include "sys/sys_bytes.h"

using namespace serialdevice;

namespace
{

/// Bytes of one exchange in groups.
constexpr QZInt64 kChunk = 32;

/// Only a block larger than a chunk goes in groups.
bool GoesInChunks(QZByte bulk, QZInt64 block) { return bulk != 0 && block > kChunk; }

/// The checksum of `count` bytes from `offset` on. A device that names a negative block size moves the place
/// out of the caller's bytes; those that are not there count as 0.
QZByte BlockCrc(const QZByte* data, QZInt64 length, QZInt64 offset, QZInt64 count)
{
    QZByte bytes[256] = {};
    const QZUInt16 size = static_cast<QZUInt16>(count);
    for (QZInt64 i = 0; i < (size & 0xFF); ++i)
    {
        const QZInt64 at = offset + i;
        if (at >= 0 && at < length) bytes[i] = data[at];
    }
    return Crc(bytes, size);
}

/// Where a block begins; the caller's bytes are touched only for a block that has some.
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
    ReadFromReturnBuffer(&buffer, ResultRoom);
    return QZLoad<QZInt32>(buffer.Bytes);
}

void QZSerialDevice::SelectBlock(QZUInt64 address, QZInt64 count, QZByte direction)
{
    ExecCommand(CleanParameters);
    WriteParameters(&address, 4);
    WriteParameters(&count, 4);
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
        // The rest goes out all the same; only the first refusal is kept.
        for (QZInt64 j = 0; j < size && *refused == 0; ++j) *refused = answers[j];
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
    ReadFromReturnBuffer(&buffer, ResultRoom);
    if (buffer.Bytes[0] != BlockCrc(data, length, offset, count)) throw new QZSerialException(VerifyFailed);
}

QZInt64 QZSerialDevice::WriteMemory(QZInt64 address, const void* data, QZInt64 length, QZBool verify)
{
    const QZWChar* method = QZ_W("MemoryWrite");
    return Locked(
        Mutex(), method,
        [&] {
            const QZByte* bytes = static_cast<const QZByte*>(data);
            QZByte refused = 0;
            const QZInt64 block = AskBlockSize();
            QZUInt64 at = static_cast<QZUInt64>(address);
            // A block size of 0 is not caught: the loop goes on until the line fails.
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
            if (refused != 0) throw new QZSerialException(refused);
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
