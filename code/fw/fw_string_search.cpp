#include <algorithm>

#include "fw/fw_block.h"
#include "fw/fw_keyed.h"
#include "fw/fw_memory.h"
#include "fw/fw_string.h"
#include "fw/internal/fw_hooks.h"
#include "fw/internal/fw_string_internal.h"
#include "sys/sys_bytes.h"

namespace
{
using text::View;
using text::ViewOf;

constexpr QZInt64 kNotFound = -1;
constexpr QZInt64 kBadStart = -2;

bool EqualIgnoringCase(QZWChar a, QZWChar b)
{
    if (a == b) return true;
    if (a >= 'a' && a <= 'z') return b == a - 32;
    return a >= 'A' && a <= 'Z' && b == a + 32;
}

bool EqualUnits(const QZWChar* a, const QZWChar* b, QZInt64 count, bool ignoreCase)
{
    if (!ignoreCase) return QZMemory::Equals(a, b, count * 2);
    for (QZInt64 i = 0; i < count; ++i)
        if (!EqualIgnoringCase(a[i], b[i])) return false;
    return true;
}

bool EqualViews(View own, View other, bool ignoreCase)
{
    return other.units != nullptr && own.count == other.count &&
           EqualUnits(own.units, other.units, own.count, ignoreCase);
}

/// Narrow text is compared unit by unit as long as it is plain ASCII, which every narrow page maps to itself.
/// From the first other byte on it is converted.
bool EqualNarrow(View own, const char* other, bool ignoreCase)
{
    if (other == nullptr) return false;
    for (QZInt64 i = 0; static_cast<signed char>(other[i]) >= 0; ++i)
    {
        if (other[i] == 0) return i == own.count;
        QZWChar unit = static_cast<QZWChar>(other[i]);
        if (i >= own.count) return false;
        if (own.units[i] != unit && !(ignoreCase && EqualIgnoringCase(own.units[i], unit))) return false;
    }
    return EqualViews(own, text::Wide(other).View(), ignoreCase);
}

/// -2 for a start outside the text, -1 when the pattern does not occur.
QZInt64 Find(View own, QZInt64 start, View pattern)
{
    if (start < 0 || start > own.count)
    {
        QZSetLastError(static_cast<QZInt32>(QZExceptionCode::ArgumentOutOfRange));
        return kBadStart;
    }
    if (pattern.units == nullptr) return kNotFound;
    if (pattern.count == 0) return start;
    QZWChar first = pattern.units[0];
    for (QZInt64 i = start; i <= own.count - pattern.count; ++i)
    {
        if (own.units[i] != first) continue;
        if (QZMemory::Equals(own.units + i, pattern.units, pattern.count * 2)) return i;
    }
    return kNotFound;
}

template <typename T>
QZInt64 FoundOrThrow(QZInt64 position, QZInt64 start, const QZWChar* type, T pattern)
{
    if (position != kBadStart) return position;
    text::Failure(QZLastErrorOr(QZExceptionCode::ArgumentOutOfRange), QZ_W("IndexOf"))
        .Argument(QZ_W("QZInt64"), start)
        .Argument(type, pattern)
        .Throw();
}

bool Starts(View own, View other, bool ignoreCase)
{
    return other.units != nullptr && other.count <= own.count &&
           EqualUnits(own.units, other.units, other.count, ignoreCase);
}

bool Ends(View own, View other, bool ignoreCase)
{
    return other.units != nullptr && other.count <= own.count &&
           EqualUnits(own.units + own.count - other.count, other.units, other.count, ignoreCase);
}

QZWChar UnitOf(char unit) { return static_cast<QZWChar>(static_cast<unsigned char>(unit)); }
}  // namespace

// ---- Equals

QZBool QZString::Equals(const char* text) { return EqualNarrow(ViewOf(this), text, false); }
QZBool QZString::Equals(const QZWChar* text) { return EqualViews(ViewOf(this), ViewOf(text), false); }
QZBool QZString::Equals(QZString* text) { return EqualViews(ViewOf(this), ViewOf(text), false); }

QZBool QZString::Equals(const char* text, QZBool ignoreCase)
{
    return EqualNarrow(ViewOf(this), text, ignoreCase != 0);
}

QZBool QZString::Equals(const QZWChar* text, QZBool ignoreCase)
{
    return EqualViews(ViewOf(this), ViewOf(text), ignoreCase != 0);
}

QZBool QZString::Equals(QZString* text, QZBool ignoreCase)
{
    return EqualViews(ViewOf(this), ViewOf(text), ignoreCase != 0);
}

// ---- IndexOf, Contains, StartsWith, EndWith

QZInt64 QZString::IndexOf(const char* text) { return IndexOf(0, text); }
QZInt64 QZString::IndexOf(const QZWChar* text) { return IndexOf(0, text); }
QZInt64 QZString::IndexOf(QZString* text) { return IndexOf(0, text); }
QZInt64 QZString::IndexOf(QZWChar unit) { return IndexOf(0, unit); }
QZInt64 QZString::IndexOf(char unit) { return IndexOf(0, unit); }

QZInt64 QZString::IndexOf(QZInt64 start, const char* text)
{
    return FoundOrThrow(Find(ViewOf(this), start, text::Wide(text).View()), start, QZ_W("QZChar*"), text);
}

QZInt64 QZString::IndexOf(QZInt64 start, const QZWChar* text)
{
    return FoundOrThrow(Find(ViewOf(this), start, ViewOf(text)), start, QZ_W("QZWChar*"), text);
}

QZInt64 QZString::IndexOf(QZInt64 start, QZString* text)
{
    return FoundOrThrow(Find(ViewOf(this), start, ViewOf(text)), start, QZ_W("QZString*"), text);
}

QZInt64 QZString::IndexOf(QZInt64 start, QZWChar unit)
{
    const QZWChar shown[2] = {unit, 0};
    return FoundOrThrow(Find(ViewOf(this), start, View{shown, 1}), start, QZ_W("QZWChar"), &shown[0]);
}

QZInt64 QZString::IndexOf(QZInt64 start, char unit)
{
    const QZWChar shown[2] = {UnitOf(unit), 0};
    return FoundOrThrow(Find(ViewOf(this), start, View{shown, 1}), start, QZ_W("QZChar"), &shown[0]);
}

QZBool QZString::Contains(QZString* text) { return IndexOf(text) >= 0; }
QZBool QZString::Contains(const char* text) { return IndexOf(text) >= 0; }
QZBool QZString::Contains(const QZWChar* text) { return IndexOf(text) >= 0; }
QZBool QZString::Contains(QZWChar unit) { return IndexOf(unit) >= 0; }
QZBool QZString::Contains(char unit) { return IndexOf(unit) >= 0; }

QZBool QZString::StartsWith(const char* text) { return StartsWith(text, 0); }
QZBool QZString::StartsWith(const QZWChar* text) { return StartsWith(text, 0); }
QZBool QZString::StartsWith(QZString* text) { return StartsWith(text, 0); }

QZBool QZString::StartsWith(const char* text, QZBool ignoreCase)
{
    return Starts(ViewOf(this), text::Wide(text).View(), ignoreCase != 0);
}

QZBool QZString::StartsWith(const QZWChar* text, QZBool ignoreCase)
{
    return Starts(ViewOf(this), ViewOf(text), ignoreCase != 0);
}

QZBool QZString::StartsWith(QZString* text, QZBool ignoreCase)
{
    return Starts(ViewOf(this), ViewOf(text), ignoreCase != 0);
}

QZBool QZString::EndWith(const char* text) { return EndWith(text, 0); }
QZBool QZString::EndWith(const QZWChar* text) { return EndWith(text, 0); }
QZBool QZString::EndWith(QZString* text) { return EndWith(text, 0); }

QZBool QZString::EndWith(const char* text, QZBool ignoreCase)
{
    return Ends(ViewOf(this), text::Wide(text).View(), ignoreCase != 0);
}

QZBool QZString::EndWith(const QZWChar* text, QZBool ignoreCase)
{
    return Ends(ViewOf(this), ViewOf(text), ignoreCase != 0);
}

QZBool QZString::EndWith(QZString* text, QZBool ignoreCase)
{
    return Ends(ViewOf(this), ViewOf(text), ignoreCase != 0);
}

// ---- Replace

namespace
{
/// The next occurrence at or after `start`, or the text's length.
QZInt64 NextMatch(View own, View find, QZInt64 start)
{
    if (find.count == 0) return own.count;
    QZInt64 position = Find(own, start, find);
    return position < 0 ? own.count : position;
}

QZInt64 CountMatches(View own, View find)
{
    QZInt64 count = 0;
    for (QZInt64 i = NextMatch(own, find, 0); i < own.count; i = NextMatch(own, find, i + find.count))
        ++count;
    return count;
}

QZWChar* PutUnits(QZWChar* to, const QZWChar* from, QZInt64 count)
{
    if (count > 0) QZMemCopy(to, from, count * 2);
    return to + count;
}
}  // namespace

QZString* QZString::Replaced(const QZWChar* find, QZInt64 findCount, const QZWChar* with, QZInt64 withCount)
{
    View own = ViewOf(this);
    View pattern{find, findCount};
    QZInt64 length = own.count + CountMatches(own, pattern) * (withCount - findCount);
    QZScopedString result(QZStringFactory::CreateString());
    if (!result->Resize(length * 2))
    {
        text::NoMemory(QZ_W("Replace"))
            .Argument(QZ_W("QZWChar*"), find, findCount * 2)
            .Argument(QZ_W("QZWChar*"), with, withCount * 2)
            .Throw();
    }
    QZWChar* to = result->GetPointer();
    QZInt64 start = 0;
    for (QZInt64 i = NextMatch(own, pattern, 0); i < own.count; i = NextMatch(own, pattern, start))
    {
        to = PutUnits(to, own.units + start, i - start);
        to = PutUnits(to, with, withCount);
        start = i + findCount;
    }
    PutUnits(to, own.units + start, own.count - start);
    return result.Release();
}

void QZString::ReplaceHere(const QZWChar* find, QZInt64 findCount, const QZWChar* with, QZInt64 withCount)
{
    // Most texts contain nothing to replace and need no copy.
    if (NextMatch(ViewOf(this), View{find, findCount}, 0) == GetLength()) return;
    QZScopedString result(Replaced(find, findCount, with, withCount));
    if (Assign(result->GetPointer(), result->GetSize())) return;
    text::NoMemory(QZ_W("ReplaceThis"))
        .Argument(QZ_W("QZWChar*"), find, findCount * 2)
        .Argument(QZ_W("QZWChar*"), with, withCount * 2)
        .Throw();
}

QZString* QZString::Replace(const char* find, const char* with)
{
    text::Wide pattern(find);
    text::Wide substitute(with);
    return Replaced(pattern.View().units, pattern.View().count, substitute.View().units,
                    substitute.View().count);
}

QZString* QZString::Replace(const QZWChar* find, const QZWChar* with)
{
    return Replaced(find, text::Length(find), with, text::Length(with));
}

QZString* QZString::Replace(QZString* find, QZString* with)
{
    return Replaced(ViewOf(find).units, ViewOf(find).count, ViewOf(with).units, ViewOf(with).count);
}

void QZString::ReplaceThis(const char* find, const char* with)
{
    text::Wide pattern(find);
    text::Wide substitute(with);
    ReplaceHere(pattern.View().units, pattern.View().count, substitute.View().units, substitute.View().count);
}

void QZString::ReplaceThis(const QZWChar* find, const QZWChar* with)
{
    ReplaceHere(find, text::Length(find), with, text::Length(with));
}

void QZString::ReplaceThis(QZString* find, QZString* with)
{
    ReplaceHere(ViewOf(find).units, ViewOf(find).count, ViewOf(with).units, ViewOf(with).count);
}

// ---- Split

namespace
{
void AddPiece(QZStringCollection* pieces, const QZWChar* units, QZInt64 count)
{
    QZScopedString piece(QZStringFactory::CreateString(units, count * 2));
    pieces->Push(piece.Get());
    piece.Release();
}
}  // namespace

QZStringCollection* QZString::SplitAt(const QZWChar* separator, QZInt64 count)
{
    View own = ViewOf(this);
    try
    {
        QZScopedStringCollection pieces(QZStringFactory::CreateStringCollection());
        QZInt64 start = 0;
        for (QZInt64 i = 0; count > 0 && i <= own.count - count; ++i)
        {
            if (own.units[i] != separator[0] || !QZMemory::Equals(own.units + i, separator, count * 2))
                continue;
            // The search continues one unit after the start of the match: a separator that overlaps the one
            // just found counts again, with an empty piece before it.
            AddPiece(pieces.Get(), own.units + start, std::max<QZInt64>(i - start, 0));
            start = i + count;
        }
        AddPiece(pieces.Get(), own.units + start, own.count - start);
        return pieces.Release();
    }
    catch (...)
    {
        QZPassOn(QZ_W("QZString"), QZ_W("Split")).Argument(QZ_W("QZWChar*"), separator, count * 2);
        throw;
    }
}

QZStringCollection* QZString::Split(QZWChar separator) { return SplitAt(&separator, separator == 0 ? 0 : 1); }

QZStringCollection* QZString::Split(const char* separator)
{
    text::Wide wide(separator);
    return SplitAt(wide.View().units, wide.View().count);
}

QZStringCollection* QZString::Split(const QZWChar* separator)
{
    return SplitAt(separator, text::Length(separator));
}

QZStringCollection* QZString::Split(QZString* separator)
{
    return SplitAt(ViewOf(separator).units, ViewOf(separator).count);
}
