#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>

#include "db/database_fixture.h"
#include "db/engine_fixture.h"

// Database files that are exchanged between platforms. tests/data/db has the files that the same operations
// wrote on each platform with each address length. Every platform must open, check and read them, restore
// their snapshots, and write the same bytes when it repeats the operations.

namespace qztest
{
namespace
{

/// Text as hosts store it: UTF-16, little endian.
std::string Utf16(std::string_view utf8)
{
    std::string bytes;
    for (const QZWChar unit : Wide(utf8))
    {
        bytes += static_cast<char>(unit & 0xFF);
        bytes += static_cast<char>(unit >> 8);
    }
    return bytes;
}

const std::string kTitle = Utf16("Übersicht 概览");
const std::string kLongText(700, 't');

class Exchange : public DatabaseTest
{
protected:
    /// Writes all kinds of records, two snapshots, and a third one on a branch after a restore of the first.
    void Work(QZInt64 addressMode)
    {
        Fresh(addressMode, 1);
        const QZInt64 trees = m_channel->G_TA(Info::TREESSN);
        const QZInt64 first = QZNodePD::Create(m_channel, trees, QZNodeLD::Create(m_channel));
        const QZInt64 second = QZNodePD::Create(m_channel, trees, QZNodeLD::Create(m_channel));
        const QZInt64 third = QZNodePD::Create(m_channel, trees, QZNodeLD::Create(m_channel));
        const QZInt64 fields = A(first, Info::PD_LD_A);
        Put(fields, 1, "to be replaced");
        Put(fields, 3, std::string("\x03\x00\x00\x00\xFF", 5));
        Put(fields, 1, kTitle);
        Put(fields, 4, "erased");
        m_channel->E_C(fields, 4);
        Put(second, Info::PD_DATA, "mark of the second");
        m_channel->P_HD(first);
        for (int i = 0; i < 3; ++i)
        {
            const QZInt64 child =
                QZNodePD::Create(m_channel, A(first, Info::PD_HD_A), QZNodeLD::Create(m_channel));
            Put(A(child, Info::PD_LD_A), 1, std::string(static_cast<std::size_t>(7 * i), 'c'));
        }
        m_channel->MV(A(A(first, Info::PD_HD_A), Info::HD_FIRSTDATA), 1);
        m_channel->AD_TS();

        Put(A(second, Info::PD_LD_A), 1, "before the return");
        m_channel->D_DATA(third, Info::DELETE_PD);
        m_channel->AD_TS();

        m_channel->AB_CB(Point(0));
        Put(A(second, Info::PD_LD_A), 1, kLongText);
        m_channel->MT(third, A(first, Info::PD_HD_A));
        m_channel->AD_TS();
        Close();
    }

    /// The log record that a snapshot refers to.
    QZInt64 Point(std::size_t snapshot)
    {
        QZCollection marks;
        m_channel->G_AL(Info::ADDRESSARRAYCOPY_SHNAPSHOTS, 0, &marks);
        return A(Words(marks).at(snapshot), Info::RD_P);
    }

    void OpenImage(const std::string& name)
    {
        std::ifstream in(DataFile("data/db/" + name), std::ios::binary);
        ASSERT_TRUE(in) << name;
        m_dir.Write("test.db", std::string(std::istreambuf_iterator<char>(in), {}));
        Open();
    }

    /// Expects that every record below a list passes the structure check; for log records the check returns
    /// UNKNOWN.
    void ExpectValidRecords(QZInt64 hd)
    {
        EXPECT_EQ(m_channel->CK(1, hd), Info::NORMAL) << hd;
        for (const QZInt64 record : List(hd))
        {
            const QZInt64 type = m_channel->G_T(1, record);
            EXPECT_EQ(m_channel->CK(1, record), type == Info::DATA_RD ? Info::UNKNOWN : Info::NORMAL)
                << record;
            if (type == Info::DATA_AD) ExpectValidRecords(A(record, Info::AD_FREE));
            if (type == Info::DATA_LD) ExpectValidRecords(A(record, Info::LD_LDS));
            if (type == Info::DATA_PD && A(record, Info::PD_HD_A) != 0)
                ExpectValidRecords(A(record, Info::PD_HD_A));
        }
    }

    /// The records of TREES and of the list under the first.
    Addresses Roots() { return List(m_channel->G_TA(Info::TREESSN)); }
    Addresses Children() { return List(A(Roots().at(0), Info::PD_HD_A)); }

    std::string ChildTexts()
    {
        std::string text;
        for (const QZInt64 child : Children()) text += "[" + Get(A(child, Info::PD_LD_A), 1) + "]";
        return text;
    }

    std::string SecondText() { return Get(A(Roots().at(1), Info::PD_LD_A), 1); }
};

struct Image
{
    const char* Name;
    QZInt64 AddressMode;

    friend std::ostream& operator<<(std::ostream& out, const Image& image) { return out << image.Name; }
};

/// Runs the tests for each file.
class ExchangeImage : public Exchange, public ::testing::WithParamInterface<Image>
{
protected:
    void SetUp() override { ASSERT_NO_FATAL_FAILURE(OpenImage(GetParam().Name)); }

    /// Copies the new file to the folder in QZ_KEEP_IMAGES, to replace the images after a change of Work.
    void Keep()
    {
        const char* folder = std::getenv("QZ_KEEP_IMAGES");
        if (folder == nullptr) return;
        std::filesystem::copy_file(m_dir.Path("test.db"), std::filesystem::path(folder) / GetParam().Name,
                                   std::filesystem::copy_options::overwrite_existing);
    }
};

const Image kImages[] = {{"linux-32.db", 2}, {"linux-64.db", 3}, {"windows-32.db", 2}, {"windows-64.db", 3}};

std::string TestName(const ::testing::TestParamInfo<Image>& image)
{
    const std::string name = image.param.Name;
    const std::size_t dash = name.find('-');
    return name.substr(0, dash) + name.substr(dash + 1, 2);
}

INSTANTIATE_TEST_SUITE_P(Files, ExchangeImage, ::testing::ValuesIn(kImages), TestName);

TEST_P(ExchangeImage, OpensAndPassesEveryCheck)
{
    QZDbSysInfo* info = m_channel->GetSysInfo();
    EXPECT_EQ(info->Version, 5);
    EXPECT_EQ(info->AddrMode, GetParam().AddressMode);
    EXPECT_EQ(info->Rollback, 1);
    m_channel->Recycle(&info);
    ExpectValidRecords(31);
    EXPECT_EQ(m_channel->G_EN(), 0);
}

TEST_P(ExchangeImage, ReadsAsItWasWritten)
{
    ASSERT_EQ(Roots().size(), 2u);
    const QZInt64 fields = A(Roots()[0], Info::PD_LD_A);
    EXPECT_EQ(m_channel->G_CN(fields, Info::LD_LDS_COUNT, 0), 4);
    EXPECT_EQ(Get(fields, 1), kTitle);
    EXPECT_EQ(Get(fields, 2), "");
    EXPECT_EQ(Get(fields, 3), std::string("\x03\x00\x00\x00\xFF", 5));
    EXPECT_EQ(Get(fields, 4), "");
    EXPECT_EQ(Get(Roots()[1], Info::PD_DATA), "mark of the second");
    EXPECT_EQ(SecondText(), kLongText);
    // The first child was moved after the second; the third root was moved to the end and has no field.
    EXPECT_EQ(ChildTexts(), "[ccccccc][][cccccccccccccc][]");
}

TEST_P(ExchangeImage, RestoresItsSnapshots)
{
    ASSERT_TRUE(m_channel->AB_CB(Point(0)));
    EXPECT_EQ(Roots().size(), 3u);
    EXPECT_EQ(SecondText(), "");
    EXPECT_EQ(ChildTexts(), "[ccccccc][][cccccccccccccc]");
    ASSERT_TRUE(m_channel->AB_CB(Point(1)));
    EXPECT_EQ(Roots().size(), 2u);
    EXPECT_EQ(SecondText(), "before the return");
    EXPECT_EQ(ChildTexts(), "[ccccccc][][cccccccccccccc]");
    EXPECT_EQ(m_channel->G_EN(), 0);
}

TEST_P(ExchangeImage, AcceptsFurtherWrites)
{
    const QZInt64 pd = MakePD();
    Put(pd, Info::PD_DATA, "added elsewhere");
    Reopen();
    EXPECT_EQ(Get(Roots().at(2), Info::PD_DATA), "added elsewhere");
    EXPECT_EQ(SecondText(), kLongText);
    ExpectValidRecords(31);
    EXPECT_EQ(m_channel->G_EN(), 0);
}

TEST_P(ExchangeImage, SameOperationsWriteTheSameBytes)
{
    const std::string kept = File();
    Close();
    std::filesystem::remove(m_dir.Path("test.db"));
    Work(GetParam().AddressMode);
    Keep();
    EXPECT_EQ(Difference(m_dir.Read("test.db"), kept), "");
}

}  // namespace
}  // namespace qztest
