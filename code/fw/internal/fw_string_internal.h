#ifndef QZLIB_FW_STRING_INTERNAL_H
#define QZLIB_FW_STRING_INTERNAL_H

#include <string>

#include "fw/fw_string.h"
#include "fw/fw_string_factory.h"
#include "fw/internal/fw_hooks.h"
#include "fw/internal/fw_trace.h"

/// What the sources of QZString share. Internal.
namespace text
{
/// Units, or bytes, up to the terminator; 0 for null.
template <typename Unit>
QZInt64 Length(const Unit* text)
{
    return text ? static_cast<QZInt64>(std::char_traits<Unit>::length(text)) : 0;
}

/// Units that are not owned by whoever looks at them; null is no text at all.
struct View
{
    const QZWChar* units;
    QZInt64 count;
};

inline View ViewOf(const QZWChar* text) { return {text, Length(text)}; }

inline View ViewOf(QZString* text)
{
    return text ? View{text->GetPointer(), text->GetLength()} : View{nullptr, 0};
}

/// A string for short use: out of the cache, and back into it at the end of the scope.
class Temporary
{
public:
    explicit Temporary(QZString* text) : m_text(text) {}
    ~Temporary()
    {
        if (m_text) QZStringFactory::Recycle(&m_text);
    }
    Temporary(const Temporary&) = delete;
    Temporary& operator=(const Temporary&) = delete;

    QZString* Get() const { return m_text; }
    QZString* operator->() const { return m_text; }
    /// Hands the string over.
    QZString* Release()
    {
        QZString* text = m_text;
        m_text = nullptr;
        return text;
    }

private:
    QZString* m_text;
};

/// Narrow text as a string for short use; null stays null.
class Wide : public Temporary
{
public:
    explicit Wide(const char* narrow) : Temporary(narrow ? QZStringFactory::CreateString(narrow) : nullptr) {}
    text::View View() const { return ViewOf(Get()); }
};

/// A failure of growing: the caller adds the arguments and throws.
inline QZTrace<QZException> NoMemory(const QZWChar* method)
{
    return QZTrace(QZExceptionFactory::CreateException(QZLastErrorOr(QZExceptionCode::OutOfMemory)),
                   QZ_W("QZString"), method);
}

inline QZTrace<QZException> Failure(QZInt64 code, const QZWChar* method)
{
    return QZTrace(QZExceptionFactory::CreateException(code), QZ_W("QZString"), method);
}
}  // namespace text

#endif
