#ifndef QZLIB_FW_TRACE_H
#define QZLIB_FW_TRACE_H

#include "fw/fw_exception_factory.h"

/// Builds one frame of an exception's traces in one readable statement. Internal.
///
/// Throwing:
///     throw QZTrace(QZExceptionFactory::CreateException(QZExceptionCode::ArgumentOutOfRange),
///     QZ_W("QZString"),
///                   QZ_W("SubString")).Argument(QZ_W("QZInt64"), start).Argument(QZ_W("QZInt64"),
///                   length).Exception();
///
/// Passing on, after cleaning up; `throw;` keeps the static type that was thrown:
///     catch (QZException* e)
///     {
///         QZTrace(e, QZ_W("QZFile"), QZ_W("Read")).Argument(QZ_W("QZInt64"), offset);
///         throw;
///     }
///
/// With QZException::IsStackTrace off it does nothing.
template <typename E>
class QZTrace
{
public:
    QZTrace(E* exception, const QZWChar* className, const QZWChar* method)
        : m_exception(exception), m_active(QZException::IsStackTrace != 0)
    {
        if (m_active) m_exception->StackTraceBegin(className, method);
    }

    /// A parameter with its type name and its value: a number, a text (null reads "<NULL>") or a string
    /// object.
    template <typename V>
    QZTrace& Argument(const QZWChar* type, V value)
    {
        if (m_active)
        {
            m_exception->StackTraceParameter(type);
            m_exception->ArgumentTraceAppend(value);
        }
        return *this;
    }

    /// A parameter whose value is shown as the hexadecimal text of its bytes.
    QZTrace& Argument(const QZWChar* type, const void* bytes, QZInt64 size)
    {
        if (m_active)
        {
            m_exception->StackTraceParameter(type);
            m_exception->ArgumentTraceAppend(bytes, size);
        }
        return *this;
    }

    E* Exception() const { return m_exception; }

private:
    E* m_exception;
    bool m_active;
};

#endif
