// The parts of the framework that any thread may call, called by several threads at once. The tests are short
// enough for every run; under ThreadSanitizer they show data races.

#include <atomic>
#include <barrier>
#include <cstring>
#include <mutex>
#include <thread>
#include <vector>

#include "fw/fw_data.h"
#include "fw/fw_data_factory.h"
#include "fw/fw_environment.h"
#include "fw/fw_exception_code.h"
#include "fw/fw_lock.h"
#include "fw/fw_memory.h"
#include "fw/fw_string.h"
#include "fw/fw_string_factory.h"
#include "net/net_json.h"
#include "os/os_thread.h"
#include "support/qz_test.h"

namespace
{
constexpr int kThreads = 4;

/// Runs work(index) on four threads that start together.
template <typename Work>
void OnAllThreads(Work work)
{
    std::barrier start(kThreads);
    std::vector<std::thread> threads;
    for (int i = 0; i < kThreads; ++i)
    {
        threads.emplace_back([&start, &work, i] {
            start.arrive_and_wait();
            work(i);
        });
    }
    for (std::thread& thread : threads) thread.join();
}

/// Fills blocks of many sizes, keeps them for a while and counts those that changed before their release.
int CountChangedBlocks(int thread)
{
    struct Block
    {
        unsigned char* bytes = nullptr;
        std::size_t size = 0;
    };
    Block kept[16];
    int changed = 0;
    const int fill = 0x41 + thread;
    auto release = [&changed, fill](Block& block) {
        if (block.bytes == nullptr) return;
        for (std::size_t i = 0; i < block.size; ++i)
        {
            if (block.bytes[i] == fill) continue;
            ++changed;
            break;
        }
        QZMemory::RecycleBuffer(block.bytes);
        block = {};
    };
    for (int round = 0; round < 400; ++round)
    {
        Block& block = kept[round % 16];
        release(block);
        block.size = static_cast<std::size_t>(1 + (round * 37 + thread * 11) % 3000);
        block.bytes = static_cast<unsigned char*>(QZMemory::CreateBuffer(static_cast<QZInt64>(block.size)));
        std::memset(block.bytes, fill, block.size);
    }
    for (Block& block : kept) release(block);
    return changed;
}

TEST(FrameStress, BuffersOfDifferentThreadsDoNotOverlap)
{
    std::atomic<int> changed = 0;
    OnAllThreads([&changed](int thread) { changed += CountChangedBlocks(thread); });
    EXPECT_EQ(changed, 0);
}

TEST(FrameStress, PooledBuffersOfDifferentThreadsDoNotOverlap)
{
    QZEnvironment::UseMemPoolCache = 1;
    std::atomic<int> changed = 0;
    OnAllThreads([&changed](int thread) { changed += CountChangedBlocks(thread); });
    QZEnvironment::UseMemPoolCache = 0;
    EXPECT_EQ(changed, 0);
}

TEST(FrameStress, FactoryNeverGivesAnObjectToTwoThreads)
{
    std::atomic<int> wrong = 0;
    std::atomic<bool> ended = false;
    std::thread collector([&ended] {
        while (!ended)
        {
            QZStringFactory::Collect(1);
            QZDataFactory::Collect(1);
            std::this_thread::yield();
        }
    });
    OnAllThreads([&wrong](int thread) {
        const std::string expected(static_cast<std::size_t>(thread + 3), static_cast<char>('a' + thread));
        for (int round = 0; round < 300; ++round)
        {
            QZString* text = QZStringFactory::CreateString(expected.c_str());
            QZData* data = QZDataFactory::CreateData();
            data->Append(expected.data(), static_cast<QZInt64>(expected.size()));
            if (qztest::Utf8(text) != expected) ++wrong;
            if (data->GetSize() != static_cast<QZInt64>(expected.size())) ++wrong;
            if (std::memcmp(data->GetPointer(), expected.data(), expected.size()) != 0) ++wrong;
            QZDataFactory::Recycle(&data);
            QZStringFactory::Recycle(&text);
        }
    });
    ended = true;
    collector.join();
    EXPECT_EQ(wrong, 0);
}

TEST(FrameStress, ObjectMayBeRecycledOnAnotherThread)
{
    std::mutex lock;
    std::vector<QZString*> passed;
    int taken = 0;
    OnAllThreads([&](int thread) {
        for (int round = 0; round < 300; ++round)
        {
            if (thread % 2 == 0)
            {
                QZString* text = QZStringFactory::CreateString("passed on");
                std::lock_guard<std::mutex> guard(lock);
                passed.push_back(text);
            }
            else
            {
                QZString* text = nullptr;
                {
                    std::lock_guard<std::mutex> guard(lock);
                    if (passed.empty()) continue;
                    text = passed.back();
                    passed.pop_back();
                    ++taken;
                }
                QZStringFactory::Recycle(&text);
            }
        }
    });
    const int left = static_cast<int>(passed.size());
    for (QZString* text : passed)
    {
        EXPECT_QZ_TEXT(text, "passed on");
        QZStringFactory::Recycle(&text);
    }
    EXPECT_EQ(taken + left, kThreads / 2 * 300);
}

TEST(FrameStress, ExceptionsAreCreatedAndRecycledOnEveryThread)
{
    std::atomic<int> right = 0;
    OnAllThreads([&right](int) {
        for (int round = 0; round < 100; ++round)
        {
            const qztest::Thrown thrown =
                QZ_TEST_CATCH(throw QZExceptionFactory::CreateIOException(QZIOExceptionCode::FileNotFound));
            if (thrown.code == 0x1000 && thrown.message == " File Not Found") ++right;
        }
    });
    EXPECT_EQ(right, kThreads * 100);
}

TEST(FrameStress, MutexAndCriticalSectionAdmitOneThread)
{
    QZMutex mutex;
    QZCriticalSection section;
    int underMutex = 0;
    int underSection = 0;
    OnAllThreads([&](int) {
        for (int round = 0; round < 500; ++round)
        {
            mutex.Lock();
            ++underMutex;
            mutex.Unlock();
            section.Lock();
            section.Lock();
            ++underSection;
            section.Unlock();
            section.Unlock();
        }
    });
    EXPECT_EQ(underMutex, kThreads * 500);
    EXPECT_EQ(underSection, kThreads * 500);
}

TEST(FrameStress, ReadersOfOneJsonValueGetTheSameString)
{
    for (int round = 0; round < 20; ++round)
    {
        QZString text(R"({"name":"a text of some length","number":2.5})");
        QZJsonValue* value = QZJsonFactory::DeserializeObject(&text);
        auto* object = static_cast<QZJsonObject*>(value);
        std::atomic<int> right = 0;
        OnAllThreads([&](int) {
            if (object->GetAttrValue(0)->Val()->Equals("a text of some length") &&
                object->GetAttrName(1)->Equals("number") &&
                object->GetAttrValue(1)->Val() == object->GetAttrValue(1)->Val())
                ++right;
        });
        EXPECT_EQ(right, kThreads);
        QZJsonFactory::Recycle(&value);
    }
}

std::atomic<int> g_ran = 0;

TEST(FrameStress, ThreadsCreatedOnManyThreadsAllRun)
{
    g_ran = 0;
    OnAllThreads([](int) {
        for (int round = 0; round < 10; ++round)
        {
            const long long handle = QZThread::Create(+[] { ++g_ran; });
            ASSERT_NE(handle, 0);
            QZThread::Close(handle);
        }
    });
    // A thread is counted only when it has begun to run, so waiting for the end of all threads is not enough.
    for (int wait = 0; wait < 10000 && g_ran < kThreads * 10; ++wait) QZThread::Sleep(1);
    EXPECT_EQ(g_ran, kThreads * 10);
    QZThread::WaitForThreadsEnd();
}
}  // namespace
