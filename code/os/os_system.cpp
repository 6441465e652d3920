#include "os/os_system.h"

namespace os
{

std::atomic<const TestHooks*> g_testHooks{nullptr};

void SetTestHooks(const TestHooks* hooks) { g_testHooks.store(hooks, std::memory_order_release); }

bool GateHooked(Op operation, QZInt64* size)
{
    const TestHooks* hooks = g_testHooks.load(std::memory_order_acquire);
    if (hooks == nullptr || hooks->Gate == nullptr) return true;
    QZUInt32 error = 0;
    QZInt64 asked = size != nullptr ? *size : 0;
    QZInt64 allowed = asked;
    if (!hooks->Gate(hooks->Context, operation, size != nullptr ? &allowed : nullptr, &error))
    {
        SetLastError(error);
        return false;
    }
    // A hook makes an operation shorter, never longer than the caller's buffer.
    if (size != nullptr && allowed >= 0 && allowed < asked) *size = allowed;
    return true;
}

void NotifyHooked(Event event, QZInt64 value)
{
    const TestHooks* hooks = g_testHooks.load(std::memory_order_acquire);
    if (hooks != nullptr && hooks->Notify != nullptr) hooks->Notify(hooks->Context, event, value);
}

bool ClockHooked(QZInt64* timestamp)
{
    const TestHooks* hooks = g_testHooks.load(std::memory_order_acquire);
    if (hooks == nullptr || hooks->Clock == nullptr) return false;
    *timestamp = hooks->Clock(hooks->Context);
    return true;
}

bool SetTimeHooked(const DateTime& time, bool* done)
{
    const TestHooks* hooks = g_testHooks.load(std::memory_order_acquire);
    if (hooks == nullptr || hooks->SetTime == nullptr) return false;
    *done = hooks->SetTime(hooks->Context, time);
    return true;
}

Line* OpenLineHooked(const QZWChar* path)
{
    const TestHooks* hooks = g_testHooks.load(std::memory_order_acquire);
    return hooks != nullptr && hooks->OpenLine != nullptr ? hooks->OpenLine(hooks->Context, path) : nullptr;
}

// ---- Serial lines

Line* LineOpen(const QZWChar* path)
{
    if (!Gate(Op::Line)) return nullptr;
    if (g_testHooks.load(std::memory_order_relaxed) != nullptr)
    {
        if (Line* line = OpenLineHooked(path)) return line;
    }
    return SystemLineOpen(path);
}

bool LineSetup(Line* line, QZInt64 speed) { return Gate(Op::Line) && line->Setup(speed); }

bool LineSetSpeed(Line* line, QZInt64 speed) { return Gate(Op::Line) && line->SetSpeed(speed); }

bool LineWatchInput(Line* line) { return Gate(Op::Line) && line->WatchInput(); }

bool LineQueued(Line* line, QZInt64* count) { return Gate(Op::Line) && line->Queued(count); }

LineResult LineRead(Line* line, void* buffer, QZInt64 size, QZInt64 milliseconds, QZInt64* count)
{
    QZInt64 wanted = size;
    if (!Gate(Op::LineRead, &wanted)) return LineResult::Failed;
    return line->Read(buffer, wanted, milliseconds, count);
}

LineResult LineWrite(Line* line, const void* buffer, QZInt64 size, QZInt64 milliseconds, QZInt64* count)
{
    QZInt64 wanted = size;
    if (!Gate(Op::LineWrite, &wanted)) return LineResult::Failed;
    return line->Write(buffer, wanted, milliseconds, count);
}

}  // namespace os
