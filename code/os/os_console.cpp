#include "os/os_console.h"

#include <initializer_list>

#include "fw/fw_collection.h"
#include "fw/fw_convert.h"
#include "fw/fw_data.h"
#include "fw/fw_environment.h"
#include "fw/fw_exception.h"
#include "fw/fw_keyed.h"
#include "fw/fw_string.h"
#include "fw/fw_string_factory.h"
#include "fw/fw_table.h"
#include "os/internal/os_console_table.h"
#include "os/os_thread.h"
#include "sys/internal/sys_console.h"

const QZInt64 QZConsole::Type;
const QZInt64 QZConsoleT::Type;

namespace
{
void Out(QZString* text) { os::ConsoleWrite(text->GetPointer(), text->GetLength()); }

/// Writes a text and recycles it.
void OutAndRecycle(QZString* text)
{
    Out(text);
    QZStringFactory::Recycle(&text);
}

/// The value of an entry as text, in a new string.
QZString* TextOf(QZObject* value)
{
    if (value == nullptr) return QZStringFactory::CreateString();
    if (QZString* text = dynamic_cast<QZString*>(value)) return QZStringFactory::CreateString(text);
    if (QZData* data = dynamic_cast<QZData*>(value)) return QZConvert::DataToText(data, data->GetType());
    QZString* type = QZStringFactory::CreateString(QZ_W("0x"));
    QZString* digits = QZConvert::Int64ToStringHex(value->GetType());
    type->Append(digits);
    QZStringFactory::Recycle(&digits);
    return type;
}

/// Lets one thread at a time write.
class OutputLock
{
public:
    OutputLock() { QZThread::Lock(); }
    ~OutputLock() { QZThread::Unlock(); }
    OutputLock(const OutputLock&) = delete;
    OutputLock& operator=(const OutputLock&) = delete;
};
}  // namespace

QZConsole::QZConsole() = default;
QZConsole::~QZConsole() = default;
QZInt64 QZConsole::GetType() { return Type; }

QZString* QZConsole::Read()
{
    QZWChar* line = os::ConsoleReadLine();
    QZString* text = QZStringFactory::CreateString(line);
    os::ConsoleTextFree(line);
    return text;
}

QZInt64 QZConsole::ReadNumDec()
{
    QZString* line = Read();
    QZInt64 value = 0;
    QZConvert::TryStringToInt64(line, &value);
    QZStringFactory::Recycle(&line);
    return value;
}

void QZConsole::Write(QZData* data)
{
    if (data != nullptr) OutAndRecycle(QZConvert::DataToText(data));
}

void QZConsole::Write(const char* text)
{
    if (text != nullptr) OutAndRecycle(QZStringFactory::CreateString(text));
}

void QZConsole::Write(const QZWChar* text)
{
    if (text != nullptr) OutAndRecycle(QZStringFactory::CreateString(text));
}

void QZConsole::Write(QZString* text)
{
    if (text != nullptr) Out(text);
}

void QZConsole::Write(QZInt64 value)
{
    QZString* text = QZStringFactory::CreateString();
    text->Append(value);
    OutAndRecycle(text);
}

void QZConsole::Write(QZException* exception)
{
    if (exception == nullptr) return;
    QZString* text = QZStringFactory::CreateString(exception->GetMsg());
    for (QZString* trace : {exception->GetStackTrace(), exception->GetArgumentTrace()})
    {
        text->Append(QZEnvironment::NewLine);
        text->Append(trace);
    }
    text->Append(QZEnvironment::NewLine);
    OutAndRecycle(text);
}

void QZConsole::Write(QZCollection* collection)
{
    if (collection == nullptr) return;
    QZString* text = QZStringFactory::CreateString();
    for (QZInt64 i = 0; i < collection->Count(); ++i)
    {
        text->Append(static_cast<QZInt64>(collection->GetElement(i)));
        text->Append(QZEnvironment::NewLine);
    }
    OutAndRecycle(text);
}

void QZConsole::Write(QZKeyValueCollection* collection)
{
    if (collection == nullptr) return;
    QZString* text = QZStringFactory::CreateString();
    for (QZInt64 i = 0; i < collection->Count(); ++i)
    {
        text->Append(collection->ToKey(i));
        text->Append(QZ_W(": "));
        QZString* value = TextOf(collection->GetElement(i));
        text->Append(value);
        QZStringFactory::Recycle(&value);
        text->Append(QZEnvironment::NewLine);
    }
    OutAndRecycle(text);
}

void QZConsole::Write(QZDataTable* table)
{
    if (table == nullptr) return;
    QZString* text = QZStringFactory::CreateString();
    try
    {
        QZConsoleTableText(table, text);
    }
    catch (QZException*)
    {
        QZStringFactory::Recycle(&text);
        throw;
    }
    OutAndRecycle(text);
}

void QZConsole::NewLine() { Write(QZEnvironment::NewLine); }

void QZConsole::Recycle(QZString** text) { QZStringFactory::Recycle(text); }

QZConsoleT::QZConsoleT() = default;
QZConsoleT::~QZConsoleT() = default;
QZInt64 QZConsoleT::GetType() { return Type; }

void QZConsoleT::Write(const char* text)
{
    OutputLock lock;
    QZConsole::Write(text);
}

void QZConsoleT::Write(const QZWChar* text)
{
    OutputLock lock;
    QZConsole::Write(text);
}

void QZConsoleT::Write(QZString* text)
{
    OutputLock lock;
    QZConsole::Write(text);
}

void QZConsoleT::Write(QZInt64 value)
{
    OutputLock lock;
    QZConsole::Write(value);
}
