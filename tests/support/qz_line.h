#ifndef QZLIB_TESTS_SUPPORT_QZ_LINE_H
#define QZLIB_TESTS_SUPPORT_QZ_LINE_H

/// The remote end of a serial line: a pseudo-terminal where the platform has one, otherwise a line within
/// this process that the platform hooks open. Tests use both in the same way.

#include <functional>
#include <memory>
#include <mutex>
#include <string>

#include "support/qz_hooks.h"

namespace qztest
{

class LinePeer
{
public:
    /// Returns the reply to a received byte; empty means no reply.
    using Answer = std::function<std::string(unsigned char byte)>;

    /// Without an answer function the peer only receives; Send then sends to the port.
    explicit LinePeer(Answer answer = {});
    ~LinePeer();
    LinePeer(const LinePeer&) = delete;
    LinePeer& operator=(const LinePeer&) = delete;

    /// Returns the name with which the library opens the port.
    std::string Path() const;

    void Send(const std::string& bytes);

    /// Returns the bytes received so far.
    std::string Received();

    /// Returns the received bytes and their replies: "51>00 34>00", or "34>" for a byte without reply.
    /// Bytes from Send are not included.
    std::string Log();
    void ClearLog();

    /// Returns the speed that is set on the port.
    QZInt64 Speed() const;

    /// Stops receiving, so that the line fills up.
    void Hold();

    /// Closes the line: the port fails from now on.
    void HangUp();

    /// Injects failures on this thread; the hooks stay set as long as the peer exists.
    Hooks& Faults() { return m_hooks; }

private:
    struct Platform;
    friend struct Platform;

    /// Records a received byte and returns the reply.
    std::string Take(unsigned char byte);

    Hooks m_hooks;
    Answer m_answer;
    std::mutex m_lock;
    std::string m_received;
    std::string m_log;
    std::unique_ptr<Platform> m_platform;
};

}  // namespace qztest

#endif
