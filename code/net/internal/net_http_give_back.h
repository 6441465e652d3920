#ifndef QZLIB_NET_HTTP_GIVE_BACK_H
#define QZLIB_NET_HTTP_GIVE_BACK_H

#include "fw/fw_data.h"
#include "fw/fw_library.h"
#include "fw/fw_string.h"
#include "fw/internal/fw_start.h"
#include "fw/internal/fw_trace.h"

/// The steps of QZHttpFactory that are the same for all its classes. Internal.
namespace http
{
inline void Describe(QZTrace<QZException> trace, QZString* text) { trace.Argument(QZ_W("QZString*"), text); }

inline void Describe(QZTrace<QZException> trace, QZData* data)
{
    trace.Argument(QZ_W("QZData*"), data->GetPointer(), data->GetSize());
}

/// Fills a new object from a text or data. When that fails, the object goes back to the factory and the
/// exception is traced.
template <typename Factory, typename T, typename Source, typename Fill>
T* Filled(T* object, Source* source, const QZWChar* method, Fill fill)
{
    try
    {
        fill(object);
    }
    catch (QZException* e)
    {
        Factory::Recycle(&object);
        Describe(QZTrace(e, QZ_W("QZHttpFactory"), method), source);
        throw;
    }
    return object;
}

/// False, after a QZLibAssert(false), when the variable holds null.
template <typename T>
bool IsThere(T** variable)
{
    if (*variable == nullptr) QZLibAssert(0);
    return *variable != nullptr;
}

/// Puts an emptied object into its cache and clears the variable.
template <typename T>
void PutBack(QZObjectCache* cache, T** variable)
{
    QZObject* object = *variable;
    cache->In(&object);
    *variable = nullptr;
}

/// What Recycle does: tests that nobody has locked the object, empties it and puts it into its cache.
/// @throws QZException 1280 for a locked object; the variable stays
template <typename T, typename Empty>
void GiveBack(QZObjectCache* cache, T** variable, const QZWChar* type, Empty empty)
{
    if (!IsThere(variable)) return;
    if (!(*variable)->IsDisposable())
    {
        throw QZTrace(QZExceptionFactory::CreateException(QZExceptionCode::ObjectIsLocked),
                      QZ_W("QZHttpFactory"), QZ_W("Recycle"))
            .Argument(type, static_cast<QZInt64>((*variable)->GetObjectID()))
            .Exception();
    }
    empty(*variable);
    PutBack(cache, variable);
}
}  // namespace http

#endif
