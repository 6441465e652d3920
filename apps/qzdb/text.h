#ifndef QZLIB_APPS_QZDB_TEXT_H
#define QZLIB_APPS_QZDB_TEXT_H

#include <qzlib.h>

#include <cstdio>
#include <string>
#include <string_view>

#include "common/progress_bar.h"
#include "common/text.h"

namespace qzdb
{

using qzapp::TimeText;
using qzapp::Utf8;
using qzapp::Visible;

/// The message of an exception as one line. Returns the exception to the library.
std::string TakeMessage(QZException* exception);

/// The first `limit` bytes of a text, as Visible shows them, and "..." where something was left out.
std::string Excerpt(std::string_view bytes, std::size_t limit);

/// A decimal or 0x number that fills the whole text; false otherwise.
bool ParseNumber(const std::string& text, QZInt64* value);

/// UTF-8 of a text in the narrow character set, as the command line is.
std::string Utf8FromNarrow(const std::string& text);

/// The kind of a record by its type code: "HD", "LD" and so on, "?" for none.
const char* KindName(QZInt64 type);

/// The meaning of an error code of the engine.
std::string CodeName(QZInt64 code);

/// Bytes as lines of 16, with offset, hex and text.
void PrintHex(std::FILE* out, std::string_view bytes, const char* indent);

/// Seconds since an arbitrary start, for measuring.
double Seconds();

/// The progress of an import on a terminal; silent elsewhere.
class Progress
{
public:
    /// @param total  bytes to come, 0 when that is unknown
    Progress(std::FILE* err, bool terminal, QZInt64 total);

    void Show(QZInt64 bytes, QZInt64 lines);

private:
    qzapp::ProgressBar m_bar;
    QZInt64 m_total;
    /// When the line is written again, on the clock of Seconds().
    double m_next = 0;
};

}  // namespace qzdb

#endif
