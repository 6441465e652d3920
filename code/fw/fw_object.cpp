#include "fw/fw_object.h"

#include <atomic>

#include "fw/fw_library.h"
#include "fw/internal/fw_hooks.h"
#include "fw/internal/fw_raise.h"

const QZInt64 QZObject::Type;

namespace
{
/// The ids are multiples of 256, so the low eight bits of every id are zero.
std::atomic<QZUInt64> g_lastObjectId{0};
}  // namespace

QZObject::QZObject() : m_objectId(g_lastObjectId.fetch_add(256, std::memory_order_relaxed) + 256) {}

QZObject::~QZObject()
{
    if (!m_disposable)
    {
        QZSetLastError(static_cast<QZInt32>(QZExceptionCode::ObjectIsLocked));
        QZLibAssert(0);
    }
}

QZBool QZObject::IsDisposable() { return m_disposable; }

QZBool QZObject::SetDisposable(QZUInt64 key, QZBool disposable)
{
    if (m_disposable)
    {
        if (!disposable)
        {
            m_lockKey = key;
            m_disposable = 0;
        }
        return 1;
    }
    if (!disposable)
    {
        QZRaise(QZExceptionCode::ObjectIsLocked, QZ_W("QZObject"), QZ_W("SetDisposable"))
            .Argument(QZ_W("QZUInt64"), static_cast<QZInt64>(key))
            .Argument(QZ_W("QZBool"), static_cast<int>(disposable))
            .Throw();
    }
    if (key != m_lockKey) return 0;
    m_disposable = 1;
    return 1;
}

QZUInt64 QZObject::GetObjectID() { return m_objectId; }

QZInt64 QZObject::GetMemorySize() { return 8; }

QZInt64 QZObject::GetType() { return Type; }
