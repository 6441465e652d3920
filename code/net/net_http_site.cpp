#include "net/net_http_site.h"

#include <memory>

#include "fw/fw_library.h"
#include "fw/fw_lock.h"
#include "fw/internal/fw_trace.h"
#include "net/net_json.h"

const QZInt64 QZSiteStatus::Local;
const QZInt64 QZSiteStatus::Remote;
const QZInt64 QZSiteStatus::Redirect301;
const QZInt64 QZSiteStatus::Redirect302;
const QZInt64 QZSite::Type;
const QZInt64 QZSiteList::Type;

namespace
{

QZString* Trimmed(QZString* text)
{
    QZString* copy = new QZString(text);
    copy->TrimThis();
    return copy;
}

void SetStatus(QZString* name, long long* status)
{
    struct Named
    {
        const QZWChar* name;
        long long status;
    };
    static constexpr Named kNames[] = {{QZ_W("Local"), QZSiteStatus::Local},
                                       {QZ_W("Remote"), QZSiteStatus::Remote},
                                       {QZ_W("Redirect301"), QZSiteStatus::Redirect301},
                                       {QZ_W("Redirect302"), QZSiteStatus::Redirect302}};
    for (const Named& named : kNames)
        if (name->Equals(named.name, 1)) *status = named.status;
}

}  // namespace

QZSite::QZSite(QZString* host, QZString* location, QZString* phyLocation, long long status, QZString* index)
    : m_host(Trimmed(host)),
      m_location(Trimmed(location)),
      m_phyLocation(Trimmed(phyLocation)),
      m_status(status),
      m_index(Trimmed(index))
{}

QZSite::QZSite(const QZWChar* host, const QZWChar* location, const QZWChar* phyLocation, long long status,
               const QZWChar* index)
    : m_host(new QZString(host)),
      m_location(new QZString(location)),
      m_phyLocation(new QZString(phyLocation)),
      m_status(status),
      m_index(new QZString(index))
{}

QZSite::~QZSite()
{
    delete m_host;
    delete m_location;
    delete m_phyLocation;
    delete m_index;
}

QZInt64 QZSite::GetType() { return Type; }

QZString* QZSite::GetHost() { return m_host; }
QZString* QZSite::GetLocation() { return m_location; }
QZString* QZSite::GetPhyLocation() { return m_phyLocation; }
long long QZSite::GetStatus() { return m_status; }
QZString* QZSite::GetIndex() { return m_index; }

QZSite* QZSite::Parse(QZJsonObject* json)
{
    QZString host;
    QZString location;
    QZString phyLocation;
    QZString index;
    long long status = QZSiteStatus::Local;
    const QZInt64 count = json->AttrCount();
    for (QZInt64 i = 0; i < count; ++i)
    {
        QZJsonValue* value = json->GetAttrValue(i);
        // Hosts show this text to the author of the configuration.
        if (value->GetType() != QZJsonString::Type)
        {
            throw QZTrace(QZExceptionFactory::CreateException(QZ_W("传入的Json存在非纯字符串KeyValue")),
                          QZ_W("QZSite"), QZ_W("Parse"))
                .Argument(QZ_W("QZPVoid"), static_cast<QZInt64>(reinterpret_cast<QZUInt64>(json)))
                .Exception();
        }
        QZString* name = json->GetAttrName(i);
        if (name->Equals(QZ_W("Host"), 1))
            host.Set(value->Val());
        else if (name->Equals(QZ_W("SiteStatus"), 1))
            SetStatus(value->Val(), &status);
        else if (name->Equals(QZ_W("PhyLocation"), 1))
            phyLocation.Set(value->Val());
        else if (name->Equals(QZ_W("Location"), 1))
            location.Set(value->Val());
        else if (name->Equals(QZ_W("IndexPage"), 1))
            index.Set(value->Val());
    }
    return new QZSite(&host, &location, &phyLocation, status, &index);
}

void QZSite::Recycle(QZSite** site)
{
    if (*site == nullptr) QZLibAssert(0);
    delete *site;
    *site = nullptr;
}

QZSiteList::QZSiteList() : m_lock(new QZCriticalSection()) {}

QZSiteList::~QZSiteList() { delete m_lock; }

QZInt64 QZSiteList::GetType() { return Type; }

QZSite* QZSiteList::GetElement(QZInt64 index)
{
    QZCriticalGuard guard(m_lock);
    return static_cast<QZSite*>(QZObjectCollection::GetElement(index));
}

QZSite* QZSiteList::Pop()
{
    QZCriticalGuard guard(m_lock);
    return static_cast<QZSite*>(QZObjectCollection::Pop());
}

QZSite* QZSiteList::GetSiteByHost(QZString* host)
{
    QZCriticalGuard guard(m_lock);
    const QZInt64 count = Count();
    for (QZInt64 i = 0; i < count; ++i)
    {
        QZSite* site = GetElement(i);
        if (site->GetHost()->Equals(host)) return site;
    }
    return nullptr;
}

unsigned char QZSiteList::Push(QZSite* site)
{
    QZCriticalGuard guard(m_lock);
    if (site != nullptr && GetSiteByHost(site->GetHost()) != nullptr) return 0;
    return QZObjectCollection::Push(site);
}
