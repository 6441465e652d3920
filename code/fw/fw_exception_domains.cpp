#include "fw/fw_exception.h"
#include "fw/fw_exception_factory.h"
#include "fw/fw_string.h"

// The domain classes differ in their type and in their table of texts; each builds its message from its own
// table.

QZIOException::QZIOException() = default;
QZIOException::QZIOException(QZInt64 code) { ConstructMessage(code, ErrorCodeToMessage(code), 0); }
QZIOException::QZIOException(QZInt64 code, QZInt64 lastError)
{
    ConstructMessage(code, ErrorCodeToMessage(code), lastError);
}
QZInt64 QZIOException::GetType() { return Type; }
void QZIOException::Set(const QZWChar* message, QZUInt64 code, QZInt64 lastError)
{
    SetMessage(message, code, ErrorCodeToMessage(static_cast<QZInt64>(code)), lastError);
}
QZObject* QZIOException::NewObject() { return new QZIOException(); }
void QZIOException::DeleteObject(QZObject* exception) { delete exception; }

QZTaskException::QZTaskException() = default;
QZTaskException::QZTaskException(QZInt64 code) { ConstructMessage(code, ErrorCodeToMessage(code), 0); }
QZTaskException::QZTaskException(QZInt64 code, QZInt64 lastError)
{
    ConstructMessage(code, ErrorCodeToMessage(code), lastError);
}
QZInt64 QZTaskException::GetType() { return Type; }
void QZTaskException::Set(const QZWChar* message, QZUInt64 code, QZInt64 lastError)
{
    SetMessage(message, code, ErrorCodeToMessage(static_cast<QZInt64>(code)), lastError);
}
QZObject* QZTaskException::NewObject() { return new QZTaskException(); }
void QZTaskException::DeleteObject(QZObject* exception) { delete exception; }

QZDatabaseException::QZDatabaseException() = default;
QZDatabaseException::QZDatabaseException(QZInt64 code)
{
    ConstructMessage(code, ErrorCodeToMessage(code), 0);
}
QZDatabaseException::QZDatabaseException(QZInt64 code, QZInt64 lastError)
{
    ConstructMessage(code, ErrorCodeToMessage(code), lastError);
}
void QZDatabaseException::Set(const QZWChar* message, QZUInt64 code, QZInt64 lastError)
{
    SetMessage(message, code, ErrorCodeToMessage(static_cast<QZInt64>(code)), lastError);
}
QZObject* QZDatabaseException::NewObject() { return new QZDatabaseException(); }
void QZDatabaseException::DeleteObject(QZObject* exception) { delete exception; }

QZSocketException::QZSocketException() = default;
QZSocketException::QZSocketException(QZInt64 code) { ConstructMessage(code, ErrorCodeToMessage(code), 0); }
QZSocketException::QZSocketException(QZInt64 code, QZInt64 lastError)
{
    ConstructMessage(code, nullptr, lastError);
}
QZInt64 QZSocketException::GetType() { return Type; }
void QZSocketException::Set(const QZWChar* message, QZUInt64 code, QZInt64 lastError)
{
    SetMessage(message, code, ErrorCodeToMessage(static_cast<QZInt64>(code)), lastError);
}
QZObject* QZSocketException::NewObject() { return new QZSocketException(); }
void QZSocketException::DeleteObject(QZObject* exception) { delete exception; }

QZHttpException::QZHttpException() = default;
QZHttpException::QZHttpException(QZInt64 code) { ConstructMessage(code, ErrorCodeToMessage(code), 0); }
QZHttpException::QZHttpException(QZInt64 code, QZInt64 lastError)
{
    ConstructMessage(code, nullptr, lastError);
}
QZInt64 QZHttpException::GetType() { return Type; }
void QZHttpException::Set(const QZWChar* message, QZUInt64 code, QZInt64 lastError)
{
    SetMessage(message, code, ErrorCodeToMessage(static_cast<QZInt64>(code)), lastError);
}
QZObject* QZHttpException::NewObject() { return new QZHttpException(); }
void QZHttpException::DeleteObject(QZObject* exception) { delete exception; }

QZJsonException::QZJsonException() = default;
QZJsonException::QZJsonException(QZInt64 code)
{
    ConstructMessage(code, code != 0 ? ErrorCodeToMessage(code) : nullptr, 0);
}
QZJsonException::QZJsonException(QZInt64 code, QZInt64 lastError)
{
    ConstructMessage(code, code != 0 ? ErrorCodeToMessage(code) : nullptr, lastError);
}
QZInt64 QZJsonException::GetType() { return Type; }
void QZJsonException::Set(const QZWChar* message, QZUInt64 code, QZInt64 lastError)
{
    SetMessage(message, code, ErrorCodeToMessage(static_cast<QZInt64>(code)), lastError);
}
QZObject* QZJsonException::NewObject() { return new QZJsonException(); }
void QZJsonException::DeleteObject(QZObject* exception) { delete exception; }

QZSerialException::QZSerialException(QZByte code)
{
    [[maybe_unused]] static const bool kRegistered = [] {
        QZExceptionFactory::RegisterRecycleFunction(Type, &QZSerialException::DeleteObject);
        return true;
    }();
    ConstructMessage(code, ErrorCodeToMessage(code), 0);
}
QZInt64 QZSerialException::GetType() { return Type; }
void QZSerialException::DeleteObject(QZObject* exception) { delete exception; }
