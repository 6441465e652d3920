#include "graphics/gr_pixels.h"

#include <algorithm>

#include "fw/fw_library.h"
#include "fw/internal/fw_hooks.h"
#include "fw/internal/fw_trace.h"
#include "graphics/internal/gr_parts.h"
#include "graphics/internal/gr_pixels_rotate.h"
#include "graphics/internal/gr_pixels_transfer.h"

const QZInt64 QZPixelBlock::Type;

namespace
{

const QZWChar* const kClass = QZ_W("QZPixelBlock");

pixels::Surface SurfaceOf(const QZPixelBlock* block)
{
    return {static_cast<QZUInt32*>(block->GetPointer()), block->GetWidth(), block->GetHeight()};
}

}  // namespace

QZPixelBlock::QZPixelBlock() : QZData(pixels::BufferSize(128, 128)), m_size(new QZSize(0, 0))
{
    m_size->SetDisposable(GetObjectID(), 0);
    AddrArrayInit();
}

QZPixelBlock::QZPixelBlock(int width, int height)
    : QZData(pixels::BufferSize(width, height)),
      m_width(width),
      m_height(height),
      m_size(new QZSize(width, height))
{
    m_size->SetDisposable(GetObjectID(), 0);
    AddrArrayInit();
}

QZPixelBlock::QZPixelBlock(const QZPixelBlock* other) : QZPixelBlock(other->m_width, other->m_height)
{
    QZMemCopy(m_pixels, other->m_pixels, GetDataSize());
}

QZPixelBlock::QZPixelBlock(const QZPixelBlock& other)
    : QZData(other),
      m_width(other.m_width),
      m_height(other.m_height),
      m_size(new QZSize(other.m_size)),
      m_color(other.m_color)
{
    m_size->SetDisposable(GetObjectID(), 0);
    AddrArrayInit();
}

QZPixelBlock& QZPixelBlock::operator=(const QZPixelBlock& other)
{
    if (this == &other) return *this;
    const QZUInt64 key = GetObjectID();
    QZData::operator=(other);
    // QZData::operator= has copied the id, so the lock of the size object moves to the new id.
    m_size->SetDisposable(key, 1);
    m_size->SetDisposable(GetObjectID(), 0);
    m_size->Set(other.m_size);
    m_width = other.m_width;
    m_height = other.m_height;
    m_color = other.m_color;
    AddrArrayInit();
    return *this;
}

QZPixelBlock::~QZPixelBlock()
{
    m_size->SetDisposable(GetObjectID(), 1);
    delete m_size;
}

QZInt64 QZPixelBlock::GetType() { return 0x81FFFF3; }

void QZPixelBlock::Clear() { QZMemClean(m_pixels, GetDataSize()); }

void QZPixelBlock::AddrArrayInit()
{
    void* buffer = QZData::GetPointer();
    m_rows = static_cast<QZUInt32**>(buffer);
    m_pixels = reinterpret_cast<QZUInt32*>(QZAt(buffer, QZInt64{8} * m_height));
    for (QZInt64 y = 0; y < m_height; ++y) m_rows[y] = m_pixels + y * m_width;
}

void QZPixelBlock::SetPixel(int x, int y, unsigned int color)
{
    // Row 0 and column 0 are not written here; hosts draw frames there with Fill and rely on it.
    if (x <= 0 || x >= m_width || y < 1 || y >= m_height) return;
    m_rows[y][x] = color;
}

void QZPixelBlock::SetPixel(int x, int y)
{
    if (x <= 0 || x >= m_width || y < 1 || y >= m_height) return;
    m_rows[y][x] = m_color;
}

unsigned int QZPixelBlock::GetPixel(int x, int y)
{
    return x >= 0 && x < m_width && y >= 0 && y < m_height ? m_rows[y][x] : 0;
}

void QZPixelBlock::Fill(unsigned int color) { pixels::FillRun(m_pixels, PixelCount(), color); }

void QZPixelBlock::Fill(int x, int y, int width, int height, unsigned int color)
{
    pixels::Area area{x, y, width, height};
    pixels::Clip(&area, m_width, m_height);
    // A rectangle that starts left of the block keeps its width, so its rows may continue in the rows below.
    for (int row = std::min(area.height, m_height - area.y) - 1; row >= 0; --row)
    {
        const QZInt64 start = QZInt64{area.y + row} * m_width + area.x;
        pixels::FillRun(m_pixels + start, std::min<QZInt64>(area.width, PixelCount() - start), color);
    }
}

void QZPixelBlock::SetColor(unsigned char red, unsigned char green, unsigned char blue)
{
    m_color = red * 65536U + green * 256U + blue + 0xFF000000U;
}

void QZPixelBlock::Set(const QZPixelBlock* other)
{
    if (other == this) return;
    QZData::NewSize(other->QZData::GetSize());
    m_width = other->m_width;
    m_height = other->m_height;
    m_size->Set(m_width, m_height);
    AddrArrayInit();
    QZMemCopy(m_pixels, other->m_pixels, GetDataSize());
}

/// Puts a new buffer in the place of the old one, once `paint` has filled its pixels.
template <typename Painter>
void QZPixelBlock::Rebuild(const QZWChar* method, int width, int height, Painter paint)
{
    void* fresh = block::Make(block::kPlainType, block::kDefaultOffset, pixels::BufferSize(width, height), 0);
    if (fresh == nullptr)
        throw QZTrace(QZExceptionFactory::CreateException(QZLastErrorOr(QZExceptionCode::OutOfMemory)),
                      kClass, method)
            .Argument(QZ_W("QZInt32"), width)
            .Argument(QZ_W("QZInt32"), height)
            .Exception();
    unsigned char* first = block::Data(fresh) + QZInt64{8} * height;
    paint(pixels::Surface{reinterpret_cast<QZUInt32*>(first), width, height});
    std::swap(m_block, fresh);
    m_width = width;
    m_height = height;
    m_size->Set(width, height);
    AddrArrayInit();
    if (!block::Free(fresh)) QZLibAssert(0);
}

void QZPixelBlock::NewSize(int width, int height)
{
    if (width == m_width && height == m_height) return;
    Rebuild(QZ_W("NewSize"), width, height,
            [&](const pixels::Surface& target) { pixels::Resample(SurfaceOf(this), target); });
}

void QZPixelBlock::SetAlpha(unsigned char alpha)
{
    for (QZInt64 i = 0; i < PixelCount(); ++i)
        m_pixels[i] = (m_pixels[i] & 0xFFFFFF) | static_cast<QZUInt32>(alpha) << 24;
}

void QZPixelBlock::SetColorToAlpha(unsigned int mask)
{
    int shift = 0;
    if (mask == 0xFF0000) shift = 8;
    if (mask == 0xFF00) shift = 16;
    if (mask == 0xFF) shift = 24;
    // The walk begins at the fourth pixel: masks in use carry a mark in the first three. Past the last pixel
    // there is nothing to see, so it ends there.
    for (QZInt64 i = 3; i < PixelCount(); ++i)
    {
        const QZUInt32 pixel = m_pixels[i];
        m_pixels[i] = (pixel & 0xFFFFFF) + ((255U - (pixel & mask)) << shift);
    }
}

QZPixelBlock* QZPixelBlock::Copy(int x, int y, int width, int height)
{
    QZPixelBlock* copy = new QZPixelBlock(width, height);
    pixels::Area area{0, 0, width, height};
    pixels::Transfer(SurfaceOf(copy), &area, SurfaceOf(this), x, y, true);
    return copy;
}

QZPixelBlock* QZPixelBlock::Copy(const QZRectangle* area)
{
    return Copy(area->GetX(), area->GetY(), area->GetWidth(), area->GetHeight());
}

QZBool QZPixelBlock::Paste(const QZRectangle* area, const QZSize* sourceSize, const void* sourcePixels,
                           unsigned char overwrite)
{
    const pixels::Surface source{static_cast<QZUInt32*>(const_cast<void*>(sourcePixels)),
                                 sourceSize->GetWidth(), sourceSize->GetHeight()};
    pixels::Area target{area->GetX(), area->GetY(), area->GetWidth(), area->GetHeight()};
    return pixels::Transfer(SurfaceOf(this), &target, source, area->GetX(), area->GetY(), overwrite != 0) !=
           0;
}

QZBool QZPixelBlock::Paste(int x, int y, const QZPixelBlock* source, unsigned char overwrite)
{
    pixels::Area target{x, y, source->m_width, source->m_height};
    pixels::Clip(&target, m_width, m_height);
    return pixels::Transfer(SurfaceOf(this), &target, SurfaceOf(source), 0, 0, overwrite != 0) != 0;
}

QZPixelBlock* QZPixelBlock::Thumbnail(int width, int height)
{
    QZPixelBlock* result = new QZPixelBlock(width, height);
    pixels::Resample(SurfaceOf(this), SurfaceOf(result));
    return result;
}

QZPixelBlock* QZPixelBlock::Rotate(float degrees)
{
    const pixels::Surface source = SurfaceOf(this);
    const pixels::Surface size = pixels::RotatedSize(source, degrees);
    QZPixelBlock* result = new QZPixelBlock(size.width, size.height);
    pixels::Rotate(source, SurfaceOf(result), degrees);
    return result;
}

void QZPixelBlock::RotateThis(float degrees)
{
    const pixels::Surface source = SurfaceOf(this);
    const pixels::Surface size = pixels::RotatedSize(source, degrees);
    Rebuild(QZ_W("RotateThis"), size.width, size.height,
            [&](const pixels::Surface& target) { pixels::Rotate(source, target, degrees); });
}

QZPixelBlock* QZPixelBlock::FlipVertical()
{
    QZPixelBlock* result = new QZPixelBlock(m_width, m_height);
    for (int y = 0; y < m_height; ++y)
        QZMemCopy(result->m_rows[y], m_rows[m_height - 1 - y], QZInt64{4} * m_width);
    return result;
}

void QZPixelBlock::Recycle(QZPixelBlock** block) { QZDeleteAndClear(block); }
void QZPixelBlock::Recycle(QZData** data) { QZDeleteAndClear(data); }
