#include "text.h"

namespace qzdevice
{

std::string TakeMessage(QZException* exception)
{
    std::string message = Utf8(exception->GetMsg());
    QZExceptionFactory::Recycle(&exception);
    while (!message.empty() && (message.back() == '\n' || message.back() == '\r' || message.back() == ' '))
        message.pop_back();
    while (!message.empty() && message.front() == ' ') message.erase(0, 1);
    return Visible(message);
}

std::string PlainPort(const std::string& name)
{
    return name.compare(0, 5, "\\\\.\\/") == 0 ? name.substr(4) : name;
}

std::string HexText(std::string_view bytes)
{
    std::string text;
    for (const char c : bytes)
    {
        char digits[8];
        std::snprintf(digits, sizeof(digits), text.empty() ? "%02X" : " %02X", static_cast<unsigned char>(c));
        text += digits;
    }
    return text;
}

bool ParseHex(const std::string& text, std::string* bytes)
{
    int digits = 0;
    int value = 0;
    for (const char c : text)
    {
        if (c == ' ' && digits % 2 == 0) continue;
        const int digit = c >= '0' && c <= '9'   ? c - '0'
                          : c >= 'a' && c <= 'f' ? c - 'a' + 10
                          : c >= 'A' && c <= 'F' ? c - 'A' + 10
                                                 : -1;
        if (digit < 0) return false;
        value = value * 16 + digit;
        if (++digits % 2 != 0) continue;
        bytes->push_back(static_cast<char>(value));
        value = 0;
    }
    return digits > 0 && digits % 2 == 0;
}

Progress::Progress(std::FILE* err, bool terminal, long long total) : m_bar(err, terminal), m_total(total) {}

void Progress::Show(long long bytes)
{
    if (m_bar.IsSilent() || m_total <= 0) return;
    const double seconds = std::chrono::duration<double>(Clock::now() - m_start).count();
    char speed[400];
    std::snprintf(speed, sizeof speed, "%.0f bytes/s",
                  seconds > 0 ? static_cast<double>(bytes) / seconds : 0);
    m_bar.ShowBar(static_cast<int>(bytes * 100 / m_total), speed);
}

}  // namespace qzdevice
