#include "db/db_database.h"

#include <memory>

#include "db/db_format.h"
#include "db/internal/db_console.h"
#include "db/internal/db_objects.h"
#include "db/internal/db_operation.h"
#include "db/internal/db_repair.h"
#include "db/internal/db_rollback.h"
#include "fw/fw_library.h"
#include "fw/fw_lock.h"
#include "fw/internal/fw_raise.h"
#include "fw/internal/fw_trace.h"

const QZInt64 QZDbSysInfo::Type;
const QZInt64 QZDatabase::Type;
QZByte QZDatabase::UnlockOnRaise = 0;

QZInt64 QZDbSysInfo::GetType() { return Type; }

QZDatabase::QZDatabase(OBJECTS* objects)
    : m_objects(objects), m_operations(0), m_section(new QZCriticalSection())
{}

QZDatabase::~QZDatabase() { delete m_section; }

QZInt64 QZDatabase::GetType() { return Type; }

// ---- Creating, opening, closing

QZBool QZDatabase::Create(QZString* path)
{
    return Create(path, QZDatabaseInfo::DBV_CODE_V5, QZDatabaseInfo::ADDR_MODE_64, 1);
}

QZBool QZDatabase::Create(QZString* path, QZInt64 version, QZInt64 addressMode, QZInt64 rollback)
{
    const std::unique_ptr<OBJECTS> objects(new OBJECTS());
    objects->Initialise(addressMode);
    return objects->Console()->CreateFile(version, addressMode, path, rollback) ? 1 : 0;
}

QZDatabase* QZDatabase::Open(QZString* path)
{
    std::unique_ptr<OBJECTS> objects(new OBJECTS());
    CONSOLE* console = objects->Console();
    bool opened = false;
    try
    {
        opened = console->OpenFile(path) && objects->Initialise(console->AddressInfo()->AddressMode);
        // A fault that the test finds does not prevent opening. It is the last error of the database, and the
        // host decides.
        if (opened) console->Verify();
    }
    catch (QZException* e)
    {
        console->CloseFile();
        QZTrace(e, QZ_W("QZDatabase"), QZ_W("Open")).Argument(QZ_W("QZString*"), path);
        throw;
    }
    if (!opened)
    {
        const QZInt64 code = console->GetLastError();
        console->CloseFile();
        QZRaise(QZDatabaseFailure(code), QZ_W("QZDatabase"), QZ_W("Open"))
            .Argument(QZ_W("QZString*"), path)
            .Throw();
    }
    return new QZDatabase(objects.release());
}

void QZDatabase::Close(QZDatabase** database)
{
    if (*database == nullptr)
    {
        QZLibAssert(0);
        return;
    }
    QZDatabase* closing = *database;
    *database = nullptr;
    auto release = [closing]() {
        delete closing->m_objects;
        delete closing;
    };
    try
    {
        closing->m_objects->Console()->CloseFile();
    }
    catch (QZException*)
    {
        release();
        throw;
    }
    release();
}

// ---- The section and the state of the database

void QZDatabase::ConsoleLock() { m_section->Lock(); }

void QZDatabase::ConsoleUnlock() { m_section->Unlock(); }

void QZDatabase::Enter()
{
    m_section->Lock();
    ++m_operations;
}

void QZDatabase::Leave() { m_section->Unlock(); }

QZBool QZDatabase::Collect()
{
    Operation operation(this);
    const QZBool answer = m_objects->Console()->Buffer()->Collect();
    operation.Leave();
    return answer;
}

QZBool QZDatabase::Sync()
{
    Operation operation(this);
    const QZBool answer = m_objects->Console()->Buffer()->Sync();
    operation.Leave();
    return answer;
}

namespace
{
/// Runs an operation that may throw for a file that cannot be written. The state tells the failure.
template <typename Work>
void Quietly(Work work)
{
    try
    {
        work();
    }
    catch (QZException* e)
    {
        QZExceptionFactory::Recycle(&e);
    }
}
}  // namespace

QZWriteState QZDatabase::TryClose(QZDatabase** database)
{
    if (*database == nullptr)
    {
        QZLibAssert(0);
        return {};
    }
    QZWriteState state = (*database)->TryCollect();
    try
    {
        Close(database);
        // The second attempt has written what the first one could not.
        if (state.Unwritten > 0) state.Unwritten = state.Code = state.SystemError = 0;
    }
    catch (QZException* e)
    {
        ++state.Failures;
        state.Code = e->GetCode();
        state.SystemError = e->GetSystemError();
        QZExceptionFactory::Recycle(&e);
    }
    return state;
}

QZWriteState QZDatabase::TryCollect()
{
    Operation operation(this);
    QZFileBuffer* buffer = m_objects->Console()->Buffer();
    Quietly([buffer] { buffer->Collect(); });
    const QZWriteState state = buffer->GetWriteState();
    operation.Leave();
    return state;
}

QZWriteState QZDatabase::TrySync()
{
    Operation operation(this);
    QZFileBuffer* buffer = m_objects->Console()->Buffer();
    Quietly([buffer] { buffer->Sync(); });
    const QZWriteState state = buffer->GetWriteState();
    operation.Leave();
    return state;
}

QZWriteState QZDatabase::GetWriteState()
{
    Operation operation(this);
    const QZWriteState state = m_objects->Console()->Buffer()->GetWriteState();
    operation.Leave();
    return state;
}

QZString* QZDatabase::GetPath() { return m_objects->Console()->Buffer()->GetPath(); }

void QZDatabase::CheckParam(QZInt64 flag)
{
    Operation operation(this);
    m_objects->Console()->SetCheckParam(flag != 0);
    operation.Leave();
}

QZBool QZDatabase::CheckParam()
{
    Operation operation(this);
    const bool answer = m_objects->Console()->IsCheckParam();
    operation.Leave();
    return answer ? 1 : 0;
}

QZInt64 QZDatabase::G_AS() { return m_objects->Console()->AddressInfo()->AddressLength; }

QZInt64 QZDatabase::G_EN()
{
    Operation operation(this);
    const QZInt64 answer = m_objects->Console()->GetErrorCount();
    operation.Leave();
    return answer;
}

QZInt64 QZDatabase::G_LE()
{
    Operation operation(this);
    const QZInt64 answer = m_objects->Console()->GetLastError();
    operation.Leave();
    return answer;
}

QZInt64 QZDatabase::G_WS() { return m_objects->Console()->GetWriteProtect(); }

QZDbSysInfo* QZDatabase::GetSysInfo()
{
    const CONSOLE* console = m_objects->Console();
    QZDbSysInfo* info = new QZDbSysInfo();
    info->Version = console->GetSysInfo(QZDatabaseInfo::SYSINFO_DATABASEVERSION);
    info->AddrMode = console->GetSysInfo(QZDatabaseInfo::SYSINFO_ADDRMODE);
    info->FileMode = console->GetSysInfo(QZDatabaseInfo::SYSINFO_FILEMODE);
    info->WriteProtect = console->GetSysInfo(QZDatabaseInfo::SYSINFO_WRITEPROTECT);
    info->Rollback = m_objects->Rollback()->GetState();
    return info;
}

void QZDatabase::Recycle(QZDbSysInfo** info)
{
    if (*info == nullptr)
    {
        QZLibAssert(0);
        return;
    }
    delete *info;
    *info = nullptr;
}

// ---- Argument tests

bool QZDatabase::Testing() const { return m_objects->Console()->IsCheckParam(); }

void QZDatabase::Record(QZInt64 code) { m_objects->Console()->RecordError(code); }

/// True when a record of the type begins at the address. For UNKNOWN: when any record or HD begins there.
bool QZDatabase::Is(QZInt64 address, QZInt64 type)
{
    const QZInt64 found = m_objects->Repair()->TypeOf(layout::kSideThis, address);
    return type == QZDatabaseInfo::UNKNOWN ? found != QZDatabaseInfo::UNKNOWN : found == type;
}

/// Returns its argument, the result of a test, and records BAD_STRUCT when it is false.
bool QZDatabase::Fits(bool fits)
{
    if (!fits) Record(QZDatabaseInfo::BAD_STRUCT);
    return fits;
}

bool QZDatabase::ISDATAOBJ(QZInt64 selector)
{
    return layout::SelectorType(selector) == QZDatabaseInfo::DATA_UNKNOWN;
}
bool QZDatabase::ISHDOBJ(QZInt64 selector)
{
    return layout::SelectorType(selector) == QZDatabaseInfo::TABLE_HD;
}
bool QZDatabase::ISTABLEOBJ(QZInt64 selector)
{
    return layout::SelectorType(selector) == QZDatabaseInfo::TABLE_HD;
}
bool QZDatabase::ISLDOBJ(QZInt64 selector)
{
    return layout::SelectorType(selector) == QZDatabaseInfo::DATA_LD;
}
bool QZDatabase::ISPDOBJ(QZInt64 selector)
{
    return layout::SelectorType(selector) == QZDatabaseInfo::DATA_PD;
}
bool QZDatabase::ISADOBJ(QZInt64 selector)
{
    return layout::SelectorType(selector) == QZDatabaseInfo::DATA_AD;
}
bool QZDatabase::ISCDOBJ(QZInt64 selector)
{
    return layout::SelectorType(selector) == QZDatabaseInfo::DATA_CD;
}
bool QZDatabase::ISRDOBJ(QZInt64 selector)
{
    return layout::SelectorType(selector) == QZDatabaseInfo::DATA_RD;
}

bool QZDatabase::CheckObject(QZInt64 side, QZInt64 address, QZInt64 selector)
{
    const QZInt64 family = layout::SelectorClass(selector);
    switch (m_objects->Repair()->TypeOf(side, address))
    {
        case QZDatabaseInfo::DATA_LD: return ISLDOBJ(selector) || ISDATAOBJ(selector);
        case QZDatabaseInfo::DATA_PD: return ISPDOBJ(selector) || ISDATAOBJ(selector);
        case QZDatabaseInfo::DATA_AD: return ISADOBJ(selector) || ISDATAOBJ(selector);
        case QZDatabaseInfo::DATA_CD: return ISCDOBJ(selector) || ISDATAOBJ(selector);
        case QZDatabaseInfo::DATA_RD: return ISRDOBJ(selector) || ISDATAOBJ(selector);
        case QZDatabaseInfo::TABLE_HD:
            return family == QZDatabaseInfo::TYPE_TABLE &&
                   (ISTABLEOBJ(selector) || (selector & layout::kSelectorKind) == 0);
        case QZDatabaseInfo::DATA_UNKNOWN: return family == QZDatabaseInfo::TYPE_DATA;
        default: return false;
    }
}

// ---- Rollback: without the section

QZBool QZDatabase::RB_ON() { return m_objects->Rollback()->TurnOn() ? 1 : 0; }

QZBool QZDatabase::RB_OFF() { return m_objects->Rollback()->TurnOff() ? 1 : 0; }

QZInt64 QZDatabase::AD_TS() { return m_objects->Rollback()->Snapshot(); }

QZBool QZDatabase::AB_CB(QZInt64 mark) { return m_objects->Rollback()->Restore(mark) ? 1 : 0; }

QZInt64 QZDatabase::G_WPS() { return m_objects->Rollback()->WritePositionState(); }
