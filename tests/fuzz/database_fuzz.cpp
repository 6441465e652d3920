// Damaged database files: the records are read, checked, traversed and changed. For any bytes, the engine
// accesses only its own memory, and every operation ends.
//
// Input: byte 0 selects the file. 0 to 3: a database with records of every kind (addresses of 4 or 8 bytes,
// without or with rollback); byte 1 is the number of patches of 4 bytes each (offset as 16 bits, value, kind
// of change), and operations of 3 bytes each follow. Any other value: the rest of the input is the file.

#include <unistd.h>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

#include "db/db_channel.h"
#include "db/db_format.h"
#include "fw/fw_collection.h"
#include "fw/fw_exception_factory.h"
#include "fw/fw_library.h"
#include "qzlib.h"

namespace
{

using Info = QZDatabaseInfo;
using Addresses = std::vector<QZInt64>;

constexpr QZInt64 kSideThis = 1;
constexpr QZInt64 kSideEnd = 2;
constexpr std::size_t kLargestInput = 16384;

std::string Folder()
{
    static const std::string folder = [] {
        const char* base = std::filesystem::exists("/dev/shm") ? "/dev/shm" : "/tmp";
        std::string path = std::string(base) + "/qz_database_fuzz_" + std::to_string(getpid());
        std::filesystem::create_directories(path);
        return path;
    }();
    return folder;
}

std::string ReadFile(const std::string& path)
{
    std::ifstream in(path, std::ios::binary);
    return std::string(std::istreambuf_iterator<char>(in), {});
}

/// Runs a call that may throw an exception of the library.
template <typename Call>
void Try(Call call)
{
    try
    {
        call();
    }
    catch (QZException* exception)
    {
        QZExceptionFactory::Recycle(&exception);
    }
}

/// Makes a database with records of every kind in several trees, replaced content, a snapshot and a branch.
std::string MakeBase(QZInt64 mode, QZInt64 rollback)
{
    const std::string path = Folder() + "/base.db";
    std::filesystem::remove(path);
    QZChannel::Create(path.c_str(), 5, mode, rollback);
    QZChannel* channel = QZChannel::Open(QZChannel::MODE_FILE, path.c_str());
    const QZInt64 lds = channel->G_TA(Info::TREELSN);
    const QZInt64 root = channel->G_TA(Info::TREESSN);
    const QZInt64 snapshot = channel->AD_TS();
    for (int i = 0; i < 3; ++i)
    {
        const QZInt64 ld = channel->P_D(lds, Info::DATA_LD);
        const QZInt64 pd = channel->P_D(root, Info::DATA_PD);
        channel->P_A(pd, Info::PD_LD_A, ld);
        channel->P_C(ld, 2, "field content", 13);
        channel->P_C(pd, Info::PD_DATA, "place", 5);
        channel->P_A(channel->P_D(channel->G_A(ld, Info::LD_TREE_S), Info::DATA_AD), Info::AD_FREE, pd);
        const QZInt64 child = channel->P_HD(pd);
        const QZInt64 below = channel->P_D(child, Info::DATA_PD);
        channel->P_A(below, Info::PD_LD_A, ld);
        channel->P_D(child, Info::DATA_CD);
        channel->P_D(child, Info::DATA_RD);
    }
    if (rollback != 0)
    {
        channel->AB_CB(channel->G_A(snapshot, Info::RD_P));
        channel->P_D(root, Info::DATA_CD);
    }
    QZChannel::Close(&channel);
    return ReadFile(path);
}

const std::string& Base(int kind)
{
    static const std::string bases[] = {MakeBase(2, 0), MakeBase(3, 0), MakeBase(2, 1), MakeBase(3, 1)};
    return bases[kind];
}

/// One database file under test.
class Subject
{
public:
    Subject(QZChannel* channel, const std::string& file)
        : m_channel(channel), m_size(static_cast<QZInt64>(file.size()))
    {
        for (QZInt64 i = 0; i < m_size; ++i)
        {
            const char byte = file[static_cast<std::size_t>(i)];
            if (byte == '^' || byte == '&') m_marks.push_back(i);
        }
    }

    QZInt64 MarkOf(unsigned int index) const { return m_marks.empty() ? 0 : m_marks[index % m_marks.size()]; }

    /// Reads every step-th mark, so that a run stays short; patches and operations reach the others.
    void Look(std::size_t step)
    {
        for (std::size_t i = m_marks.size() % step; i < m_marks.size(); i += step) LookAt(m_marks[i]);
        for (QZInt64 n = 0; n < 7; ++n) Try([&] { m_channel->G_TA(n); });
        QZCollection marks;
        Try([&] { m_channel->G_AL(Info::ADDRESSARRAYCOPY_SHNAPSHOTS, 0, &marks); });
        Try([&] { m_channel->G_AL(Info::ADDRESSARRAYCOPY_ROLLBACKMARKS, 0, &marks); });
        Try([&] { m_channel->G_WPS(); });
    }

    void Operate(unsigned int code, unsigned int first, unsigned int second)
    {
        const QZInt64 address = MarkOf(first);
        const QZInt64 other = MarkOf(second);
        static const char content[300] = {};
        switch (code % 24)
        {
            case 0: Try([&] { m_channel->D_DATA(address, Info::DELETE_DATA); }); break;
            case 1: Try([&] { m_channel->D_DATA(address, Info::DELETE_PD); }); break;
            case 2: Try([&] { m_channel->D_DATA(address, Info::DELETE_LD); }); break;
            case 3: Try([&] { m_channel->D_DATA(address, Info::DELETE_PD_ALL); }); break;
            case 4: Try([&] { m_channel->D_DATA(address, Info::DELETE_HD); }); break;
            case 5: Try([&] { m_channel->D_DATA(address, Info::HD_RESET); }); break;
            case 6: Try([&] { m_channel->MV(address, static_cast<signed char>(second)); }); break;
            case 7: Try([&] { m_channel->MV(address, 1LL << 40); }); break;
            case 8: Try([&] { m_channel->MV(address, -(1LL << 40)); }); break;
            case 9: Try([&] { m_channel->MT(address, other); }); break;
            case 10: Try([&] { m_channel->P_C(address, second % 8, content, second); }); break;
            case 11: PutContent(address, Info::PD_DATA, content, second); break;
            case 12: PutContent(address, Info::CD_DATA, content, second); break;
            case 13:
                Try([&] { m_channel->E_C(address, second % 2 != 0 ? Info::CD_DATA : Info::PD_DATA); });
                break;
            case 14: Try([&] { m_channel->P_D(address, Info::DATA_LD); }); break;
            case 15: Try([&] { m_channel->P_D(address, Info::DATA_PD); }); break;
            case 16: Try([&] { m_channel->P_D(address, Info::DATA_AD); }); break;
            case 17: Try([&] { m_channel->P_HD(address); }); break;
            case 18: Try([&] { m_channel->P_A(address, Info::PD_HD_A, other); }); break;
            case 19: Try([&] { m_channel->P_A(address, Info::DATA_NEXT, other); }); break;
            case 20: Try([&] { m_channel->AB_CB(address); }); break;
            case 21: Try([&] { m_channel->AD_TS(); }); break;
            case 22: Try([&] { m_channel->ERASE(address, second); }); break;
            default: m_channel->CheckParam(second % 2); break;
        }
    }

private:
    /// Skips an LD, for which the selector is a field number: P_C would create that many fields.
    void PutContent(QZInt64 address, QZInt64 selector, const void* content, QZInt64 length)
    {
        if (m_channel->G_T(kSideThis, address) == Info::DATA_LD) return;
        Try([&] { m_channel->P_C(address, selector, content, length); });
    }

    /// Returns THIS of the next record from the bytes alone: the two fields are read as those of an HD, for
    /// which the type is not checked.
    QZInt64 Next(QZInt64 record)
    {
        const QZInt64 end = m_channel->G_HD_A(kSideThis, record, Info::HD_END);
        return m_channel->G_HD_A(kSideEnd, end, Info::HD_THIS);
    }

    /// Returns true if a list ends within the number of records that the file can hold.
    bool Ends(QZInt64 hd)
    {
        QZInt64 record = m_channel->G_HD_A(kSideThis, hd, Info::HD_FIRSTDATA);
        for (QZInt64 i = 0; i <= m_size; ++i)
        {
            if (record == 0) return true;
            record = Next(record);
        }
        return false;
    }

    /// Returns false for an LD with a cyclic list: the check of an LD does not limit its four lists.
    bool MayCheck(QZInt64 side, QZInt64 address)
    {
        if (m_channel->G_T(side, address) != Info::DATA_LD) return true;
        const QZInt64 ld = side == kSideThis ? address : 0;
        if (ld == 0) return false;
        for (const QZInt64 selector : {Info::LD_LDS, Info::LD_TREE_A, Info::LD_TREE_R, Info::LD_TREE_S})
            if (!Ends(Field(ld, selector))) return false;
        return true;
    }

    /// Reads a field of a record that exists.
    QZInt64 Field(QZInt64 address, QZInt64 selector)
    {
        QZInt64 value = 0;
        Try([&] { value = m_channel->G_A(address, selector); });
        return value;
    }

    void LookAt(QZInt64 address)
    {
        for (const QZInt64 side : {kSideThis, kSideEnd})
        {
            m_channel->G_T(side, address);
            Try([&] {
                if (MayCheck(side, address)) m_channel->CK(side, address);
            });
            for (QZInt64 low = 1; low < 8; ++low) m_channel->G_HD_A(side, address, Info::TABLE_HD + low);
        }
        // Without the parameter checks, every field is read from any bytes, and most calls throw nothing.
        const QZBool checks = m_channel->CheckParam();
        m_channel->CheckParam(0);
        for (QZInt64 kind = 0; kind < 6; ++kind)
            for (QZInt64 low = 1; low < 0x14; low = low == 7 ? 0x10 : low + 1)
                Try([&] { m_channel->G_A(address, Info::TYPE_DATA + kind * 0x100 + low); });
        m_channel->CheckParam(checks);
        Try([&] { m_channel->G_A(address, Info::DATA_NEXT); });
        for (const QZInt64 code :
             {Info::HD_NODE_COUNT, Info::HD_NODE_COUNT_ALL, Info::HD_NODE_SN, Info::LD_LDS_COUNT})
            Try([&] { m_channel->G_CN(address, code, 0); });
        Try([&] { m_channel->G_CN(address, Info::SN_GET_DATA_FROM_HD, 1LL << 40); });
        QZCollection records;
        Try([&] { m_channel->G_AL(Info::ADDRESSARRAYCOPY_PD_FROM_HD, address, &records); });
        for (const QZInt64 field : {QZInt64{1}, QZInt64{2}, Info::PD_DATA, Info::CD_DATA})
            Try([&] { LookAtContent(address, field); });
    }

    void LookAtContent(QZInt64 address, QZInt64 field)
    {
        const QZInt64 length = m_channel->G_C_L(address, field);
        // Lengths that a host could not allocate are skipped.
        if (length < 0 || length > 1 << 20) return;
        std::vector<char> buffer(static_cast<std::size_t>(length) + 1);
        m_channel->G_C(address, field, buffer.data());
    }

    QZChannel* m_channel;
    QZInt64 m_size;
    Addresses m_marks;
};

/// Returns the patched base file and moves `data` and `size` past the patches.
std::string Damaged(const std::uint8_t** data, std::size_t* size)
{
    std::string file = Base((*data)[0] % 4);
    if (*size < 2)
    {
        *size = 0;
        return file;
    }
    std::size_t patches = (*data)[1];
    *data += 2;
    *size -= 2;
    for (; patches > 0 && *size >= 4; --patches, *data += 4, *size -= 4)
    {
        const std::uint8_t* patch = *data;
        const std::size_t offset = (patch[0] + 256u * patch[1]) % file.size();
        switch (patch[3] % 4)
        {
            case 0: file[offset] = static_cast<char>(patch[2]); break;
            case 1: file[offset] = static_cast<char>(file[offset] ^ patch[2]); break;
            // Copies an address field of another record, so that links lead to wrong records.
            case 2:
                for (std::size_t i = 0; i < 8 && offset + i < file.size(); ++i)
                    file[offset + i] = file[(offset + i + patch[2] * 16u) % file.size()];
                break;
            default:
                file.resize(file.size() - patch[2] % 64 > 32 ? file.size() - patch[2] % 64 : file.size());
                break;
        }
    }
    return file;
}

}  // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***)
{
    QZLibInit();
    // Most calls fail here, and their traces are not used.
    QZException::IsStackTrace = 0;
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    if (size == 0 || size > kLargestInput) return 0;
    std::string file;
    if (data[0] < 4)
    {
        file = Damaged(&data, &size);
    }
    else
    {
        file.assign(reinterpret_cast<const char*>(data) + 1, size - 1);
        size = 0;
    }
    const std::string path = Folder() + "/case.db";
    std::ofstream(path, std::ios::binary | std::ios::trunc)
        .write(file.data(), static_cast<std::streamsize>(file.size()));

    QZChannel* channel = nullptr;
    Try([&] { channel = QZChannel::Open(QZChannel::MODE_FILE, path.c_str()); });
    if (channel != nullptr)
    {
        Subject subject(channel, file);
        subject.Look(3);
        // Few operations find as much as many, and damage can make each of them slow.
        for (int operations = 0; size >= 3 && operations < 32; ++operations, data += 3, size -= 3)
            subject.Operate(data[0], data[1], data[2]);
        subject.Look(7);
        Try([&] { QZChannel::Close(&channel); });
    }
    std::filesystem::remove(path);
    return 0;
}
