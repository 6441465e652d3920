// The attributes of a JSON object: its cell leads to them once there are some.

#include <atomic>

#include "fw/internal/fw_start.h"
#include "fw/internal/fw_string_lists.h"
#include "net/internal/net_json_access.h"

// The part of an object: null without attributes, kOwed without attributes in an object that counts as owner
// of a list of names, else the address of the attributes.

namespace
{
void* const kOwed = reinterpret_cast<void*>(std::uintptr_t{1});

using NameList = JsonAttributes::NameList;

JsonAttributes* AttributesAt(void* part)
{
    return part != kOwed ? static_cast<JsonAttributes*>(part) : nullptr;
}
}  // namespace

QZJsonObject* QZJsonAccess::NewSmallObject()
{
    QZObjectCache* cache = QZJsonFactory::m_objectCache;
    return cache->Count() > 0 ? QZTake<QZJsonObject>(cache) : new QZJsonObject(nullptr);
}

void QZJsonAccess::BeginAttributes(QZJsonObject* object, bool isKept)
{
    if (!isKept) return;
    PartOf(object) = kOwed;
    // An idle list leaves the factory's cache, as it always did.
    if (QZStringCollection* held = QZStringListTake())
        PartOf(object) = new JsonAttributes(KeyOf(object), NameList::Held, held);
}

JsonAttributes* QZJsonAccess::FindAttributes(const QZJsonObject* object)
{
    // Several threads may read an object while one of them copies it, which makes the attributes.
    return AttributesAt(std::atomic_ref(PartOf(object)).load(std::memory_order_acquire));
}

JsonAttributes* QZJsonAccess::AttributesOf(const QZJsonObject* object)
{
    if (JsonAttributes* attributes = FindAttributes(object)) return attributes;
    const std::lock_guard<std::mutex> guard(g_jsonStringLock);
    std::atomic_ref<void*> part(PartOf(object));
    void* before = part.load(std::memory_order_relaxed);
    if (JsonAttributes* attributes = AttributesAt(before)) return attributes;
    auto* made =
        new JsonAttributes(KeyOf(object), before == kOwed ? NameList::Owed : NameList::None, nullptr);
    part.store(made, std::memory_order_release);
    return made;
}

void QZJsonAccess::ShareAttributes(QZJsonObject* object, const QZJsonObject* other)
{
    JsonAttributes* attributes = AttributesOf(other);
    attributes->AddOwner();
    EndAttributes(object);
    PartOf(object) = attributes;
}

void QZJsonAccess::EndAttributes(QZJsonObject* object)
{
    void* part = PartOf(object);
    PartOf(object) = nullptr;
    if (part == kOwed) return QZStringListGive(nullptr);
    JsonAttributes* attributes = AttributesAt(part);
    if (attributes != nullptr && attributes->RemoveOwner()) delete attributes;
}
