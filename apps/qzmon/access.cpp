#include "access.h"

#include <algorithm>
#include <cctype>
#include <utility>

namespace qzmon
{

namespace
{

/// A wrong token is answered after this many milliseconds.
constexpr int kSlow = 200;

std::string Lower(std::string text)
{
    for (char& c : text) c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
    return text;
}

/// Compares two tokens. The time does not depend on where they differ, so that it does not give a token away.
bool SameToken(const std::string& a, const std::string& b)
{
    if (a.size() != b.size()) return false;
    unsigned char difference = 0;
    for (std::size_t i = 0; i < a.size(); ++i)
        difference = static_cast<unsigned char>(difference | (a[i] ^ b[i]));
    return difference == 0;
}

}  // namespace

Access::Access(std::string bind, std::string accessToken, std::string writeToken)
    : m_bind(std::move(bind)), m_accessToken(std::move(accessToken)), m_writeToken(std::move(writeToken))
{}

void Access::Check(const Visitor& visitor, unsigned short port)
{
    CheckHost(visitor, port);
    CheckSite(visitor);
    CheckAccess(visitor);
    CheckWrite(visitor);
}

void Access::CheckHost(const Visitor& visitor, unsigned short port) const
{
    if (NeedsAccessToken()) return;
    const std::string host = Lower(visitor.host);
    for (const std::string& name : {m_bind, std::string("127.0.0.1"), std::string("localhost")})
    {
        if (host == name + ":" + std::to_string(port)) return;
        constexpr unsigned short kHttp = 80;
        if (port == kHttp && host == name) return;
    }
    throw Failure{403, "The monitor is reached as 127.0.0.1 or localhost, with its port."};
}

void Access::CheckSite(const Visitor& visitor)
{
    const std::string site = Lower(visitor.fetchSite);
    const bool link =
        visitor.method == "GET" && visitor.path == "/" && Lower(visitor.fetchMode) == "navigate";
    const bool ownSite = site.empty() || site == "same-origin" || site == "none" || link;
    const std::string origin = Lower(visitor.origin);
    const std::string host = Lower(visitor.host);
    const bool ownOrigin = origin.empty() || origin == "http://" + host || origin == "https://" + host;
    if (!ownSite || !ownOrigin) throw Failure{403, "A page of another site asked for this."};
}

bool Access::IsAccessToken(const std::string& token)
{
    if (!NeedsAccessToken() || token.empty()) return false;
    if (SameToken(token, m_accessToken)) return true;
    SlowDown();
    return false;
}

void Access::CheckAccess(const Visitor& visitor)
{
    if (!NeedsAccessToken() || visitor.path == "/monitor.css") return;
    for (const std::string& token : visitor.accessTokens)
    {
        if (IsAccessToken(token)) return;
    }
    throw Failure{401, "It was printed when the monitor was started."};
}

void Access::CheckWrite(const Visitor& visitor)
{
    if (visitor.method != "POST" && visitor.path != "/api/preview") return;
    if (SameToken(visitor.writeToken, m_writeToken)) return;
    if (!visitor.writeToken.empty()) SlowDown();
    throw Failure{403,
                  "This needs the header X-Qzmon with the token of GET /api/token. It changes with each "
                  "start of the monitor."};
}

void Access::SlowDown()
{
    // Only one thread waits: a flood of wrong tokens must not take the threads of other clients.
    const std::unique_lock<std::mutex> guard(m_slow, std::try_to_lock);
    if (!guard.owns_lock()) throw Failure{429, "There are too many wrong tokens just now."};
    QZThread::Sleep(kSlow);
}

}  // namespace qzmon
