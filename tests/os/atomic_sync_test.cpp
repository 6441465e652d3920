// Atomic sync: whichever file operation fails or is short, the file reopens with the content of a completed
// sync.

#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "fw/fw_string.h"
#include "fw/fw_string_factory.h"
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
        // A write that fails may have changed a part of its bytes. Each fault happens once, so the second try
        // changes all of them.
        const auto write = [&] { m_buffer->Write(offset, bytes.data(), static_cast<QZInt64>(bytes.size())); };
        if (!Try(write) && !Try(write)) return;
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

/// Two transactions that do not fit into memory: both overwrite what is there, with runs that lie in two
/// blocks, and append. The first page is changed by the first one only.
void LargeTransactions(Session* session)
{
    if (!session->Open(0)) return;
    for (int round = 0; round < 2; ++round)
    {
        for (const int block : {3, 1, 2, 1, 4})
            session->Write(block * 524288 - 3000, Filled(6000, static_cast<char>('a' + block + round)));
        if (round == 0) session->Write(3, "head");
        session->Sync();
    }
    session->Write(2 * 524288, "last");
    session->Close();
}

/// One sync that appends more than is written twice.
void LargeAppend(Session* session)
{
    if (!session->Open(32 << 20)) return;
    session->Write(100, "small");
    session->Write(20000, Filled(5 << 20, 'z'));
    session->Sync();
    session->Write(6000, "more");
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
        EXPECT_FALSE(dir.Exists("data.undo"));
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

TEST(AtomicSync, EveryFaultOfAnEviction)
{
    ExpectCompleteSyncAtEveryFault(&ManyBlocks, Fault::Fails, "start");
    ExpectCompleteSyncAtEveryFault(&ManyBlocks, Fault::IsShort, "start");
}

TEST(AtomicSync, EveryFaultOfLargeTransactions)
{
    const std::string start = Filled(2 * 524288 + 777, 'o');
    for (const Fault fault : {Fault::Fails, Fault::IsShort, Fault::Dies})
        ExpectCompleteSyncAtEveryFault(&LargeTransactions, fault, start);
    ExpectCompleteSyncAtEveryFault(&LargeTransactions, Fault::Dies, "");
    ExpectCompleteSyncAtEveryFault(&LargeTransactions, Fault::Dies, "short");
}

TEST(AtomicSync, EveryFaultOfALargeAppend)
{
    for (const Fault fault : {Fault::Fails, Fault::IsShort, Fault::Dies})
        ExpectCompleteSyncAtEveryFault(&LargeAppend, fault, Filled(9000, 'o'));
}

TEST(AtomicSync, EveryFaultOfARecovery)
{
    const AtomicSyncOn on;
    const std::string start = Filled(2 * 524288 + 777, 'o');
    int tried = 0;
    // The writer dies at some operation, and the opening that follows at each of its own.
    for (int death = 8; death < 90; death += 7)
    {
        for (int at = 1;; ++at)
        {
            const qztest::TempDir dir;
            Session session(dir);
            session.Start(start);
            {
                const FaultyFiles files(Fault::Dies, death);
                LargeTransactions(&session);
                session.Forget();
            }
            bool reached = false;
            {
                const FaultyFiles files(Fault::Dies, at);
                Session opener(dir);
                opener.Open(0);
                reached = files.Operations() >= at;
                opener.Forget();
            }
            EXPECT_TRUE(session.Allows(session.Reopened())) << "death " << death << ", operation " << at;
            ++tried;
            if (!reached) break;
        }
    }
    EXPECT_GT(tried, 100);
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

/// The layout with which syncs are written now, and that of the undo file.
class RecoveryFiles : public Sidecar
{
protected:
    static std::uint64_t SumOf(const std::string& bytes, std::uint64_t start = 0xCBF29CE484222325u)
    {
        std::uint64_t sum = start;
        const std::string words = Padded(bytes);
        for (std::size_t i = 0; i < words.size(); i += 8)
        {
            std::uint64_t word = 0;
            for (std::size_t k = 8; k-- > 0;) word = word << 8 | static_cast<unsigned char>(words[i + k]);
            sum = (sum ^ word) * 0x100000001B3u;
            sum ^= sum >> 32;
        }
        return sum;
    }

    static std::string Padded(const std::string& bytes)
    {
        return bytes + std::string((8 - bytes.size() % 8) % 8, '\0');
    }

    using Runs = std::vector<std::pair<std::uint64_t, std::string>>;

    /// A sync of the runs for a file with this content.
    static std::string Sync(const std::string& before, const Runs& runs, std::uint64_t salt = 0)
    {
        const std::size_t first = std::min<std::size_t>(4096, before.size());
        const std::size_t last = std::min<std::size_t>(4096, before.size() - first);
        std::string body = Padded(before.substr(0, first)) + Padded(before.substr(before.size() - last));
        for (const auto& [offset, bytes] : runs) body += Word(offset) + Word(bytes.size()) + Padded(bytes);
        const std::string whole = "QZSYNC2\n" + Word(runs.size()) + Word(64 + body.size() + 8) + Word(salt) +
                                  Word(before.size()) + std::string(24, '\0') + body;
        return whole + Word(SumOf(whole));
    }

    /// An undo that goes back to a file with this content, with the images of the runs.
    static std::string Undo(const std::string& before, const Runs& images, std::uint64_t salt = 77)
    {
        std::string first = before.substr(0, 4096);
        first.resize(4096);
        const std::size_t lastPage = before.size() > 4096 ? (before.size() - 1) / 4096 * 4096 : before.size();
        std::string head = "QZUNDO1\n" + Word(salt) + Word(before.size()) + Word(SumOf(first)) +
                           Word(SumOf(before.substr(lastPage))) + Word(0) + Word(0);
        head += Word(SumOf(head));
        for (const auto& [offset, bytes] : images)
        {
            const std::string image = Word(offset) + Word(bytes.size()) + Padded(bytes);
            head += image + Word(SumOf(image, 0xCBF29CE484222325u ^ salt));
        }
        return head;
    }

    std::string Opened(const std::string& content, const std::string& sync, const std::string& undo)
    {
        m_dir.Write("data", content);
        if (!sync.empty()) m_dir.Write("data.sync", sync);
        if (!undo.empty()) m_dir.Write("data.undo", undo);
        const AtomicSyncOn on;
        QZString path(m_dir.Name("data").c_str());
        QZFileBuffer* buffer = QZFileBuffer::Open(&path, 0, 0);
        QZFileBuffer::Close(&buffer);
        EXPECT_FALSE(m_dir.Exists("data.sync"));
        EXPECT_FALSE(m_dir.Exists("data.undo"));
        return m_dir.Read("data");
    }

    static std::string PutAside()
    {
        QZString* text = QZFileBuffer::TakePutAside();
        if (text == nullptr) return "";
        std::string names;
        for (const QZWChar* c = text->GetPointer(); *c != 0; ++c) names += static_cast<char>(*c);
        QZStringFactory::Recycle(&text);
        return names;
    }

    void ExpectPutAside(const std::string& name, const std::string& bytes)
    {
        EXPECT_EQ(PutAside(), m_dir.NarrowName(name));
        EXPECT_EQ(m_dir.Read(name), bytes);
        std::filesystem::remove(m_dir.Path(name));
    }

    std::string m_long = Filled(5000, 'a') + Filled(5000, 'b') + Filled(5000, 'c');
};

TEST_F(RecoveryFiles, SyncIsApplied)
{
    const Runs runs = {{12, "++++++"}, {2, "!"}};
    EXPECT_EQ(Opened("0123456789abcdef", Sync("0123456789abcdef", runs), ""), "01!3456789ab++++++");
    // Half of it is in place.
    EXPECT_EQ(Opened("0123456789ab++++++", Sync("0123456789abcdef", runs), ""), "01!3456789ab++++++");
    EXPECT_EQ(PutAside(), "");
}

TEST_F(RecoveryFiles, SyncOfAnotherFileIsPutAside)
{
    const std::string sync = Sync("0123456789abcdef", {{2, "!"}});
    for (const char* other : {"0123456789abcdeX", "0123456789abcde", "0123456789abcdefg", "X"})
    {
        EXPECT_EQ(Opened(other, sync, ""), other);
        ExpectPutAside("data.sync.put-aside", sync);
    }
    std::string changed = m_long;
    changed[14000] = 'x';
    EXPECT_EQ(Opened(changed, Sync(m_long, {{9000, "new"}}), ""), changed);
    ExpectPutAside("data.sync.put-aside", Sync(m_long, {{9000, "new"}}));
}

TEST_F(RecoveryFiles, FilesThatArePutAsideAreNumbered)
{
    m_dir.Write("data.sync.put-aside", "1");
    m_dir.Write("data.sync.put-aside.2", "2");
    const std::string sync = Sync("0123", {{2, "!"}});
    EXPECT_EQ(Opened("9999", sync, ""), "9999");
    ExpectPutAside("data.sync.put-aside.3", sync);
}

TEST_F(RecoveryFiles, UndoRestoresImagesAndLength)
{
    std::string now = m_long;
    now.replace(4096, 8192, Filled(8192, 'x'));
    now += Filled(20000, 'y');
    const std::string undo =
        Undo(m_long, {{4096, m_long.substr(4096, 4096)}, {8192, m_long.substr(8192, 4096)}});
    EXPECT_EQ(Opened(now, "", undo), m_long);
    // Stale bytes after the last image, and an image that is not whole, end it.
    EXPECT_EQ(Opened(now, "", undo + "stale bytes, more than a head has, 0123456789"), m_long);
    std::string half = m_long;
    half.replace(4096, 4096, Filled(4096, 'x'));
    EXPECT_EQ(Opened(half, "", undo.substr(0, undo.size() - 1)), m_long);
    EXPECT_EQ(PutAside(), "");
}

TEST_F(RecoveryFiles, UndoOfAnEmptyFile)
{
    EXPECT_EQ(Opened(std::string(4096, '\0') + Filled(9000, 'x'), "", Undo("", {})), "");
    EXPECT_EQ(PutAside(), "");
    EXPECT_EQ(Opened("a file of somebody else", "", Undo("", {})), "a file of somebody else");
    ExpectPutAside("data.undo.put-aside", Undo("", {}));
}

TEST_F(RecoveryFiles, UndoOfAnotherFileIsPutAside)
{
    const std::string undo = Undo(m_long, {{8192, m_long.substr(8192, 4096)}});
    for (const std::size_t at : {std::size_t{0}, std::size_t{4095}, m_long.size() - 1})
    {
        std::string other = m_long + "more";
        other[at] = '#';
        EXPECT_EQ(Opened(other, "", undo), other);
        ExpectPutAside("data.undo.put-aside", undo);
    }
    EXPECT_EQ(Opened(m_long.substr(0, 14999), "", undo), m_long.substr(0, 14999));
    ExpectPutAside("data.undo.put-aside", undo);
}

TEST_F(RecoveryFiles, AFileWhoseForeignUndoWasPutAsideIsWrittenAsUsual)
{
    const std::string undo = Undo(m_long, {{8192, m_long.substr(8192, 4096)}});
    for (const QZInt64 length : {QZInt64{10}, QZInt64{3} << 20})
    {
        m_dir.Write("data", Filled(20000, 'z'));
        m_dir.Write("data.undo", undo);
        const std::string bytes = Filled(static_cast<std::size_t>(length), 'n');
        const AtomicSyncOn on;
        QZString path(m_dir.Name("data").c_str());
        QZFileBuffer* buffer = QZFileBuffer::Open(&path, 0, 0);
        ExpectPutAside("data.undo.put-aside", undo);
        // The longer one does not fit into memory.
        buffer->Write(100, bytes.data(), length);
        buffer->Sync();
        QZFileBuffer::Close(&buffer);
        const std::string found = m_dir.Read("data");
        EXPECT_EQ(found.substr(0, 100), Filled(100, 'z'));
        EXPECT_EQ(found.substr(100, bytes.size()), bytes);
        EXPECT_FALSE(m_dir.Exists("data.undo"));
    }
}

TEST_F(RecoveryFiles, SyncThatNamesTheUndoEndsIt)
{
    std::string now = m_long;
    now.replace(8192, 4096, Filled(4096, 'x'));
    const std::string undo = Undo(m_long, {{8192, m_long.substr(8192, 4096)}}, 77);
    std::string after = now;
    after.replace(1, 3, "end");
    EXPECT_EQ(Opened(now, Sync(now, {{1, "end"}}, 77), undo), after);
    // The sync before the undo does not count any more.
    EXPECT_EQ(Opened(now, Sync(m_long, {{1, "end"}}, 76), undo), m_long);
    EXPECT_EQ(Opened(now, Sync(m_long, {{1, "end"}}, 0), undo), m_long);
    EXPECT_EQ(PutAside(), "");
}

TEST_F(RecoveryFiles, CraftedFilesNeitherHangNorGrow)
{
    // 120 bytes with 2^62 runs, of which all seem to have 0 bytes.
    std::string endless = "QZSYNC1\n" + Word(1ull << 62) + Word(120) + std::string(88, '\0');
    endless += Word(SumOf(endless));
    ASSERT_EQ(endless.size(), 120u);
    EXPECT_EQ(Opened("0123", endless, ""), "0123");
    ExpectPutAside("data.sync.put-aside", endless);
    for (const std::uint64_t offset : {1ull << 40, 1ull << 62, ~0ull, ~0ull >> 1, ~0ull - 3})
    {
        std::string older =
            "QZSYNC1\n" + Word(1) + Word(64) + Word(0) + Word(offset) + Word(4) + Padded("WXYZ");
        older += Word(SumOf(older));
        for (const std::string& sync : {older, Sync("0123", {{offset, "WXYZ"}})})
        {
            EXPECT_EQ(Opened("0123", sync, ""), "0123") << offset;
            ExpectPutAside("data.sync.put-aside", sync);
        }
        // A run of this size, and an image at this place.
        std::string size = "QZSYNC2\n" + Word(1) + Word(96) + Word(0) + Word(4) + std::string(24, '\0') +
                           Padded("0123") + Word(0) + Word(offset);
        size += Word(SumOf(size));
        EXPECT_EQ(Opened("0123", size, ""), "0123") << offset;
        ExpectPutAside("data.sync.put-aside", size);
        const std::string undo = Undo(m_long, {{offset, Filled(4096, 'x')}});
        EXPECT_EQ(Opened(m_long, "", undo), m_long) << offset;
        ExpectPutAside("data.undo.put-aside", undo);
    }
    // An undo that says that the file was larger does not make it larger.
    std::string larger = "QZUNDO1\n" + Word(5) + Word(1ull << 40) + std::string(32, '\0');
    larger += Word(SumOf(larger));
    EXPECT_EQ(Opened("0123", "", larger), "0123");
    ExpectPutAside("data.undo.put-aside", larger);
}

TEST_F(RecoveryFiles, DamagedUndoIsDiscarded)
{
    const std::string undo = Undo(m_long, {{8192, m_long.substr(8192, 4096)}});
    for (std::size_t at = 0; at < 64; ++at)
    {
        std::string damaged = undo;
        damaged[at] = static_cast<char>(damaged[at] ^ 4);
        EXPECT_EQ(Opened(m_long + "x", "", damaged), m_long + "x") << at;
    }
    EXPECT_EQ(PutAside(), "");
}

TEST_F(RecoveryFiles, BytesOfTheUndoOfAWriter)
{
    m_dir.Write("data", m_long);
    const AtomicSyncOn on;
    QZString path(m_dir.Name("data").c_str());
    QZFileBuffer* buffer = QZFileBuffer::Open(&path, 0, 0);
    buffer->Write(9000, "####", 4);
    buffer->Write(10, "first", 5);
    // Two more blocks, so that the first one leaves memory.
    buffer->Write(600000, "2", 1);
    buffer->Write(1200000, "3", 1);
    const std::string undo = m_dir.Read("data.undo");
    const std::uint64_t salt = [&undo] {
        std::uint64_t word = 0;
        for (std::size_t k = 8; k-- > 0;) word = word << 8 | static_cast<unsigned char>(undo[8 + k]);
        return word;
    }();
    EXPECT_EQ(undo, Undo(m_long, {{8192, m_long.substr(8192, 4096)}}, salt));
    // The changed page is in place; the first page is not.
    std::string now = m_long;
    now.replace(9000, 4, "####");
    EXPECT_EQ(m_dir.Read("data").substr(0, m_long.size()), now);
    // Reads find the first page as it was written.
    char bytes[5] = {};
    buffer->Read(10, bytes, 5);
    EXPECT_EQ(std::string(bytes, 5), "first");
    buffer->Sync();
    EXPECT_EQ(m_dir.Read("data").substr(10, 5), "first");
    EXPECT_EQ(m_dir.Read("data.undo").substr(0, 32), std::string(32, '\0'));
    QZFileBuffer::Close(&buffer);
    EXPECT_FALSE(m_dir.Exists("data.undo"));
}

TEST_F(RecoveryFiles, ReaderRecoversFirst)
{
    QZFileBuffer::ReadOnly = 1;
    m_dir.Write("data", m_long + "not synced");
    m_dir.Write("data.undo", Undo(m_long, {}));
    QZString path(m_dir.Name("data").c_str());
    QZFileBuffer* reader = QZFileBuffer::Open(&path, 0, 0);
    EXPECT_EQ(reader->GetFileSize(), static_cast<QZInt64>(m_long.size()));
    QZFileBuffer::Close(&reader);
    QZFileBuffer::ReadOnly = 0;
    EXPECT_EQ(m_dir.Read("data"), m_long);
    EXPECT_FALSE(m_dir.Exists("data.undo"));
    EXPECT_FALSE(m_dir.Exists("data.sync"));
}
}  // namespace
