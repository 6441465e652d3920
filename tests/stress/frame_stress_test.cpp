#include <atomic>
#include <cstring>
#include <thread>
#include <vector>

#include "fw/fw_collection.h"
#include "fw/fw_data.h"
#include "fw/fw_data_factory.h"
#include "fw/fw_environment.h"
#include "fw/fw_library.h"
#include "fw/fw_memory.h"
#include "fw/fw_string_factory.h"
#include "fw/fw_trace.h"
#include "os/os_thread.h"
#include "support/qz_test.h"

// Many threads at once on what the library promises to be safe between threads: caches, buffers, the pool,
// exceptions and their factory, collections of caches, the library's own threads. Run under ThreadSanitizer
// as well.

namespace
{
constexpr int kThreads = 4;
constexpr int kRounds = 400;

template <typename Body>
void OnAllThreads(Body body)
{
    std::vector<std::thread> threads;
    for (int i = 0; i < kThreads; ++i) threads.emplace_back(body, i);
    for (std::thread& thread : threads) thread.join();
}

/// A hand-over place: what one thread made another one frees.
class Exchange
{
public:
    void* Swap(int slot, void* p) { return m_slots[slot].exchange(p, std::memory_order_acq_rel); }
    static constexpr int kSlots = 16;

private:
    std::atomic<void*> m_slots[kSlots] = {};
};

void ChurnBuffers()
{
    static Exchange exchange;
    OnAllThreads([](int thread) {
        for (int i = 0; i < kRounds; ++i)
        {
            QZInt64 size = (i * 977 + thread * 131) % 20000;
            void* mine = MemoryAllocateClean(size);
            ASSERT_NE(mine, nullptr);
            if (size > 0) std::memset(mine, thread, static_cast<std::size_t>(size));
            mine = MemoryResize(mine, size * 2 + 1);
            void* other = exchange.Swap(i % Exchange::kSlots, mine);
            if (other)
            {
                ASSERT_GE(MemoryGetSize(other), 1);
                ASSERT_TRUE(MemoryFree(other));
            }
        }
    });
    for (int i = 0; i < Exchange::kSlots; ++i)
    {
        void* rest = exchange.Swap(i, nullptr);
        if (rest) MemoryFree(rest);
    }
}

TEST(FrameStress, BuffersPassBetweenThreads) { ChurnBuffers(); }

TEST(FrameStress, PooledBuffersPassBetweenThreads)
{
    QZEnvironment::UseMemPoolCache = 1;
    ChurnBuffers();
    QZEnvironment::UseMemPoolCache = 0;
    QZMemManager::SetMemPoolCacheLayer2ArrSizeMax(512);
}

TEST(FrameStress, CachedObjectsPassBetweenThreadsWhileOthersCollect)
{
    static Exchange exchange;
    OnAllThreads([](int thread) {
        for (int i = 0; i < kRounds; ++i)
        {
            QZString* text = QZStringFactory::CreateString(QZ_W("text "));
            text->Append(QZInt64{thread * 1000 + i});
            QZData* data = QZDataFactory::CreateData();
            data->Append(&i, sizeof(i));
            QZDataFactory::Recycle(&data);
            QZString* other = static_cast<QZString*>(exchange.Swap(i % Exchange::kSlots, text));
            if (other)
            {
                ASSERT_TRUE(other->StartsWith(QZ_W("text ")));
                QZStringFactory::Recycle(&other);
            }
            if (i % 50 == 0) QZLibCollect(static_cast<QZBool>(i % 100 == 0));
        }
    });
    for (int i = 0; i < Exchange::kSlots; ++i)
    {
        QZString* rest = static_cast<QZString*>(exchange.Swap(i, nullptr));
        if (rest) QZStringFactory::Recycle(&rest);
    }
}

TEST(FrameStress, ExceptionsFlyOnEveryThread)
{
    OnAllThreads([](int thread) {
        for (int i = 0; i < kRounds; ++i)
        {
            try
            {
                throw QZTrace(QZExceptionFactory::CreateIOException(0x1000), QZ_W("Stress"), QZ_W("Fly"))
                    .Argument(QZ_W("int"), thread)
                    .Exception();
            }
            catch (QZException* e)
            {
                ASSERT_EQ(e->GetCode(), 0x1000);
                QZExceptionFactory::Recycle(&e);
            }
        }
    });
}

std::atomic<int> g_ran{0};
void CountRun() { g_ran.fetch_add(1, std::memory_order_relaxed); }

TEST(FrameStress, LibraryThreadsComeAndGo)
{
    g_ran = 0;
    OnAllThreads([](int) {
        for (int i = 0; i < 25; ++i)
        {
            QZInt64 handle = QZThread::Create(&CountRun);
            ASSERT_NE(handle, 0);
            QZThread::Close(handle);
        }
    });
    QZThread::WaitForThreadsEnd();
    EXPECT_EQ(g_ran, kThreads * 25);
}

TEST(FrameStress, OneCriticalSectionOneOwner)
{
    QZCriticalSection section;
    QZMutex mutex;
    QZInt64 guarded = 0;
    OnAllThreads([&](int) {
        for (int i = 0; i < kRounds; ++i)
        {
            section.Lock();
            section.Lock();
            ++guarded;
            section.Unlock();
            section.Unlock();
            mutex.Lock();
            mutex.Unlock();
        }
    });
    EXPECT_EQ(guarded, kThreads * kRounds);
}
}  // namespace
