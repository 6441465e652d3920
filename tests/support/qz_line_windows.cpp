#include <windows.h>

#include <algorithm>
#include <deque>

#include "support/qz_line.h"
#include "support/qz_test.h"
#include "sys/internal/sys_error.h"

namespace qztest
{

/// The state that both ends of a line in this process share. It lives until peer and port are both destroyed.
struct Wire
{
    /// Number of bytes that the line takes while the peer does not receive.
    static constexpr QZInt64 kCapacity = 4096;

    std::mutex lock;
    std::function<std::string(unsigned char)> take;
    std::deque<char> input;
    QZInt64 speed = 0;
    QZInt64 held = -1;
    bool closed = false;
};

/// The end of the line that the library opens as a port.
class WireLine : public os::Line
{
public:
    explicit WireLine(std::shared_ptr<Wire> wire) : m_wire(std::move(wire)) {}

    bool Setup(QZInt64 speed) override { return SetSpeed(speed); }

    bool SetSpeed(QZInt64 speed) override
    {
        const std::lock_guard<std::mutex> guard(m_wire->lock);
        m_wire->speed = speed;
        return !Closed();
    }

    bool WatchInput() override { return true; }

    os::LineResult Read(void* buffer, QZInt64 size, QZInt64 milliseconds, QZInt64* count) override
    {
        *count = 0;
        if (size <= 0) return os::LineResult::Done;
        const QZInt64 end = os::MonotonicMicros() + milliseconds * 1000;
        for (;;)
        {
            {
                const std::lock_guard<std::mutex> guard(m_wire->lock);
                for (; *count < size && !m_wire->input.empty(); ++*count)
                {
                    static_cast<char*>(buffer)[*count] = m_wire->input.front();
                    m_wire->input.pop_front();
                }
                if (*count == size) return os::LineResult::Done;
                if (Closed()) return *count > 0 ? os::LineResult::Done : os::LineResult::Failed;
            }
            if (milliseconds >= 0 && os::MonotonicMicros() >= end)
                return *count > 0 ? os::LineResult::Done : os::LineResult::Timeout;
            os::Sleep(1);
        }
    }

    os::LineResult Write(const void* buffer, QZInt64 size, QZInt64 milliseconds, QZInt64* count) override
    {
        *count = 0;
        for (QZInt64 i = 0; i < size; ++i)
        {
            {
                const std::lock_guard<std::mutex> guard(m_wire->lock);
                if (Closed()) return os::LineResult::Failed;
                if (m_wire->held < 0)
                {
                    const std::string back = m_wire->take(static_cast<const unsigned char*>(buffer)[i]);
                    m_wire->input.insert(m_wire->input.end(), back.begin(), back.end());
                    ++*count;
                    continue;
                }
                if (++m_wire->held <= Wire::kCapacity)
                {
                    ++*count;
                    continue;
                }
            }
            os::Sleep(static_cast<QZUInt32>(milliseconds));
            return os::LineResult::Timeout;
        }
        return os::LineResult::Done;
    }

    bool Queued(QZInt64* count) override
    {
        const std::lock_guard<std::mutex> guard(m_wire->lock);
        *count = static_cast<QZInt64>(m_wire->input.size());
        return !Closed();
    }

    void CleanInput() override
    {
        const std::lock_guard<std::mutex> guard(m_wire->lock);
        m_wire->input.clear();
    }

private:
    bool Closed() const
    {
        if (m_wire->closed) os::SetLastError(ERROR_GEN_FAILURE);
        return m_wire->closed;
    }

    std::shared_ptr<Wire> m_wire;
};

struct LinePeer::Platform
{
    std::shared_ptr<Wire> wire = std::make_shared<Wire>();
    std::string path;
};

LinePeer::LinePeer(Answer answer) : m_answer(std::move(answer)), m_platform(std::make_unique<Platform>())
{
    static int number = 0;
    m_platform->path = "WIRE" + std::to_string(++number);
    m_platform->wire->take = [this](unsigned char byte) { return Take(byte); };
    const Text device = Wide("\\\\.\\" + m_platform->path);
    m_hooks.SetOpenLine([device, wire = m_platform->wire](const QZWChar* path) -> os::Line* {
        return device == path && !wire->closed ? new WireLine(wire) : nullptr;
    });
}

LinePeer::~LinePeer() { HangUp(); }

std::string LinePeer::Path() const { return m_platform->path; }

void LinePeer::Send(const std::string& bytes)
{
    Wire& wire = *m_platform->wire;
    const std::lock_guard<std::mutex> guard(wire.lock);
    wire.input.insert(wire.input.end(), bytes.begin(), bytes.end());
}

QZInt64 LinePeer::Speed() const { return m_platform->wire->speed; }

void LinePeer::Hold()
{
    const std::lock_guard<std::mutex> guard(m_platform->wire->lock);
    m_platform->wire->held = 0;
}

void LinePeer::HangUp()
{
    const std::lock_guard<std::mutex> guard(m_platform->wire->lock);
    m_platform->wire->closed = true;
}

}  // namespace qztest
