#include "graphics/gr_points.h"

#include <algorithm>

#include "codec/cod_math.h"
#include "fw/fw_library.h"
#include "fw/internal/fw_hooks.h"
#include "fw/internal/fw_trace.h"
#include "graphics/internal/gr_geometry_word.h"
#include "graphics/internal/gr_parts.h"
#include "sys/sys_bytes.h"

const QZInt64 QZPointCollection::Type;
const QZInt64 QZRectangleCollection::Type;

namespace
{

float Distance(QZUInt64 a, QZUInt64 b)
{
    return QZMath::GetDistanceFromPointToPoint(word::Low(a), word::High(a), word::Low(b), word::High(b));
}

}  // namespace

QZInt64 QZPointCollection::GetType() { return 0x81FFFF0; }

QZUInt64* QZPointCollection::GetPointer() { return QZCollection::GetPointer(); }

QZBool QZPointCollection::Add(int x, int y) { return Push(word::Pack(x, y)); }
QZBool QZPointCollection::Add(QZUInt64 point) { return Push(point); }
QZBool QZPointCollection::Add(const QZPoint* point) { return Push(point->GetUInt64()); }

QZBool QZPointCollection::Append(const QZUInt64* words) { return QZCollection::Append(words); }
QZBool QZPointCollection::Append(QZPointCollection* other) { return Append(other->GetPointer()); }

QZBool QZPointCollection::SetElement(QZInt64 index, int x, int y)
{
    return SetElement(index, word::Pack(x, y));
}
QZBool QZPointCollection::SetElement(QZInt64 index, QZUInt64 point)
{
    return QZCollection::SetElement(index, point);
}
QZBool QZPointCollection::SetElement(QZInt64 index, const QZPoint* point)
{
    return SetElement(index, point->GetUInt64());
}

QZUInt64 QZPointCollection::GetElementUInt64(QZInt64 index) { return GetElement(index); }

void QZPointCollection::CheckPlace(QZInt64 index, const QZWChar* method)
{
    if (!IsIndex(index))
        throw QZTrace(QZExceptionFactory::CreateException(QZExceptionCode::MemoryInaccessible),
                      QZ_W("QZPointCollection"), method)
            .Argument(QZ_W("QZInt64"), index)
            .Exception();
}

int QZPointCollection::GetElementX(QZInt64 index)
{
    CheckPlace(index, QZ_W("GetElementX"));
    return word::Low(Words()[index + 1]);
}

int QZPointCollection::GetElementY(QZInt64 index)
{
    CheckPlace(index, QZ_W("GetElementY"));
    return word::High(Words()[index + 1]);
}

QZInt64 QZPointCollection::FindElement(int x, int y) { return FindElement(word::Pack(x, y)); }
QZInt64 QZPointCollection::FindElement(QZUInt64 point) { return QZCollection::FindElement(point); }
QZInt64 QZPointCollection::FindElement(const QZPoint* point) { return FindElement(point->GetUInt64()); }

QZInt64 QZPointCollection::FindNextElement(int x, int y) { return FindNextElement(word::Pack(x, y)); }
QZInt64 QZPointCollection::FindNextElement(QZUInt64 point) { return QZCollection::FindNextElement(point); }
QZInt64 QZPointCollection::FindNextElement(const QZPoint* point)
{
    return FindNextElement(point->GetUInt64());
}

QZInt64 QZPointCollection::RemoveElementByValue(int x, int y)
{
    return RemoveElementByValue(word::Pack(x, y));
}
QZInt64 QZPointCollection::RemoveElementByValue(QZUInt64 point) { return RemoveByValue(point); }
QZInt64 QZPointCollection::RemoveElementByValue(QZPointCollection* others)
{
    QZInt64 removed = 0;
    for (QZInt64 i = others->CountOf() - 1; i >= 0; --i)
    {
        // A list whose own points are removed from it becomes shorter during the loop.
        if (i < others->CountOf()) removed += RemoveElementByValue(others->Words()[i + 1]);
    }
    return removed;
}

QZUInt64 QZPointCollection::MinDistance(QZUInt64 point)
{
    const QZUInt64* words = Words();
    QZInt64 nearest = CountOf();
    if (nearest < 1) return 0;
    float shortest = Distance(words[nearest], point);
    for (QZInt64 i = nearest - 1; i >= 1; --i)
    {
        const float distance = Distance(words[i], point);
        if (!(distance < shortest)) continue;
        shortest = distance;
        nearest = i;
    }
    return words[nearest];
}

QZPoint* QZPointCollection::MinDistance(const QZPoint* point)
{
    return new QZPoint(MinDistance(point->GetUInt64()));
}

QZPointCollection* QZPointCollection::Union(QZPointCollection* a, QZPointCollection* b)
{
    auto* result = new QZPointCollection();
    Union(result, a, b);
    return result;
}

void QZPointCollection::Union(QZPointCollection* target, QZPointCollection* a, QZPointCollection* b)
{
    target->Append(a);
    target->Append(b);
}

QZPointCollection* QZPointCollection::Intersection(QZPointCollection* a, QZPointCollection* b)
{
    auto* result = new QZPointCollection();
    Intersection(result, a, b);
    return result;
}

void QZPointCollection::Intersection(QZPointCollection* target, QZPointCollection* a, QZPointCollection* b)
{
    // The count at the start: a target that is a itself grows on the way.
    const QZInt64 count = a->CountOf();
    for (QZInt64 i = 1; i <= count; ++i)
    {
        const QZUInt64 point = a->Words()[i];
        if (b->FindElement(point) >= 0) target->Add(point);
    }
}

QZPointCollection* QZPointCollection::MinDistance(QZPointCollection* a, QZPointCollection* b)
{
    auto* result = new QZPointCollection();
    MinDistance(result, a, b);
    return result;
}

void QZPointCollection::MinDistance(QZPointCollection* target, QZPointCollection* a, QZPointCollection* b)
{
    const QZInt64 countA = a->CountOf();
    const QZInt64 countB = b->CountOf();
    if (countA < 1 || countB < 1) return;
    const QZUInt64* wordsA = a->Words();
    const QZUInt64* wordsB = b->Words();
    QZUInt64 nearestA = wordsA[countA];
    QZUInt64 nearestB = wordsB[countB];
    float shortest = Distance(nearestA, nearestB);
    for (QZInt64 i = countA; i >= 1; --i)
    {
        for (QZInt64 j = countB; j >= 1; --j)
        {
            const float distance = Distance(wordsA[i], wordsB[j]);
            if (!(distance < shortest)) continue;
            shortest = distance;
            nearestA = wordsA[i];
            nearestB = wordsB[j];
        }
    }
    target->Add(nearestA);
    target->Add(nearestB);
}

void QZPointCollection::Recycle(QZPointCollection** points) { QZDeleteAndClear(points); }
void QZPointCollection::Recycle(QZPoint** point) { QZDeleteAndClear(point); }

// The length is taken over first and counted up again by the adding: hosts have long allowed for the surplus.
QZRectangleCollection::QZRectangleCollection(QZRectangleCollection* other) : m_length(other->m_length)
{
    Add(static_cast<const QZUInt64*>(other->Words()));
}

QZInt64 QZRectangleCollection::GetType() { return 0x81FFFF2; }

void QZRectangleCollection::Clear()
{
    QZCollection::Clear();
    m_length = 0;
}

QZBool QZRectangleCollection::Add(int x, int y, int width, int height)
{
    if (width < 0 || height < 0) return 0;
    const QZInt64 place = m_overlap ? -1 : FindMeeting(x, y, width, height);
    if (QZUInt64* element = Element(place))
    {
        QZRectangle present(word::Low(element[0]), word::High(element[0]), word::Low(element[1]),
                            word::High(element[1]));
        present.Include(x, y, width, height);
        element[0] = present.GetLocationUInt64();
        element[1] = present.GetSizeUInt64();
        return 1;
    }
    Push(word::Pack(x, y));
    Push(word::Pack(width, height));
    ++m_length;
    return 1;
}

QZBool QZRectangleCollection::Add(QZUInt64 location, QZUInt64 size)
{
    return Add(word::Low(location), word::High(location), word::Low(size), word::High(size));
}

QZBool QZRectangleCollection::Add(const QZRectangle* rectangle)
{
    return Add(rectangle->GetLocationUInt64(), rectangle->GetSizeUInt64());
}

QZBool QZRectangleCollection::Add(QZRectangleCollection* other)
{
    return Add(static_cast<const QZUInt64*>(other->Words()));
}

QZBool QZRectangleCollection::Add(const QZUInt64* words)
{
    const auto count = static_cast<QZInt64>(words[0]);
    if (m_overlap)
    {
        // A rectangle has two words, so this counts every other one. Copies report that number.
        m_length = static_cast<QZInt32>(m_length + (count >> 2));
        return Append(words);
    }
    const bool own = words == Words();
    for (QZInt64 i = 1; i < count; i += 2)
    {
        const QZUInt64* element = (own ? Words() : words) + i;
        Add(element[0], element[1]);
    }
    return 0;
}

QZUInt64 QZRectangleCollection::GetElement(QZInt64 index) { return QZCollection::GetElement(index); }

QZUInt64* QZRectangleCollection::Element(QZInt64 index)
{
    // The reported length counts, also where it is more than what was added: hosts that copy a list and write
    // into the surplus find there what they wrote.
    if (index < 0 || index >= std::min<QZInt64>(m_length, Stored())) return nullptr;
    return Words() + 2 * index + 1;
}

void QZRectangleCollection::MakeRoom(QZInt64 index)
{
    if (index < Stored()) return;
    const QZInt64 before = GetSize();
    LengthMax(2 * index + 2);
    QZMemClean(QZAt(Words(), before), GetSize() - before);
}

QZUInt64 QZRectangleCollection::GetElementLocation(QZInt64 index)
{
    const QZUInt64* element = Element(index);
    return element != nullptr ? element[0] : 0;
}

QZUInt64 QZRectangleCollection::GetElementSize(QZInt64 index)
{
    const QZUInt64* element = Element(index);
    return element != nullptr ? element[1] : 0;
}

int QZRectangleCollection::GetElementX(QZInt64 index) { return word::Low(GetElementLocation(index)); }
int QZRectangleCollection::GetElementY(QZInt64 index) { return word::High(GetElementLocation(index)); }
int QZRectangleCollection::GetElementWidth(QZInt64 index) { return word::Low(GetElementSize(index)); }
int QZRectangleCollection::GetElementHeight(QZInt64 index) { return word::High(GetElementSize(index)); }

QZBool QZRectangleCollection::SetElement(int index, int x, int y, int width, int height)
{
    return SetElement(index, word::Pack(x, y), word::Pack(width, height));
}

QZBool QZRectangleCollection::SetElement(int index, QZUInt64 location, QZUInt64 size)
{
    if (index < 0 || index >= m_length) return 0;
    MakeRoom(index);
    QZUInt64* element = Element(index);
    element[0] = location;
    element[1] = size;
    return 1;
}

QZBool QZRectangleCollection::Intersects(const QZRectangle* rectangle)
{
    return Intersects(rectangle->GetX(), rectangle->GetY(), rectangle->GetWidth(), rectangle->GetHeight());
}

QZBool QZRectangleCollection::Intersects(int x, int y, int width, int height)
{
    return FindMeeting(x, y, width, height) >= 0;
}

QZInt64 QZRectangleCollection::FindMeeting(int x, int y, int width, int height)
{
    const QZUInt64* words = Words() + 1;
    QZInt64 i = std::min<QZInt64>(m_length, Stored()) - 1;
    for (; i >= 0; --i)
    {
        const QZUInt64 location = words[2 * i];
        const QZUInt64 size = words[2 * i + 1];
        if (word::Meet(word::Low(location), word::Low(size), x, width) &&
            word::Meet(word::High(location), word::High(size), y, height))
            break;
    }
    return i;
}
