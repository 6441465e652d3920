#include "db/internal/db_console.h"

#include "db/db_format.h"
#include "db/internal/db_address.h"
#include "db/internal/db_data.h"
#include "db/internal/db_repair.h"
#include "db/internal/db_rollback.h"
#include "fw/fw_data.h"
#include "fw/fw_exception_factory.h"
#include "fw/fw_string.h"
#include "os/os_file.h"

namespace
{

constexpr QZInt64 MemoryLimit = 0x1400000;
constexpr QZInt64 BlockSize = 0x200000;
constexpr QZInt64 KeySize = 1024;

/// Where the engine keeps the length field, whatever the version.
constexpr QZInt64 LengthPosition = QZDatabaseInfo::DBL_POSITION_V5;

/// The length field of a file without records: the last byte before the main HD.
constexpr QZInt64 EmptyLength = QZDatabaseInfo::MAIN_HD_ADDR_V5 - 1;

QZInt64 LengthOfMode(QZInt64 mode) { return mode == QZDatabaseInfo::ADDR_MODE_64 ? 8 : 4; }

QZInt64 LargestOfMode(QZInt64 mode)
{
    return mode == QZDatabaseInfo::ADDR_MODE_64 ? 0x7FFFFFFFFFFFFFFF : 0xFFFFFFFF;
}

bool IsMode(QZInt64 mode)
{
    return mode >= QZDatabaseInfo::ADDR_MODE_32I && mode <= QZDatabaseInfo::ADDR_MODE_64;
}

bool IsVersion(QZInt64 version)
{
    return version == QZDatabaseInfo::DBV_CODE_V1 || version == QZDatabaseInfo::DBV_CODE_V4 ||
           version == QZDatabaseInfo::DBV_CODE_V5 || version == QZDatabaseInfo::DBV_CODE_V9;
}

void MakeKeys(QZDbTransformation* transformation)
{
    transformation->WriteKey = new QZData(KeySize);
    transformation->ReadKey = new QZData(KeySize);
}

void DeleteKeys(QZDbTransformation* transformation)
{
    delete transformation->WriteKey;
    delete transformation->ReadKey;
}

/// Closes a buffer on the way out of a failure; a second failure is dropped, the first one counts.
void CloseQuietly(QZFileBuffer** buffer)
{
    if (*buffer == nullptr) return;
    try
    {
        QZFileBuffer::Close(buffer);
    }
    catch (QZException* exception)
    {
        QZExceptionFactory::Recycle(&exception);
    }
    *buffer = nullptr;
}

}  // namespace

CONSOLE::CONSOLE(OBJECTS* objects)
    : m_objects(objects),
      m_checkParam(1),
      m_writeProtect(0),
      m_buffer(nullptr),
      m_memoryLimit(MemoryLimit),
      m_addressInfo(new QZAddressInfo),
      m_lastError(0),
      m_errorCount(0),
      m_blockSize(BlockSize),
      m_contentRead(0),
      m_contentWritten(0)
{
    MakeKeys(&m_bytes);
    MakeKeys(&m_addresses);
    MakeKeys(&m_contents);
}

CONSOLE::~CONSOLE()
{
    CloseQuietly(&m_buffer);
    DeleteKeys(&m_bytes);
    DeleteKeys(&m_addresses);
    DeleteKeys(&m_contents);
    delete m_addressInfo;
}

bool CONSOLE::CreateFile(QZInt64 version, QZInt64 addressMode, QZString* path, QZInt64 rollback)
{
    if (version != QZDatabaseInfo::DBV_CODE_V5 || !IsMode(addressMode)) return false;

    QZFileBuffer* const outerBuffer = m_buffer;
    QZAddressInfo* const outerInfo = m_addressInfo;
    QZAddressInfo info;
    info.AddressLength = LengthOfMode(addressMode);
    // Inside, both short modes are mode 2; the header keeps the one that the caller gave.
    info.AddressMode =
        addressMode == QZDatabaseInfo::ADDR_MODE_64 ? addressMode : QZDatabaseInfo::ADDR_MODE_32;
    info.FileMode = info.AddressMode;
    info.LargestAddress = LargestOfMode(addressMode);
    info.Version = version;
    m_addressInfo = &info;
    m_buffer = nullptr;

    bool created = false;
    try
    {
        created = CreateFormatted(path, addressMode, rollback);
    }
    catch (QZException*)
    {
        CloseQuietly(&m_buffer);
        m_addressInfo = outerInfo;
        m_buffer = outerBuffer;
        throw;
    }
    m_addressInfo = outerInfo;
    m_buffer = outerBuffer;
    return created;
}

bool CONSOLE::CreateFormatted(QZString* path, QZInt64 addressMode, QZInt64 rollback)
{
    if (QZFile::Exists(path)) return false;
    QZFile::Create(path);
    m_buffer = QZFileBuffer::Open(path, m_memoryLimit, m_blockSize);
    if (m_buffer == nullptr) return false;
    Format(m_addressInfo->Version, addressMode);
    if (rollback != 0) m_objects->Rollback()->Prepare();
    CloseFile();
    return true;
}

bool CONSOLE::OpenFile(QZString* path)
{
    m_buffer = QZFileBuffer::Open(path, m_memoryLimit, m_blockSize);
    if (m_buffer == nullptr) return false;
    BINARY* binary = m_objects->Binary();
    const QZInt64 version = binary->GetByte(QZDatabaseInfo::DBV_POSITION);
    if (!IsVersion(version))
    {
        RecordError(QZDatabaseInfo::BAD_STRUCT);
        return false;
    }
    m_addressInfo->Version = version;
    const QZInt64 mode = binary->GetByte(QZDatabaseInfo::DBAM_POSITION);
    if (!IsMode(mode))
    {
        RecordError(QZDatabaseInfo::BAD_STRUCT);
        return false;
    }
    m_addressInfo->AddressLength = LengthOfMode(mode);
    m_addressInfo->AddressMode = mode;
    m_addressInfo->LargestAddress = LargestOfMode(mode);
    // Hosts see the address mode as the file mode of an open database, whatever byte 2 holds.
    m_addressInfo->FileMode = mode;
    return true;
}

void CONSOLE::CloseFile()
{
    if (m_buffer == nullptr) return;
    try
    {
        m_buffer->Collect();
    }
    catch (QZException*)
    {
        // The file is given up all the same, and the first failure is the one to tell.
        try
        {
            QZFileBuffer::Close(&m_buffer);
        }
        catch (QZException* again)
        {
            QZExceptionFactory::Recycle(&again);
        }
        throw;
    }
    QZFileBuffer::Close(&m_buffer);
}

bool CONSOLE::Verify()
{
    if (!CheckHeader() || !CheckMain())
    {
        RecordError(QZDatabaseInfo::BAD_STRUCT);
        return false;
    }
    m_objects->Rollback()->Load();
    return true;
}

bool CONSOLE::CheckHeader()
{
    BINARY* binary = m_objects->Binary();
    const QZInt64 version = binary->GetByte(QZDatabaseInfo::DBV_POSITION);
    const QZInt64 addressMode = binary->GetByte(QZDatabaseInfo::DBAM_POSITION);
    const QZInt64 fileMode = binary->GetByte(QZDatabaseInfo::FILEMODE_POSITION);
    if (!IsVersion(version)) return false;
    const QZInt64 highest = version == QZDatabaseInfo::DBV_CODE_V1 ? 2 : 3;
    return addressMode >= 1 && addressMode <= highest && fileMode >= 1 && fileMode <= highest;
}

bool CONSOLE::CheckMain()
{
    switch (m_addressInfo->Version)
    {
        case QZDatabaseInfo::DBV_CODE_V1:
            return IsHead(QZDatabaseInfo::TREESV1) && IsHead(QZDatabaseInfo::TREEAV1);
        case QZDatabaseInfo::DBV_CODE_V4: return IsHead(QZDatabaseInfo::MAIN_HD_ADDR_V4);
        default: return IsHead(QZDatabaseInfo::MAIN_HD_ADDR_V5);
    }
}

bool CONSOLE::IsHead(QZInt64 address)
{
    return m_objects->Binary()->GetByte(address) == QZDatabaseInfo::MARK_HD &&
           m_objects->Repair()->TypeOf(QZDatabaseInfo::ADDRESS_MARK_THIS, address) ==
               QZDatabaseInfo::TABLE_HD;
}

void CONSOLE::SetLength(QZInt64 address)
{
    const QZInt64 largest = m_addressInfo->LargestAddress;
    if (GetWriteProtect() == 0 && address < largest)
    {
        m_objects->Address()->PutRaw(LengthPosition, address);
        return;
    }
    if (address >= largest) SetWriteProtect(1);
    RecordError(QZDatabaseInfo::WRITE_ERROR_WRITEPROTECT);
}

QZInt64 CONSOLE::GetLength() const { return m_objects->Address()->Get(LengthPosition); }

QZInt64 CONSOLE::GetSysInfo(QZInt64 key) const
{
    switch (key)
    {
        case QZDatabaseInfo::SYSINFO_DATABASEVERSION: return m_addressInfo->Version;
        case QZDatabaseInfo::SYSINFO_ADDRMODE: return m_addressInfo->AddressMode;
        case QZDatabaseInfo::SYSINFO_FILEMODE: return m_addressInfo->FileMode;
        case QZDatabaseInfo::SYSINFO_WRITEPROTECT: return GetWriteProtect();
        case QZDatabaseInfo::SYSINFO_CURRENT_BUFSIZE:
            return m_buffer == nullptr ? 0 : m_buffer->GetMemorySizeUsed();
        default: return 0;
    }
}

// ---------------------------------------------------------------------------------------------------------------------
// Writers of fresh files.

void CONSOLE::Format(QZInt64 version, QZInt64 addressMode)
{
    WriteHeader(version, addressMode);
    switch (version)
    {
        case QZDatabaseInfo::DBV_CODE_V1: FormatV1(); break;
        case QZDatabaseInfo::DBV_CODE_V4: FormatV4(); break;
        case QZDatabaseInfo::DBV_CODE_V9: FormatV5(false); break;
        default: FormatV5(true); break;
    }
}

void CONSOLE::WriteHeader(QZInt64 version, QZInt64 addressMode)
{
    const bool old = version == QZDatabaseInfo::DBV_CODE_V1 || version == QZDatabaseInfo::DBV_CODE_V4;
    const bool wide = addressMode == QZDatabaseInfo::ADDR_MODE_64;
    const QZInt64 fileMode = old    ? QZDatabaseInfo::FILE_MODE1
                             : wide ? QZDatabaseInfo::FILE_MODE3
                                    : QZDatabaseInfo::FILE_MODE2;
    BINARY* binary = m_objects->Binary();
    binary->PutByte(QZDatabaseInfo::DBV_POSITION, static_cast<QZByte>(version));
    binary->PutByte(QZDatabaseInfo::DBAM_POSITION, static_cast<QZByte>(addressMode));
    binary->PutByte(QZDatabaseInfo::FILEMODE_POSITION, static_cast<QZByte>(fileMode));
}

void CONSOLE::FormatV5(bool sync)
{
    constexpr int trees = QZDatabaseInfo::TREEBSN;
    DATA* data = m_objects->Data();
    m_objects->Address()->PutRaw(LengthPosition, EmptyLength);
    if (sync) m_buffer->Sync();
    const QZInt64 main = data->NewHD(0);
    QZInt64 roots[trees];
    for (QZInt64& root : roots) root = data->NewHD(0);
    for (const QZInt64 root : roots)
    {
        const QZInt64 owner = data->NewAD(main, root);
        data->PutField(root, QZDatabaseInfo::HD_PREV, owner);
    }
}

void CONSOLE::FormatV1()
{
    // The one layout with the highest byte first; all its values fit into the lowest byte of their fields.
    struct Field
    {
        QZInt64 Position;
        QZByte Value;
    };
    static constexpr QZByte Mark = 0x5E;
    // The third tree says that 20 holds its address, not 17: readers of these files expect it so.
    static constexpr Field fields[] = {
        {8, 96},    {12, 25}, {16, 43}, {20, 61}, {24, 79},    // header
        {25, Mark}, {29, 9},  {37, 42}, {41, 25}, {42, Mark},  // tree A
        {43, Mark}, {47, 13}, {55, 60}, {59, 43}, {60, Mark},  // tree R
        {61, Mark}, {65, 20}, {73, 78}, {77, 61}, {78, Mark},  // tree S
        {79, Mark}, {83, 21}, {91, 96}, {95, 79}, {96, Mark},  // tree L
    };
    // All bytes up to the last mark, so that a file holds the zeros between the fields too.
    QZByte image[97] = {};
    for (const Field& field : fields) image[field.Position] = field.Value;
    m_objects->Binary()->PutBytes(3, sizeof(image) - 3, image + 3);
}

void CONSOLE::FormatV4()
{
    // Records lie close together behind the main HD at 9, addresses in four bytes: the main HD, four roots,
    // and the four ADs of the main HD that name them.
    constexpr QZInt64 a = 4;
    constexpr QZInt64 lengthOfHD = 4 * a + 2;
    constexpr QZInt64 lengthOfAD = 8 * a + 2;
    constexpr QZInt64 main = QZDatabaseInfo::MAIN_HD_ADDR_V4;
    constexpr QZInt64 firstAD = main + 5 * lengthOfHD;
    constexpr QZInt64 last = firstAD + 4 * lengthOfAD - 1;
    QZByte image[last + 1] = {};
    const auto put = [&image](QZInt64 position, QZInt64 value) {
        QZStore(image + position, static_cast<QZUInt32>(value));
    };
    put(QZDatabaseInfo::DBL_POSITION_V4, last);
    for (QZInt64 i = 0; i < 5; ++i)
    {
        const QZInt64 hd = main + i * lengthOfHD;
        image[hd] = image[hd + lengthOfHD - 1] = QZDatabaseInfo::MARK_HD;
        put(hd + 1, i == 0 ? 0 : firstAD + (i - 1) * lengthOfAD);
        put(hd + 1 + a, i == 0 ? firstAD : 0);
        put(hd + 1 + 2 * a, i == 0 ? last : hd + lengthOfHD - 1);
        put(hd + 1 + 3 * a, hd);
    }
    for (QZInt64 i = 0; i < 4; ++i)
    {
        const QZInt64 ad = firstAD + i * lengthOfAD;
        const QZInt64 end = ad + 6 * a + 1;
        image[ad] = image[end] = QZDatabaseInfo::MARK_DATA;
        image[end + 2 * a] = QZDatabaseInfo::MARK_HD;
        put(ad + 1, i == 0 ? main : end - lengthOfAD);
        put(ad + 1 + a, ad);
        put(ad + 1 + 2 * a, end);
        put(ad + 1 + 3 * a, main + (i + 1) * lengthOfHD);
        put(end - 2 * a, ad);
        put(end - a, i == 3 ? 0 : ad + lengthOfAD);
        put(end + a, main);
    }
    m_objects->Binary()->PutBytes(3, last + 1 - 3, image + 3);
}
