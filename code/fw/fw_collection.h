#ifndef QZLIB_FW_COLLECTION_H
#define QZLIB_FW_COLLECTION_H

/// The library's lists: stacks and collections of 64-bit words. The header includes the queue, the intrusive
/// containers and the resumable search.

#include <concepts>

#include "fw/fw_container.h"
#include "fw/fw_data.h"
#include "fw/fw_queue.h"
#include "fw/fw_search.h"

/// A stack of 64-bit words in one data block: word 0 is the count, words 1 to count are the elements.
///
/// Storage grows to exactly the needed size; the steps in which block and memory manager allocate make
/// frequent growth cheap. The object caches the address of its words, so that reading needs no call. One
/// thread at a time.
class QZ_API QZStack : public QZData
{
public:
    static const QZInt64 Type = 0x8111000;

    QZStack();
    explicit QZStack(QZStack* other);
    QZStack(const QZStack& other);
    QZStack& operator=(const QZStack& other);

    QZInt64 GetType() override;

    /// Count 0; the storage stays.
    void Clear() override;

    /// The words, word 0 being the count. Any operation that grows the stack may move them.
    virtual QZUInt64* GetPointer();

    /// Adds an element at the end; true.
    virtual QZBool Push(QZUInt64 value);

    /// Removes and returns the last element.
    /// @throws QZException 1024 when there is none
    virtual QZUInt64 Pop();

    virtual QZInt64 Count();

    /// Copies the other's words; does nothing when it is this object.
    virtual void Set(QZStack* other);

    /// As in QZData; they also update the cached address of the words.
    void SetOffset(QZInt64 offset);
    void NewSize(QZInt64 size);
    void NewSize(QZInt64 size, QZByte fill);

protected:
    /// Makes room for `length` elements; never shrinks.
    virtual void LengthMax(QZInt64 length);

    /// The words. Reads their address again when the block has moved without this class's doing.
    QZUInt64* Words()
    {
        if (m_wordsBlock != m_block) RefreshWords();
        return m_words;
    }
    QZInt64 CountOf() { return static_cast<QZInt64>(Words()[0]); }
    void SetCount(QZInt64 count) { Words()[0] = static_cast<QZUInt64>(count); }
    void RefreshWords();

    /// Appends a word; Push of every class calls it.
    void PushWord(QZUInt64 value);

private:
    void* m_wordsBlock = nullptr;
    QZUInt64* m_words = nullptr;
};

/// An array of 64-bit words, the library's general list. Object pointers are stored as words.
///
/// With the duplicates-allowed flag cleared (a derived class does that) Push and Append refuse values that
/// are already present. Indices run from 0 to count - 1; unless stated otherwise, the operations throw
/// QZException 1024 for others.
class QZ_API QZCollection : public QZStack
{
public:
    static const QZInt64 Type = 0x8111100;

    QZCollection();
    /// A copy, the duplicates-allowed flag included.
    explicit QZCollection(QZCollection* other);
    QZCollection(const QZCollection& other) = default;
    QZCollection& operator=(const QZCollection& other) = default;

    QZInt64 GetType() override;
    void Clear() override;

    /// @return false when duplicates are not allowed and the value is present
    QZBool Push(QZUInt64 value) override;

    /// Adds the elements of an array in the form of GetPointer, word 0 being the count.
    /// @return false when duplicates are not allowed and at least one was left out
    virtual QZBool Append(const QZUInt64* words);
    virtual QZBool Append(QZCollection* other);

    /// Removes the element; those after it move up. True.
    virtual QZBool RemoveElement(QZInt64 index);

    /// Removes every occurrence. @return how many were removed
    virtual QZInt64 RemoveByValue(QZUInt64 value);

    /// Same count and same words.
    virtual QZBool Equals(QZCollection* other);

    virtual QZUInt64 GetElement(QZInt64 index);
    virtual QZBool SetElement(QZInt64 index, QZUInt64 value);

    /// The first index of the value, or -1; remembered for FindNextElement.
    virtual QZInt64 FindElement(QZUInt64 value);

    /// The next index of the value after the remembered one, or -1; remembered.
    virtual QZInt64 FindNextElement(QZUInt64 value);

    /// Sorts as signed values, largest first (MaxToMin) or smallest first (MinToMax). The forms with another
    /// collection sort this one and exchange the other's elements in the same way; the other is first filled
    /// up with zeros to this one's count. They are not stable. MaxToMin of a null raises the runtime's
    /// assertion report.
    virtual void MaxToMin(QZCollection* other);
    virtual void MaxToMin();
    virtual void MinToMax(QZCollection* other);
    virtual void MinToMax();

    /// The largest and the smallest element as unsigned values.
    /// @throws QZException 6400 when there is none
    virtual QZInt64 GetMax();
    virtual QZInt64 GetMin();

    /// Moves the element from `from` to `to`; those between shift by one. With one bad index nothing happens.
    /// @throws QZException 256 when both indices are bad
    virtual void MoveElement(QZInt64 from, QZInt64 to);

    /// Sets the count; new elements get `fill`, or 0. Storage never shrinks.
    virtual void NewLength(QZInt64 length, QZUInt64 fill);
    virtual void NewLength(QZInt64 length);

protected:
    bool IsIndex(QZInt64 index) { return index >= 0 && index < CountOf(); }

    QZByte m_duplicatesAllowed = 1;

private:
    void CheckIndex(QZInt64 index, const QZWChar* method);
    QZInt64 FindFrom(QZInt64 start, QZUInt64 value);
    template <typename Wrong>
    void ShellSort(Wrong wrong);
    template <typename Wrong>
    void KeyedSort(QZCollection* other, Wrong wrong);
};

#endif
