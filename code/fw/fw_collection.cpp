#include "fw/fw_collection.h"

#include "fw/fw_memory.h"
#include "fw/internal/fw_hooks.h"
#include "fw/internal/fw_raise.h"
#include "sys/internal/sys_error.h"

const QZInt64 QZCollection::Type;

namespace
{

bool SignedLess(QZUInt64 a, QZUInt64 b) { return static_cast<QZInt64>(a) < static_cast<QZInt64>(b); }

bool SignedGreater(QZUInt64 a, QZUInt64 b) { return static_cast<QZInt64>(a) > static_cast<QZInt64>(b); }

}  // namespace

QZCollection::QZCollection() = default;

QZCollection::QZCollection(QZCollection* other)
    : QZStack(static_cast<QZStack*>(other)), m_duplicatesAllowed(other->m_duplicatesAllowed)
{}

QZInt64 QZCollection::GetType() { return Type; }

void QZCollection::Clear() { QZStack::Clear(); }

QZBool QZCollection::Push(QZUInt64 value)
{
    if (!m_duplicatesAllowed && FindElement(value) >= 0) return 0;
    PushWord(value);
    return 1;
}

QZBool QZCollection::Append(const QZUInt64* words)
{
    const auto added = static_cast<QZInt64>(words[0]);
    const bool own = words == Words();
    if (!m_duplicatesAllowed)
    {
        QZInt64 pushed = 0;
        for (QZInt64 i = 1; i <= added; ++i)
            if (Push(own ? Words()[i] : words[i])) ++pushed;
        return added <= 0 || pushed == added;
    }
    const QZInt64 count = CountOf();
    if (added <= 0 || count < 0) return 1;
    LengthMax(count + added);
    if (own) words = Words();
    QZMemCopy(Words() + count + 1, words + 1, added * 8);
    SetCount(count + added);
    return 1;
}

QZBool QZCollection::Append(QZCollection* other) { return Append(other->GetPointer()); }

void QZCollection::CheckIndex(QZInt64 index, const QZWChar* method)
{
    if (!IsIndex(index))
        QZRaise(QZExceptionCode::MemoryInaccessible, QZ_W("QZCollection"), method)
            .Argument(QZ_W("QZInt64"), index)
            .Throw();
}

QZBool QZCollection::RemoveElement(QZInt64 index)
{
    CheckIndex(index, QZ_W("RemoveElement"));
    QZUInt64* words = Words();
    const QZInt64 count = CountOf();
    const QZInt64 following = count - index - 1;
    if (following > 0) QZMemMove(words + index + 1, words + index + 2, following * 8);
    SetCount(count - 1);
    return 1;
}

QZInt64 QZCollection::RemoveByValue(QZUInt64 value)
{
    QZInt64 removed = 0;
    for (QZInt64 index = FindElement(value); index >= 0; index = FindElement(value))
    {
        RemoveElement(index);
        ++removed;
    }
    return removed;
}

QZBool QZCollection::Equals(QZCollection* other)
{
    if (other == nullptr) return 0;
    const QZInt64 count = Count();
    if (other->Count() != count) return 0;
    return QZMemory::Equals(GetPointer() + 1, other->GetPointer() + 1, count * 8);
}

QZUInt64 QZCollection::GetElement(QZInt64 index)
{
    CheckIndex(index, QZ_W("GetElement"));
    return Words()[index + 1];
}

QZBool QZCollection::SetElement(QZInt64 index, QZUInt64 value)
{
    if (!IsIndex(index))
        QZRaise(QZExceptionCode::MemoryInaccessible, QZ_W("QZCollection"), QZ_W("SetElement"))
            .Argument(QZ_W("QZInt64"), index)
            .Argument(QZ_W("QZUInt64"), static_cast<QZInt64>(value))
            .Throw();
    Words()[index + 1] = value;
    return 1;
}

QZInt64 QZCollection::FindFrom(QZInt64 start, QZUInt64 value)
{
    const QZUInt64* words = Words();
    const QZInt64 count = CountOf();
    for (QZInt64 index = start < 0 ? 0 : start; index < count; ++index)
        if (words[index + 1] == value) return index;
    return -1;
}

QZInt64 QZCollection::FindElement(QZUInt64 value)
{
    m_findPosition = FindFrom(0, value);
    return m_findPosition;
}

QZInt64 QZCollection::FindNextElement(QZUInt64 value)
{
    m_findPosition = FindFrom(m_findPosition + 1, value);
    return m_findPosition;
}

template <typename Wrong>
void QZCollection::ShellSort(Wrong wrong)
{
    const QZInt64 count = CountOf();
    QZUInt64* elements = Words() + 1;
    for (QZInt64 gap = count / 2; gap > 0; gap /= 2)
    {
        for (QZInt64 i = gap; i < count; ++i)
        {
            for (QZInt64 j = i - gap; j >= 0 && wrong(elements[j], elements[j + gap]); j -= gap)
            {
                const QZUInt64 moved = elements[j];
                elements[j] = elements[j + gap];
                elements[j + gap] = moved;
            }
        }
    }
}

template <typename Wrong>
void QZCollection::KeyedSort(QZCollection* other, Wrong wrong)
{
    const QZInt64 count = CountOf();
    if (count < 1) return;
    if (other->Count() < count) other->NewLength(count, 0);
    if (other->CountOf() < count) return;
    QZUInt64* keys = Words() + 1;
    QZUInt64* carried = other->Words() + 1;
    // The order of elements with equal keys follows from exactly this order of exchanges.
    for (QZInt64 i = 0; i < count; ++i)
    {
        for (QZInt64 j = i + 1; j < count; ++j)
        {
            if (!wrong(keys[i], keys[j])) continue;
            keys[i] ^= keys[j];
            keys[j] ^= keys[i];
            keys[i] ^= keys[j];
            carried[i] ^= carried[j];
            carried[j] ^= carried[i];
            carried[i] ^= carried[j];
        }
    }
}

void QZCollection::MaxToMin(QZCollection* other)
{
    const QZUInt64* pointer = GetPointer();
    const QZUInt64* pointerOfOther = other != nullptr ? other->GetPointer() : nullptr;
    if (pointer == nullptr || pointerOfOther == nullptr)
    {
        os::AssertReport("POINTER != QZNull && POINTER_TAR != QZNull", "code/fw/fw_collection", 152);
        return;
    }
    KeyedSort(other, SignedLess);
}

void QZCollection::MaxToMin() { ShellSort(SignedLess); }

void QZCollection::MinToMax(QZCollection* other)
{
    // This direction raises no assertion report for a null; MaxToMin does.
    if (other == nullptr)
        QZRaise(QZExceptionCode::NullPointer, QZ_W("QZCollection"), QZ_W("MinToMax"))
            .Argument(QZ_W("QZCollection*"), other, 0)
            .Throw();
    KeyedSort(other, SignedGreater);
}

void QZCollection::MinToMax() { ShellSort(SignedGreater); }

QZInt64 QZCollection::GetMax()
{
    const QZInt64 count = CountOf();
    if (count < 1) QZRaise(QZExceptionCode::ObjectWasNotFound, QZ_W("QZCollection"), QZ_W("GetMax")).Throw();
    const QZUInt64* elements = Words() + 1;
    QZUInt64 best = elements[0];
    for (QZInt64 i = 1; i < count; ++i)
        if (elements[i] > best) best = elements[i];
    return static_cast<QZInt64>(best);
}

QZInt64 QZCollection::GetMin()
{
    const QZInt64 count = CountOf();
    if (count < 1) QZRaise(QZExceptionCode::ObjectWasNotFound, QZ_W("QZCollection"), QZ_W("GetMin")).Throw();
    const QZUInt64* elements = Words() + 1;
    QZUInt64 best = elements[0];
    for (QZInt64 i = 1; i < count; ++i)
        if (elements[i] < best) best = elements[i];
    return static_cast<QZInt64>(best);
}

void QZCollection::MoveElement(QZInt64 from, QZInt64 to)
{
    const bool goodFrom = IsIndex(from);
    const bool goodTo = IsIndex(to);
    // A single bad index is ignored: callers use it to move an element as far as possible.
    if (!goodFrom && !goodTo)
        QZRaise(QZExceptionCode::ArgumentOutOfRange, QZ_W("QZCollection"), QZ_W("MoveElement"))
            .Argument(QZ_W("QZInt64"), from)
            .Argument(QZ_W("QZInt64"), to)
            .Throw();
    if (!goodFrom || !goodTo || from == to) return;
    QZUInt64* elements = Words() + 1;
    const QZUInt64 moved = elements[from];
    if (from < to)
        QZMemMove(elements + from, elements + from + 1, (to - from) * 8);
    else
        QZMemMove(elements + to + 1, elements + to, (from - to) * 8);
    elements[to] = moved;
}

void QZCollection::NewLength(QZInt64 length, QZUInt64 fill)
{
    const QZInt64 count = CountOf();
    if (length > count)
    {
        LengthMax(length);
        QZUInt64* elements = Words() + 1;
        for (QZInt64 i = count < 0 ? 0 : count; i < length; ++i) elements[i] = fill;
    }
    SetCount(length);
}

void QZCollection::NewLength(QZInt64 length) { NewLength(length, 0); }
