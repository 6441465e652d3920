#include "support/qz_line.h"

#include "support/qz_test.h"

namespace qztest
{

std::string LinePeer::Take(unsigned char byte)
{
    const std::string back = m_answer ? m_answer(byte) : std::string();
    const char taken = static_cast<char>(byte);
    const std::lock_guard<std::mutex> guard(m_lock);
    m_received += taken;
    if (m_answer)
    {
        if (!m_log.empty()) m_log += ' ';
        m_log += Hex(&taken, 1) + '>' + Hex(back);
    }
    return back;
}

std::string LinePeer::Received()
{
    const std::lock_guard<std::mutex> guard(m_lock);
    return m_received;
}

std::string LinePeer::Log()
{
    const std::lock_guard<std::mutex> guard(m_lock);
    return m_log;
}

void LinePeer::ClearLog()
{
    const std::lock_guard<std::mutex> guard(m_lock);
    m_log.clear();
    m_received.clear();
}

}  // namespace qztest
