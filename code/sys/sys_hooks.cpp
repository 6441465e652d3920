#include "sys/internal/sys_hooks.h"
#include "sys/internal/sys_error.h"

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
    // A hook can only shorten a transfer.
    if (size != nullptr && allowed >= 0 && allowed < asked) *size = allowed;
    return true;
}

void NotifyHooked(Event event, QZInt64 value)
{
    const TestHooks* hooks = g_testHooks.load(std::memory_order_acquire);
    if (hooks != nullptr && hooks->Notify != nullptr) hooks->Notify(hooks->Context, event, value);
}

void ChangedHooked(const FileEvent& event)
{
    const TestHooks* hooks = g_testHooks.load(std::memory_order_acquire);
    if (hooks != nullptr && hooks->Changed != nullptr) hooks->Changed(hooks->Context, event);
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

}  // namespace os
