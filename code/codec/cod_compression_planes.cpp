#include "codec/internal/cod_compression_planes.h"

#include "codec/internal/cod_compression_lane.h"

namespace compression
{

namespace
{

constexpr QZInt64 kStep = 4 * kLaneSize;

/// Where the four planes of a buffer begin.
struct Starts
{
    explicit Starts(QZInt64 size) : at{0, (size + 3) / 4, 0, 0}
    {
        at[2] = at[1] + (size + 2) / 4;
        at[3] = at[2] + (size + 1) / 4;
    }
    QZInt64 at[4];
};

void SplitFour(const QZByte* source, QZInt64 size, QZByte* planes)
{
    const Starts starts(size);
    QZInt64 i = 0;
    for (; i + kStep <= size; i += kStep)
    {
        const Lane words[4] = {LoadLane(source + i), LoadLane(source + i + kLaneSize),
                               LoadLane(source + i + 2 * kLaneSize), LoadLane(source + i + 3 * kLaneSize)};
        const QZInt64 at = i / 4;
        StoreLane(planes + starts.at[0] + at, PlaneOf<0>(words));
        StoreLane(planes + starts.at[1] + at, PlaneOf<1>(words));
        StoreLane(planes + starts.at[2] + at, PlaneOf<2>(words));
        StoreLane(planes + starts.at[3] + at, PlaneOf<3>(words));
    }
    for (; i < size; ++i) planes[starts.at[i % 4] + i / 4] = source[i];
}

}  // namespace

void SplitPlanes(const QZByte* source, QZInt64 size, QZInt64 count, QZByte* planes)
{
    if (count == 4)
    {
        SplitFour(source, size, planes);
        return;
    }
    for (QZInt64 j = 0; j < count; ++j)
        for (QZInt64 i = j; i < size; i += count) *planes++ = source[i];
}

void JoinFourPlanes(const QZByte* planes, QZInt64 size, QZByte* target)
{
    const Starts starts(size);
    QZInt64 i = 0;
    for (; i + kStep <= size; i += kStep)
    {
        const QZInt64 at = i / 4;
        StoreWords(target + i, LoadLane(planes + starts.at[0] + at), LoadLane(planes + starts.at[1] + at),
                   LoadLane(planes + starts.at[2] + at), LoadLane(planes + starts.at[3] + at));
    }
    for (; i < size; ++i) target[i] = planes[starts.at[i % 4] + i / 4];
}

}  // namespace compression
