#ifndef QZLIB_TESTS_SUPPORT_QZ_LINE_H
#define QZLIB_TESTS_SUPPORT_QZ_LINE_H

/// The far end of a serial line: a pseudo-terminal where the platform has one, else a line in this process
/// that stands behind the platform's hooks. What a test does with it is the same.

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
    /// What goes back for a byte; nothing for "".
    using Answer = std::function<std::string(unsigned char byte)>;

    /// Without an answer the peer only takes what comes; Send is then the way back.
    explicit LinePeer(Answer answer = {});
    ~LinePeer();
    LinePeer(const LinePeer&) = delete;
    LinePeer& operator=(const LinePeer&) = delete;

    /// The name of the near end.
    std::string Path() const;

    void Send(const std::string& bytes);

    /// What came so far.
    std::string Received();

    /// What came and what went back: "51>00 34>00", an unanswered byte as "34>". Sent bytes are not in it.
    std::string Log();
    void ClearLog();

    /// The speed that the near end is set to.
    QZInt64 Speed() const;

    /// From now on nothing is taken off the line, until it is full.
    void Hold();

    /// Goes away: the near end fails from now on.
    void HangUp();

    /// Failures on purpose on this thread; the table is the peer's as long as it lives.
    Hooks& Faults() { return m_hooks; }

private:
    struct Platform;
    friend struct Platform;

    /// A byte came; what goes back.
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
