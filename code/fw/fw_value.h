#ifndef QZLIB_FW_VALUE_H
#define QZLIB_FW_VALUE_H

#include <concepts>

#include "fw/fw_data.h"

/// The typed values that tables and the database carry.
///
/// Each is a QZData that holds its value at the start of its bytes, in the machine's byte order. SetValue
/// restores the size when the object has another one, so that an object from the cache is complete again;
/// GetValue of an object with too few bytes throws QZException 1024. QZDataFactory makes and takes them back;
/// the caller owns what it gets. One thread at a time.

class QZDateTime;
class QZString;

/// True (1) or false (0) in one byte.
class QZ_API QZDataBool : public QZData
{
public:
    static const QZInt64 Type = 0x2080100;

    QZDataBool();
    /// A copy of the source's whole block, of any size.
    explicit QZDataBool(QZData* source);

    QZInt64 GetType() override;

    virtual QZBool GetValue();
    virtual void SetValue(QZBool value);
};

/// A signed byte.
class QZ_API QZDataInt8 : public QZData
{
public:
    static const QZInt64 Type = 0x2080200;

    QZDataInt8();
    /// A copy of the source's whole block, of any size.
    explicit QZDataInt8(QZData* source);

    QZInt64 GetType() override;

    virtual char GetValue();
    virtual void SetValue(char value);
};

/// An unsigned byte.
class QZ_API QZDataByte : public QZData
{
public:
    static const QZInt64 Type = 0x2080900;

    QZDataByte();
    /// A copy of the source's whole block, of any size.
    explicit QZDataByte(QZData* source);

    QZInt64 GetType() override;

    virtual QZByte GetValue();
    virtual void SetValue(QZByte value);
};

/// A signed 16-bit number.
class QZ_API QZDataInt16 : public QZData
{
public:
    static const QZInt64 Type = 0x2080300;

    QZDataInt16();
    /// A copy of the source's whole block, of any size.
    explicit QZDataInt16(QZData* source);

    QZInt64 GetType() override;

    virtual QZInt16 GetValue();
    virtual void SetValue(QZInt16 value);
};

/// A signed 32-bit number.
class QZ_API QZDataInt32 : public QZData
{
public:
    static const QZInt64 Type = 0x2080400;

    QZDataInt32();
    /// A copy of the source's whole block, of any size.
    explicit QZDataInt32(QZData* source);

    QZInt64 GetType() override;

    virtual QZInt32 GetValue();
    virtual void SetValue(QZInt32 value);
};

/// A single-precision number.
class QZ_API QZDataFloat : public QZData
{
public:
    static const QZInt64 Type = 0x2081000;

    QZDataFloat();
    /// A copy of the source's whole block, of any size.
    explicit QZDataFloat(QZData* source);

    QZInt64 GetType() override;

    virtual float GetValue();
    virtual void SetValue(float value);
};

/// A signed 64-bit number.
class QZ_API QZDataInt64 : public QZData
{
public:
    static const QZInt64 Type = 0x2080500;

    QZDataInt64();
    /// A copy of the source's whole block, of any size.
    explicit QZDataInt64(QZData* source);

    QZInt64 GetType() override;

    virtual QZInt64 GetValue();
    virtual void SetValue(QZInt64 value);
};

/// A double-precision number.
class QZ_API QZDataDouble : public QZData
{
public:
    static const QZInt64 Type = 0x2080600;

    QZDataDouble();
    /// A copy of the source's whole block, of any size.
    explicit QZDataDouble(QZData* source);

    QZInt64 GetType() override;

    virtual double GetValue();
    virtual void SetValue(double value);
};

/// Milliseconds from the start of year 1.
class QZ_API QZDataTimestamp : public QZData
{
public:
    static const QZInt64 Type = 0x2080700;

    QZDataTimestamp();
    /// A copy of the source's whole block, of any size.
    explicit QZDataTimestamp(QZData* source);

    QZInt64 GetType() override;

    virtual QZInt64 GetValue();
    virtual void SetValue(QZInt64 value);
};

/// A date and time in eight 32-bit words: 7 (the count of those that follow), year, month, day, hours,
/// minutes, seconds, milliseconds. A new object holds 7 and zeros.
class QZ_API QZDataDatetime : public QZData
{
public:
    static const QZInt64 Type = 0x2080800;

    QZDataDatetime();
    /// A copy of the source's whole block, of any size.
    explicit QZDataDatetime(QZData* source);

    QZInt64 GetType() override;

    /// A timestamp computed from the first six bytes, not from the words: it is not the stored time. Use the
    /// words or ToString to read the time.
    virtual QZInt64 GetValue();

    virtual void SetValue(QZDateTime* time);
    virtual void SetValue(QZInt64 timestamp);
    template <std::integral T>
    void SetValue(T timestamp)
    {
        SetValue(static_cast<QZInt64>(timestamp));
    }

    /// Appends "yyyy-mm-dd hh:mm:ss", with ".mmm" where there are milliseconds.
    /// @throws QZException 1024 when a word is missing
    virtual void ToString(QZString* target);
    /// The same as a new string, given back with Recycle.
    virtual QZString* ToString();

    using QZData::Recycle;
    virtual void Recycle(QZString** text);
};

#endif
