#ifndef QZLIB_CODEC_COMPRESSION_GROUP_H
#define QZLIB_CODEC_COMPRESSION_GROUP_H

/// How the coder takes bytes together. Internal.

#include <algorithm>
#include <bit>

#include "codec/internal/cod_compression_format.h"
#include "codec/internal/cod_compression_lane.h"

namespace compression
{

constexpr QZUInt32 GroupLimit = 225;

/// A run of bytes whose values lie close together.
///
/// A byte joins as long as it lies within 15 of the smallest and the largest. A group that is long and narrow
/// enough for a smaller tag is not spoilt by a byte that is farther off: from the sixth byte on equal ones
/// take only the same, and two neighbours only these two; from the seventh on a range below 4 stays below 4.
/// So what a group can become is settled by its first seven bytes, and the rest is a scan, sixteen bytes at a
/// time.
struct Group
{
    QZUInt32 end;
    QZUInt32 count = 0;
    int minimum;
    int maximum;

    Group(const QZByte* source, QZUInt32 start, QZUInt32 length)
        : end(start), minimum(source[start]), maximum(source[start])
    {
        const QZByte* bytes = source + start;
        const QZUInt32 limit = std::min(length - start, GroupLimit);
        count = CountEqual(bytes, limit);
        if (count < 6) count = CountNear(bytes, limit);
        end = start + count;
    }

    QZByte TagOf() const
    {
        QZByte tag = RawTag;
        if (count > 8) tag = NibbleTag;
        if (count > 6 && Range() < 4) tag = PairTag;
        if (count > 5 && Range() == 1) tag = BitTag;
        if (count > 5 && Range() == 0) tag = FillTag;
        return tag;
    }

private:
    static constexpr QZUInt32 Step = LaneSize;

    int Range() const { return maximum - minimum; }

    /// The first bytes that are `a` or `b`, from `from` on.
    static QZUInt32 CountOf(const QZByte* bytes, QZUInt32 from, QZUInt32 limit, int a, int b)
    {
        const Lane first = Spread(a);
        const Lane second = Spread(b);
        for (; from + Step <= limit; from += Step)
        {
            const QZUInt32 same = MaskOfEither(LoadLane(bytes + from), first, second);
            if (same != WholeMask) return from + static_cast<QZUInt32>(std::countr_one(same));
        }
        while (from < limit && (bytes[from] == a || bytes[from] == b)) ++from;
        return from;
    }

    static QZUInt32 CountEqual(const QZByte* bytes, QZUInt32 limit)
    {
        // Most groups of a photograph end here.
        if (limit < 2 || bytes[1] != bytes[0]) return 1;
        return CountOf(bytes, 1, limit, bytes[0], bytes[0]);
    }

    bool Join(int byte, int distance)
    {
        if (byte > minimum + distance || byte < maximum - distance) return false;
        minimum = std::min(minimum, byte);
        maximum = std::max(maximum, byte);
        return true;
    }

    /// The group of bytes that are not all the same.
    QZUInt32 CountNear(const QZByte* bytes, QZUInt32 limit)
    {
        QZUInt32 n = 1;
        for (; n < 6; ++n)
            if (n == limit || !Join(bytes[n], 15)) return n;
        if (Range() == 1) return CountOf(bytes, n, limit, minimum, maximum);
        if (n == limit || !Join(bytes[n], 15)) return n;
        ++n;
        return CountWithin(bytes, n, limit, Range() < 4 ? 3 : 15);
    }

    QZUInt32 CountWithin(const QZByte* bytes, QZUInt32 n, QZUInt32 limit, int distance)
    {
        for (; n + Step <= limit; n += Step)
        {
            const Lane lane = LoadLane(bytes + n);
            const int low = std::min(minimum, Least(lane));
            const int high = std::max(maximum, Most(lane));
            if (high - low > distance) break;
            minimum = low;
            maximum = high;
        }
        while (n < limit && Join(bytes[n], distance)) ++n;
        return n;
    }
};

}  // namespace compression

#endif
