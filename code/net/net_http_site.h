#ifndef QZLIB_NET_HTTP_SITE_H
#define QZLIB_NET_HTTP_SITE_H

#include "fw/fw_keyed.h"

class QZCriticalSection;
class QZJsonObject;

/// The kinds of site. The kind says what the strings of a site mean.
class QZ_API QZSiteStatus
{
public:
    /// The physical location is a folder of this machine; the index is the page for a request without a file
    /// name.
    static const QZInt64 Local = 1;
    /// The location names another server.
    static const QZInt64 Remote = 2;
    /// The location is the target of a permanent or a temporary redirect.
    static const QZInt64 Redirect301 = 3;
    static const QZInt64 Redirect302 = 4;
};

/// One host name that a program serves. The class only holds data; the host decides what to do for a status.
///
/// The strings belong to the site and do not change, so any thread may read them.
class QZ_API QZSite : public QZObject
{
public:
    static const QZInt64 Type = 0x8310021;

    /// The strings are trimmed.
    QZSite(QZString* host, QZString* location, QZString* phyLocation, long long status, QZString* index);
    /// The strings are copied without change.
    QZSite(const QZWChar* host, const QZWChar* location, const QZWChar* phyLocation, long long status,
           const QZWChar* index);
    ~QZSite() override;
    QZSite(const QZSite&) = delete;
    QZSite& operator=(const QZSite&) = delete;

    QZInt64 GetType() override;

    QZString* GetHost();
    QZString* GetLocation();
    QZString* GetPhyLocation();
    /// A value of QZSiteStatus.
    long long GetStatus();
    QZString* GetIndex();

    /// A new site from an object with the keys "Host", "SiteStatus", "PhyLocation", "Location" and
    /// "IndexPage", whose case does not matter. Each of them may be missing; other keys are ignored. The
    /// caller gives the site back with Recycle.
    /// @throws QZException without a code when the value of any key is no string
    static QZSite* Parse(QZJsonObject* json);

    /// Deletes the site and clears the variable. A null in the variable is a QZLibAssert(false).
    static void Recycle(QZSite** site);

private:
    QZString* m_host;
    QZString* m_location;
    QZString* m_phyLocation;
    QZInt64 m_status;
    QZString* m_index;
};

/// The sites of a server, under a lock, so the host can change the list while the server runs. The sites
/// belong to the host. Another thread may still use a site that was taken out.
class QZ_API QZSiteList : public QZObjectCollection
{
public:
    static const QZInt64 Type = 0x8310022;

    QZSiteList();
    ~QZSiteList() override;
    QZSiteList(const QZSiteList&) = delete;
    QZSiteList& operator=(const QZSiteList&) = delete;

    QZInt64 GetType() override;

    /// @throws QZException 1024 for an index outside 0 to count - 1
    QZSite* GetElement(QZInt64 index) override;
    /// Takes the last site out.
    QZSite* Pop() override;

    /// The site of this host, with the same case; null when there is none.
    virtual QZSite* GetSiteByHost(QZString* host);

    using QZObjectCollection::Push;
    /// Adds a site. Returns 0 and changes nothing when there is a site with its host.
    virtual unsigned char Push(QZSite* site);

private:
    QZCriticalSection* m_lock;
};

#endif
