#include <algorithm>

#include "fw/fw_block.h"
#include "fw/fw_string.h"
#include "fw/internal/fw_hooks.h"
#include "fw/internal/fw_string_internal.h"
#include "sys/sys_bytes.h"

namespace
{
using text::View;
using text::ViewOf;

bool IsWhiteSpace(QZWChar unit) { return unit == 0 || unit == ' ' || (unit >= '\t' && unit <= '\r'); }

QZInt64 LeadingWhiteSpace(View text)
{
    QZInt64 count = 0;
    while (count < text.count && IsWhiteSpace(text.units[count])) ++count;
    return count;
}

/// The text without leading and trailing white space.
View Trimmed(QZString* text, const QZWChar* method)
{
    if (!text->Check()) text::Failure(QZExceptionCode::StructuralFailure, method).Throw();
    View view = ViewOf(text);
    QZInt64 leading = LeadingWhiteSpace(view);
    QZInt64 trailing = 0;
    while (trailing < view.count - leading && IsWhiteSpace(view.units[view.count - 1 - trailing])) ++trailing;
    return {view.units + leading, view.count - leading - trailing};
}

void Upper(QZWChar* units, QZInt64 count)
{
    for (QZInt64 i = 0; i < count; ++i)
        if (units[i] >= 'a' && units[i] <= 'z') units[i] = static_cast<QZWChar>(units[i] - 32);
}

void Lower(QZWChar* units, QZInt64 count)
{
    for (QZInt64 i = 0; i < count; ++i)
        if (units[i] >= 'A' && units[i] <= 'Z') units[i] = static_cast<QZWChar>(units[i] + 32);
}

bool IsDecimal(QZWChar unit) { return unit >= '0' && unit <= '9'; }

bool IsHexadecimal(QZWChar unit)
{
    return IsDecimal(unit) || (unit >= 'a' && unit <= 'f') || (unit >= 'A' && unit <= 'F');
}
}  // namespace

// ---- SubString

namespace
{
void TestRange(QZString* text, QZInt64 start, QZInt64 length, const QZWChar* method)
{
    if (start >= 0 && length >= 0 && start <= text->GetLength() && length <= text->GetLength() - start)
        return;
    text::Failure(QZExceptionCode::ArgumentOutOfRange, method)
        .Argument(QZ_W("QZInt64"), start)
        .Argument(QZ_W("QZInt64"), length)
        .Throw();
}
}  // namespace

QZString* QZString::SubString(QZInt64 start, QZInt64 length)
{
    TestRange(this, start, length, QZ_W("SubString"));
    return QZStringFactory::CreateString(GetPointer() + start, length * 2);
}

void QZString::SubStringThis(QZInt64 start, QZInt64 length)
{
    TestRange(this, start, length, QZ_W("SubStringThis"));
    Assign(GetPointer() + start, length * 2);
}

// ---- Case and white space

QZString* QZString::ToUpper()
{
    QZString* result = QZStringFactory::CreateString(this);
    result->ToUpperThis();
    return result;
}

QZString* QZString::ToLower()
{
    QZString* result = QZStringFactory::CreateString(this);
    result->ToLowerThis();
    return result;
}

void QZString::ToUpperThis() { Upper(GetPointer(), GetLength()); }

void QZString::ToLowerThis() { Lower(GetPointer(), GetLength()); }

QZString* QZString::Trim()
{
    View left = Trimmed(this, QZ_W("Trim"));
    return QZStringFactory::CreateString(left.units, left.count * 2);
}

void QZString::TrimThis()
{
    View left = Trimmed(this, QZ_W("TrimThis"));
    Assign(left.units, left.count * 2);
}

// ---- Tests

QZBool QZString::IsNullOrEmpty(QZString* text) { return text == nullptr || text->GetSize() == 0; }

QZBool QZString::IsNullOrWhiteSpace(QZString* text)
{
    return text == nullptr || LeadingWhiteSpace(ViewOf(text)) == text->GetLength();
}

QZBool QZString::IsNumberic(QZString* text)
{
    if (IsNullOrEmpty(text))
    {
        QZSetLastError(static_cast<QZInt32>(QZExceptionCode::ArgumentOutOfRange));
        return 0;
    }
    const QZWChar* units = text->GetPointer();
    QZInt64 count = text->GetLength();
    if (count >= 2 && units[0] == '0' && units[1] == 'x')
    {
        // The loop runs from the end and stops before the first digit: "0xG1" passes as hexadecimal.
        for (QZInt64 i = count - 1; i > 2; --i)
            if (!IsHexadecimal(units[i])) return 0;
        return 1;
    }
    // Place and number of the points are not checked: "1.2.3" passes.
    return std::all_of(units + (units[0] == '-' ? 1 : 0), units + count,
                       [](QZWChar unit) { return IsDecimal(unit) || unit == '.'; });
}
