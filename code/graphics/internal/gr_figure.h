#ifndef QZLIB_GRAPHICS_FIGURE_H
#define QZLIB_GRAPHICS_FIGURE_H

#include "fw/fw_exception_factory.h"
#include "fw/internal/fw_buffer.h"
#include "fw/internal/fw_hooks.h"
#include "fw/internal/fw_trace.h"
#include "graphics/internal/gr_geometry_word.h"

/// The parts that figures are made of. Internal.
namespace figure
{

/// Points on their way into a shape, in the array form of collections. What is small stays on the stack.
class Scratch
{
public:
    /// @throws QZException 4352 without memory
    explicit Scratch(QZInt64 capacity)
    {
        if (capacity >= kInline) m_words = static_cast<QZUInt64*>(MemoryAllocate((capacity + 1) * 8));
        if (m_words == nullptr)
            throw QZTrace(QZExceptionFactory::CreateException(QZLastErrorOr(QZExceptionCode::OutOfMemory)),
                          QZ_W("QZShape"), QZ_W("Add"))
                .Argument(QZ_W("QZInt64"), capacity)
                .Exception();
        m_words[0] = 0;
    }
    ~Scratch()
    {
        if (m_words != m_inline) MemoryFree(m_words);
    }
    Scratch(const Scratch&) = delete;
    Scratch& operator=(const Scratch&) = delete;

    void Add(int x, int y) { m_words[++m_words[0]] = word::Pack(x, y); }
    const QZUInt64* Words() const { return m_words; }

private:
    static const QZInt64 kInline = 256;

    QZUInt64 m_inline[kInline];
    QZUInt64* m_words = m_inline;
};

/// A straight line through two points, in single precision: no pixel is decided by anything but these
/// formulas.
class Slope
{
public:
    Slope(int x1, int y1, int x2, int y2)
        : m_rise(static_cast<float>(word::Subtract(y1, y2)) / static_cast<float>(word::Subtract(x1, x2))),
          m_start(static_cast<float>(y2) - m_rise * static_cast<float>(x2))
    {}

    int YAt(int x) const { return word::Truncate(static_cast<float>(x) * m_rise + m_start); }
    int XAt(int y) const { return word::Truncate((static_cast<float>(y) - m_start) / m_rise); }

private:
    float m_rise;
    float m_start;
};

}  // namespace figure

#endif
