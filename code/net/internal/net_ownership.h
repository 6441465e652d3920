#ifndef QZLIB_NET_OWNERSHIP_H
#define QZLIB_NET_OWNERSHIP_H

#include "fw/fw_library.h"
#include "fw/fw_object.h"

/// How a message locks its parts and takes back what it handed out. Internal.
namespace http
{
/// Locks a part for the lifetime of its owner, and unlocks it.
inline void Own(QZObject* part, QZUInt64 owner) { part->SetDisposable(owner, 0); }
inline void Disown(QZObject* part, QZUInt64 owner) { part->SetDisposable(owner, 1); }

/// Calls giveBack(variable) for an object that belongs to the host. For a part of the caller (own), and for
/// an object that somebody has locked, only the variable is cleared.
template <typename T, typename GiveBack>
void RecycleForeign(T** variable, bool own, GiveBack giveBack)
{
    if (*variable != nullptr && (own || !(*variable)->IsDisposable()))
        *variable = nullptr;
    else
        giveBack(variable);
}

/// Deletes an object of a class without a factory. A null in the variable is a QZLibAssert(false).
template <typename T>
void Delete(T** variable)
{
    if (*variable == nullptr) QZLibAssert(0);
    delete *variable;
    *variable = nullptr;
}
}  // namespace http

#endif
