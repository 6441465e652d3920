#include <windows.h>

#include <climits>

#include "sys/internal/sys_hooks.h"
#include "sys/internal/sys_line.h"

namespace os
{

namespace
{

constexpr DWORD kQueueSize = 1024;
constexpr DWORD kNameLimit = 255;
constexpr const wchar_t* kPortKey = L"HARDWARE\\DEVICEMAP\\SERIALCOMM\\";

/// The settings of the port in the driver.
struct PortState : DCB
{
    PortState() : DCB{} { DCBlength = sizeof(DCB); }
};

class Port : public Line
{
public:
    explicit Port(HANDLE handle) : m_handle(handle)
    {
        m_transfer.hEvent = CreateEventW(nullptr, TRUE, FALSE, nullptr);
        SetupComm(m_handle, kQueueSize, kQueueSize);
    }

    ~Port() override
    {
        Notify(Event::HandleClose, reinterpret_cast<QZInt64>(m_handle));
        CloseHandle(m_handle);
        if (m_transfer.hEvent != nullptr) CloseHandle(m_transfer.hEvent);
    }

    bool Setup(QZInt64 speed) override
    {
        PortState state;
        GetCommState(m_handle, &state);
        state.BaudRate = static_cast<DWORD>(speed);
        state.ByteSize = 8;
        state.Parity = NOPARITY;
        state.StopBits = ONESTOPBIT;
        return SetCommState(m_handle, &state) != 0;
    }

    bool SetSpeed(QZInt64 speed) override
    {
        PortState state;
        GetCommState(m_handle, &state);
        state.BaudRate = static_cast<DWORD>(speed);
        return SetCommState(m_handle, &state) != 0;
    }

    bool WatchInput() override { return SetCommMask(m_handle, EV_RXCHAR) != 0; }

    LineResult Read(void* buffer, QZInt64 size, QZInt64 milliseconds, QZInt64* count) override
    {
        Begin();
        ReadFile(m_handle, buffer, Clamp(size), nullptr, &m_transfer);
        const LineResult result = End(milliseconds, count);
        return result == LineResult::Timeout && *count > 0 ? LineResult::Done : result;
    }

    LineResult Write(const void* buffer, QZInt64 size, QZInt64 milliseconds, QZInt64* count) override
    {
        Begin();
        WriteFile(m_handle, buffer, Clamp(size), nullptr, &m_transfer);
        return End(milliseconds, count);
    }

    bool Queued(QZInt64* count) override
    {
        COMSTAT status{};
        DWORD errors = 0;
        if (!ClearCommError(m_handle, &errors, &status)) return false;
        *count = status.cbInQue;
        return true;
    }

    void CleanInput() override { PurgeComm(m_handle, PURGE_RXCLEAR); }

private:
    static DWORD Clamp(QZInt64 size)
    {
        return size <= 0 ? 0 : size < INT_MAX ? static_cast<DWORD>(size) : INT_MAX;
    }

    void Begin()
    {
        m_transfer.Internal = 0;
        m_transfer.InternalHigh = 0;
    }

    /// Waits for the end of a started transfer and takes its result. The buffer belongs to the caller, so a
    /// transfer that has not ended is cancelled before the call returns.
    LineResult End(QZInt64 milliseconds, QZInt64* count)
    {
        const DWORD limit =
            milliseconds < 0 || milliseconds >= INFINITE ? INFINITE : static_cast<DWORD>(milliseconds);
        const bool late = WaitForSingleObject(m_transfer.hEvent, limit) == WAIT_TIMEOUT;
        ResetEvent(m_transfer.hEvent);
        if (late) CancelIo(m_handle);
        DWORD moved = 0;
        const bool done = GetOverlappedResult(m_handle, &m_transfer, &moved, late ? TRUE : FALSE) != 0;
        if (!done && GetLastError() == ERROR_IO_INCOMPLETE)
        {
            // The wait failed: the transfer is cancelled, since nothing may write to the buffer after the
            // call.
            CancelIo(m_handle);
            GetOverlappedResult(m_handle, &m_transfer, &moved, TRUE);
        }
        *count = moved;
        if (late) return LineResult::Timeout;
        return done ? LineResult::Done : LineResult::Failed;
    }

    HANDLE m_handle;
    OVERLAPPED m_transfer{};
};

}  // namespace

Line* SystemLineOpen(const QZWChar* path)
{
    const HANDLE handle =
        CreateFileW(path, GENERIC_READ | GENERIC_WRITE, FILE_SHARE_READ | FILE_SHARE_WRITE, nullptr,
                    OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL | FILE_FLAG_OVERLAPPED, nullptr);
    return handle == INVALID_HANDLE_VALUE ? nullptr : new Port(handle);
}

struct LineWalk
{
    HKEY key;
    DWORD next = 0;
    wchar_t name[kNameLimit + 1];
    wchar_t port[kNameLimit + 1];
};

LineWalk* LineWalkOpen()
{
    if (!Gate(Op::Line)) return nullptr;
    HKEY key;
    const LSTATUS status = RegOpenKeyExW(HKEY_LOCAL_MACHINE, kPortKey, 0, KEY_READ, &key);
    if (status != ERROR_SUCCESS)
    {
        ::SetLastError(static_cast<DWORD>(status));
        return nullptr;
    }
    LineWalk* walk = new LineWalk;
    walk->key = key;
    return walk;
}

bool LineNext(LineWalk* walk, const QZWChar** name)
{
    for (;;)
    {
        ZeroMemory(walk->name, sizeof(walk->name));
        ZeroMemory(walk->port, sizeof(walk->port));
        DWORD nameSize = kNameLimit;
        DWORD portSize = kNameLimit * sizeof(wchar_t);
        const LSTATUS status = RegEnumValueW(walk->key, walk->next++, walk->name, &nameSize, nullptr, nullptr,
                                             reinterpret_cast<LPBYTE>(walk->port), &portSize);
        // A value that does not fit is not the name of a port; every other failure ends the list.
        if (status == ERROR_MORE_DATA) continue;
        if (status != ERROR_SUCCESS) return false;
        *name = walk->port;
        return true;
    }
}

void LineWalkClose(LineWalk* walk)
{
    if (walk == nullptr) return;
    RegCloseKey(walk->key);
    delete walk;
}

}  // namespace os
