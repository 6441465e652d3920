#ifndef QZLIB_FW_DATA_H
#define QZLIB_FW_DATA_H

#include <concepts>

#include "fw/fw_block.h"
#include "fw/fw_object.h"
#include "sys/sys_types.h"

class QZDataCollection;

/// A byte buffer, and the base of all classes that hold raw content.
///
/// The bytes lie in one self-describing block (see GetStructPointer) with 64 bytes of head room in front, so
/// that short prepends move nothing. Storage only grows, in steps of 512 bytes: a buffer that shrinks keeps
/// its storage, and when it grows again the old bytes reappear.
///
/// A QZData owns its block; copies are deep. One thread at a time.
/// When storage has to grow and there is no memory, QZException with QZLastError is thrown, 4352 when that is
/// 0.
class QZ_API QZData : public QZObject
{
public:
    static const QZInt64 Type = 0x2000000;

    /// An empty buffer.
    QZData();

    /// `size` zero bytes.
    /// @throws QZException with QZLastError (4352 when that is 0) for a negative size
    explicit QZData(QZInt64 size);
    template <std::integral T>
    explicit QZData(T size) : QZData(static_cast<QZInt64>(size))
    {}

    /// A copy of `size` bytes at p.
    QZData(const void* p, QZInt64 size);

    /// A copy of a whole raw block as GetStructPointer gives it: data type, structure area and head room
    /// included.
    /// @throws QZException without a code for null
    explicit QZData(const void* block);

    /// A copy of the other's whole block.
    explicit QZData(const QZData* other);
    QZData(const QZData& other);
    QZData& operator=(const QZData& other);

    /// A damaged block is not freed: QZLastError becomes 512 and the assert hook is called with false.
    ~QZData() override;

    QZInt64 GetMemorySize() override;
    QZInt64 GetType() override;

    /// Empties the buffer and sets the head room back to 64 bytes.
    virtual void Clear();

    /// The data.
    void* GetPointer() const { return block::Data(m_block); }

    /// The block, from its header: 64-bit words marker (65535), data type, size, offset, structure size; then
    /// structure area, head room, data, padding to a multiple of 8, guard word.
    void* GetStructPointer() const { return m_block; }

    /// Bytes of data.
    QZInt64 GetSize() const { return block::Size(m_block); }

    /// Bytes of the whole block, guard included.
    QZInt64 GetStructSize() const { return block::Length(m_block); }

    /// Head room in bytes.
    QZInt64 GetOffset() const { return block::Offset(m_block); }

    /// Moves the start of the data while its end stays: a larger offset drops bytes from the front, a smaller
    /// one takes bytes back. Offsets past the end leave size 0; past the capacity they become the capacity.
    /// Negative ones do nothing.
    void SetOffset(QZInt64 offset);

    /// Changes the size; the front of the data stays.
    void NewSize(QZInt64 size);

    /// The same, and the bytes added at the end are filled.
    void NewSize(QZInt64 size, QZByte fill);

    /// Same data type, same size, same bytes.
    QZBool Equals(const QZData* other) const;

    /// Same size and bytes.
    QZBool Equals(const void* p, QZInt64 size) const;

    /// Repeats the four bytes of the value over the data; a tail shorter than four gets its low bytes.
    void Fill(int value);
    void Fill(QZByte value);

    /// The first position of the pattern, or -1; the result is remembered for FindNext. A null pattern gives
    /// 0.
    QZInt64 Find(const QZData* pattern);
    QZInt64 Find(const void* pattern, QZInt64 size);

    /// The next position after the remembered one, or -1; remembered. The search starts at the remembered
    /// position plus the pattern's size, and with nothing found before at the pattern's size - 1.
    QZInt64 FindNext(const QZData* pattern);

    /// Appends bytes. A buffer may be appended to itself.
    /// @throws QZException 256 for a negative size
    void Append(const QZData* source);
    void Append(QZData source);
    void Append(const void* p, QZInt64 size);

    /// Adds bytes in front of the data: in the head room if more of it is left than they need, else by moving
    /// the data up.
    /// @throws QZException 256 for a negative size
    void Prepend(const QZData* source);
    void Prepend(QZData source);
    void Prepend(const void* p, QZInt64 size);

    /// A new buffer from QZDataFactory in which every occurrence of `find`, from the front and without
    /// overlap, is replaced. This buffer stays unchanged, except that it forgets its remembered position.
    /// @throws QZException 256 for an empty pattern
    QZData* Replace(const QZData* find, const QZData* with);
    QZData* Replace(const void* find, QZInt64 findSize, const void* with, QZInt64 withSize);

    /// The pieces between the separators, as new buffers in a new collection, both from QZDataFactory. The
    /// bytes after the last separator are always the last piece, even when there are none.
    QZDataCollection* Split(const QZData* separator);

    /// Recycles every element and then the collection. A null in the variable is a QZLibAssert(false).
    static void Recycle(QZDataCollection** collection);
    static void Recycle(QZData** data);

    /// True when marker and guard of the block are right.
    QZBool Check() const;

    /// Copies the bytes. Data type and head room stay. Does nothing when the source is this object.
    void Set(const QZData* source);
    void Set(const void* block);
    void Set(const void* p, QZInt64 size);

    /// The element of the width at an index that counts elements. Index -1 reads the bytes in front of the
    /// data.
    /// @throws QZException 1024 outside the data
    QZInt64 GetValueInt64(QZInt64 index) const;
    QZUInt64 GetValueUInt64(QZInt64 index) const;
    double GetValueDouble(QZInt64 index) const;
    QZInt32 GetValueInt32(QZInt64 index) const;
    QZUInt32 GetValueUInt32(QZInt64 index) const;
    QZInt16 GetValueInt16(QZInt64 index) const;
    QZUInt16 GetValueUInt16(QZInt64 index) const;
    QZByte GetValueByte(QZInt64 index) const;

    /// Stores an element; the same index rule.
    void SetValueInt64(QZInt64 index, QZInt64 value);
    void SetValueUInt64(QZInt64 index, QZUInt64 value);
    void SetValueDouble(QZInt64 index, double value);
    void SetValueInt32(QZInt64 index, QZInt32 value);
    void SetValueUInt32(QZInt64 index, QZUInt32 value);
    void SetValueInt16(QZInt64 index, QZInt16 value);
    void SetValueUInt16(QZInt64 index, QZUInt16 value);
    void SetValueByte(QZInt64 index, QZByte value);

protected:
    void* m_block;
    QZInt64 m_findPosition = -1;

private:
    void GrowBy(QZInt64 size);
    void AppendBytes(const void* p, QZInt64 size);
    void PrependBytes(const void* p, QZInt64 size);
    void ReleaseBlock();
    QZInt64 ReplaceInto(QZData** result, const void* find, QZInt64 findSize, const void* with,
                        QZInt64 withSize);
    unsigned char* Element(QZInt64 index, QZInt64 width) const;
    template <typename T>
    T Load(QZInt64 index, const QZWChar* method) const;
    template <typename T>
    void Store(QZInt64 index, T value, const QZWChar* method, const QZWChar* type);
};

#endif
