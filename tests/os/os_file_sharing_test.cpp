// Sharing: a file goes to a second handle only where both agree, in one process and between processes.

#include <gtest/gtest.h>

#include <array>
#include <string>

#include "fw/fw_string.h"
#include "fw/fw_string_factory.h"
#include "os/os_file.h"
#include "os/os_file_buffer.h"
#include "support/qz_hooks.h"
#include "support/qz_test.h"
#include "sys/internal/sys_error.h"

namespace
{

using Options = QZFileOptions;
constexpr QZInt64 kInUse = 0x1A00;
constexpr QZInt64 kOperationFailed = 0x1700;

class FileSharing : public ::testing::Test
{
protected:
    void SetUp() override { m_dir.Write("data", "0123456789"); }
    void TearDown() override
    {
        QZFileBuffer::Exclusive = 0;
        QZFileBuffer::ReadOnly = 0;
        QZFileBuffer::AtomicSync = 0;
    }

    /// True when the file opens; closes it again.
    bool Opens(unsigned int options)
    {
        QZFile* file = nullptr;
        const qztest::Thrown thrown = qztest::Catch([&] { file = QZFile::Open(&m_path, options); });
        EXPECT_EQ(thrown.code, thrown.thrown ? kOperationFailed : 0);
        QZFile::Close(&file);
        return !thrown.thrown;
    }

    QZFileBuffer* Open() { return QZFileBuffer::Open(&m_path, 0, 0); }

    qztest::Thrown FailureOfOpen()
    {
        return qztest::Catch([&] {
            QZFileBuffer* buffer = Open();
            QZFileBuffer::Close(&buffer);
        });
    }

    qztest::TempDir m_dir;
    QZString m_path{m_dir.Name("data").c_str()};
};

/// The rule: each of the two has to share what the other does. A handle that neither reads nor writes takes
/// no part.
bool GoTogether(unsigned int a, unsigned int b)
{
    const auto shares = [](unsigned int one, unsigned int other) {
        const bool read = (one & Options::ShareRead) != 0;
        const bool write = (one & Options::ShareWrite) == Options::ShareWrite;
        return (read || (other & Options::Read) == 0) && (write || (other & Options::Write) == 0);
    };
    const auto takesPart = [](unsigned int one) { return (one & (Options::Read | Options::Write)) != 0; };
    return !takesPart(a) || !takesPart(b) || (shares(a, b) && shares(b, a));
}

TEST_F(FileSharing, EveryPairOfOptions)
{
    for (unsigned int a = 0; a < 16; ++a)
    {
        for (unsigned int b = 0; b < 16; ++b)
        {
            QZFile* first = QZFile::Open(&m_path, a);
            EXPECT_EQ(Opens(b), GoTogether(a, b)) << a << " and " << b;
            QZFile::Close(&first);
            EXPECT_TRUE(Opens(b)) << a << " closed, " << b;
        }
    }
}

TEST_F(FileSharing, ThirdHandleIsHeldToBoth)
{
    QZFile* reader = QZFile::Open(&m_path, Options::ReadWrite);
    QZFile* second = QZFile::Open(&m_path, Options::ReadWrite);
    EXPECT_FALSE(Opens(Options::ShareReadWrite));
    QZFile::Close(&reader);
    EXPECT_FALSE(Opens(Options::ShareReadWrite));
    QZFile::Close(&second);
    EXPECT_TRUE(Opens(Options::ShareReadWrite));
}

TEST_F(FileSharing, ManyHandlesThatOnlyWrite)
{
    std::array<QZFile*, 70> files{};
    for (QZFile*& file : files) file = QZFile::Open(&m_path, Options::ShareWrite | Options::ShareRead);
    EXPECT_FALSE(Opens(Options::ReadWrite));
    for (QZFile*& file : files) QZFile::Close(&file);
    EXPECT_TRUE(Opens(Options::ReadWrite));
}

TEST_F(FileSharing, RefusedOpenNamesTheNumber)
{
    QZFile* alone = QZFile::Open(&m_path, Options::Read | Options::Write);
    const qztest::Thrown thrown = qztest::Catch([&] { QZFile::Open(&m_path); });
    EXPECT_EQ(thrown.code, kOperationFailed);
    EXPECT_EQ(os::LastError(), os::ErrorInUse());
    QZFile::Close(&alone);
}

// ---- Buffers

TEST_F(FileSharing, SecondExclusiveOpenIsRefusedByName)
{
    QZFileBuffer::Exclusive = 1;
    QZFileBuffer* writer = Open();
    const qztest::Thrown thrown = FailureOfOpen();
    EXPECT_EQ(thrown.code, kInUse);
    EXPECT_EQ(thrown.message, m_dir.NarrowName("data") + " File Is In Use By Another Process Or Handle");
    QZFileBuffer::Close(&writer);
    EXPECT_FALSE(FailureOfOpen().thrown);
    EXPECT_FALSE(m_dir.Exists("data.sync"));
}

TEST_F(FileSharing, ExclusiveOpenIsRefusedWhileAnybodyWrites)
{
    QZFileBuffer* plain = Open();
    QZFileBuffer::Exclusive = 1;
    EXPECT_EQ(FailureOfOpen().code, kInUse);
    QZFileBuffer::Close(&plain);
    EXPECT_FALSE(FailureOfOpen().thrown);
}

TEST_F(FileSharing, ExclusiveHasWholeSyncs)
{
    QZFileBuffer::Exclusive = 1;
    QZFileBuffer* writer = Open();
    writer->Write(0, "ab", 2);
    EXPECT_EQ(m_dir.Read("data"), "0123456789");
    EXPECT_TRUE(m_dir.Exists("data.sync"));
    writer->Sync();
    EXPECT_EQ(m_dir.Read("data"), "ab23456789");
    QZFileBuffer::Close(&writer);
}

TEST_F(FileSharing, ReadersGoTogetherAndExcludeWriters)
{
    QZFileBuffer::ReadOnly = 1;
    QZFileBuffer* first = Open();
    QZFileBuffer* second = Open();
    EXPECT_EQ(second->GetFileSize(), 10);
    QZFileBuffer::ReadOnly = 0;
    QZFileBuffer::Exclusive = 1;
    EXPECT_EQ(FailureOfOpen().code, kInUse);
    QZFileBuffer::Close(&first);
    EXPECT_EQ(FailureOfOpen().code, kInUse);
    QZFileBuffer::Close(&second);
    QZFileBuffer* writer = Open();
    QZFileBuffer::ReadOnly = 1;
    EXPECT_EQ(FailureOfOpen().code, kInUse);
    QZFileBuffer::Close(&writer);
    EXPECT_FALSE(FailureOfOpen().thrown);
}

TEST_F(FileSharing, ReaderRefusesWrites)
{
    QZFileBuffer::ReadOnly = 1;
    QZFileBuffer* reader = Open();
    char bytes[4] = {};
    EXPECT_EQ(reader->Read(2, bytes, 4), 4);
    EXPECT_EQ(std::string(bytes, 4), "2345");
    for (int i = 0; i < 2; ++i)
    {
        const qztest::Thrown thrown = qztest::Catch([&] { reader->Write(2, "xx", 2); });
        EXPECT_EQ(thrown.code, 0x1100);
        EXPECT_NE(thrown.message.find("The file is open for reading only."), std::string::npos);
    }
    EXPECT_EQ(reader->Read(2, bytes, 4), 4);
    EXPECT_EQ(std::string(bytes, 4), "2345");
    EXPECT_TRUE(reader->Sync());
    reader->Collect();
    QZFileBuffer::Close(&reader);
    EXPECT_EQ(m_dir.Read("data"), "0123456789");
}

TEST_F(FileSharing, MissingFileIsNoFileInUse)
{
    QZString missing(m_dir.Name("missing").c_str());
    QZFileBuffer::Exclusive = 1;
    EXPECT_EQ(qztest::Catch([&] { QZFileBuffer::Open(&missing, 0, 0); }).code, kOperationFailed);
    QZFileBuffer::ReadOnly = 1;
    EXPECT_EQ(qztest::Catch([&] { QZFileBuffer::Open(&missing, 0, 0); }).code, kOperationFailed);
}

// ---- Copies of a file in use

TEST_F(FileSharing, CopyHasTheLastSync)
{
    QZFileBuffer::Exclusive = 1;
    QZFileBuffer* writer = Open();
    const std::string block(700000, 'x');
    writer->Write(0, "SYNCED", 6);
    writer->Sync();
    // More than memory holds, so the file and its undo are on the disk.
    for (int i = 0; i < 8; ++i) writer->Write(i * 700000, block.data(), 700000);
    EXPECT_TRUE(m_dir.Exists("data.undo"));
    QZString copy(m_dir.Name("copy").c_str());
    EXPECT_EQ(qztest::Catch([&] { QZFileBuffer::CopyInUse(&m_path, &copy); }).message, "");
    EXPECT_EQ(m_dir.Read("copy"), "SYNCED6789");
    EXPECT_FALSE(m_dir.Exists("copy.sync"));
    EXPECT_FALSE(m_dir.Exists("copy.undo"));
    // A copy does not replace a file.
    EXPECT_EQ(qztest::Catch([&] { QZFileBuffer::CopyInUse(&m_path, &copy); }).code, 0x1900);
    EXPECT_EQ(m_dir.Read("copy"), "SYNCED6789");
    QZFileBuffer::Close(&writer);
    EXPECT_EQ(m_dir.Read("data").size(), 8u * 700000);
}

TEST_F(FileSharing, FailedCopyLeavesNothing)
{
    QZString copy(m_dir.Name("copy").c_str());
    {
        qztest::Hooks hooks;
        hooks.Fail(os::Op::FileWrite, 28);
        EXPECT_TRUE(qztest::Catch([&] { QZFileBuffer::CopyInUse(&m_path, &copy); }).thrown);
    }
    EXPECT_FALSE(m_dir.Exists("copy"));
    QZString missing(m_dir.Name("missing").c_str());
    EXPECT_TRUE(qztest::Catch([&] { QZFileBuffer::CopyInUse(&missing, &copy); }).thrown);
    EXPECT_FALSE(m_dir.Exists("copy"));
}

}  // namespace
