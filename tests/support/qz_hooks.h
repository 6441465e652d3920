#ifndef QZLIB_TESTS_SUPPORT_QZ_HOOKS_H
#define QZLIB_TESTS_SUPPORT_QZ_HOOKS_H

/// A table of platform hooks that is active within a scope. It injects failures, shortens transfers, stops
/// the clock and records the calls to the platform.

#include <functional>
#include <map>
#include <mutex>
#include <thread>
#include <utility>
#include <vector>

#include "sys/internal/sys_clock.h"
#include "sys/internal/sys_hooks.h"
#include "sys/internal/sys_line.h"
#include "sys/internal/sys_thread.h"

namespace qztest
{

class Hooks
{
public:
    Hooks() : m_table{this, nullptr, &Hooks::OnGate, &Hooks::OnNotify, &Hooks::OnSetTime, nullptr}
    {
        os::SetTestHooks(&m_table);
    }
    ~Hooks() { os::SetTestHooks(nullptr); }
    Hooks(const Hooks&) = delete;
    Hooks& operator=(const Hooks&) = delete;

    /// Makes the n-th operation of this kind on this thread fail with the error number (1 is the next one);
    /// with `always`, also all operations after it.
    void Fail(os::Op operation, QZUInt32 error, int n = 1, bool always = false)
    {
        std::lock_guard<std::mutex> guard(m_lock);
        m_rules[operation] = {n, error, -1, always};
    }

    /// Makes the n-th operation of this kind on this thread transfer at most this many bytes.
    void Shorten(os::Op operation, QZInt64 size, int n = 1)
    {
        std::lock_guard<std::mutex> guard(m_lock);
        m_rules[operation] = {n, 0, size, false};
    }

    void Release(os::Op operation)
    {
        std::lock_guard<std::mutex> guard(m_lock);
        m_rules.erase(operation);
    }

    /// Stops the clock at this time until the next call.
    void SetClock(QZInt64 timestamp)
    {
        m_clock = timestamp;
        m_table.Clock = &Hooks::OnClock;
    }

    /// Sets the function that opens serial lines by path. If it returns null, the system opens the line.
    void SetOpenLine(std::function<os::Line*(const QZWChar*)> open)
    {
        m_openLine = std::move(open);
        m_table.OpenLine = &Hooks::OnOpenLine;
    }

    /// Returns the time that the system clock was last asked to take; hooks never change the clock itself.
    os::DateTime TimeSet() const { return m_timeSet; }

    /// Returns the events that this thread passed to the platform, in order.
    std::vector<std::pair<os::Event, QZInt64>> Events()
    {
        std::lock_guard<std::mutex> guard(m_lock);
        return m_events;
    }

    int Count(os::Event event)
    {
        int count = 0;
        for (const auto& [kind, value] : Events()) count += kind == event;
        return count;
    }

private:
    struct Rule
    {
        int left;
        QZUInt32 error;
        QZInt64 size;
        bool always;
    };

    static bool OnGate(void* context, os::Op operation, QZInt64* size, QZUInt32* error)
    {
        Hooks* self = static_cast<Hooks*>(context);
        if (std::this_thread::get_id() != self->m_thread) return true;
        std::lock_guard<std::mutex> guard(self->m_lock);
        auto found = self->m_rules.find(operation);
        if (found == self->m_rules.end()) return true;
        Rule& rule = found->second;
        if (rule.left > 1)
        {
            --rule.left;
            return true;
        }
        Rule now = rule;
        if (!rule.always) self->m_rules.erase(found);
        if (now.size >= 0)
        {
            if (size != nullptr && *size > now.size) *size = now.size;
            return true;
        }
        *error = now.error;
        return false;
    }

    static void OnNotify(void* context, os::Event event, QZInt64 value)
    {
        Hooks* self = static_cast<Hooks*>(context);
        if (std::this_thread::get_id() != self->m_thread) return;
        std::lock_guard<std::mutex> guard(self->m_lock);
        self->m_events.emplace_back(event, value);
    }

    static QZInt64 OnClock(void* context) { return static_cast<Hooks*>(context)->m_clock; }

    static bool OnSetTime(void* context, const os::DateTime& time)
    {
        static_cast<Hooks*>(context)->m_timeSet = time;
        return true;
    }

    static os::Line* OnOpenLine(void* context, const QZWChar* path)
    {
        return static_cast<Hooks*>(context)->m_openLine(path);
    }

    os::DateTime m_timeSet{};
    std::function<os::Line*(const QZWChar*)> m_openLine;
    os::TestHooks m_table;
    std::thread::id m_thread = std::this_thread::get_id();
    std::mutex m_lock;
    std::map<os::Op, Rule> m_rules;
    std::vector<std::pair<os::Event, QZInt64>> m_events;
    std::atomic<QZInt64> m_clock{0};
};

/// Waits at most ten seconds until the condition is true, and returns whether it is.
template <typename Condition>
bool Eventually(Condition condition)
{
    for (int i = 0; i < 10000; ++i)
    {
        if (condition()) return true;
        os::Sleep(1);
    }
    return condition();
}

}  // namespace qztest

#endif
