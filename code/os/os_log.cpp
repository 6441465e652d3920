#include "os/os_log.h"

#include "fw/fw_convert.h"
#include "fw/fw_encoding.h"
#include "fw/fw_environment.h"
#include "fw/fw_library.h"
#include "fw/fw_lock.h"
#include "fw/fw_string.h"
#include "fw/fw_string_factory.h"
#include "fw/fw_time.h"
#include "fw/internal/fw_scoped.h"
#include "fw/internal/fw_trace.h"
#include "os/os_file.h"
#include "os/os_file_directory.h"
#include "os/os_stream.h"

const QZInt64 QZLog::Type;

namespace
{
const QZWChar* const kClass = QZ_W("QZLog");

void WriteMark(QZFileStream* stream, const QZWChar* mark, QZString* time)
{
    QZScopedString line(QZStringFactory::CreateString(mark));
    line->Append(time);
    line->Append(QZ_W(" -------------------------------"));
    stream->WriteLine(line.Get());
}
}  // namespace

QZLog::QZLog(const QZWChar* name)
    : m_directory(new QZString(QZ_W("Log"))), m_name(new QZString(name)), m_lock(new QZCriticalSection())
{}

QZLog::~QZLog()
{
    delete m_directory;
    delete m_name;
    delete m_lock;
}

QZInt64 QZLog::GetType() { return Type; }

QZLog* QZLog::Open(const QZWChar* name)
{
    QZLog* log = new QZLog(name);
    try
    {
        log->Init();
    }
    catch (QZException* e)
    {
        delete log;
        QZTrace(e, kClass, QZ_W("Open")).Argument(QZ_W("QZWChar*"), name);
        throw;
    }
    return log;
}

void QZLog::Close(QZLog** log)
{
    if (*log == nullptr)
    {
        QZLibAssert(0);
        return;
    }
    QZLog* closing = *log;
    *log = nullptr;
    try
    {
        if (closing->m_stream != nullptr) QZFileStream::Close(&closing->m_stream);
    }
    catch (QZException*)
    {
        delete closing;
        throw;
    }
    delete closing;
}

void QZLog::Init()
{
    QZDateTime now(QZEnvironment::GetCurrentTimestamp());
    QZScopedString path(QZStringFactory::CreateString(m_directory));
    {
        QZScopedString date(QZConvert::DateTimeToStringYMD(&now));
        path->Append(QZ_W("/"));
        path->Append(date.Get());
    }
    if (!QZFileDirectory::Exists(path.Get())) QZFileDirectory::Create(path.Get());
    path->Append(QZ_W("/"));
    path->Append(m_name);
    path->Append(QZ_W(".txt"));
    if (!QZFile::Exists(path.Get())) QZFile::Create(path.Get());
    if (m_stream != nullptr) QZFileStream::Close(&m_stream);
    m_stream = QZFileStream::Open(path.Get(), QZEncodingType::UTF8);
    m_stream->Seek(m_stream->GetEnd());
    QZDateTime midnight(now.GetYear(), now.GetMonth(), now.GetDay(), 0, 0, 0, 0);
    midnight.AddDays(1);
    m_nextRollover = midnight.ToTimestamp();
}

void QZLog::WriteEntry(QZString* text)
{
    // After a failed rollover no file is open; the next entry tries again.
    if (m_stream == nullptr || QZEnvironment::GetCurrentTimestamp() > m_nextRollover) Init();
    QZDateTime now(QZEnvironment::GetCurrentTimestamp());
    QZScopedString time(QZConvert::DateTimeToString(&now));
    if (m_wrap) WriteMark(m_stream, QZ_W("------------------------------- BEGIN "), time.Get());
    m_stream->WriteLine(text);
    if (m_wrap) WriteMark(m_stream, QZ_W("-------------------------------  END  "), time.Get());
}

void QZLog::Write(QZString* text)
{
    QZCriticalGuard guard(m_lock);
    try
    {
        WriteEntry(text);
        if (m_sync) m_stream->Sync();
    }
    catch (QZException* e)
    {
        QZTrace(e, kClass, QZ_W("Write")).Argument(QZ_W("QZString*"), text);
        throw;
    }
}

void QZLog::Sync()
{
    QZCriticalGuard guard(m_lock);
    if (m_stream != nullptr) m_stream->Sync();
}
