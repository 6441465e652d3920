#include "fw/fw_exception.h"

#include <algorithm>
#include <initializer_list>

#include "fw/fw_environment.h"
#include "fw/fw_library.h"
#include "fw/fw_string.h"
#include "fw/fw_string_factory.h"
#include "fw/internal/fw_hex_text.h"
#include "sys/internal/sys_error.h"
#include "sys/sys_bytes.h"

QZBool QZException::IsStackTrace = 1;

QZException::QZException() { Init(); }

QZException::QZException(QZInt64 code)
{
    Init();
    ConstructMessage(code, ErrorCodeToMessage(code), 0);
}

QZException::QZException(QZInt64 code, QZInt64 lastError)
{
    Init();
    ConstructMessage(code, ErrorCodeToMessage(code), lastError);
}

QZException::~QZException()
{
    ReleaseText(&m_message);
    ReleaseText(&m_stackTrace);
    ReleaseText(&m_argumentTrace);
}

void QZException::Init()
{
    for (QZString** text : {&m_message, &m_stackTrace, &m_argumentTrace})
    {
        *text = QZStringFactory::CreateString();
        (*text)->SetDisposable(GetObjectID(), 0);
    }
}

void QZException::ReleaseText(QZString** text)
{
    // A text with another lock key has another owner and is not recycled.
    if (!(*text)->SetDisposable(GetObjectID(), 1))
    {
        *text = nullptr;
        return;
    }
    QZStringFactory::Recycle(text);
}

QZInt64 QZException::GetType() { return Type; }

QZInt64 QZException::GetCode() { return m_code; }

QZInt64 QZException::GetSystemError() { return m_systemError; }

QZString* QZException::GetMsg() { return m_message; }

QZString* QZException::GetStackTrace()
{
    if (!m_stackTrace->EndWith(QZ_W(")"))) m_stackTrace->Append(QZ_W(")"));
    return m_stackTrace;
}

QZString* QZException::GetArgumentTrace()
{
    if (!m_argumentTrace->EndWith(QZ_W(")"))) m_argumentTrace->Append(QZ_W(")"));
    return m_argumentTrace;
}

void QZException::Clear()
{
    m_message->Clear();
    m_stackTrace->Clear();
    m_argumentTrace->Clear();
    m_code = 0;
    m_systemError = 0;
}

void QZException::AppendCode(const QZWChar* message, QZUInt64 code, const QZWChar* codeText,
                             QZInt64 lastError)
{
    m_systemError = lastError;
    if (message != nullptr) m_message->Append(message);
    if (code != 0)
    {
        m_message->Append(QZ_W(" "));
        m_message->Append(codeText);
        m_code = static_cast<QZInt64>(code);
    }
    if (lastError != 0)
    {
        QZString* text = LastErrorToMessage(lastError);
        m_message->Append(QZ_W(" "));
        m_message->Append(text);
        Recycle(&text);
    }
}

void QZException::Set(const QZWChar* message, QZUInt64 code, QZInt64 lastError)
{
    m_message->Clear();
    m_stackTrace->Clear();
    m_argumentTrace->Clear();
    AppendCode(message, code, ErrorCodeToMessage(static_cast<QZInt64>(code)), lastError);
}

void QZException::SetMessage(const QZWChar* message, QZUInt64 code, const QZWChar* codeText,
                             QZInt64 lastError)
{
    m_message->Clear();
    AppendCode(message, code, codeText, lastError);
}

void QZException::ConstructMessage(QZInt64 code, const QZWChar* codeText, QZInt64 lastError)
{
    m_code = code;
    m_systemError = lastError;
    if (codeText != nullptr) m_message->Append(codeText);
    if (lastError == 0) return;
    QZString* text = LastErrorToMessage(lastError);
    if (codeText != nullptr) m_message->Append(QZ_W(" "));
    m_message->Append(text);
    Recycle(&text);
}

void QZException::StackTraceBegin(const QZWChar* className, const QZWChar* method)
{
    for (QZString* trace : {m_stackTrace, m_argumentTrace})
    {
        if (trace->GetLength() > 0)
        {
            if (!trace->EndWith(QZ_W(")"))) trace->Append(QZ_W(")"));
            trace->Append(QZEnvironment::NewLine);
        }
        trace->Append(className);
        trace->Append(QZ_W("::"));
        trace->Append(method);
        trace->Append(QZ_W("("));
    }
}

void QZException::StackTraceParameter(const QZWChar* type)
{
    if (!m_stackTrace->EndWith(QZ_W("("))) m_stackTrace->Append(QZ_W(", "));
    m_stackTrace->Append(type);
}

void QZException::ArgumentSeparator()
{
    if (!m_argumentTrace->EndWith(QZ_W("("))) m_argumentTrace->Append(QZ_W(", "));
}

void QZException::ArgumentTraceAppend(const char* text)
{
    ArgumentSeparator();
    if (text != nullptr)
        m_argumentTrace->Append(text);
    else
        m_argumentTrace->Append(QZ_W("<NULL>"));
}

void QZException::ArgumentTraceAppend(const QZWChar* text)
{
    ArgumentSeparator();
    m_argumentTrace->Append(text != nullptr ? text : QZ_W("<NULL>"));
}

void QZException::ArgumentTraceAppend(QZString* text)
{
    ArgumentSeparator();
    if (text != nullptr)
        m_argumentTrace->Append(text);
    else
        m_argumentTrace->Append(QZ_W("<NULL>"));
}

void QZException::ArgumentTraceAppend(const void* block)
{
    ArgumentSeparator();
    QZString text(const_cast<void*>(block));
    m_argumentTrace->Append(&text);
}

void QZException::ArgumentTraceAppend(QZInt64 value)
{
    ArgumentSeparator();
    m_argumentTrace->Append(value);
}

void QZException::ArgumentTraceAppend(int value)
{
    ArgumentSeparator();
    m_argumentTrace->Append(value);
}

void QZException::ArgumentTraceAppend(double value)
{
    ArgumentSeparator();
    m_argumentTrace->Append(value);
}

void QZException::ArgumentTraceAppend(const void* bytes, QZInt64 size)
{
    if (bytes == nullptr)
    {
        // No separator here, unlike everywhere else: readers of traces rely on this form.
        m_argumentTrace->Append(QZ_W("<NULL>"));
        return;
    }
    ArgumentSeparator();
    m_argumentTrace->Append(QZ_W("<HEX>"));
    // In pieces on the stack, so that the digits need no memory.
    constexpr QZInt64 kPiece = 128;
    QZWChar digits[2 * kPiece + 1];
    for (QZInt64 i = 0; i < size; i += kPiece)
    {
        digits[hex::Write(digits, QZAt(bytes, i), std::min(size - i, kPiece), {})] = 0;
        m_argumentTrace->Append(digits);
    }
}

QZInt64 QZException::GetLastError() { return os::LastError(); }

void QZException::Recycle(QZString** text)
{
    if (*text != nullptr && (*text)->IsDisposable()) delete *text;
    *text = nullptr;
}

QZString* QZException::LastErrorToMessage(QZInt64 code)
{
    QZWChar* systemText = nullptr;
    if (os::ErrorText(static_cast<QZUInt32>(code), &systemText))
    {
        QZString* text = new QZString(systemText);
        os::ErrorTextFree(systemText);
        return text;
    }
    QZString* text = new QZString(QZ_W("FormatMessage Error: "));
    text->Append(static_cast<QZInt64>(os::LastError()));
    return text;
}

QZObject* QZException::NewObject() { return new QZException(); }

void QZException::DeleteObject(QZObject* exception) { delete exception; }
