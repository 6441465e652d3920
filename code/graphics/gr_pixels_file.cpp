#include <algorithm>

#include "fw/fw_string.h"
#include "fw/internal/fw_hooks.h"
#include "fw/internal/fw_trace.h"
#include "graphics/gr_pixels.h"
#include "os/internal/os_opened_file.h"
#include "sys/sys_bytes.h"

namespace
{

constexpr QZInt64 kBinMark = 0x8000100;
constexpr QZInt64 kBinHead = 56;
constexpr QZInt64 kBitmapHead = 54;

/// Runs the body; what it throws passes with one frame of the operation.
template <typename Body>
auto Framed(const QZWChar* method, QZString* path, Body body)
{
    try
    {
        return body();
    }
    catch (QZException* e)
    {
        QZTrace(e, QZ_W("QZPixelBlock"), method).Argument(QZ_W("QZString*"), path);
        throw;
    }
}

void MustExist(QZString* path)
{
    if (!QZFile::Exists(path)) throw QZExceptionFactory::CreateIOException(QZIOExceptionCode::FileNotFound);
}

void WriteNewFile(QZString* path, const QZData& data)
{
    QZFile::Create(path);
    QZOpenedFile file(QZFile::Open(path, QZFileOptions::Write));
    file->Write(0, data.GetPointer(), data.GetSize());
}

}  // namespace

QZPixelBlock* QZPixelBlock::FromFileBitmap32(QZString* path)
{
    return Framed(QZ_W("FromFileBitmap32"), path, [&] {
        MustExist(path);
        QZOpenedFile file(QZFile::Open(path, QZFileOptions::ReadWrite));
        unsigned char head[kBitmapHead] = {};
        file->Read(0, head, kBitmapHead);
        auto block = std::make_unique<QZPixelBlock>(QZLoad<QZInt32>(head + 18), QZLoad<QZInt32>(head + 22));
        // Rows stay in the order of the file: writing the block back turns them over again.
        file->Read(QZLoad<QZUInt32>(head + 10), block->GetPointer(), block->GetDataSize());
        return block.release();
    });
}

QZPixelBlock* QZPixelBlock::FromFileBin(QZString* path)
{
    return Framed(QZ_W("FromFileBin"), path, [&] {
        MustExist(path);
        QZOpenedFile file(QZFile::Open(path, QZFileOptions::ReadWrite));
        unsigned char head[kBinHead] = {};
        file->Read(0, head, kBinHead);
        auto block = std::make_unique<QZPixelBlock>(static_cast<int>(QZLoad<QZInt64>(head + 32)),
                                                    static_cast<int>(QZLoad<QZInt64>(head + 40)));
        const QZInt64 count = std::min(QZLoad<QZInt64>(head + 48), block->GetDataSize());
        if (count > 0) file->Read(kBinHead, block->GetPointer(), count);
        return block.release();
    });
}

QZBool QZPixelBlock::ToFileBin(QZString* path)
{
    return Framed(QZ_W("ToFileBin"), path, [&]() -> QZBool {
        QZData data(kBinHead + GetDataSize());
        data.SetValueInt64(0, kBinMark);
        data.SetValueInt64(4, m_width);
        data.SetValueInt64(5, m_height);
        data.SetValueInt64(6, GetDataSize());
        QZMemCopy(QZAt(data.GetPointer(), kBinHead), m_pixels, GetDataSize());
        WriteNewFile(path, data);
        return 1;
    });
}

QZData* QZPixelBlock::ToFileBitmap()
{
    QZData* file = new QZData(kBitmapHead + GetDataSize());
    unsigned char* head = static_cast<unsigned char*>(file->GetPointer());
    head[0] = 'B';
    head[1] = 'M';
    QZStore(head + 2, static_cast<QZUInt32>(kBitmapHead + GetDataSize()));
    QZStore(head + 10, static_cast<QZUInt32>(kBitmapHead));
    QZStore(head + 14, QZUInt32{40});
    QZStore(head + 18, m_width);
    QZStore(head + 22, m_height);
    QZStore(head + 26, QZUInt16{1});
    QZStore(head + 28, QZUInt16{32});
    const QZInt64 rowSize = QZInt64{4} * m_width;
    for (int y = 0; y < m_height; ++y)
        QZMemCopy(head + kBitmapHead + (m_height - 1 - y) * rowSize, m_rows[y], rowSize);
    return file;
}

int QZPixelBlock::ToFileBitmap(QZString* path)
{
    return Framed(QZ_W("ToFileBitmap"), path, [&] {
        const std::unique_ptr<QZData> data(ToFileBitmap());
        WriteNewFile(path, *data);
        return static_cast<int>(data->GetSize());
    });
}
