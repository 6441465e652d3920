#ifndef QZLIB_APPS_QZMON_ACCESS_H
#define QZLIB_APPS_QZMON_ACCESS_H

#include <mutex>
#include <string>
#include <vector>

#include "text.h"

namespace qzmon
{

/// What a request tells about who sends it. Each text is that of the header, empty without it.
struct Visitor
{
    std::string method;
    std::string path;
    std::string host;
    std::string origin;
    std::string fetchSite;
    std::string fetchMode;
    /// From the header X-Qzmon.
    std::string writeToken;
    /// From the header X-Token or the cookie.
    std::vector<std::string> accessTokens;
};

/// Decides which requests are answered.
///
/// - The Host is exactly an address of this monitor, so that a name of another site that resolves to this
///   machine sees nothing. With an access token any Host will do.
/// - A request that a browser sends for a page of another site is refused, but for links to the first page.
/// - With an access token each request needs it.
/// - A request that changes something or costs much needs the write token, which is made at each start and
///   stands in the page: pages of other sites cannot read it.
///
/// Any thread may call.
class Access
{
public:
    /// @param bind         the address that the server listens on
    /// @param accessToken  empty for none
    /// @param writeToken   not empty
    Access(std::string bind, std::string accessToken, std::string writeToken);

    /// Throws Failure 401 or 403 when the request is refused. A wrong token is answered slowly; further ones
    /// meanwhile get 429.
    void Check(const Visitor& visitor, unsigned short port);

    /// Compares a token with the access token; false without one.
    bool IsAccessToken(const std::string& token);
    bool NeedsAccessToken() const { return !m_accessToken.empty(); }
    const std::string& WriteToken() const { return m_writeToken; }

private:
    void CheckHost(const Visitor& visitor, unsigned short port) const;
    static void CheckSite(const Visitor& visitor);
    void CheckAccess(const Visitor& visitor);
    void CheckWrite(const Visitor& visitor);
    void SlowDown();

    const std::string m_bind;
    const std::string m_accessToken;
    const std::string m_writeToken;
    std::mutex m_slow;
};

}  // namespace qzmon

#endif
