#include "database.h"

#include <fstream>

#include "text.h"

namespace qzdb
{

namespace
{

/// Bytes of the header up to the main HD.
constexpr QZInt64 kHeaderSize = 31;

bool g_copies = false;

QZInt64 LoadAddress(const unsigned char* bytes, QZInt64 length)
{
    QZUInt64 value = 0;
    for (QZInt64 i = length - 1; i >= 0; --i) value = value << 8 | bytes[i];
    return static_cast<QZInt64>(value);
}

}  // namespace

void ReadPrivateCopies(bool copies) { g_copies = copies; }

Database::Database(const std::string& path) : m_path(path), m_opened(path)
{
    try
    {
        if (QZFileDirectory::Exists(path.c_str())) Fail(kExitAccess, "a folder, not a file");
        if (!QZFile::Exists(path.c_str())) Fail(kExitAccess, "no such file");
        ReadHeader();
        Open();
        // The first reading refuses other files before anything opens them. What counts is the header now:
        // until the database was open, others could write it, or a writer that has died left it to be
        // recovered.
        ReadHeader();
    }
    catch (const Failure&)
    {
        if (m_channel != nullptr) QZChannel::Close(&m_channel);
        throw;
    }
    catch (const std::filesystem::filesystem_error& e)
    {
        Fail(kExitAccess, std::string("cannot make a copy: ") + e.what());
    }
    catch (QZException* e)
    {
        if (m_channel != nullptr) QZChannel::Close(&m_channel);
        const bool inUse =
            e->GetType() == QZIOException::Type && e->GetCode() == QZIOExceptionCode::FileInUse;
        const std::string message = TakeMessage(e);
        if (inUse)
            Fail(kExitAccess, QZFileBuffer::ReadOnly
                                  ? "in use by another program; --while-in-use reads a copy of its last sync"
                                  : "in use by another program");
        // The header is good, so the reason comes from the operating system.
        Fail(kExitAccess, "cannot open: " + message);
    }
    m_most = m_header.fileSize / 16 + 1;
    m_openError = m_channel->G_EN() == 0 ? 0 : m_channel->G_LE();
    m_channel->CheckParam(0);
}

void Database::Open()
{
    if (g_copies)
    {
        m_folder = std::make_unique<qzapp::PrivateFolder>();
        m_opened = m_folder->Path("copy.db");
        QZString from(m_path.c_str());
        QZString to(m_opened.c_str());
        QZFileBuffer::CopyInUse(&from, &to);
    }
    m_channel = QZChannel::Open(QZChannel::MODE_FILE, m_opened.c_str());
}

Database::~Database()
{
    try
    {
        if (m_channel != nullptr) QZChannel::Close(&m_channel);
    }
    catch (QZException* e)
    {
        QZExceptionFactory::Recycle(&e);
    }
}

void Database::Close()
{
    try
    {
        QZChannel::Close(&m_channel);
    }
    catch (QZException* e)
    {
        m_channel = nullptr;
        Fail(kExitAccess, "cannot write: " + TakeMessage(e));
    }
}

/// Reads the header without opening the file as a database, which others may have open. False when it cannot
/// be read; opening the database then tells why.
bool Database::ReadHeader()
{
    unsigned char bytes[kHeaderSize] = {};
    std::ifstream file(m_opened, std::ios::binary | std::ios::ate);
    if (!file) return false;
    m_header = Header();
    m_header.fileSize = static_cast<QZInt64>(file.tellg());
    if (m_header.fileSize == 0) Fail(kExitFaults, "not a database: the file is empty");
    file.seekg(0);
    file.read(reinterpret_cast<char*>(bytes), kHeaderSize);
    m_header.version = bytes[QZDatabaseInfo::DBV_POSITION];
    m_header.addressMode = bytes[QZDatabaseInfo::DBAM_POSITION];
    m_header.fileMode = bytes[QZDatabaseInfo::FILEMODE_POSITION];
    if (m_header.version == QZDatabaseInfo::DBV_CODE_V1 || m_header.version == QZDatabaseInfo::DBV_CODE_V4)
        Fail(kExitFaults,
             "a database of version " + std::to_string(m_header.version) + ", which is not served");
    if (m_header.version != QZDatabaseInfo::DBV_CODE_V5 && m_header.version != QZDatabaseInfo::DBV_CODE_V9)
        Fail(kExitFaults, "not a database: no known version in the first byte");
    if (m_header.addressMode < QZDatabaseInfo::ADDR_MODE_32I ||
        m_header.addressMode > QZDatabaseInfo::ADDR_MODE_64)
        Fail(kExitFaults, "not a database: no known address mode in the second byte");
    m_header.addressLength = m_header.addressMode == QZDatabaseInfo::ADDR_MODE_64 ? 8 : 4;
    m_header.length = LoadAddress(bytes + QZDatabaseInfo::DBL_POSITION_V5, m_header.addressLength);
    for (QZInt64 i = 3; i < kHeaderSize; ++i)
    {
        const QZInt64 lengthEnd = QZDatabaseInfo::DBL_POSITION_V5 + m_header.addressLength;
        if (i >= QZDatabaseInfo::DBL_POSITION_V5 && i < lengthEnd) continue;
        if (bytes[i] != 0) m_header.reservedClean = false;
    }
    return true;
}

void Database::RequireSound()
{
    const QZInt64 least = kHeaderSize + 4 * m_header.addressLength + 1;
    if (m_header.length < least) Fail(kExitFaults, "damaged: the length field is too small");
    if (m_header.length >= m_header.fileSize)
        Fail(kExitFaults,
             "damaged: the file ends before the last byte in use (cut off, or a bad length field)");
    if (m_channel->G_T(QZDatabaseInfo::ADDRESS_MARK_END, m_header.length) != QZDatabaseInfo::TABLE_HD)
        Fail(kExitFaults, "damaged: the length field names no end of a record");
    if (m_openError != 0) Fail(kExitFaults, "damaged: " + CodeName(m_openError) + " found at opening");
    if (Kind(QZDatabaseInfo::MAIN_HD_ADDR_V5) != QZDatabaseInfo::TABLE_HD)
        FailDamaged(QZDatabaseInfo::MAIN_HD_ADDR_V5, "no main HD");
    QZInt64 trees = 0;
    Walk(QZDatabaseInfo::MAIN_HD_ADDR_V5, [&](QZInt64 record, QZInt64 kind) {
        if (kind != QZDatabaseInfo::DATA_AD) FailDamaged(record, "no AD in the main list");
        const QZInt64 root = Field(record, QZDatabaseInfo::AD_FREE);
        if (Kind(root) != QZDatabaseInfo::TABLE_HD)
            FailDamaged(root, "no HD where the root of a tree should be");
        return ++trees < QZDatabaseInfo::TREEBSN;
    });
    if (trees < QZDatabaseInfo::TREEBSN) Fail(kExitFaults, "damaged: a tree is missing");
}

QZInt64 Database::Root(QZInt64 tree)
{
    QZInt64 root = 0;
    QZInt64 n = 0;
    Walk(QZDatabaseInfo::MAIN_HD_ADDR_V5, [&](QZInt64 record, QZInt64 kind) {
        if (++n < tree) return true;
        if (kind == QZDatabaseInfo::DATA_AD) root = Field(record, QZDatabaseInfo::AD_FREE);
        return false;
    });
    return root;
}

QZInt64 Database::Kind(QZInt64 address)
{
    if (address < 0) return QZDatabaseInfo::UNKNOWN;
    return m_channel->G_T(QZDatabaseInfo::ADDRESS_MARK_THIS, address);
}

QZInt64 Database::Field(QZInt64 address, QZInt64 selector) { return m_channel->G_A(address, selector); }

void Database::Walk(QZInt64 hd, const std::function<bool(QZInt64 record, QZInt64 kind)>& visit)
{
    if (Kind(hd) != QZDatabaseInfo::TABLE_HD) FailDamaged(hd, "no HD where a list should begin");
    QZInt64 count = 0;
    QZInt64 record = Field(hd, QZDatabaseInfo::HD_FIRSTDATA);
    while (record != 0)
    {
        const QZInt64 kind = Kind(record);
        if (kind <= QZDatabaseInfo::DATA_UNKNOWN) FailDamaged(record, "no record where a list goes on");
        if (++count > m_most) FailDamaged(hd, "the list of this HD does not end");
        // The next record is read first, because visit may change this one.
        const QZInt64 next = Field(record, QZDatabaseInfo::DATA_NEXT);
        if (!visit(record, kind)) return;
        record = next;
    }
}

QZInt64 Database::ContentLength(QZInt64 address, QZInt64 field)
{
    const QZInt64 length = m_channel->G_C_L(address, field);
    if (length < 0 || length > m_most * 16) FailDamaged(address, "content of an impossible length");
    return length;
}

std::string Database::Content(QZInt64 address, QZInt64 field)
{
    std::string bytes(static_cast<std::size_t>(ContentLength(address, field)), '\0');
    if (bytes.empty()) return bytes;
    if (m_channel->G_C(address, field, bytes.data()) < 0) FailDamaged(address, "content that cannot be read");
    return bytes;
}

void Database::PutContent(QZInt64 address, QZInt64 field, std::string_view bytes)
{
    Grown(static_cast<QZInt64>(bytes.size()));
    const char nothing = 0;
    const void* source = bytes.empty() ? &nothing : bytes.data();
    if (m_channel->P_C(address, field, source, static_cast<QZInt64>(bytes.size())) <= 0) FailRefused();
}

QZInt64 Database::PutRecord(QZInt64 hd, QZInt64 kind)
{
    Grown(0);
    const QZInt64 record = m_channel->P_D(hd, kind);
    if (record <= 0) FailRefused();
    return record;
}

void Database::PutField(QZInt64 address, QZInt64 selector, QZInt64 value)
{
    if (m_channel->P_A(address, selector, value) <= 0) FailRefused();
}

QZInt64 Database::PutFreeHead()
{
    Grown(0);
    const QZInt64 hd = m_channel->P_HD();
    if (hd <= 0) FailRefused();
    return hd;
}

bool Database::RollbackOn()
{
    QZDbSysInfo* info = m_channel->GetSysInfo();
    const bool on = info->Rollback != 0;
    m_channel->Recycle(&info);
    return on;
}

void Database::Fail(int code, const std::string& text) const { throw Failure{code, m_path + ": " + text}; }

void Database::FailDamaged(QZInt64 address, const std::string& text) const
{
    Fail(kExitFaults, "damaged at " + std::to_string(address) + ": " + text);
}

void Database::FailRefused() const { Fail(kExitAccess, "cannot write: " + CodeName(m_channel->G_LE())); }

LogPause::LogPause(Database& database) : m_database(database), m_paused(database.RollbackOn())
{
    if (m_paused) m_database.Channel()->RB_OFF();
}

LogPause::~LogPause() { End(); }

void LogPause::End()
{
    if (m_paused) m_database.Channel()->RB_ON();
    m_paused = false;
}

}  // namespace qzdb
