#include "text.h"

#include <chrono>

namespace qzdb
{

namespace
{

struct CodeText
{
    QZInt64 code;
    const char* text;
};

const CodeText kCodeTexts[] = {
    {QZDatabaseInfo::NORMAL, "none"},
    {QZDatabaseInfo::BAD_STRUCT, "bad structure"},
    {QZDatabaseInfo::FRAME_ERROR, "record frame broken"},
    {QZDatabaseInfo::PREV_ERROR, "previous link broken"},
    {2, "previous link broken"},
    {QZDatabaseInfo::NEXT_ERROR, "next link broken"},
    {QZDatabaseInfo::TREEA_ERROR, "list of tree A broken"},
    {QZDatabaseInfo::TREER_ERROR, "list of tree R broken"},
    {QZDatabaseInfo::TREES_ERROR, "list of tree S broken"},
    {QZDatabaseInfo::LDS_ERROR, "field list broken"},
    {QZDatabaseInfo::PD_LD_ERROR, "LD of the PD is invalid"},
    {QZDatabaseInfo::PD_HD_ERROR, "child HD of the PD is invalid"},
    {QZDatabaseInfo::PD_LD_DELETED, "LD of the PD was deleted"},
    {QZDatabaseInfo::CHAR_ERROR, "content frame broken"},
    {QZDatabaseInfo::BAD_PARAMETER, "bad parameter"},
    {QZDatabaseInfo::UNKNOWN, "no record, or its head or first record is broken"},
    {QZDatabaseInfo::WRITE_FAILED, "write failed"},
    {QZDatabaseInfo::WRITE_ERROR_WRITEPROTECT, "write protected, the address space is full"},
    {QZDatabaseInfo::ROLLBACK_ERROR_ROLLBACKOFF, "rollback is off"},
    {QZDatabaseInfo::ROLLBACK_ERROR_INVALIDADDR, "no way through the log"},
    {QZDatabaseInfo::ERROR_ABORT, "operation aborted"},
};

/// The library's own message for these two codes names another reason, and hosts rely on it. This tool names
/// the real one.
std::string PlainWords(QZException* exception, const std::string& message)
{
    if (exception->GetType() != QZIOException::Type) return message;
    const QZInt64 code = exception->GetCode();
    const CodeText plain[] = {{QZIOExceptionCode::WriteFailed, "write failed"},
                              {QZIOExceptionCode::ReadFailed, "read failed"}};
    for (const CodeText& entry : plain)
    {
        if (code != entry.code) continue;
        QZString words(static_cast<QZIOException*>(exception)->ErrorCodeToMessage(code));
        const std::string theirs = Utf8(&words);
        const std::size_t at = message.find(theirs);
        if (at != std::string::npos) return entry.text + message.substr(at + theirs.size());
    }
    return message;
}

}  // namespace

std::string TakeMessage(QZException* exception)
{
    const std::string line =
        qzapp::OneLine(PlainWords(exception, Utf8(exception->GetMsg())), exception->GetCode());
    QZExceptionFactory::Recycle(&exception);
    return line;
}

std::string Excerpt(std::string_view bytes, std::size_t limit)
{
    if (bytes.size() <= limit) return Visible(bytes);
    // The cut must not be in the middle of a UTF-8 character.
    while (limit > 0 && (static_cast<unsigned char>(bytes[limit]) & 0xC0) == 0x80) --limit;
    return Visible(bytes.substr(0, limit)) + "...";
}

bool ParseNumber(const std::string& text, QZInt64* value)
{
    return !text.empty() && text[0] >= '0' && text[0] <= '9' && qzapp::ParseAddress(text, value);
}

std::string Utf8FromNarrow(const std::string& text)
{
    QZString wide(text.c_str());
    return Utf8(&wide);
}

const char* KindName(QZInt64 type)
{
    switch (type)
    {
        case QZDatabaseInfo::TABLE_HD: return "HD";
        case QZDatabaseInfo::DATA_LD: return "LD";
        case QZDatabaseInfo::DATA_PD: return "PD";
        case QZDatabaseInfo::DATA_AD: return "AD";
        case QZDatabaseInfo::DATA_CD: return "CD";
        case QZDatabaseInfo::DATA_RD: return "RD";
        default: return "?";
    }
}

std::string CodeName(QZInt64 code)
{
    for (const CodeText& entry : kCodeTexts)
    {
        if (entry.code == code) return entry.text;
    }
    char text[32];
    std::snprintf(text, sizeof text, "code 0x%llX", static_cast<QZUInt64>(code));
    return text;
}

void PrintHex(std::FILE* out, std::string_view bytes, const char* indent)
{
    for (std::size_t at = 0; at < bytes.size(); at += 16)
    {
        std::fprintf(out, "%s%08llX ", indent, static_cast<QZUInt64>(at));
        std::string text;
        for (std::size_t i = at; i < at + 16; ++i)
        {
            if (i >= bytes.size())
            {
                std::fputs("   ", out);
                continue;
            }
            const auto byte = static_cast<unsigned char>(bytes[i]);
            std::fprintf(out, " %02X", byte);
            text.push_back(byte >= 0x20 && byte < 0x7F ? static_cast<char>(byte) : '.');
        }
        std::fprintf(out, "  %s\n", text.c_str());
    }
}

double Seconds()
{
    const auto now = std::chrono::steady_clock::now().time_since_epoch();
    return std::chrono::duration<double>(now).count();
}

Progress::Progress(std::FILE* err, bool terminal, QZInt64 total) : m_bar(err, terminal), m_total(total) {}

void Progress::Show(QZInt64 bytes, QZInt64 lines)
{
    constexpr double kInterval = 0.1;
    if (m_bar.IsSilent()) return;
    const double now = Seconds();
    if (now < m_next) return;
    m_next = now + kInterval;
    const std::string count = std::to_string(lines) + " lines";
    if (m_total <= 0)
        m_bar.ShowText(count + ", " + std::to_string(bytes) + " bytes");
    else
        m_bar.ShowBar(static_cast<int>(bytes < m_total ? bytes * 100 / m_total : 100), count);
}

}  // namespace qzdb
