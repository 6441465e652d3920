#ifndef QZLIB_TESTS_SUPPORT_QZ_HOOKS_H
#define QZLIB_TESTS_SUPPORT_QZ_HOOKS_H

/// A table of platform hooks for the time of a scope: failures on purpose, short transfers, a held clock, and
/// a record of what went to the platform.

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

    /// From now on the n-th operation (1 is the next) of this thread of that kind fails with the number; the
    /// ones after it too when `ever`.
    void Fail(os::Op operation, QZUInt32 error, int n = 1, bool ever = false)
    {
        std::lock_guard<std::mutex> guard(m_lock);
        m_rules[operation] = {n, error, -1, ever};
    }

    /// From now on the n-th operation of that kind moves at most so many bytes.
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

    /// The clock stands at this time until it is set again.
    void SetClock(QZInt64 timestamp)
    {
        m_clock = timestamp;
        m_table.Clock = &Hooks::OnClock;
    }

    /// Serial lines of the test's own, by path; null lets the system open one.
    void SetOpenLine(std::function<os::Line*(const QZWChar*)> open)
    {
        m_openLine = std::move(open);
        m_table.OpenLine = &Hooks::OnOpenLine;
    }

    /// What the system's clock would have been set to; the clock itself is never touched under hooks.
    os::DateTime TimeSet() const { return m_timeSet; }

    /// What this thread gave to the platform, in order.
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
        bool ever;
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
        if (!rule.ever) self->m_rules.erase(found);
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

/// Waits (at most ten seconds) until the condition holds; whether it does.
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
