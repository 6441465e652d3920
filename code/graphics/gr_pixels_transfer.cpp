#include "graphics/internal/gr_pixels_transfer.h"

#include <algorithm>

#include "fw/internal/fw_hooks.h"
#include "graphics/internal/gr_pixels_vector.h"

namespace pixels
{
namespace
{

/// The pixels of a row that lie before the end of the surface. A row that is wider than the rest of its line
/// continues in the lines below.
QZInt64 RunLength(const Surface& surface, QZInt64 start, int width)
{
    return std::min<QZInt64>(width, surface.Count() - start);
}

bool Apart(const QZUInt32* one, const QZUInt32* other, QZInt64 count)
{
    return one + count <= other || other + count <= one;
}

/// Copies of this many bytes go past the caches.
constexpr QZInt64 kPastCaches = 16 << 20;

/// How the rows of one transfer are copied.
class RowCopy
{
public:
    explicit RowCopy(QZInt64 bytes)
        : m_form(BestForm()), m_own(m_form == Form::Avx2 && QZMemCopyIsOwn()), m_past(bytes >= kPastCaches)
    {}

    /// Whether the library's own copy is used, so that no hook of a host is called.
    bool IsOwn() const { return m_own; }

    void operator()(QZUInt32* target, const QZUInt32* source, QZInt64 count) const
    {
        const bool apart = Apart(target, source, count);
        // The C library's copy falls to a tenth of its speed where a long row begins a few bytes further into
        // its page than the other. A host's hook sees every row.
        if (apart && m_own)
            CopyRun(m_form, target, source, count, m_past);
        else if (apart)
            QZMemCopy(target, source, count * 4);
        else if (target != source)
            QZMemMove(target, source, count * 4);
    }

private:
    Form m_form;
    bool m_own;
    bool m_past;
};

/// Whether the area covers whole lines of both surfaces, so that its rows follow each other without a gap.
bool IsOneRun(const Surface& target, const Area& area, const Surface& source, const Area& from)
{
    return area.width > 0 && area.height > 0 && area.width == target.width && area.width == source.width &&
           QZInt64{area.y} + area.height <= target.height && QZInt64{from.y} + area.height <= source.height;
}

/// The average of each colour byte, where both bytes are halved before the sum. The alpha of the first pixel.
QZUInt32 Average(QZUInt32 p, QZUInt32 q)
{
    return (p & 0xFF000000) | (((p & 0xFEFEFE) >> 1) + ((q & 0xFEFEFE) >> 1));
}

/// Draws the pixel at `place` together with the columns first to last of its row.
void AverageRun(const Surface& source, QZInt64 place, QZInt64 row, QZInt64 first, QZInt64 last)
{
    for (QZInt64 i = first; i <= last; ++i)
    {
        const QZInt64 other = row + i;
        if (other >= source.Count()) return;
        source.pixels[place] = Average(source.pixels[place], source.pixels[other]);
    }
}

/// Rows of at most this many pixels are prefetched: the processor does not detect the pattern of short rows.
constexpr int kNarrow = 128;
constexpr int kRowsAhead = 8;

/// Prefetches a row some lines below this one. The address may lie past the last pixel; a prefetch does not
/// read it.
void PrefetchRow(const QZUInt32* row, int lineWidth, int width)
{
    const QZUInt64 first =
        reinterpret_cast<QZUInt64>(row) + QZUInt64{4} * kRowsAhead * static_cast<QZUInt64>(lineWidth);
    for (QZUInt64 at = 0; at < QZUInt64{4} * static_cast<QZUInt64>(width); at += 64)
        __builtin_prefetch(reinterpret_cast<const void*>(first + at));
}

}  // namespace

QZInt64 BufferSize(int width, int height)
{
    constexpr QZInt64 kPixelLimit = QZInt64{1} << 57;
    if (width < 0 || height < 0) return -1;
    const QZInt64 count = QZInt64{width} * height;
    return QZInt64{8} * height + 4 * std::min(count, kPixelLimit);
}

bool Clip(Area* area, int width, int height)
{
    const Area before = *area;
    // Only y wraps around; callers that scroll downwards draw with a y that keeps growing.
    if (height != 0 && area->y > height) area->y %= height;
    if (QZInt64{area->x} + area->width > width) area->width = static_cast<int>(QZInt64{width} - area->x);
    if (QZInt64{area->y} + area->height > height) area->height = static_cast<int>(QZInt64{height} - area->y);
    area->x = std::max(area->x, 0);
    area->y = std::max(area->y, 0);
    area->width = std::max(area->width, 0);
    area->height = std::max(area->height, 0);
    return area->x != before.x || area->y != before.y || area->width != before.width ||
           area->height != before.height;
}

QZInt64 Transfer(const Surface& target, Area* area, const Surface& source, int sourceX, int sourceY,
                 bool overwrite)
{
    Clip(area, target.width, target.height);
    Area from{sourceX, sourceY, area->width, area->height};
    Clip(&from, source.width, source.height);
    area->width = from.width;
    area->height = from.height;
    const auto bytes = static_cast<QZInt64>(QZUInt64{4} * static_cast<QZUInt64>(area->width) *
                                            static_cast<QZUInt64>(area->height));
    const RowCopy copy(bytes);
    const Form form = BestForm();
    if (IsOneRun(target, *area, source, from) && (!overwrite || copy.IsOwn()))
    {
        QZUInt32* to = target.pixels + QZInt64{area->y} * target.width;
        const QZUInt32* at = source.pixels + QZInt64{from.y} * source.width;
        const QZInt64 count = bytes / 4;
        if (Apart(to, at, count))
        {
            if (overwrite)
                copy(to, at, count);
            else
                BlendRun(form, to, at, count);
            return bytes;
        }
    }
    for (QZInt64 row = 0; row < area->height; ++row)
    {
        const QZInt64 to = (area->y + row) * target.width + area->x;
        const QZInt64 at = (from.y + row) * source.width + from.x;
        const QZInt64 count =
            std::min(RunLength(target, to, area->width), RunLength(source, at, area->width));
        if (count <= 0) break;
        if (area->width <= kNarrow)
        {
            PrefetchRow(target.pixels + to, target.width, area->width);
            PrefetchRow(source.pixels + at, source.width, area->width);
        }
        if (overwrite)
            copy(target.pixels + to, source.pixels + at, count);
        else
            BlendRun(form, target.pixels + to, source.pixels + at, count);
    }
    return bytes;
}

void FillRun(QZUInt32* first, QZInt64 count, QZUInt32 color)
{
    if (count <= 0) return;
    if (color == 0)
        QZMemClean(first, count * 4);
    else
        ColorRun(BestForm(), first, count, color);
}

void Resample(const Surface& source, const Surface& target)
{
    if (source.Count() <= 0 || target.Count() <= 0) return;
    const float stepX = static_cast<float>(source.width) / static_cast<float>(target.width);
    const float stepY = static_cast<float>(source.height) / static_cast<float>(target.height);
    // The column and the row just done. The column is not set back at the end of a row: the first column of
    // each row is compared with the last one of the row above.
    QZInt64 doneColumn = 0;
    QZInt64 doneRow = 0;
    float placeY = 0;
    QZUInt32* out = target.pixels;
    for (int y = 0; y < target.height; ++y)
    {
        const auto sourceRow = static_cast<QZInt64>(placeY);
        const QZInt64 row = sourceRow * source.width;
        float placeX = 0;
        for (int x = 0; x < target.width; ++x)
        {
            const auto column = static_cast<QZInt64>(placeX);
            const QZInt64 place = std::min(row + column, source.Count() - 1);
            if (doneColumn != 0 && doneColumn + 1 != x)
                AverageRun(source, place, row, doneColumn + 1, column);
            // Skipped rows are averaged as if they were columns. This is kept, because it decides the pixels.
            if (doneRow != 0 && doneRow + 1 != y) AverageRun(source, place, row, doneRow + 1, sourceRow);
            *out++ = source.pixels[place];
            doneColumn = column;
            placeX += stepX;
        }
        doneRow = sourceRow;
        placeY += stepY;
    }
}

}  // namespace pixels
