#include "text.h"

namespace qzdevice
{

std::string Utf8(QZString* text)
{
    std::string result;
    const QZInt64 size = QZEncoding::Convert(QZEncodingType::UTF16LE, text->GetPointer(), text->GetSize(),
                                             QZEncodingType::UTF8, nullptr, 0);
    if (size <= 0) return result;
    result.resize(static_cast<std::size_t>(size));
    QZEncoding::Convert(QZEncodingType::UTF16LE, text->GetPointer(), text->GetSize(), QZEncodingType::UTF8,
                        result.data(), size);
    return result;
}

std::string TakeMessage(QZException* exception)
{
    std::string message = Utf8(exception->GetMsg());
    QZExceptionFactory::Recycle(&exception);
    while (!message.empty() && (message.back() == '\n' || message.back() == '\r' || message.back() == ' '))
        message.pop_back();
    while (!message.empty() && message.front() == ' ') message.erase(0, 1);
    return Visible(message);
}

std::string Visible(std::string_view bytes)
{
    std::string text;
    for (const char c : bytes)
    {
        const unsigned char byte = static_cast<unsigned char>(c);
        if (byte >= 32 && byte != 127)
        {
            text.push_back(c);
            continue;
        }
        char escape[8];
        std::snprintf(escape, sizeof(escape), "\\x%02X", byte);
        text += escape;
    }
    return text;
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

Progress::Progress(std::FILE* err, bool terminal, long long total)
    : m_err(err), m_terminal(terminal), m_total(total)
{}

Progress::~Progress()
{
    // The bar makes room for what comes next.
    if (m_shown) std::fprintf(m_err, "\r%*s\r", 70, "");
}

void Progress::Show(long long bytes)
{
    if (!m_terminal || m_total <= 0) return;
    m_shown = true;
    const double seconds = std::chrono::duration<double>(Clock::now() - m_start).count();
    const int percent = static_cast<int>(bytes * 100 / m_total);
    std::string bar(static_cast<std::size_t>(percent * 2 / 5), '#');
    bar.resize(40, '.');
    std::fprintf(m_err, "\r[%s] %3d%%  %.0f bytes/s", bar.c_str(), percent,
                 seconds > 0 ? static_cast<double>(bytes) / seconds : 0);
    std::fflush(m_err);
}

}  // namespace qzdevice
