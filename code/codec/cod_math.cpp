#include "codec/cod_math.h"

#include <cmath>

#include "fw/fw_collection.h"
#include "sys/sys_bytes.h"

namespace
{

constexpr int kSteps = 3600;
constexpr float kPi = 3.1415925f;

struct Tables
{
    float sine[kSteps];
    float cosine[kSteps];

    Tables()
    {
        for (int i = 0; i < kSteps; ++i)
        {
            const double angle = i * 3.14159265358979323846 / (static_cast<double>(kSteps) / 2);
            sine[i] = static_cast<float>(std::sin(angle));
            cosine[i] = static_cast<float>(std::cos(angle));
        }
    }
};

const Tables& GetTables()
{
    static const Tables tables;
    return tables;
}

/// The table entry for an angle that is not negative.
int EntryOf(float angle)
{
    constexpr float kWholeNumbers = 9.0e18f;
    const float place = angle * 1800.0f / kPi;
    if (place < kWholeNumbers) return static_cast<int>(static_cast<QZInt64>(place) % kSteps);
    return std::isfinite(place) ? static_cast<int>(std::fmod(place, static_cast<float>(kSteps))) : 0;
}

float Length(float dx, float dy) { return std::sqrt(dx * dx + dy * dy); }

float Difference(int a, int b) { return static_cast<float>(static_cast<QZInt64>(a) - b); }

}  // namespace

float QZMath::InvSqrt(const float& value)
{
    const QZUInt32 half = static_cast<QZUInt32>(QZLoad<QZInt32>(&value) >> 1);
    const QZUInt32 word = 1597463174u - half;
    const float y = QZLoad<float>(&word);
    return y * (1.5f - 0.5f * value * y * y);
}

float QZMath::Sqrt(const float& value) { return 1.0f / InvSqrt(value); }

float QZMath::Sin(float angle)
{
    const float* sine = GetTables().sine;
    return angle < 0.0f ? -sine[EntryOf(-angle)] : sine[EntryOf(angle)];
}

float QZMath::Cos(float angle) { return GetTables().cosine[EntryOf(std::fabs(angle))]; }

float QZMath::Tan(float angle) { return std::tan(angle); }

float QZMath::ArcSin(float value) { return std::asin(value); }

float QZMath::ArcCos(float value) { return std::acos(value); }

float QZMath::ArcTan(float value) { return std::atan(value); }

float QZMath::Log(float value)
{
    const float t = (value - 1.0f) / (value + 1.0f);
    const float square = t * t;
    float sum = 1.0f / 31.0f;
    for (int n = 29; n >= 1; n -= 2) sum = 1.0f / static_cast<float>(n) + square * sum;
    return 2.0f * t * sum;
}

float QZMath::Exp(float value)
{
    constexpr float E = 2.7182817f;
    const float whole = std::trunc(value);
    const float fraction = std::isinf(value) ? 0.0f : value - whole;
    float power = 1.0f;
    // A power that has run out of the range of its type stays there, however many steps are left.
    for (float k = whole; k >= 1.0f && std::isfinite(power); k -= 1.0f) power *= E;
    for (float k = whole; k <= -1.0f && power != 0.0f; k += 1.0f) power /= E;
    float term = 1.0f;
    float sum = 1.0f;
    for (int n = 1; n <= 9; ++n)
    {
        term = term * fraction / static_cast<float>(n);
        sum += term;
    }
    return power * sum;
}

float QZMath::Pow(float base, float exponent) { return Exp(exponent * Log(base)); }

float QZMath::GetDistanceFromPointToPoint(int x1, int y1, int x2, int y2)
{
    return Length(Difference(x1, x2), Difference(y1, y2));
}

float QZMath::GetDistanceFromPointToLine(int px, int py, int x1, int y1, int x2, int y2)
{
    const float dx = Difference(x2, x1);
    const float dy = Difference(y2, y1);
    const float length = Length(dx, dy);
    if (length == 0.0f) return GetDistanceFromPointToPoint(px, py, x1, y1);
    return std::fabs(dx * Difference(py, y1) - dy * Difference(px, x1)) / length;
}

float QZMath::Average(QZCollection* collection)
{
    const QZInt64 count = collection->Count();
    if (count == 0) return 0.0f;
    float sum = 0.0f;
    for (QZInt64 i = 0; i < count; ++i) sum += static_cast<float>(collection->GetElement(i));
    return sum / static_cast<float>(count);
}
