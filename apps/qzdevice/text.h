#ifndef QZLIB_APPS_QZDEVICE_TEXT_H
#define QZLIB_APPS_QZDEVICE_TEXT_H

#include <qzlib.h>

#include <chrono>
#include <cstdio>
#include <string>
#include <string_view>

namespace qzdevice
{

/// UTF-8 of a string; the string stays its owner's.
std::string Utf8(QZString* text);

/// The message of an exception as one line; the exception is given back.
std::string TakeMessage(QZException* exception);

/// Text for a terminal: control bytes as \xNN.
std::string Visible(std::string_view bytes);

/// "48 65 6C".
std::string HexText(std::string_view bytes);

/// The bytes of hex digits, blanks between pairs allowed. False for anything else.
bool ParseHex(const std::string& text, std::string* bytes);

/// A bar on a terminal's error stream; silent elsewhere.
class Progress
{
public:
    Progress(std::FILE* err, bool terminal, long long total);
    ~Progress();
    Progress(const Progress&) = delete;
    Progress& operator=(const Progress&) = delete;

    void Show(long long bytes);

private:
    using Clock = std::chrono::steady_clock;

    std::FILE* m_err;
    bool m_terminal;
    long long m_total;
    Clock::time_point m_start = Clock::now();
    bool m_shown = false;
};

}  // namespace qzdevice

#endif
