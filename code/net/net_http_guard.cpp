#include "net/internal/net_http_guard.h"

namespace http
{
namespace
{
const QZByte* g_flag = nullptr;
}  // namespace

bool WatchStrictMode(const QZByte* flag)
{
    g_flag = flag;
    return true;
}

bool IsStrict() { return g_flag != nullptr && *g_flag != 0; }

bool SplitsMessage(Text text) { return text.Find('\r') >= 0 || text.Find('\n') >= 0 || text.Find('\0') >= 0; }

void RequireOneLine(const QZWChar* className, const QZWChar* method, Text text)
{
    if (!IsStrict() || !SplitsMessage(text)) return;
    QZRaise(QZGeneralFailure(QZExceptionCode::InvalidArgument)
                .With(QZ_W("A line end or a NUL in a part of a message would split the message.")),
            className, method)
        .Throw();
}

void RequireOneLine(const QZWChar* className, const QZWChar* method, const char* text)
{
    if (!IsStrict()) return;
    const text::Wide wide(text);
    RequireOneLine(className, method, Text(wide.Get()));
}
}  // namespace http
