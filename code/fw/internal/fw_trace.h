#ifndef QZLIB_FW_TRACE_H
#define QZLIB_FW_TRACE_H

#include "fw/fw_exception_factory.h"

/// Adds one frame to the traces of an exception object that the caller has. fw_raise.h makes and throws an
/// exception in one statement and needs no header of the exceptions; this class is for sources that include
/// them anyway.
///
///     QZTrace(exception, QZ_W("QZFile"), QZ_W("Read")).Argument(QZ_W("QZInt64"), offset);
///
/// With QZException::IsStackTrace off no frame is added.
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
