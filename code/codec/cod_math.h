#ifndef QZLIB_CODEC_MATH_H
#define QZLIB_CODEC_MATH_H

#include "sys/sys_types.h"

class QZCollection;
class QZLine;
class QZPoint;

/// Mathematics in single precision that trades accuracy for speed, and a few distances and roundings.
///
/// Sine and cosine come from tables at steps of 0.1 degree, roots from one Newton step, logarithm and power
/// from short sums. Drawings are made with exactly these values, so they are the same on every machine.
/// Only static operations without state; any thread.
class QZ_API QZMath
{
public:
    /// 1 / InvSqrt(value): right to about 0.2 percent. Of 0 it is a tiny number and not 0.
    static float Sqrt(const float& value);
    static float InvSqrt(const float& value);

    /// Angles in radians; pi is 3.1415925. The angle is cut, not rounded, to a tenth of a degree. Infinities
    /// and NaN count as angle 0.
    static float Sin(float angle);
    static float Cos(float angle);

    /// The language's own functions.
    static float Tan(float angle);
    static float ArcSin(float value);
    static float ArcCos(float value);
    static float ArcTan(float value);

    /// Natural logarithm as a sum of sixteen terms: good near 1, worse the farther away.
    static float Log(float value);
    static float Exp(float value);
    /// Exp(exponent * Log(base)).
    static float Pow(float base, float exponent);

    /// The multiple of m at or below v, and at or above v. m is not 0.
    static QZUInt64 RoundDown(QZUInt64 v, QZUInt64 m) { return v - v % m; }
    static QZUInt64 RoundUp(QZUInt64 v, QZUInt64 m) { return v % m == 0 ? v : v - v % m + m; }

    static float GetDistanceFromPointToPoint(int x1, int y1, int x2, int y2);

    /// The distance to the infinite line through both ends; to the point itself when they coincide.
    /// The form with objects is defined with the figures, in gr_geometry.cpp.
    static float GetDistanceFromPointToLine(const QZPoint* point, const QZLine* line);
    static float GetDistanceFromPointToLine(int px, int py, int x1, int y1, int x2, int y2);

    /// The mean of the elements as unsigned words, 0 when there are none.
    static float Average(QZCollection* collection);
};

#endif
