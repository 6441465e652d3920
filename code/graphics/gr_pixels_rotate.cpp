#include "graphics/internal/gr_pixels_rotate.h"

#include <algorithm>
#include <cmath>

#include "codec/cod_math.h"
#include "fw/internal/fw_hooks.h"
#include "graphics/internal/gr_geometry_word.h"

namespace pixels
{
namespace
{

constexpr double kRadians = 0.017453291681077746;
constexpr double kDegrees = 57.29578226691561;

/// The whole degrees from 0 to 359. They alone choose a quarter turn, so 90.7 degrees is one.
int WholeDegrees(float degrees)
{
    const int whole = word::Truncate(degrees) % 360;
    return whole < 0 ? whole + 360 : whole;
}

void QuarterLeft(const Surface& source, const Surface& target)
{
    QZUInt32* out = target.pixels;
    for (int row = 0; row < target.height; ++row)
        for (int column = 0; column < target.width; ++column)
            *out++ = source.pixels[QZInt64{column} * source.width + (source.width - 1 - row)];
}

void QuarterRight(const Surface& source, const Surface& target)
{
    QZUInt32* out = target.pixels;
    for (int row = 0; row < target.height; ++row)
        for (int column = 0; column < target.width; ++column)
            *out++ = source.pixels[QZInt64{source.height - 1 - column} * source.width + row];
}

/// Fetches the source pixel at a place; false when it lies outside.
bool Fetch(const Surface& source, double x, double y, QZUInt32* pixel)
{
    if (!(x >= 0 && x < source.width && y >= 0 && y < source.height)) return false;
    *pixel = source.pixels[static_cast<QZInt64>(y) * source.width + static_cast<QZInt64>(x)];
    return true;
}

/// One pixel of the target by its distance and angle from the centre, the left half mirrored downwards.
void RotatePixel(const Surface& source, const Surface& target, int x, int y, double turn)
{
    const int dx = x - (target.width >> 1);
    const int dy = y - (target.height >> 1);
    // The centre has no angle and is not written.
    if (dx == 0 && dy == 0) return;
    const double r = std::sqrt(static_cast<double>(dx) * dx + static_cast<double>(dy) * dy);
    const double b = std::asin(dy / r) * kDegrees + turn;
    const int halfWidth = source.width >> 1;
    const int halfHeight = source.height >> 1;
    QZUInt32 pixel = 0;
    if (dx < 0)
    {
        const double fromY = std::sin(-b * kRadians) * r + halfHeight;
        const double fromX = -std::cos(b * kRadians) * r + halfWidth;
        if (Fetch(source, fromX, fromY, &pixel))
            target.pixels[QZInt64{target.height - y - 1} * target.width + x] = pixel;
    }
    else
    {
        const double fromY = std::sin(b * kRadians) * r + halfHeight;
        const double fromX = std::cos(b * kRadians) * r + halfWidth;
        if (Fetch(source, fromX, fromY, &pixel)) target.pixels[QZInt64{y} * target.width + x] = pixel;
    }
}

}  // namespace

Surface RotatedSize(const Surface& source, float degrees)
{
    const int whole = WholeDegrees(degrees);
    if (whole == 0 || whole == 180) return {nullptr, source.width, source.height};
    if (whole == 90 || whole == 270) return {nullptr, source.height, source.width};
    const double across = std::fabs(QZMath::Sin((90.0F - degrees) * 0.017453292F));
    const double along = std::fabs(QZMath::Sin(degrees * 0.017453292F));
    return {nullptr, word::Truncate(source.width * across + source.height * along),
            word::Truncate(source.height * across + source.width * along)};
}

void Rotate(const Surface& source, const Surface& target, float degrees)
{
    switch (WholeDegrees(degrees))
    {
        case 0: QZMemCopy(target.pixels, source.pixels, source.Count() * 4); return;
        case 90: return QuarterLeft(source, target);
        case 180: std::reverse_copy(source.pixels, source.pixels + source.Count(), target.pixels); return;
        case 270: return QuarterRight(source, target);
        default: break;
    }
    for (int x = 0; x < target.width; ++x)
        for (int y = 0; y < target.height; ++y) RotatePixel(source, target, x, y, degrees);
}

}  // namespace pixels
