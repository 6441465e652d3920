#ifndef QZLIB_NET_HTTP_SITE_H
#define QZLIB_NET_HTTP_SITE_H

#include "fw/fw_keyed.h"

class QZCriticalSection;
class QZJsonObject;

/// What a site's strings mean.
class QZ_API QZSiteStatus
{
public:
    /// The physical location is a folder of this machine, the index the page for a bare request.
    static const QZInt64 Local = 1;
    /// The location names another server.
    static const QZInt64 Remote = 2;
    /// The location is where to go from now on, or for the time being.
    static const QZInt64 Redirect301 = 3;
    static const QZInt64 Redirect302 = 4;
};

/// One host name that a program serves. Data alone: what to do for a status is up to the application.
///
/// The strings belong to the site and do not change, so that any thread may read them.
class QZ_API QZSite : public QZObject
{
public:
    static const QZInt64 Type = 0x8310021;

    /// The strings are trimmed.
    QZSite(QZString* host, QZString* location, QZString* phyLocation, long long status, QZString* index);
    /// The strings are taken as they stand.
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

    /// A new site out of an object with the keys "Host", "SiteStatus", "PhyLocation", "Location" and
    /// "IndexPage" in any case, all of them free to be absent; other keys do not count. Given back with
    /// Recycle.
    /// @throws QZException without a code when a value is no string, under whatever key
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

/// The sites of a server. Locked, so that it can be changed while the server runs; the sites themselves stay
/// the application's, and one that was taken out may still be in somebody's hands.
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

    /// The site of exactly this host, case included; null when there is none.
    virtual QZSite* GetSiteByHost(QZString* host);

    using QZObjectCollection::Push;
    /// Adds a site; 0, and nothing changes, when a site of its host is there.
    virtual unsigned char Push(QZSite* site);

private:
    QZCriticalSection* m_lock;
};

#endif
