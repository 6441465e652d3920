#include "db/internal/db_mend_target.h"

#include "db/internal/db_chars.h"
#include "db/internal/db_console.h"
#include "db/internal/db_data.h"
#include "db/internal/db_mend_buffer.h"
#include "db/internal/db_objects.h"
#include "db/internal/db_read.h"
#include "db/internal/db_rollback.h"
#include "fw/fw_exception.h"
#include "fw/fw_exception_factory.h"
#include "fw/fw_string.h"
#include "fw/internal/fw_raise.h"
#include "os/os_file.h"

namespace
{
/// Content without bytes still has an address.
const void* BytesOf(const std::vector<char>& content)
{
    return content.empty() ? static_cast<const void*>("") : content.data();
}
}  // namespace

QZDbTarget::QZDbTarget(QZString* path, QZInt64 addressMode, bool rollback)
    : m_path(new QZString(path)), m_objects(new OBJECTS()), m_mode(addressMode)
{
    try
    {
        QZFile::Create(path);
    }
    catch (QZException*)
    {
        delete m_path;
        throw;
    }
    try
    {
        Format(rollback);
    }
    catch (QZException*)
    {
        m_objects.reset();
        QZFile::Delete(m_path);
        delete m_path;
        throw;
    }
}

void QZDbTarget::Format(bool rollback)
{
    CONSOLE* console = m_objects->Console();
    console->Attach(QZDbPlainBuffer::Open(m_path));
    m_length = layout::AddressLength(m_mode);
    QZAddressInfo* info = console->AddressInfo();
    info->Version = QZDatabaseInfo::DBV_CODE_V5;
    info->AddressMode = m_mode;
    info->AddressLength = m_length;
    info->FileMode = m_mode;
    info->LargestAddress = layout::LargestAddress(m_mode);
    m_objects->Initialise(m_mode);
    console->Format(QZDatabaseInfo::DBV_CODE_V5, m_mode);
    if (rollback) m_objects->Rollback()->Prepare();
    m_objects->Rollback()->TurnOff();
    READ* read = m_objects->Read();
    for (QZInt64 i = 0; i < layout::kTrees; ++i)
    {
        m_trees.Ads[i] = read->Nth(layout::kMainHd, i + 1, QZDatabaseInfo::DATA_THIS);
        m_trees.Roots[i] = read->TreeRoot(layout::kMainHd, i + 1);
    }
}

QZDbTarget::~QZDbTarget()
{
    m_objects.reset();
    try
    {
        if (!m_finished) QZFile::Delete(m_path);
    }
    catch (QZException* e)
    {
        // Another failure is being reported already.
        QZExceptionFactory::Recycle(&e);
    }
    delete m_path;
}

void QZDbTarget::Refused()
{
    QZRaise(QZDatabaseFailure(QZDatabaseInfo::WRITE_ERROR_WRITEPROTECT), QZ_W("QZDatabase"), QZ_W("Compact"))
        .Argument(QZ_W("QZString*"), m_path)
        .Throw();
}

QZInt64 QZDbTarget::Appended(QZInt64 record)
{
    if (record <= 0 || m_objects->Console()->GetWriteProtect() != 0) Refused();
    return record;
}

/// The list itself, or for 0 a list that is empty again.
QZInt64 QZDbTarget::Scratch(QZInt64 hd)
{
    if (hd != 0) return hd;
    if (m_scratch == 0) m_scratch = NewHead(0);
    ClearList(m_scratch);
    return m_scratch;
}

void QZDbTarget::ClearList(QZInt64 hd)
{
    ADDRESS* address = m_objects->Address();
    address->PutRaw(layout::HdFirst(hd, m_length), 0);
    address->PutRaw(layout::HdEnd(hd, m_length), layout::HdEmptyEnd(hd, m_length));
}

QZInt64 QZDbTarget::NewHead(QZInt64 owner) { return Appended(m_objects->Data()->NewHD(owner)); }

QZInt64 QZDbTarget::NewLd(QZInt64 hd, QZDbLdLists* lists)
{
    const QZInt64 ld = Appended(m_objects->Data()->NewLD(Scratch(hd)));
    for (QZInt64 i = 0; i < layout::kLdLists; ++i) lists->Heads[i] = Get(layout::DataOwn(ld, i, m_length));
    return ld;
}

QZInt64 QZDbTarget::NewPd(QZInt64 hd, const std::vector<char>& content)
{
    return Appended(
        m_objects->Data()->NewPD(Scratch(hd), 0, BytesOf(content), static_cast<QZInt64>(content.size())));
}

QZInt64 QZDbTarget::NewCd(QZInt64 hd, const std::vector<char>& content)
{
    return Appended(
        m_objects->Data()->NewCD(Scratch(hd), BytesOf(content), static_cast<QZInt64>(content.size())));
}

QZInt64 QZDbTarget::NewAd(QZInt64 hd) { return Appended(m_objects->Data()->NewAD(Scratch(hd), 0)); }

QZInt64 QZDbTarget::NewRd(QZInt64 hd) { return Appended(m_objects->Data()->NewRD(Scratch(hd), 0, 0, 0)); }

QZInt64 QZDbTarget::Get(QZInt64 position) { return m_objects->Address()->Get(position); }

void QZDbTarget::Put(QZInt64 position, QZInt64 value)
{
    ADDRESS* address = m_objects->Address();
    if (address->Get(position) == value) return;
    if (m_logging) m_objects->Rollback()->TurnOn();
    const QZInt64 written = address->Put(position, value);
    m_objects->Rollback()->TurnOff();
    if (written == 0 || m_objects->Console()->GetWriteProtect() != 0) Refused();
}

void QZDbTarget::PutContent(QZInt64 slot, QZInt64 owner, const std::vector<char>& content)
{
    CHARS* chars = m_objects->Chars();
    m_present.assign(static_cast<std::size_t>(chars->Length(slot)), 0);
    if (!m_present.empty()) chars->Read(slot, m_present.data());
    if (m_present == content) return;
    const QZInt64 cd = NewCd(NewHead(owner), content);
    Put(slot, layout::CdContent(cd, m_length));
}

QZInt64 QZDbTarget::MarkState()
{
    ROLLBACK* rollback = m_objects->Rollback();
    rollback->TurnOn();
    const QZInt64 mark = rollback->Snapshot();
    rollback->TurnOff();
    return Get(layout::DataOwn(Appended(mark), layout::kRdNew, m_length));
}

QZInt64 QZDbTarget::Finish()
{
    QZFileBuffer* buffer = m_objects->Console()->Buffer();
    buffer->Sync();
    const QZInt64 size = buffer->GetFileSize();
    m_objects->Console()->CloseFile();
    m_finished = true;
    return size;
}
