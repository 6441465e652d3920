#ifndef QZLIB_FW_TEXT_BUILDER_H
#define QZLIB_FW_TEXT_BUILDER_H

#include <string_view>

#include "fw/fw_string.h"
#include "fw/internal/fw_hooks.h"

/// A text under construction: UTF-16 units that are appended one after another. Internal.
///
/// The first units lie in the object itself. A longer text moves to a checked buffer of the memory manager,
/// which grows by doubling. A finished text leaves the builder as a string or as UTF-8 bytes. One thread at a
/// time.
class TextBuilder
{
public:
    /// @param className, method  what the trace names when there is no memory to grow; texts that stay
    TextBuilder(const QZWChar* className, const QZWChar* method) : m_className(className), m_method(method) {}
    ~TextBuilder();
    TextBuilder(const TextBuilder&) = delete;
    TextBuilder& operator=(const TextBuilder&) = delete;

    /// All forms of Append throw a QZException with QZLastError, or with 4352, when there is no memory to
    /// grow. The text then stays as it was.
    void Append(QZWChar unit)
    {
        if (m_count == m_capacity) Grow(1);
        m_units[m_count++] = unit;
    }

    void Append(const QZWChar* units, QZInt64 count)
    {
        if (count > m_capacity - m_count) Grow(count);
        QZMemCopy(m_units + m_count, units, count * 2);
        m_count += count;
    }

    void Append(std::basic_string_view<QZWChar> text)
    {
        Append(text.data(), static_cast<QZInt64>(text.size()));
    }

    void Append(QZString* text) { Append(text->GetPointer(), text->GetLength()); }

    /// A literal, without its terminator.
    template <std::size_t N>
    void Append(const QZWChar (&literal)[N])
    {
        Append(literal, static_cast<QZInt64>(N - 1));
    }

    const QZWChar* Units() const { return m_units; }
    QZInt64 Count() const { return m_count; }

    /// A new string with the text. The caller gives it back to QZStringFactory.
    QZString* ToString() const;

    /// The number of bytes that WriteUtf8 writes.
    QZInt64 Utf8Size() const;

    /// Writes the text as UTF-8, without a terminator.
    /// @param bytes  room for `size` bytes
    /// @param size   the result of Utf8Size
    void WriteUtf8(void* bytes, QZInt64 size) const;

private:
    void Grow(QZInt64 count);

    static constexpr QZInt64 kInline = 512;
    QZWChar m_inline[kInline];
    QZWChar* m_units = m_inline;
    QZInt64 m_count = 0;
    QZInt64 m_capacity = kInline;
    const QZWChar* m_className;
    const QZWChar* m_method;
};

#endif
