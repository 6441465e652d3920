// The checked readers of the files of pixel blocks: head, size of the file and limits are compared before a
// block is made.

#include "graphics/gr_pixels.h"
#include "fw/fw_string.h"
#include "fw/internal/fw_hooks.h"
#include "fw/internal/fw_raise.h"
#include "fw/internal/fw_trace.h"
#include "os/internal/os_opened_file.h"
#include "sys/sys_bytes.h"

namespace
{

constexpr QZInt64 kBinMark = 0x8000100;
constexpr QZInt64 kBinHead = 56;
constexpr QZInt64 kBitmapHead = 54;
/// The file header of a bitmap; its information header follows.
constexpr QZInt64 kFileHeader = 14;
constexpr QZInt64 kSmallestHeader = 40;

/// The bytes of a file, in memory or on the disk.
class Source
{
public:
    virtual ~Source() = default;
    virtual QZInt64 Size() = 0;
    /// @return the bytes that came, fewer at the end
    virtual QZInt64 Read(QZInt64 offset, unsigned char* bytes, QZInt64 size) = 0;
};

class MemorySource : public Source
{
public:
    MemorySource(const void* bytes, QZInt64 size)
        : m_bytes(static_cast<const unsigned char*>(bytes)), m_size(bytes == nullptr ? 0 : size)
    {}
    QZInt64 Size() override { return m_size; }
    QZInt64 Read(QZInt64 offset, unsigned char* bytes, QZInt64 size) override
    {
        QZMemCopy(bytes, m_bytes + offset, size);
        return size;
    }

private:
    const unsigned char* m_bytes;
    QZInt64 m_size;
};

class FileSource : public Source
{
public:
    explicit FileSource(QZString* path)
        : m_file(QZFile::Open(path, QZFileOptions::Read | QZFileOptions::ShareRead))
    {}
    QZInt64 Size() override { return m_file->GetSize(); }
    QZInt64 Read(QZInt64 offset, unsigned char* bytes, QZInt64 size) override
    {
        return QZReadWhole(m_file.Get(), offset, bytes, size);
    }

private:
    QZOpenedFile m_file;
};

/// What a head says.
struct Picture
{
    QZInt64 width = 0;
    QZInt64 height = 0;
    QZInt64 offset = 0;  ///< of the pixels
};

using Refusal = QZPixelReadError;
const Refusal kAccepted;

Refusal BitmapHead(const unsigned char* head, Picture* picture)
{
    if (head[0] != 'B' || head[1] != 'M')
        return {QZPixelReadCode::Signature, QZ_W("the file does not begin as a bitmap")};
    const QZInt64 header = QZLoad<QZUInt32>(head + 14);
    picture->offset = QZLoad<QZUInt32>(head + 10);
    picture->width = QZLoad<QZInt32>(head + 18);
    picture->height = QZLoad<QZInt32>(head + 22);
    if (header < kSmallestHeader) return {QZPixelReadCode::Form, QZ_W("the bitmap has an old header")};
    if (QZLoad<QZUInt16>(head + 26) != 1 || QZLoad<QZUInt16>(head + 28) != 32)
        return {QZPixelReadCode::Form, QZ_W("the bitmap does not have one plane of 32 bits")};
    if (QZLoad<QZUInt32>(head + 30) != 0) return {QZPixelReadCode::Form, QZ_W("the bitmap is compressed")};
    if (picture->offset < kFileHeader + header)
        return {QZPixelReadCode::Size, QZ_W("the pixels begin inside the header")};
    return kAccepted;
}

Refusal BinHead(const unsigned char* head, Picture* picture)
{
    if (QZLoad<QZInt64>(head) != kBinMark)
        return {QZPixelReadCode::Signature, QZ_W("the file does not begin as a bin file")};
    picture->offset = kBinHead;
    picture->width = QZLoad<QZInt64>(head + 32);
    picture->height = QZLoad<QZInt64>(head + 40);
    return kAccepted;
}

/// Compares the sides with the limits and with the bytes that there are. Nothing overflows, because the sides
/// are compared first.
Refusal CheckSides(const Picture& picture, QZInt64 size, const QZPixelReadLimits& limits)
{
    if (picture.width < 0 || picture.height < 0)
        return {QZPixelReadCode::Size, QZ_W("width or height is negative")};
    constexpr QZInt64 kLargestSide = 0x7FFFFFFF;
    const QZInt64 side = limits.MaxSide < kLargestSide ? limits.MaxSide : kLargestSide;
    if (picture.width > side || picture.height > side)
        return {QZPixelReadCode::Limit, QZ_W("width or height is above the limit")};
    const QZInt64 pixels = picture.width * picture.height;
    if (pixels > limits.MaxPixels)
        return {QZPixelReadCode::Limit, QZ_W("the picture has more pixels than the limit")};
    if (picture.offset > size || pixels > (size - picture.offset) / 4)
        return {QZPixelReadCode::Short, QZ_W("the file ends before its pixels do")};
    return kAccepted;
}

/// Reads and checks the head.
Refusal ReadHead(Source* source, bool isBitmap, const QZPixelReadLimits& limits, Picture* picture)
{
    const QZInt64 size = source->Size();
    if (size > limits.MaxBytes) return {QZPixelReadCode::Limit, QZ_W("the file is larger than the limit")};
    unsigned char head[kBinHead] = {};
    const QZInt64 length = isBitmap ? kBitmapHead : kBinHead;
    if (size < length || source->Read(0, head, length) < length)
        return {QZPixelReadCode::Short, QZ_W("the file ends inside its head")};
    Refusal refusal = isBitmap ? BitmapHead(head, picture) : BinHead(head, picture);
    if (refusal.Code != QZPixelReadCode::None) return refusal;
    refusal = CheckSides(*picture, size, limits);
    if (refusal.Code != QZPixelReadCode::None || isBitmap) return refusal;
    if (QZLoad<QZInt64>(head + 48) != 4 * picture->width * picture->height)
        return {QZPixelReadCode::Size, QZ_W("the count of bytes is not that of the pixels")};
    return kAccepted;
}

QZBool ReadFrom(Source* source, bool isBitmap, QZPixelBlock** block, QZPixelReadError* error,
                const QZPixelReadLimits& limits)
{
    Picture picture;
    Refusal refusal = ReadHead(source, isBitmap, limits, &picture);
    if (refusal.Code == QZPixelReadCode::None)
    {
        auto made =
            std::make_unique<QZPixelBlock>(static_cast<int>(picture.width), static_cast<int>(picture.height));
        const QZInt64 count = made->GetDataSize();
        auto* bytes = static_cast<unsigned char*>(made->GetPointer());
        // A file that somebody cuts while it is read is refused too.
        if (count == 0 || source->Read(picture.offset, bytes, count) == count)
        {
            *block = made.release();
            return 1;
        }
        refusal = {QZPixelReadCode::Short, QZ_W("the file ends before its pixels do")};
    }
    if (error != nullptr) *error = refusal;
    return 0;
}

QZBool ReadFile(const QZWChar* method, QZString* path, bool isBitmap, QZPixelBlock** block,
                QZPixelReadError* error, const QZPixelReadLimits& limits)
{
    try
    {
        if (!QZFile::Exists(path))
            throw QZExceptionFactory::CreateIOException(QZIOExceptionCode::FileNotFound);
        FileSource source(path);
        return ReadFrom(&source, isBitmap, block, error, limits);
    }
    catch (QZException* e)
    {
        QZTrace(e, QZ_W("QZPixelBlock"), method).Argument(QZ_W("QZString*"), path);
        throw;
    }
}

QZBool ReadBytes(const QZWChar* method, const void* bytes, QZInt64 size, bool isBitmap, QZPixelBlock** block,
                 QZPixelReadError* error, const QZPixelReadLimits& limits)
{
    if (size < 0)
        QZRaise(QZExceptionCode::ArgumentOutOfRange, QZ_W("QZPixelBlock"), method)
            .Argument(QZ_W("QZInt64"), size)
            .Throw();
    MemorySource source(bytes, size);
    return ReadFrom(&source, isBitmap, block, error, limits);
}

}  // namespace

QZBool QZPixelBlock::TryReadBitmap32(QZString* path, QZPixelBlock** block, QZPixelReadError* error,
                                     const QZPixelReadLimits& limits)
{
    return ReadFile(QZ_W("TryReadBitmap32"), path, true, block, error, limits);
}

QZBool QZPixelBlock::TryReadBitmap32(const void* bytes, QZInt64 size, QZPixelBlock** block,
                                     QZPixelReadError* error, const QZPixelReadLimits& limits)
{
    return ReadBytes(QZ_W("TryReadBitmap32"), bytes, size, true, block, error, limits);
}

QZBool QZPixelBlock::TryReadBin(QZString* path, QZPixelBlock** block, QZPixelReadError* error,
                                const QZPixelReadLimits& limits)
{
    return ReadFile(QZ_W("TryReadBin"), path, false, block, error, limits);
}

QZBool QZPixelBlock::TryReadBin(const void* bytes, QZInt64 size, QZPixelBlock** block,
                                QZPixelReadError* error, const QZPixelReadLimits& limits)
{
    return ReadBytes(QZ_W("TryReadBin"), bytes, size, false, block, error, limits);
}
