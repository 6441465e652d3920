#include "fw/fw_exception_factory.h"
#include "fw/fw_string.h"
#include "fw/internal/fw_raise.h"

// Makes and throws the exceptions that fw_raise.h names.

namespace
{
template <typename E>
QZException* Fill(E* exception, const QZFailure& failure)
{
    try
    {
        const QZUInt64 code = static_cast<QZUInt64>(failure.code);
        if (failure.narrowMessage != nullptr)
        {
            QZString text(failure.narrowMessage);
            exception->Set(text.GetPointer(), code, failure.systemNumber);
        }
        else
        {
            exception->Set(failure.message, code, failure.systemNumber);
        }
        return exception;
    }
    catch (...)
    {
        QZException* unused = exception;
        QZExceptionFactory::Recycle(&unused);
        throw;
    }
}

QZException* Make(const QZFailure& failure)
{
    using F = QZExceptionFactory;
    switch (failure.family)
    {
        case QZFamily::IO: return Fill(F::CreateIOException(0), failure);
        case QZFamily::Task: return Fill(F::CreateTaskException(0), failure);
        case QZFamily::Database: return Fill(F::CreateDatabaseException(), failure);
        case QZFamily::Socket: return Fill(F::CreateSocketException(0), failure);
        case QZFamily::Http: return Fill(F::CreateHttpException(QZInt64{0}), failure);
        case QZFamily::Json: return Fill(F::CreateJsonException(), failure);
        case QZFamily::General: break;
    }
    return Fill(F::CreateException(), failure);
}

/// The QZException that the current handler caught, null for any other exception.
QZException* Caught()
{
    try
    {
        throw;
    }
    catch (QZException* exception)
    {
        return exception;
    }
    catch (...)
    {
        return nullptr;
    }
}
}  // namespace

QZFailure QZFailure::With(QZString* text) const
{
    return With(text != nullptr ? text->GetPointer() : nullptr);
}

// ---- QZFrame

QZFrame::QZFrame(QZException* exception, const QZWChar* className, const QZWChar* method)
    : m_exception(QZException::IsStackTrace != 0 ? exception : nullptr)
{
    if (m_exception != nullptr) m_exception->StackTraceBegin(className, method);
}

void QZFrame::Argument(const QZWChar* type, const char* value)
{
    if (m_exception == nullptr) return;
    m_exception->StackTraceParameter(type);
    m_exception->ArgumentTraceAppend(value);
}

void QZFrame::Argument(const QZWChar* type, const QZWChar* value)
{
    if (m_exception == nullptr) return;
    m_exception->StackTraceParameter(type);
    m_exception->ArgumentTraceAppend(value);
}

void QZFrame::Argument(const QZWChar* type, QZString* value)
{
    if (m_exception == nullptr) return;
    m_exception->StackTraceParameter(type);
    m_exception->ArgumentTraceAppend(value);
}

void QZFrame::Argument(const QZWChar* type, const void* value)
{
    if (m_exception == nullptr) return;
    m_exception->StackTraceParameter(type);
    m_exception->ArgumentTraceAppend(value);
}

void QZFrame::Argument(const QZWChar* type, QZInt64 value)
{
    if (m_exception == nullptr) return;
    m_exception->StackTraceParameter(type);
    m_exception->ArgumentTraceAppend(value);
}

void QZFrame::Argument(const QZWChar* type, int value)
{
    if (m_exception == nullptr) return;
    m_exception->StackTraceParameter(type);
    m_exception->ArgumentTraceAppend(value);
}

void QZFrame::Argument(const QZWChar* type, double value)
{
    if (m_exception == nullptr) return;
    m_exception->StackTraceParameter(type);
    m_exception->ArgumentTraceAppend(value);
}

void QZFrame::Argument(const QZWChar* type, const void* bytes, QZInt64 size)
{
    if (m_exception == nullptr) return;
    m_exception->StackTraceParameter(type);
    m_exception->ArgumentTraceAppend(bytes, size);
}

// ---- QZRaise

QZRaise::QZRaise(QZInt64 code, const QZWChar* className, const QZWChar* method)
    : QZRaise(QZGeneralFailure(code), className, method)
{}

QZRaise::QZRaise(const QZFailure& failure, const QZWChar* className, const QZWChar* method) : QZRaise(failure)
{
    m_frame = QZFrame(m_exception, className, method);
}

QZRaise::QZRaise(const QZFailure& failure) : m_family(failure.family), m_exception(Make(failure)) {}

QZRaise::QZRaise(QZRaise&& other) noexcept
    : m_family(other.m_family), m_exception(other.m_exception), m_frame(other.m_frame)
{
    other.m_exception = nullptr;
}

QZRaise::~QZRaise()
{
    if (m_exception != nullptr) QZExceptionFactory::Recycle(&m_exception);
}

void QZRaise::Throw()
{
    QZException* exception = m_exception;
    m_exception = nullptr;
    switch (m_family)
    {
        case QZFamily::IO: throw static_cast<QZIOException*>(exception);
        case QZFamily::Task: throw static_cast<QZTaskException*>(exception);
        case QZFamily::Database: throw static_cast<QZDatabaseException*>(exception);
        case QZFamily::Socket: throw static_cast<QZSocketException*>(exception);
        case QZFamily::Http: throw static_cast<QZHttpException*>(exception);
        case QZFamily::Json: throw static_cast<QZJsonException*>(exception);
        case QZFamily::General: break;
    }
    throw exception;
}

// ---- QZPassOn

QZPassOn::QZPassOn(const QZWChar* className, const QZWChar* method) : m_frame(Caught(), className, method) {}
