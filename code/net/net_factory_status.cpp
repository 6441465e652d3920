#include "fw/fw_data_factory.h"
#include "fw/fw_object_cache.h"
#include "fw/fw_string_factory.h"
#include "graphics/gr_graphics_factory.h"
#include "net/net_json_internal.h"

// Status records of the factories below. They are JSON objects, so their bodies live here, above both sides.

namespace
{
void AddCount(QZJsonObject* status, const QZWChar* name, QZObjectCache* cache)
{
    QZJsonAccess::SetAttr(status, name, QZJsonFactory::CreateDecimal(static_cast<double>(cache->Count())));
}
}  // namespace

QZJsonObject* QZStringFactory::GetStatus()
{
    QZJsonObject* status = QZJsonFactory::CreateObject();
    AddCount(status, QZ_W("String"), m_stringCache);
    AddCount(status, QZ_W("StringCollection"), m_stringCollectionCache);
    return status;
}

void QZStringFactory::Recycle(QZJsonObject** status) { QZJsonFactory::Recycle(status); }

QZJsonObject* QZDataFactory::GetStatus()
{
    static constexpr const QZWChar* kNames[kCaches] = {
        QZ_W("Data"),      QZ_W("DataDatetime"), QZ_W("DataTimestamp"), QZ_W("DataDouble"),
        QZ_W("DataFloat"), QZ_W("DataInt64"),    QZ_W("DataInt32"),     QZ_W("DataInt16"),
        QZ_W("DataInt8"),  QZ_W("DataBool"),     QZ_W("DataByte"),      QZ_W("DataCollection"),
        QZ_W("Collection")};
    QZJsonObject* status = QZJsonFactory::CreateObject();
    for (int i = 0; i < kCaches; ++i) AddCount(status, kNames[i], m_caches[i]);
    return status;
}

void QZDataFactory::Recycle(QZJsonObject** status) { QZJsonFactory::Recycle(status); }

QZJsonObject* QZGraphicsFactory::GetStatus()
{
    QZJsonObject* status = QZJsonFactory::CreateObject();
    AddCount(status, QZ_W("Shape"), m_shapeCache);
    AddCount(status, QZ_W("PixelBlock"), m_pixelBlockCache);
    return status;
}

void QZGraphicsFactory::Recycle(QZJsonObject** status) { QZJsonFactory::Recycle(status); }
