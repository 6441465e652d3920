#include "db/db_channel.h"

#include <memory>

#include "db/db_format.h"
#include "fw/fw_exception_code.h"
#include "fw/fw_library.h"
#include "fw/fw_string.h"
#include "os/os_file_buffer.h"

const QZInt64 QZChannel::Type;
const QZInt64 QZChannel::MODE_FILE;
const QZInt64 QZChannel::MODE_PROCESS;

namespace
{
/// The commands of MODE_PROCESS. The numbers are part of the interface; operations without a command
/// return 0 there.
enum Command : QZInt64
{
    CommandAddrLength = -1,
    CommandCollect = 2,
    CommandSync = 3,
    CommandTreeAddress = 4,
    CommandDelete = 7,
    CommandCount = 9,
    CommandPutHead = 12,
    CommandMove = 14,
    CommandMoveTo = 16,
    CommandPutAddress = 24,
    CommandGetAddress = 31,
    CommandErrorNumber = 33,
    CommandLastError = 34,
    CommandType = 40,
    CommandCheck = 41,
    CommandPutData = 42,
    CommandSysInfo = 46,
    CommandContentLength = 50,
    CommandEraseContent = 56,
    CommandPutFreeHead = QZDatabaseInfo::MSGPRINT_CMD_OFFSET + 88
};
}  // namespace

QZChannel::QZChannel(QZDatabase* database, QZInt64 mode) : m_database(database), m_mode(mode) {}

QZChannel::~QZChannel() = default;

QZInt64 QZChannel::GetType() { return Type; }

QZChannel* QZChannel::Open(QZInt64 mode, QZString* path)
{
    const std::unique_ptr<QZString> copy(new QZString(path));
    QZDatabase* database = QZDatabase::Open(copy.get());
    return new QZChannel(database, mode);
}

QZChannel* QZChannel::Open(QZInt64 mode, const char* path)
{
    QZString text(path);
    return Open(mode, &text);
}

QZChannel* QZChannel::Open(QZInt64 mode, const QZWChar* path)
{
    QZString text(path);
    return Open(mode, &text);
}

QZBool QZChannel::Create(QZString* path) { return QZDatabase::Create(path); }

QZBool QZChannel::Create(const char* path)
{
    QZString text(path);
    return QZDatabase::Create(&text);
}

QZBool QZChannel::Create(const QZWChar* path)
{
    QZString text(path);
    return QZDatabase::Create(&text);
}

QZBool QZChannel::Create(QZString* path, QZInt64 version, QZInt64 addressMode, QZInt64 rollback)
{
    return QZDatabase::Create(path, version, addressMode, rollback);
}

QZBool QZChannel::Create(const char* path, QZInt64 version, QZInt64 addressMode, QZInt64 rollback)
{
    QZString text(path);
    return QZDatabase::Create(&text, version, addressMode, rollback);
}

QZBool QZChannel::Create(const QZWChar* path, QZInt64 version, QZInt64 addressMode, QZInt64 rollback)
{
    QZString text(path);
    return QZDatabase::Create(&text, version, addressMode, rollback);
}

void QZChannel::Close(QZChannel** channel)
{
    if (*channel == nullptr)
    {
        QZLibAssert(0);
        return;
    }
    QZChannel* closing = *channel;
    *channel = nullptr;
    QZDatabase* database = closing->m_database;
    delete closing;
    QZDatabase::Close(&database);
}

QZWriteState QZChannel::TryClose(QZChannel** channel)
{
    if (*channel == nullptr)
    {
        QZLibAssert(0);
        return {};
    }
    QZChannel* closing = *channel;
    *channel = nullptr;
    QZDatabase* database = closing->m_database;
    delete closing;
    return QZDatabase::TryClose(&database);
}

QZWriteState QZChannel::TryCollect() { return IsFile() ? m_database->TryCollect() : QZWriteState(); }

QZWriteState QZChannel::TrySync() { return IsFile() ? m_database->TrySync() : QZWriteState(); }

QZWriteState QZChannel::GetWriteState() { return IsFile() ? m_database->GetWriteState() : QZWriteState(); }

QZString* QZChannel::GetPath() { return IsFile() ? m_database->GetPath() : nullptr; }

QZInt64 QZChannel::CallFun(QZInt64 command, QZInt64 a, QZInt64 b, QZInt64 c, QZInt64 d, QZInt64 e)
{
    // There is no transport to another process. Every command returns 0, so the database looks empty.
    (void)command;
    (void)a;
    (void)b;
    (void)c;
    (void)d;
    (void)e;
    return 0;
}

/// The result of an operation outside MODE_FILE.
QZInt64 QZChannel::Call(QZInt64 command, QZInt64 a, QZInt64 b, QZInt64 c)
{
    return m_mode == MODE_PROCESS ? CallFun(command, a, b, c, 0, 0) : 0;
}

QZInt64 QZChannel::GetAddrLength()
{
    if (!IsFile()) return Call(CommandAddrLength);
    QZDbSysInfo* info = m_database->GetSysInfo();
    const QZInt64 mode = info->AddrMode;
    m_database->Recycle(&info);
    switch (mode)
    {
        case QZDatabaseInfo::ADDR_MODE_32I:
        case QZDatabaseInfo::ADDR_MODE_32: return 4;
        case QZDatabaseInfo::ADDR_MODE_64: return 8;
        default: return 0;
    }
}

void QZChannel::ConsoleLock()
{
    if (IsFile()) m_database->ConsoleLock();
}

void QZChannel::ConsoleUnlock()
{
    if (IsFile()) m_database->ConsoleUnlock();
}

QZInt64 QZChannel::COLLECT()
{
    if (!IsFile()) return Call(CommandCollect);
    m_database->Collect();
    return 0;
}

QZInt64 QZChannel::SYNC()
{
    if (!IsFile()) return Call(CommandSync);
    m_database->Sync();
    return 0;
}

void QZChannel::CheckParam(QZInt64 flag)
{
    if (IsFile()) m_database->CheckParam(flag);
}

QZBool QZChannel::CheckParam() { return IsFile() ? m_database->CheckParam() : 0; }

QZInt64 QZChannel::G_AS() { return IsFile() ? m_database->G_AS() : 0; }

QZInt64 QZChannel::G_EN() { return IsFile() ? m_database->G_EN() : Call(CommandErrorNumber); }

QZInt64 QZChannel::G_LE() { return IsFile() ? m_database->G_LE() : Call(CommandLastError); }

QZInt64 QZChannel::G_WS() { return IsFile() ? m_database->G_WS() : 0; }

QZInt64 QZChannel::G_TA(QZInt64 n) { return IsFile() ? m_database->G_TA(n) : Call(CommandTreeAddress, n); }

QZInt64 QZChannel::G_A(QZInt64 address, QZInt64 selector)
{
    return IsFile() ? m_database->G_A(address, selector) : Call(CommandGetAddress, address, selector);
}

QZInt64 QZChannel::G_HD_A(QZInt64 side, QZInt64 address, QZInt64 selector)
{
    return IsFile() ? m_database->G_HD_A(side, address, selector) : 0;
}

QZInt64 QZChannel::G_T(QZInt64 side, QZInt64 address)
{
    return IsFile() ? m_database->G_T(side, address) : Call(CommandType, side, address);
}

QZInt64 QZChannel::G_CN(QZInt64 address, QZInt64 code, QZInt64 argument)
{
    return IsFile() ? m_database->G_CN(address, code, argument) : Call(CommandCount, address, code, argument);
}

QZInt64 QZChannel::G_AL(QZInt64 code, QZInt64 address, QZCollection* collection)
{
    return IsFile() ? m_database->G_AL(code, address, collection) : 0;
}

QZInt64 QZChannel::A_G(QZInt64 hd, QZInt64 selector, const void* buffer, QZInt64 length,
                       QZCollection* collection)
{
    return IsFile() ? m_database->A_G(hd, selector, buffer, length, collection) : 0;
}

QZInt64 QZChannel::CK(QZInt64 side, QZInt64 address)
{
    return IsFile() ? m_database->CK(side, address) : Call(CommandCheck, side, address);
}

QZInt64 QZChannel::P_D(QZInt64 hd, QZInt64 kind)
{
    return IsFile() ? m_database->P_D(hd, kind) : Call(CommandPutData, hd, kind);
}

QZInt64 QZChannel::P_HD(QZInt64 pd) { return IsFile() ? m_database->P_HD(pd) : Call(CommandPutHead, pd); }

QZInt64 QZChannel::P_HD() { return IsFile() ? m_database->P_HDF() : Call(CommandPutFreeHead); }

QZInt64 QZChannel::P_A(QZInt64 address, QZInt64 selector, QZInt64 value)
{
    return IsFile() ? m_database->P_A(address, selector, value)
                    : Call(CommandPutAddress, address, selector, value);
}

QZInt64 QZChannel::P_C(QZInt64 address, QZInt64 field, const void* buffer, QZInt64 length)
{
    return IsFile() ? m_database->P_C(address, field, buffer, length) : 0;
}

QZInt64 QZChannel::G_C(QZInt64 address, QZInt64 field, void* buffer)
{
    return IsFile() ? m_database->G_C(address, field, buffer) : 0;
}

QZInt64 QZChannel::ReadContent(QZInt64 address, QZInt64 field, void* buffer, QZInt64 room)
{
    if (!IsFile()) return G_C_L(address, field);
    return m_database->ReadContent(address, field, buffer, room);
}
bool QZChannel::FieldSlots(QZInt64 ld, QZInt64 field, QZInt64 count, QZInt64* slots)
{
    return IsFile() && m_database->FieldSlots(ld, field, count, slots);
}

QZInt64 QZChannel::ReadSlot(QZInt64 slot, void* buffer, QZInt64 room)
{
    return IsFile() ? m_database->ReadSlot(slot, buffer, room) : 0;
}

QZInt64 QZChannel::G_C_L(QZInt64 address, QZInt64 field)
{
    return IsFile() ? m_database->G_C_L(address, field) : Call(CommandContentLength, address, field);
}

QZInt64 QZChannel::E_C(QZInt64 address, QZInt64 field)
{
    return IsFile() ? m_database->E_C(address, field) : Call(CommandEraseContent, address, field);
}

QZInt64 QZChannel::ERASE(QZInt64 address, QZInt64 count)
{
    return IsFile() ? m_database->ERASE(address, count) : 0;
}

QZBool QZChannel::D_DATA(QZInt64 address, QZInt64 code)
{
    return IsFile() ? m_database->D_DATA(address, code)
                    : static_cast<QZBool>(Call(CommandDelete, address, code));
}

QZInt64 QZChannel::MV(QZInt64 address, QZInt64 steps)
{
    return IsFile() ? m_database->MV(address, steps) : Call(CommandMove, address, steps);
}

QZInt64 QZChannel::MT(QZInt64 address, QZInt64 hd)
{
    return IsFile() ? m_database->MT(address, hd) : Call(CommandMoveTo, address, hd);
}

QZBool QZChannel::RB_ON() { return IsFile() ? m_database->RB_ON() : 0; }

QZBool QZChannel::RB_OFF() { return IsFile() ? m_database->RB_OFF() : 0; }

QZInt64 QZChannel::AD_TS() { return IsFile() ? m_database->AD_TS() : 0; }

QZBool QZChannel::AB_CB(QZInt64 mark) { return IsFile() ? m_database->AB_CB(mark) : 0; }

QZInt64 QZChannel::G_WPS() { return IsFile() ? m_database->G_WPS() : 0; }

QZDbSysInfo* QZChannel::GetSysInfo()
{
    if (IsFile()) return m_database->GetSysInfo();
    if (m_mode != MODE_PROCESS) return nullptr;
    QZDbSysInfo* info = new QZDbSysInfo();
    Call(CommandSysInfo, static_cast<QZInt64>(reinterpret_cast<std::intptr_t>(info)), 8);
    return info;
}

void QZChannel::Recycle(QZDbSysInfo** info)
{
    if (IsFile())
    {
        m_database->Recycle(info);
        return;
    }
    if (m_mode != MODE_PROCESS) return;
    // In this mode the variable itself, not the record, is given to the memory manager, which frees only what
    // it allocated. It would have to read memory before the variable, so only its result is reproduced: the
    // error word is set, and nothing is freed.
    QZLastError = static_cast<QZInt32>(info == nullptr ? QZExceptionCode::ArgumentOutOfRange
                                                       : QZExceptionCode::StructuralFailure);
}
