#ifndef QZLIB_CODEC_RANDOM_H
#define QZLIB_CODEC_RANDOM_H

#include "fw/fw_object.h"

/// A source of numbers out of four fixed tables: the same seed gives the same sequence, on every machine and
/// in every run. It is for effects that should look irregular and be repeatable, not for secrets or
/// statistics.
///
/// One thread at a time for each object.
class QZ_API QZRandom : public QZObject
{
public:
    static const QZInt64 Type = 0x81FF200;

    /// Starts at 0.
    QZRandom();
    explicit QZRandom(QZInt64 seed);

    QZInt64 GetType() override;

    /// The next number, positive or negative. A round of four numbers repeats once before the position in the
    /// tables advances.
    int NextQZInt32();
    short NextQZInt16();

    /// The next number brought between the bounds: its remainder by (upper - lower), with its own sign, is
    /// added to `lower`. The upper bound is never reached, and negative numbers give results below the lower
    /// one.
    /// @throws QZException 256 when the bounds are the same
    int NextQZInt32(int lower, int upper);
    short NextQZInt16(short lower, short upper);

private:
    void Advance();

    QZInt64 m_position;
    QZUInt32 m_table;
};

#endif
