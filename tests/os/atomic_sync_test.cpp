// Atomic sync: whichever file operation fails or is short, the file reopens with the content of a completed
// sync.

#include <gtest/gtest.h>

#include <algorithm>
#include <set>
#include <string>

#include "fw/fw_string.h"
#include "os/os_file_buffer.h"
#include "support/qz_hooks.h"
#include "support/qz_test.h"
#include "sys/internal/sys_hooks.h"

namespace
{
/// What happens to the n-th file operation. Operations of all kinds are counted together, from 1.
enum class Fault
{
    None,
    Fails,
    IsShort,
    /// It and every later one fail, so the files are left as by a process that dies at this operation.
    Dies
};

class FaultyFiles
{
public:
    FaultyFiles(Fault fault, int at) : m_fault(fault), m_at(at), m_table{this, nullptr, &Gate, nullptr}
    {
        os::SetTestHooks(&m_table);
    }
    ~FaultyFiles() { os::SetTestHooks(nullptr); }
    FaultyFiles(const FaultyFiles&) = delete;
    FaultyFiles& operator=(const FaultyFiles&) = delete;

    int Operations() const { return m_count; }

private:
    static bool Gate(void* context, os::Op operation, QZInt64* size, QZUInt32* error)
    {
        static const std::set<os::Op> kFileOperations = {os::Op::FileOpen,  os::Op::FileRead,
                                                         os::Op::FileWrite, os::Op::FileSize,
                                                         os::Op::FileSync,  os::Op::FileName};
        auto* self = static_cast<FaultyFiles*>(context);
        if (!kFileOperations.contains(operation)) return true;
        const int count = ++self->m_count;
        const bool hit = count == self->m_at || (count > self->m_at && self->m_fault == Fault::Dies);
        if (!hit || self->m_fault == Fault::None) return true;
        if (self->m_fault == Fault::IsShort)
        {
            if (size != nullptr && *size > 1) *size /= 2;
            return true;
        }
        *error = 5;
        return false;
    }

    Fault m_fault;
    int m_at;
    os::TestHooks m_table;
    int m_count = 0;
};

class AtomicSyncOn
{
public:
    AtomicSyncOn() { QZFileBuffer::AtomicSync = 1; }
    ~AtomicSyncOn() { QZFileBuffer::AtomicSync = 0; }
};

/// A file, its buffer, and the contents that the file may have after a fault.
class Session
{
public:
    explicit Session(const qztest::TempDir& dir) : m_dir(dir), m_path(dir.Name("data").c_str()) {}

    ~Session() { Forget(); }

    bool Open(QZInt64 limit)
    {
        return Try([&] { m_buffer = QZFileBuffer::Open(&m_path, limit, 524288); });
    }

    void Write(QZInt64 offset, const std::string& bytes)
    {
        if (m_buffer == nullptr) return;
        const auto at = static_cast<std::size_t>(offset);
        // The write may evict a block, which syncs before the new bytes are in the buffer; a write that fails
        // may have done so too.
        m_allowed.insert(HashOf(m_now));
        if (!Try([&] { m_buffer->Write(offset, bytes.data(), static_cast<QZInt64>(bytes.size())); })) return;
        if (m_now.size() < at + bytes.size()) m_now.resize(at + bytes.size(), '\0');
        m_now.replace(at, bytes.size(), bytes);
    }

    void Sync()
    {
        if (m_buffer == nullptr) return;
        m_allowed.insert(HashOf(m_now));
        if (Try([&] { m_buffer->Sync(); })) m_allowed = {HashOf(m_now)};
    }

    void Close()
    {
        if (m_buffer == nullptr) return;
        m_allowed.insert(HashOf(m_now));
        if (Try([&] { QZFileBuffer::Close(&m_buffer); })) m_allowed = {HashOf(m_now)};
        m_buffer = nullptr;
    }

    /// Closes the buffer and ignores failures, as if the process had died.
    void Forget()
    {
        if (m_buffer != nullptr) Try([&] { QZFileBuffer::Close(&m_buffer); });
        m_buffer = nullptr;
    }

    /// Opens and closes the file as the next process would; returns its content.
    std::string Reopened()
    {
        QZFileBuffer* buffer = QZFileBuffer::Open(&m_path, 0, 0);
        QZFileBuffer::Close(&buffer);
        return m_dir.Read("data");
    }

    bool Allows(const std::string& content) const { return m_allowed.contains(HashOf(content)); }
    void Start(const std::string& content)
    {
        m_dir.Write("data", content);
        m_now = content;
        m_allowed = {HashOf(content)};
    }

private:
    static std::size_t HashOf(const std::string& content) { return std::hash<std::string>()(content); }

    template <typename Step>
    static bool Try(Step step)
    {
        try
        {
            step();
            return true;
        }
        catch (QZException* e)
        {
            QZExceptionFactory::Recycle(&e);
            return false;
        }
    }

    const qztest::TempDir& m_dir;
    QZString m_path;
    QZFileBuffer* m_buffer = nullptr;
    std::string m_now;
    std::set<std::size_t> m_allowed;
};

std::string Filled(std::size_t size, char letter) { return std::string(size, letter); }

void FewChanges(Session* session)
{
    if (!session->Open(0)) return;
    session->Write(100, "first");
    session->Write(20000, Filled(9000, 'b'));
    session->Sync();
    session->Write(102, "RST and more");
    session->Write(600000, Filled(5000, 'c'));
    session->Sync();
    session->Write(0, "z");
    session->Write(601000, "dd");
    session->Close();
}

/// Writes to more blocks than the memory limit allows.
void ManyBlocks(Session* session)
{
    if (!session->Open(0)) return;
    for (const int block : {0, 1, 2, 0})
        session->Write(block * 524288 + 1000, Filled(300, static_cast<char>('a' + block)));
    session->Close();
}

void ExpectCompleteSyncAtEveryFault(void (*work)(Session*), Fault fault, const std::string& start)
{
    const AtomicSyncOn on;
    int operations = 0;
    {
        const qztest::TempDir dir;
        Session session(dir);
        session.Start(start);
        const FaultyFiles files(Fault::None, 0);
        work(&session);
        operations = files.Operations();
    }
    ASSERT_GT(operations, 20);
    for (int at = 1; at <= operations; ++at)
    {
        const qztest::TempDir dir;
        Session session(dir);
        session.Start(start);
        {
            const FaultyFiles files(fault, at);
            work(&session);
            session.Forget();
        }
        const std::string content = session.Reopened();
        EXPECT_TRUE(session.Allows(content)) << "operation " << at << " of " << operations;
        EXPECT_FALSE(dir.Exists("data.sync"));
    }
}

TEST(AtomicSync, FailedOperationLeavesACompleteSync)
{
    ExpectCompleteSyncAtEveryFault(&FewChanges, Fault::Fails, Filled(30000, 'a'));
}

TEST(AtomicSync, ShortOperationLeavesACompleteSync)
{
    ExpectCompleteSyncAtEveryFault(&FewChanges, Fault::IsShort, Filled(30000, 'a'));
}

TEST(AtomicSync, DyingAtAnyOperationLeavesACompleteSync)
{
    ExpectCompleteSyncAtEveryFault(&FewChanges, Fault::Dies, Filled(30000, 'a'));
    ExpectCompleteSyncAtEveryFault(&FewChanges, Fault::Dies, "");
}

TEST(AtomicSync, EvictionLeavesACompleteSync)
{
    ExpectCompleteSyncAtEveryFault(&ManyBlocks, Fault::Dies, "start");
}

/// The second file of an atomic sync, data.sync, byte by byte as in docs/database-file.md.
class Sidecar : public ::testing::Test
{
protected:
    static std::string Word(std::uint64_t word)
    {
        std::string bytes;
        for (int i = 0; i < 8; ++i) bytes += static_cast<char>(word >> (8 * i) & 0xFF);
        return bytes;
    }

    static std::string WithChecksum(const std::string& bytes)
    {
        std::uint64_t sum = 0xCBF29CE484222325u;
        for (std::size_t i = 0; i < bytes.size(); i += 8)
        {
            std::uint64_t word = 0;
            for (std::size_t k = 8; k-- > 0;) word = word << 8 | static_cast<unsigned char>(bytes[i + k]);
            sum = (sum ^ word) * 0x100000001B3u;
            sum ^= sum >> 32;
        }
        return bytes + Word(sum);
    }

    static std::string Complete()
    {
        return WithChecksum("QZSYNC1\n" + Word(2) + Word(88) + Word(0) + Word(10) + Word(4) +
                            std::string("WXYZ\0\0\0\0", 8) + Word(2) + Word(1) +
                            std::string("!\0\0\0\0\0\0\0", 8));
    }

    std::string OpenedWith(const std::string& sidecar)
    {
        m_dir.Write("data", m_content);
        m_dir.Write("data.sync", sidecar);
        const AtomicSyncOn on;
        QZString path(m_dir.Name("data").c_str());
        QZFileBuffer* buffer = QZFileBuffer::Open(&path, 0, 0);
        QZFileBuffer::Close(&buffer);
        EXPECT_FALSE(m_dir.Exists("data.sync"));
        return m_dir.Read("data");
    }

    qztest::TempDir m_dir;
    std::string m_content = "0123456789abcdef";
};

TEST_F(Sidecar, CompleteSidecarIsApplied) { EXPECT_EQ(OpenedWith(Complete()), "01!3456789WXYZef"); }

TEST_F(Sidecar, BytesAfterTheChecksumAreIgnored)
{
    EXPECT_EQ(OpenedWith(Complete() + "rest of a longer one"), "01!3456789WXYZef");
}

TEST_F(Sidecar, TruncatedSidecarIsDiscarded)
{
    const std::string complete = Complete();
    for (std::size_t size = 0; size < complete.size(); ++size)
        EXPECT_EQ(OpenedWith(complete.substr(0, size)), m_content) << size;
}

TEST_F(Sidecar, SidecarWithAChangedByteIsDiscarded)
{
    const std::string complete = Complete();
    for (std::size_t at = 0; at < complete.size(); ++at)
    {
        std::string changed = complete;
        changed[at] = static_cast<char>(changed[at] ^ 0x10);
        EXPECT_EQ(OpenedWith(changed), m_content) << at;
    }
}

TEST_F(Sidecar, SidecarOfAnEmptyFileIsDiscarded)
{
    m_content = "";
    EXPECT_EQ(OpenedWith(Complete()), "");
}

TEST_F(Sidecar, SidecarIsIgnoredByDefault)
{
    m_dir.Write("data", m_content);
    m_dir.Write("data.sync", Complete());
    QZString path(m_dir.Name("data").c_str());
    QZFileBuffer* buffer = QZFileBuffer::Open(&path, 0, 0);
    buffer->Write(0, "#", 1);
    buffer->Sync();
    QZFileBuffer::Close(&buffer);
    EXPECT_EQ(m_dir.Read("data"), "#123456789abcdef");
    EXPECT_EQ(m_dir.Read("data.sync"), Complete());
}

TEST_F(Sidecar, SidecarExistsWhileTheFileIsOpenAndIsClearedBySync)
{
    m_dir.Write("data", m_content);
    const AtomicSyncOn on;
    QZString path(m_dir.Name("data").c_str());
    QZFileBuffer* buffer = QZFileBuffer::Open(&path, 0, 0);
    buffer->Write(3, "ttt", 3);
    EXPECT_EQ(m_dir.Read("data"), m_content);
    buffer->Sync();
    EXPECT_EQ(m_dir.Read("data"), "012ttt6789abcdef");
    const std::string left = m_dir.Read("data.sync");
    EXPECT_EQ(left.substr(0, 32), std::string(32, '\0'));
    QZFileBuffer::Close(&buffer);
    EXPECT_FALSE(m_dir.Exists("data.sync"));
}
}  // namespace
