// The database tool while another program has the database open.

#include <gtest/gtest.h>

#include <filesystem>
#include <string>

#include "fw/fw_string.h"
#include "os/os_file_buffer.h"
#include "qzdb_tool.h"

namespace
{

using qzdbtest::Result;
using qzdbtest::Tool;

/// Has the database open as another program has.
class OtherProgram
{
public:
    OtherProgram(const Tool& tool, bool writes)
    {
        (writes ? QZFileBuffer::Exclusive : QZFileBuffer::ReadOnly) = 1;
        QZString path(tool.Path("n.db").c_str());
        m_buffer = QZFileBuffer::Open(&path, 0, 0);
        QZFileBuffer::Exclusive = 0;
        QZFileBuffer::ReadOnly = 0;
    }
    ~OtherProgram() { QZFileBuffer::Close(&m_buffer); }
    OtherProgram(const OtherProgram&) = delete;
    OtherProgram& operator=(const OtherProgram&) = delete;

    QZFileBuffer* operator->() const { return m_buffer; }

private:
    QZFileBuffer* m_buffer = nullptr;
};

class QzdbInUse : public ::testing::Test
{
protected:
    void SetUp() override { m_tool.Make("n.db", "list", "one\ntwo\n"); }

    /// The program itself, which opens its files exclusively.
    Result Refused(const std::string& words) const
    {
        const Result result = m_tool.Spawn(words);
        EXPECT_EQ(result.code, 3) << words;
        EXPECT_NE(result.err.find(m_tool.Path("n.db") + ": in use by another program"), std::string::npos)
            << result.err;
        return result;
    }

    Tool m_tool;
};

TEST_F(QzdbInUse, WritersAndReadersAreRefusedWhileAnotherWrites)
{
    const OtherProgram other(m_tool, true);
    Refused("snapshot @n.db mark");
    Refused("remove @n.db list");
    for (const char* words : {"info @n.db", "export @n.db list", "check @n.db", "tables @n.db", "tree @n.db"})
    {
        const Result result = Refused(words);
        EXPECT_NE(result.err.find("--while-in-use"), std::string::npos) << result.err;
    }
}

TEST_F(QzdbInUse, ReadersGoTogether)
{
    const OtherProgram other(m_tool, false);
    EXPECT_EQ(m_tool.Spawn("export @n.db list").out, "one\ntwo\n");
    EXPECT_EQ(m_tool.Spawn("check @n.db").code, 0);
    Refused("snapshot @n.db mark");
}

TEST_F(QzdbInUse, CopyIsReadWhileAnotherWrites)
{
    const std::string before = m_tool.Dir().Read("n.db");
    const OtherProgram other(m_tool, true);
    // Not synced yet, and larger than memory: it is in the file, but not in the copy.
    const std::string bytes(700000, 'x');
    for (int i = 0; i < 5; ++i) other->Write(i * 700000, bytes.data(), 700000);
    EXPECT_NE(m_tool.Dir().Read("n.db"), before);
    const Result result = m_tool.Spawn("export @n.db list --while-in-use");
    EXPECT_EQ(result.code, 0) << result.err;
    EXPECT_EQ(result.out, "one\ntwo\n");
    EXPECT_EQ(m_tool.Spawn("check @n.db --while-in-use").code, 0);
}

TEST_F(QzdbInUse, WritersTakeNoCopy)
{
    EXPECT_EQ(m_tool.Spawn("snapshot @n.db mark --while-in-use").code, 2);
    EXPECT_EQ(m_tool.Spawn("check @n.db --while-in-use").code, 0);
    EXPECT_EQ(m_tool.Spawn("check @n.db").out.substr(m_tool.Path("n.db").size(), 1), ":");
}

TEST_F(QzdbInUse, ForeignRecoveryFileIsNamed)
{
    // The undo of a writer of another file, as it is while that one writes.
    m_tool.Make("other.db", "list", "three\n");
    {
        QZFileBuffer::AtomicSync = 1;
        QZString path(m_tool.Path("other.db").c_str());
        QZFileBuffer* buffer = QZFileBuffer::Open(&path, 0, 0);
        QZFileBuffer::AtomicSync = 0;
        const std::string bytes(700000, 'x');
        for (int i = 0; i < 5; ++i) buffer->Write(i * 700000, bytes.data(), 700000);
        std::filesystem::copy_file(m_tool.Dir().Path("other.db.undo"), m_tool.Dir().Path("n.db.undo"));
        QZFileBuffer::Close(&buffer);
    }
    const Result result = m_tool.Spawn("export @n.db list");
    EXPECT_EQ(result.code, 0) << result.err;
    EXPECT_EQ(result.out, "one\ntwo\n");
    EXPECT_NE(result.err.find("note:"), std::string::npos) << result.err;
    EXPECT_NE(result.err.find("n.db.undo.put-aside"), std::string::npos) << result.err;
    EXPECT_TRUE(m_tool.Dir().Exists("n.db.undo.put-aside"));
    EXPECT_FALSE(m_tool.Dir().Exists("n.db.undo"));
}

}  // namespace
