#ifndef QZLIB_CODEC_UNIQUE_H
#define QZLIB_CODEC_UNIQUE_H

#include <concepts>

#include "fw/fw_object.h"

class QZCriticalSection;
class QZData;
class QZDateTime;
class QZString;

/// A code made from whatever was appended before: the same input gives the same code. A mixing checksum, no
/// digest against an attack and no random value.
///
/// Input is collected as bytes: texts in UTF-16LE without terminator, numbers and moments (as timestamps) as
/// decimal text, buffers as they are. Only the first 4 * length bytes of the input reach a code of that
/// length. Any thread: the input has its own lock.
class QZ_API QZUniqueCode : public QZObject
{
public:
    static const QZInt64 Type = 0x8300008;

    QZUniqueCode();
    /// A copy has the same input and a lock of its own.
    QZUniqueCode(const QZUniqueCode& other);
    QZUniqueCode& operator=(const QZUniqueCode& other);
    ~QZUniqueCode() override;

    QZInt64 GetType() override;

    /// @throws QZException 256 for null, but for a null text, which adds nothing, and for a negative size
    void Append(const void* bytes, QZInt64 size);
    void Append(QZInt64 value);
    template <std::integral T>
    void Append(T value)
    {
        Append(static_cast<QZInt64>(value));
    }
    void Append(QZString* text);
    void Append(QZData* data);
    void Append(QZDateTime* time);

    /// Forgets the input.
    void Clear();

    /// The code, as upper-case hexadecimal characters, two for each whole pair in `length`. A byte below 16
    /// is its digit and then a "0". Without any input all characters are "0".
    /// @throws QZException 256 for a length below 4
    QZString* GetCode(QZInt64 length);

    /// Appends the decimal text of salt * salt to the input, then returns the code. The text stays in the
    /// input, also when the length is refused.
    QZString* GetCode(QZInt64 length, QZInt64 salt);
    template <std::integral L, std::integral S>
    QZString* GetCode(L length, S salt)
    {
        return GetCode(static_cast<QZInt64>(length), static_cast<QZInt64>(salt));
    }

    /// Writes the characters into a buffer of `length` bytes, without a terminator.
    void GetCode(char* buffer, QZInt64 length);

    static void Recycle(QZString** text);

private:
    void Mix(QZInt64 length, const QZWChar* method, QZData* target);

    QZData* m_input;
    QZCriticalSection* m_section;
};

#endif
