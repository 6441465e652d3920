#include "net/internal/net_json_list.h"

#include <atomic>

#include "fw/internal/fw_object_links.h"
#include "fw/internal/fw_raise.h"
#include "net/internal/net_json_access.h"

/// The values of an array with more than one, and of copied arrays.
struct JsonList::Shared
{
    QZJsonValue* first;
    QZJsonValue* last;
    QZInt64 count;
    QZUInt64 key;
    std::atomic<QZInt64> owners;
};

// The part of an array: null when it is empty, the address of a single value with the lowest bit set, or the
// address of a shared list.

namespace
{
constexpr std::uintptr_t kSingle = 1;

void* SinglePart(QZJsonValue* value)
{
    return reinterpret_cast<void*>(reinterpret_cast<std::uintptr_t>(value) | kSingle);
}
}  // namespace

void* JsonList::PartOf(const QZJsonValueCollection* array)
{
    // Several threads may read an array while one of them copies it, which moves a single value into a list.
    return std::atomic_ref(QZJsonAccess::PartOf(array)).load(std::memory_order_acquire);
}

void JsonList::SetPart(const QZJsonValueCollection* array, void* part)
{
    std::atomic_ref(QZJsonAccess::PartOf(array)).store(part, std::memory_order_release);
}

JsonList::Shared* JsonList::SharedOf(void* part)
{
    const auto word = reinterpret_cast<std::uintptr_t>(part);
    return (word & kSingle) == 0 ? static_cast<Shared*>(part) : nullptr;
}

QZJsonValue* JsonList::SingleOf(void* part)
{
    const auto word = reinterpret_cast<std::uintptr_t>(part);
    return (word & kSingle) != 0 ? reinterpret_cast<QZJsonValue*>(word & ~kSingle) : nullptr;
}

QZInt64 JsonList::Count(QZJsonValueCollection* array)
{
    void* part = PartOf(array);
    if (part == nullptr) return 0;
    const Shared* shared = SharedOf(part);
    return shared != nullptr ? shared->count : 1;
}

QZJsonValue* JsonList::First(QZJsonValueCollection* array)
{
    void* part = PartOf(array);
    const Shared* shared = SharedOf(part);
    return shared != nullptr ? shared->first : SingleOf(part);
}

QZJsonValue* JsonList::Last(QZJsonValueCollection* array)
{
    void* part = PartOf(array);
    const Shared* shared = SharedOf(part);
    return shared != nullptr ? shared->last : SingleOf(part);
}

QZUInt64 JsonList::KeyOf(QZJsonValueCollection* array)
{
    const Shared* shared = SharedOf(PartOf(array));
    return shared != nullptr ? shared->key : QZJsonAccess::KeyOf(array);
}

JsonList::Shared* JsonList::MakeShared(const QZJsonValueCollection* array)
{
    const std::lock_guard<std::mutex> guard(g_jsonStringLock);
    void* part = PartOf(array);
    if (Shared* shared = SharedOf(part)) return shared;
    QZJsonValue* single = SingleOf(part);
    auto* shared = new Shared{single, single, single != nullptr ? 1 : 0, QZJsonAccess::KeyOf(array), 1};
    SetPart(array, shared);
    return shared;
}

void JsonList::Lock(QZJsonValueCollection* array, QZJsonValue* value, const QZWChar* method)
{
    if (value == nullptr)
        QZRaise(QZExceptionCode::NullPointer, QZ_W("QZContainer"), method)
            .Argument(QZ_W("QZObject*"), static_cast<const void*>(nullptr), 0)
            .Throw();
    if (!value->SetDisposable(KeyOf(array), 0))
        QZRaise(QZExceptionCode::ObjectIsLocked, QZ_W("QZContainer"), method)
            .Argument(QZ_W("QZObject*"), static_cast<QZInt64>(value->GetObjectID()))
            .Throw();
}

void JsonList::AddLast(QZJsonValueCollection* array, QZJsonValue* value, const QZWChar* method)
{
    if (PartOf(array) != nullptr) MakeShared(array);
    Lock(array, value, method);
    Shared* shared = SharedOf(PartOf(array));
    QZObjectLinks::SetPrevious(value, shared != nullptr ? shared->last : nullptr);
    QZObjectLinks::SetNext(value, nullptr);
    if (shared == nullptr) return SetPart(array, SinglePart(value));
    if (shared->last != nullptr) QZObjectLinks::SetNext(shared->last, value);
    shared->last = value;
    if (shared->first == nullptr) shared->first = value;
    ++shared->count;
}

void JsonList::AddFirst(QZJsonValueCollection* array, QZJsonValue* value)
{
    if (PartOf(array) != nullptr) MakeShared(array);
    Lock(array, value, QZ_W("AddFirst"));
    Shared* shared = SharedOf(PartOf(array));
    QZObjectLinks::SetPrevious(value, nullptr);
    QZObjectLinks::SetNext(value, shared != nullptr ? shared->first : nullptr);
    if (shared == nullptr) return SetPart(array, SinglePart(value));
    if (shared->first != nullptr) QZObjectLinks::SetPrevious(shared->first, value);
    shared->first = value;
    if (shared->last == nullptr) shared->last = value;
    ++shared->count;
}

void JsonList::Unlink(QZJsonValueCollection* array, QZJsonValue* value)
{
    Shared* shared = SharedOf(PartOf(array));
    if (shared == nullptr) return SetPart(array, nullptr);
    auto* previous = static_cast<QZJsonValue*>(value->LinkPrevious());
    auto* next = static_cast<QZJsonValue*>(value->LinkNext());
    if (previous != nullptr)
        QZObjectLinks::SetNext(previous, next);
    else
        shared->first = next;
    if (next != nullptr)
        QZObjectLinks::SetPrevious(next, previous);
    else
        shared->last = previous;
    QZObjectLinks::SetPrevious(value, nullptr);
    QZObjectLinks::SetNext(value, nullptr);
    --shared->count;
}

QZJsonValue* JsonList::TakeOut(QZJsonValueCollection* array, QZJsonValue* value)
{
    if (value == nullptr) return nullptr;
    const QZUInt64 key = KeyOf(array);
    Unlink(array, value);
    value->SetDisposable(key, 1);
    return value;
}

void JsonList::Remove(QZJsonValueCollection* array, QZJsonValue* value)
{
    if (value == nullptr || value->IsDisposable()) return;
    if (!value->SetDisposable(KeyOf(array), 1)) return;
    Unlink(array, value);
}

void JsonList::KeepKey(QZJsonValueCollection* array)
{
    if (SingleOf(PartOf(array)) != nullptr) MakeShared(array);
}

void JsonList::Share(QZJsonValueCollection* array, const QZJsonValueCollection* other)
{
    Shared* shared = MakeShared(other);
    shared->owners.fetch_add(1, std::memory_order_relaxed);
    End(array);
    SetPart(array, shared);
}

void JsonList::End(QZJsonValueCollection* array)
{
    Shared* shared = SharedOf(PartOf(array));
    if (shared == nullptr || shared->owners.fetch_sub(1, std::memory_order_acq_rel) == 1)
    {
        while (QZJsonValue* value = TakeOut(array, Last(array))) QZJsonAccess::DiscardFree(value);
        delete shared;
    }
    SetPart(array, nullptr);
}
