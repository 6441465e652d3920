#include "net/net_http_factory.h"
#include "fw/fw_library.h"
#include "fw/internal/fw_trace.h"
#include "net/internal/net_http_internal.h"
#include "net/net_http_connection_cache.h"

// The connections' part of the factory.

QZObjectCache* http::NewConnectCache(QZInt64 limit) { return new QZHttpConnectCache(limit, -1); }

QZHttpConnect* QZHttpFactory::CreateConnect()
{
    QZHttpConnect* connect = static_cast<QZHttpConnect*>(m_connectCache->Out());
    connect->Reset();
    return connect;
}

void QZHttpFactory::Recycle(QZHttpConnect** connect)
{
    if (*connect == nullptr)
    {
        QZLibAssert(0);
        return;
    }
    if (!(*connect)->IsDisposable())
    {
        throw QZTrace(QZExceptionFactory::CreateException(QZExceptionCode::ObjectIsLocked),
                      QZ_W("QZHttpFactory"), QZ_W("Recycle"))
            .Argument(QZ_W("QZHttpConnect**"), static_cast<QZInt64>((*connect)->GetObjectID()))
            .Exception();
    }
    (*connect)->Clear();
    QZObject* object = *connect;
    m_connectCache->In(&object);
    *connect = nullptr;
}
