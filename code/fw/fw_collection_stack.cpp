#include <limits>

#include "fw/fw_collection.h"
#include "fw/internal/fw_hooks.h"
#include "fw/internal/fw_raise.h"

const QZInt64 QZStack::Type;

QZStack::QZStack() : QZData(QZInt64{8}) { RefreshWords(); }

QZStack::QZStack(QZStack* other) : QZData(static_cast<const QZData*>(other)) { RefreshWords(); }

QZStack::QZStack(const QZStack& other) : QZData(other) { RefreshWords(); }

QZStack& QZStack::operator=(const QZStack& other)
{
    QZData::operator=(other);
    RefreshWords();
    return *this;
}

QZInt64 QZStack::GetType() { return Type; }

void QZStack::RefreshWords()
{
    m_wordsBlock = m_block;
    m_words = static_cast<QZUInt64*>(QZData::GetPointer());
}

void QZStack::Clear()
{
    // NewSize may have removed the count word.
    if (GetSize() < 8) NewSize(8);
    SetCount(0);
}

QZUInt64* QZStack::GetPointer() { return Words(); }

void QZStack::PushWord(QZUInt64 value)
{
    const QZInt64 count = CountOf() + 1;
    SetCount(count);
    try
    {
        LengthMax(count);
    }
    catch (...)
    {
        SetCount(count - 1);
        throw;
    }
    // A caller can make the count negative; nothing is written before the words then.
    if (count > 0) Words()[count] = value;
}

QZBool QZStack::Push(QZUInt64 value)
{
    PushWord(value);
    return 1;
}

QZUInt64 QZStack::Pop()
{
    const QZInt64 count = CountOf();
    if (count < 1) QZRaise(QZExceptionCode::MemoryInaccessible, QZ_W("QZStack"), QZ_W("Pop")).Throw();
    SetCount(count - 1);
    return Words()[count];
}

QZInt64 QZStack::Count() { return CountOf(); }

void QZStack::Set(QZStack* other)
{
    if (other == this) return;
    QZData::Set(static_cast<const QZData*>(other));
    RefreshWords();
}

void QZStack::SetOffset(QZInt64 offset)
{
    QZData::SetOffset(offset);
    RefreshWords();
}

void QZStack::NewSize(QZInt64 size)
{
    QZData::NewSize(size);
    RefreshWords();
}

void QZStack::NewSize(QZInt64 size, QZByte fill)
{
    QZData::NewSize(size, fill);
    RefreshWords();
}

void QZStack::LengthMax(QZInt64 length)
{
    if (length > std::numeric_limits<QZInt64>::max() / 8 - 1)
        QZRaise(QZLastErrorOr(QZExceptionCode::OutOfMemory), QZ_W("QZStack"), QZ_W("LengthMax"))
            .Argument(QZ_W("QZInt64"), length)
            .Throw();
    if (length >= 0 && length * 8 + 8 > GetSize()) NewSize(length * 8 + 8);
}
