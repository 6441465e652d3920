#include <cstdio>
#include <new>
#include <string>

#include "sys/internal/sys_console.h"
#include "sys/internal/sys_text.h"

namespace os
{

void ConsoleWrite(const QZWChar* text, QZInt64 units)
{
    if (units <= 0) return;
    std::string narrow(static_cast<std::size_t>(WideToNarrow(text, units, nullptr, 0)), '\0');
    const QZInt64 bytes = WideToNarrow(text, units, narrow.data(), static_cast<QZInt64>(narrow.size()));
    if (bytes > 0) std::fwrite(narrow.data(), 1, static_cast<std::size_t>(bytes), stdout);
    std::fflush(stdout);
}

QZWChar* ConsoleReadLine()
{
    std::string line;
    int byte = std::getc(stdin);
    if (byte == EOF) return nullptr;
    for (; byte != EOF && byte != '\n'; byte = std::getc(stdin)) line.push_back(static_cast<char>(byte));
    if (!line.empty() && line.back() == '\r') line.pop_back();
    const QZInt64 bytes = static_cast<QZInt64>(line.size());
    const QZInt64 units = bytes > 0 ? NarrowToWide(line.data(), bytes, nullptr, 0) : 0;
    QZWChar* text = new (std::nothrow) QZWChar[static_cast<std::size_t>(units > 0 ? units : 0) + 1];
    if (text == nullptr) return nullptr;
    const QZInt64 written = units > 0 ? NarrowToWide(line.data(), bytes, text, units) : 0;
    text[written > 0 ? written : 0] = 0;
    return text;
}

void ConsoleTextFree(QZWChar* text) { delete[] text; }

}  // namespace os
