#ifndef QZLIB_FW_STRING_INTERNAL_H
#define QZLIB_FW_STRING_INTERNAL_H

#include <string>

#include "fw/fw_string.h"
#include "fw/fw_string_factory.h"
#include "fw/internal/fw_hooks.h"
#include "fw/internal/fw_raise.h"
#include "fw/internal/fw_scoped.h"

/// What the sources of QZString share.
namespace text
{
/// Units, or bytes, up to the terminator; 0 for null.
template <typename Unit>
QZInt64 Length(const Unit* text)
{
    return text != nullptr ? static_cast<QZInt64>(std::char_traits<Unit>::length(text)) : 0;
}

/// Units that another object owns; with null `units` there is no text.
struct View
{
    const QZWChar* units;
    QZInt64 count;
};

inline View ViewOf(const QZWChar* text) { return {text, Length(text)}; }

inline View ViewOf(QZString* text)
{
    return text != nullptr ? View{text->GetPointer(), text->GetLength()} : View{nullptr, 0};
}

/// A string that goes back to the factory at the end of the scope.
using Temporary = QZScopedString;

/// Narrow text as a string that goes back to the factory at the end of the scope; null stays null.
class Wide : public QZScopedString
{
public:
    explicit Wide(const char* narrow)
        : QZScopedString(narrow != nullptr ? QZStringFactory::CreateString(narrow) : nullptr)
    {}
    text::View View() const { return ViewOf(Get()); }
};

/// QZString could not grow: the caller adds the arguments and throws.
inline QZRaise NoMemory(const QZWChar* method)
{
    return {QZLastErrorOr(QZExceptionCode::OutOfMemory), QZ_W("QZString"), method};
}

inline QZRaise Failure(QZInt64 code, const QZWChar* method) { return {code, QZ_W("QZString"), method}; }
}  // namespace text

#endif
