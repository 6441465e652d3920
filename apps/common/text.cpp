#include "common/text.h"

#include <cstdio>

namespace qzapp
{

std::string Utf8(QZString* text)
{
    std::string result;
    if (text == nullptr || text->GetSize() == 0) return result;
    const QZInt64 size = QZEncoding::Convert(QZEncodingType::UTF16LE, text->GetPointer(), text->GetSize(),
                                             QZEncodingType::UTF8, nullptr, 0);
    if (size <= 0) return result;
    result.resize(static_cast<std::size_t>(size));
    QZEncoding::Convert(QZEncodingType::UTF16LE, text->GetPointer(), text->GetSize(), QZEncodingType::UTF8,
                        result.data(), size);
    return result;
}

std::basic_string<QZWChar> Utf16(std::string_view utf8)
{
    std::basic_string<QZWChar> units;
    const QZInt64 length = static_cast<QZInt64>(utf8.size());
    if (length == 0) return units;
    const QZInt64 size =
        QZEncoding::Convert(QZEncodingType::UTF8, utf8.data(), length, QZEncodingType::UTF16LE, nullptr, 0);
    if (size <= 0) return units;
    units.resize(static_cast<std::size_t>(size) / sizeof(QZWChar));
    QZEncoding::Convert(QZEncodingType::UTF8, utf8.data(), length, QZEncodingType::UTF16LE, units.data(),
                        size);
    return units;
}

std::string OneLine(const std::string& message, QZInt64 code)
{
    std::string line;
    for (const char c : message) line.push_back(c == '\r' || c == '\n' ? ' ' : c);
    const std::size_t first = line.find_first_not_of(' ');
    if (first == std::string::npos) return "error " + std::to_string(code);
    return line.substr(first, line.find_last_not_of(' ') + 1 - first);
}

std::string TakeMessage(QZException* exception)
{
    const std::string line = OneLine(Utf8(exception->GetMsg()), exception->GetCode());
    QZExceptionFactory::Recycle(&exception);
    return line;
}

std::string Visible(std::string_view bytes)
{
    std::string text;
    for (const char c : bytes)
    {
        const auto byte = static_cast<unsigned char>(c);
        if (byte >= 0x20 && byte != 0x7F)
        {
            text.push_back(c);
            continue;
        }
        char escape[8];
        std::snprintf(escape, sizeof escape, "\\x%02X", byte);
        text += escape;
    }
    return text;
}

}  // namespace qzapp
