#include "db/internal/db_console.h"

#include "db/internal/db_rollback.h"
#include "fw/fw_exception_factory.h"
#include "fw/fw_string.h"
#include "os/os_file.h"

namespace
{

/// How much of the file the buffer keeps in memory, and the size of its blocks, in bytes.
constexpr QZInt64 kMemoryLimit = 0x1400000;
constexpr QZInt64 kBlockSize = 0x200000;

bool IsMode(QZInt64 mode)
{
    return mode >= QZDatabaseInfo::ADDR_MODE_32I && mode <= QZDatabaseInfo::ADDR_MODE_64;
}

bool IsVersion(QZInt64 version)
{
    return version == QZDatabaseInfo::DBV_CODE_V1 || version == QZDatabaseInfo::DBV_CODE_V4 ||
           version == QZDatabaseInfo::DBV_CODE_V5 || version == QZDatabaseInfo::DBV_CODE_V9;
}

}  // namespace

CONSOLE::CONSOLE(OBJECTS* objects) { (void)objects; }

CONSOLE::~CONSOLE() = default;

bool CONSOLE::CreateFile(QZInt64 version, QZInt64 addressMode, QZString* path, QZInt64 rollback)
{
    if (version != QZDatabaseInfo::DBV_CODE_V5 || !IsMode(addressMode)) return false;

    QZFileBuffer* const outerBuffer = m_buffer;
    const QZAddressInfo outerInfo = *AddressInfo();
    QZAddressInfo info;
    info.AddressLength = layout::AddressLength(addressMode);
    // In memory both short modes are mode 2; the header keeps the one that the caller gave.
    info.AddressMode =
        addressMode == QZDatabaseInfo::ADDR_MODE_64 ? addressMode : QZDatabaseInfo::ADDR_MODE_32;
    info.FileMode = info.AddressMode;
    info.LargestAddress = layout::LargestAddress(addressMode);
    info.Version = version;
    *AddressInfo() = info;
    m_buffer = nullptr;

    bool created = false;
    try
    {
        created = CreateFormatted(path, addressMode, rollback);
    }
    catch (QZException*)
    {
        CloseQuietly();
        *AddressInfo() = outerInfo;
        m_buffer = outerBuffer;
        throw;
    }
    *AddressInfo() = outerInfo;
    m_buffer = outerBuffer;
    return created;
}

bool CONSOLE::CreateFormatted(QZString* path, QZInt64 addressMode, QZInt64 rollback)
{
    if (QZFile::Exists(path)) return false;
    QZFile::Create(path);
    m_buffer = QZFileBuffer::Open(path, kMemoryLimit, kBlockSize);
    if (m_buffer == nullptr) return false;
    Format(AddressInfo()->Version, addressMode);
    if (rollback != 0) m_rollback->Prepare();
    CloseFile();
    return true;
}

bool CONSOLE::OpenFile(QZString* path)
{
    m_buffer = QZFileBuffer::Open(path, kMemoryLimit, kBlockSize);
    if (m_buffer == nullptr) return false;
    const QZInt64 version = m_binary->GetByte(layout::kVersion);
    if (!IsVersion(version))
    {
        RecordError(QZDatabaseInfo::BAD_STRUCT);
        return false;
    }
    AddressInfo()->Version = version;
    const QZInt64 mode = m_binary->GetByte(layout::kAddressMode);
    if (!IsMode(mode))
    {
        RecordError(QZDatabaseInfo::BAD_STRUCT);
        return false;
    }
    AddressInfo()->AddressLength = layout::AddressLength(mode);
    AddressInfo()->AddressMode = mode;
    AddressInfo()->LargestAddress = layout::LargestAddress(mode);
    // The file mode of an open database is its address mode, whatever byte 2 holds.
    AddressInfo()->FileMode = mode;
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
        // The file is closed all the same, and the first failure is the one that the caller gets.
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
    m_rollback->Load();
    return true;
}

bool CONSOLE::CheckHeader()
{
    const QZInt64 version = m_binary->GetByte(layout::kVersion);
    const QZInt64 addressMode = m_binary->GetByte(layout::kAddressMode);
    const QZInt64 fileMode = m_binary->GetByte(layout::kFileMode);
    if (!IsVersion(version)) return false;
    const QZInt64 highest = version == QZDatabaseInfo::DBV_CODE_V1 ? 2 : 3;
    return addressMode >= 1 && addressMode <= highest && fileMode >= 1 && fileMode <= highest;
}

bool CONSOLE::CheckMain()
{
    switch (AddressInfo()->Version)
    {
        case QZDatabaseInfo::DBV_CODE_V1:
            return IsHead(QZDatabaseInfo::TREESV1) && IsHead(QZDatabaseInfo::TREEAV1);
        case QZDatabaseInfo::DBV_CODE_V4: return IsHead(QZDatabaseInfo::MAIN_HD_ADDR_V4);
        default: return IsHead(layout::kMainHd);
    }
}

bool CONSOLE::IsHead(QZInt64 address)
{
    return m_binary->GetByte(address) == layout::kMarkHd &&
           m_repair->TypeOf(layout::kSideThis, address) == QZDatabaseInfo::TABLE_HD;
}

void CONSOLE::SetLength(QZInt64 address) { m_address->SetFileLength(address); }

QZInt64 CONSOLE::GetLength() const { return m_address->FileLength(); }

QZInt64 CONSOLE::GetSysInfo(QZInt64 key) const
{
    switch (key)
    {
        case QZDatabaseInfo::SYSINFO_DATABASEVERSION: return AddressInfo()->Version;
        case QZDatabaseInfo::SYSINFO_ADDRMODE: return AddressInfo()->AddressMode;
        case QZDatabaseInfo::SYSINFO_FILEMODE: return AddressInfo()->FileMode;
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
    m_binary->PutByte(layout::kVersion, static_cast<QZByte>(version));
    m_binary->PutByte(layout::kAddressMode, static_cast<QZByte>(addressMode));
    m_binary->PutByte(layout::kFileMode, static_cast<QZByte>(fileMode));
}

void CONSOLE::FormatV5(bool sync)
{
    m_address->PutRaw(layout::kLength, layout::kEmptyLength);
    if (sync) m_buffer->Sync();
    const QZInt64 main = m_data->NewHD(0);
    QZInt64 roots[layout::kTrees];
    for (QZInt64& root : roots) root = m_data->NewHD(0);
    for (const QZInt64 root : roots)
    {
        const QZInt64 owner = m_data->NewAD(main, root);
        m_data->PutField(root, QZDatabaseInfo::HD_PREV, owner);
    }
}

void CONSOLE::FormatV1()
{
    // The only layout that stores the highest byte first. Each value fits into the lowest byte of its field,
    // so only those bytes are listed.
    struct Field
    {
        QZInt64 Position;
        QZByte Value;
    };
    constexpr QZByte mark = layout::kMarkHd;
    // The third tree says that 20 holds its address, not 17: readers of these files expect it so.
    static constexpr Field fields[] = {
        {8, 96},    {12, 25}, {16, 43}, {20, 61}, {24, 79},    // header
        {25, mark}, {29, 9},  {37, 42}, {41, 25}, {42, mark},  // tree A
        {43, mark}, {47, 13}, {55, 60}, {59, 43}, {60, mark},  // tree R
        {61, mark}, {65, 20}, {73, 78}, {77, 61}, {78, mark},  // tree S
        {79, mark}, {83, 21}, {91, 96}, {95, 79}, {96, mark},  // tree L
    };
    // All bytes up to the last mark are written, so the zeros between the fields are in the file too.
    QZByte image[97] = {};
    for (const Field& field : fields) image[field.Position] = field.Value;
    m_binary->PutBytes(layout::kAfterModes, sizeof(image) - layout::kAfterModes, image + layout::kAfterModes);
}

void CONSOLE::FormatV4()
{
    // Records follow each other without gaps from 9 on, addresses have four bytes: the main HD, four root
    // HDs, and the four ADs of the main HD that refer to them.
    constexpr QZInt64 a = 4;
    constexpr QZInt64 trees = 4;
    constexpr QZInt64 lengthOfHD = layout::HdSize(a);
    constexpr QZInt64 lengthOfAD = layout::HdEndFromData(layout::AdEnd(0, a), a) + 1;
    constexpr QZInt64 main = QZDatabaseInfo::MAIN_HD_ADDR_V4;
    constexpr QZInt64 firstAD = main + (1 + trees) * lengthOfHD;
    constexpr QZInt64 last = firstAD + trees * lengthOfAD - 1;
    QZByte image[last + 1] = {};
    const auto put = [&image](QZInt64 position, QZInt64 value) {
        QZStore(image + position, static_cast<QZUInt32>(value));
    };
    put(QZDatabaseInfo::DBL_POSITION_V4, last);
    for (QZInt64 i = 0; i <= trees; ++i)
    {
        const bool isMain = i == 0;
        const QZInt64 hd = main + i * lengthOfHD;
        const QZInt64 emptyEnd = layout::HdEmptyEnd(hd, a);
        image[hd] = image[emptyEnd] = layout::kMarkHd;
        put(layout::HdPrev(hd), isMain ? 0 : firstAD + (i - 1) * lengthOfAD);
        put(layout::HdFirst(hd, a), isMain ? firstAD : 0);
        put(layout::HdEnd(hd, a), isMain ? last : emptyEnd);
        put(layout::HdThis(hd, a), hd);
    }
    for (QZInt64 i = 0; i < trees; ++i)
    {
        const QZInt64 ad = firstAD + i * lengthOfAD;
        const QZInt64 end = layout::AdEnd(ad, a);
        image[ad] = image[end] = layout::kMarkData;
        image[layout::HdEndFromData(end, a)] = layout::kMarkHd;
        put(layout::DataPrev(ad), i == 0 ? main : end - lengthOfAD);
        put(layout::DataThis(ad, a), ad);
        put(layout::DataEnd(ad, a), end);
        put(layout::DataOwn(ad, layout::kAdFree, a), main + (i + 1) * lengthOfHD);
        put(layout::DataThisFromEnd(end, a), ad);
        put(layout::DataNextFromEnd(end, a), i == trees - 1 ? 0 : ad + lengthOfAD);
        put(layout::DataHeadFromEnd(end, a), main);
    }
    m_binary->PutBytes(layout::kAfterModes, last + 1 - layout::kAfterModes, image + layout::kAfterModes);
}
