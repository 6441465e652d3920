#ifndef QZLIB_APPS_QZDEVICE_TEXT_H
#define QZLIB_APPS_QZDEVICE_TEXT_H

#include <qzlib.h>

#include <chrono>
#include <cstdio>
#include <string>
#include <string_view>

#include "common/progress_bar.h"
#include "common/text.h"

namespace qzdevice
{

using qzapp::Utf8;
using qzapp::Visible;

/// The message of an exception as one line, control bytes in it as \xNN. Returns the exception to the
/// library.
std::string TakeMessage(QZException* exception);

/// The name of a port as its user writes it: the path of a device file, without the prefix that the library
/// puts before it.
std::string PlainPort(const std::string& name);

/// "48 65 6C".
std::string HexText(std::string_view bytes);

/// The bytes of hex digits, blanks between pairs allowed. False for anything else.
bool ParseHex(const std::string& text, std::string* bytes);

/// The progress of a transfer on a terminal; silent elsewhere.
class Progress
{
public:
    Progress(std::FILE* err, bool terminal, long long total);

    void Show(long long bytes);

private:
    using Clock = std::chrono::steady_clock;

    qzapp::ProgressBar m_bar;
    long long m_total;
    Clock::time_point m_start = Clock::now();
};

}  // namespace qzdevice

#endif
