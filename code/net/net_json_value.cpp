#include "fw/fw_block.h"
#include "fw/fw_exception_factory.h"
#include "fw/fw_library.h"
#include "fw/fw_string.h"
#include "fw/fw_string_factory.h"
#include "fw/internal/fw_raise.h"
#include "net/internal/net_json_access.h"

const QZInt64 QZJsonValue::Type;
const QZInt64 QZJsonBool::Type;
const QZInt64 QZJsonDecimal::Type;
const QZInt64 QZJsonString::Type;
const QZInt64 QZJsonValueCollection::Type;
const QZInt64 QZJsonObject::Type;
const QZInt64 QZJsonNull::Type;

namespace
{
/// The memory that a string of so many units takes from the memory manager.
QZInt64 SizeOfString(std::size_t units)
{
    static const QZInt64 kEmpty = QZString().GetMemorySize();
    const QZInt64 length = block::Length(0, block::kDefaultOffset, static_cast<QZInt64>(units) * 2);
    if (length <= block::kCapacityStep) return kEmpty;
    return kEmpty + (length - 1) / block::kCapacityStep * block::kCapacityStep;
}

[[noreturn]] void ThrowNullName(const QZWChar* type)
{
    QZRaise(QZExceptionCode::NullPointer, QZ_W("QZKeyValueCollection"), QZ_W("GetIndex"))
        .Argument(type, static_cast<const QZWChar*>(nullptr))
        .Throw();
}

/// The values of an array. Those that nobody else has locked are deleted with it.
class OwnList : public QZList<QZJsonValue>
{
public:
    ~OwnList() override
    {
        while (QZJsonValue* value = Pop()) QZJsonAccess::DiscardFree(value);
    }
};
}  // namespace

// ---- Values

QZJsonValue::QZJsonValue() = default;
QZJsonValue::QZJsonValue(const QZJsonValue& other) : QZObject(other) { *this = other; }

QZJsonValue& QZJsonValue::operator=(const QZJsonValue& other)
{
    if (this == &other) return *this;
    const QZUInt64 key = QZObject::GetObjectID();
    QZObject::operator=(other);
    if (m_string != nullptr)
    {
        // The base class copied the object id, and the string is locked under the id.
        m_string->SetDisposable(key, 1);
        m_string->SetDisposable(QZObject::GetObjectID(), 0);
    }
    QZJsonAccess::SetText(this, QZJsonAccess::TextOf(const_cast<QZJsonValue*>(&other)));
    return *this;
}

QZJsonValue::~QZJsonValue()
{
    if (m_string == nullptr) return;
    m_string->SetDisposable(QZObject::GetObjectID(), 1);
    delete m_string;
}

QZObject* QZJsonValue::NewObject() { return new QZJsonValue(); }
void QZJsonValue::DeleteObject(QZObject* value) { delete value; }

QZInt64 QZJsonValue::GetMemorySize()
{
    return QZObject::GetMemorySize() +
           (m_string != nullptr ? m_string->GetMemorySize() : SizeOfString(m_text.capacity()));
}
QZInt64 QZJsonValue::GetType() { return Type; }

QZString* QZJsonValue::ToString() { return QZStringFactory::CreateString(); }

void QZJsonValue::Recycle(QZString** text)
{
    if (*text == nullptr)
    {
        QZLibAssert(0);
        return;
    }
    if (!(*text)->IsDisposable()) return;
    delete *text;
    *text = nullptr;
}

void QZJsonValue::Val(QZString* text) { QZJsonValue::Val()->Set(text); }

QZString* QZJsonValue::Val()
{
    QZString* val = m_val.load(std::memory_order_acquire);
    if (val != nullptr) return val;
    const std::lock_guard<std::mutex> guard(g_jsonStringLock);
    val = m_val.load(std::memory_order_relaxed);
    if (val != nullptr) return val;
    if (m_string == nullptr)
    {
        m_string = new QZString();
        m_string->SetDisposable(QZObject::GetObjectID(), 0);
    }
    m_string->Set(m_text.data(), static_cast<QZInt64>(m_text.size()) * 2);
    m_val.store(m_string, std::memory_order_release);
    return m_string;
}

// ---- Values with a text

QZJsonBool::QZJsonBool() = default;
QZObject* QZJsonBool::NewObject() { return new QZJsonBool(); }
void QZJsonBool::DeleteObject(QZObject* value) { delete value; }

QZInt64 QZJsonBool::GetType() { return Type; }
QZString* QZJsonBool::ToString() { return JsonToText(this); }
void QZJsonBool::Val(QZBool value) { QZJsonAccess::SetText(this, value ? QZ_W("true") : QZ_W("false")); }

QZJsonDecimal::QZJsonDecimal() = default;
QZObject* QZJsonDecimal::NewObject() { return new QZJsonDecimal(); }
void QZJsonDecimal::DeleteObject(QZObject* value) { delete value; }

QZInt64 QZJsonDecimal::GetType() { return Type; }
QZString* QZJsonDecimal::ToString() { return JsonToText(this); }

QZJsonString::QZJsonString() = default;
QZObject* QZJsonString::NewObject() { return new QZJsonString(); }
void QZJsonString::DeleteObject(QZObject* value) { delete value; }

QZInt64 QZJsonString::GetType() { return Type; }
QZString* QZJsonString::ToString() { return JsonToText(this); }

void QZJsonString::Recycle(QZString** text)
{
    if (*text == nullptr)
    {
        QZLibAssert(0);
        return;
    }
    if (*text != QZJsonAccess::StringOf(this)) delete *text;
    *text = nullptr;
}

QZJsonNull::QZJsonNull() = default;
QZObject* QZJsonNull::NewObject() { return new QZJsonNull(); }
void QZJsonNull::DeleteObject(QZObject* value) { delete value; }

QZInt64 QZJsonNull::GetType() { return Type; }
QZString* QZJsonNull::ToString() { return JsonToText(this); }

// ---- Arrays

QZJsonValueCollection::QZJsonValueCollection() : m_list(std::make_shared<OwnList>()) {}

QZObject* QZJsonValueCollection::NewObject() { return new QZJsonValueCollection(); }
void QZJsonValueCollection::DeleteObject(QZObject* value) { delete value; }

QZInt64 QZJsonValueCollection::GetMemorySize()
{
    return QZJsonValue::GetMemorySize() + QZJsonAccess::SizeOfContent(this);
}

QZInt64 QZJsonValueCollection::GetType() { return Type; }
QZString* QZJsonValueCollection::ToString() { return JsonToText(this); }

QZJsonValue* QZJsonValueCollection::Pop() { return m_list->Pop(); }
QZJsonValue* QZJsonValueCollection::GetElement(QZInt64 index) { return m_list->GetElement(index); }
QZBool QZJsonValueCollection::Push(QZJsonValue* value) { return m_list->Push(value); }
QZInt64 QZJsonValueCollection::Count() { return m_list->Count(); }
QZJsonValue* QZJsonValueCollection::DeQueue() { return m_list->DeQueue(); }
QZBool QZJsonValueCollection::EnQueue(QZJsonValue* value) { return m_list->EnQueue(value); }
QZBool QZJsonValueCollection::AddFirst(QZJsonValue* value) { return m_list->AddFirst(value); }
QZBool QZJsonValueCollection::AddLast(QZJsonValue* value) { return m_list->AddLast(value); }
QZJsonValue* QZJsonValueCollection::GetFirst() { return m_list->GetFirst(); }
QZJsonValue* QZJsonValueCollection::GetLast() { return m_list->GetLast(); }

// ---- Objects

QZJsonObject::QZJsonObject() : m_attributes(std::make_shared<JsonAttributes>(true)) {}
QZJsonObject::QZJsonObject(std::nullptr_t) {}

QZObject* QZJsonObject::NewObject() { return new QZJsonObject(); }
void QZJsonObject::DeleteObject(QZObject* value) { delete value; }

QZInt64 QZJsonObject::GetMemorySize()
{
    return QZJsonValue::GetMemorySize() + QZJsonAccess::SizeOfContent(this);
}

QZInt64 QZJsonObject::GetType() { return Type; }
QZString* QZJsonObject::ToString() { return JsonToText(this); }

QZInt64 QZJsonObject::AttrCount() { return m_attributes != nullptr ? m_attributes->Count() : 0; }
void QZJsonObject::Recycle(QZJsonValue** value) { QZJsonFactory::Recycle(value); }

QZJsonValue* QZJsonObject::RemoveAttr(const char* name)
{
    if (name == nullptr) ThrowNullName(QZ_W("QZChar*"));
    QZString text(name);
    return m_attributes != nullptr ? RemoveAttr(m_attributes->Find(JsonViewOf(&text))) : nullptr;
}

QZJsonValue* QZJsonObject::RemoveAttr(const QZWChar* name)
{
    if (name == nullptr) ThrowNullName(QZ_W("QZWChar*"));
    return m_attributes != nullptr ? RemoveAttr(m_attributes->Find(name)) : nullptr;
}

QZJsonValue* QZJsonObject::RemoveAttr(QZString* name)
{
    if (name == nullptr) ThrowNullName(QZ_W("QZString*"));
    return m_attributes != nullptr ? RemoveAttr(m_attributes->Find(JsonViewOf(name))) : nullptr;
}

QZJsonValue* QZJsonObject::RemoveAttr(QZInt64 index)
{
    return m_attributes != nullptr ? m_attributes->Remove(index) : nullptr;
}
QZJsonValue* QZJsonObject::GetAttrValue(QZInt64 index)
{
    return m_attributes != nullptr ? m_attributes->ValueAt(index) : nullptr;
}
QZString* QZJsonObject::GetAttrName(QZInt64 index)
{
    return m_attributes != nullptr ? m_attributes->StringAt(index) : nullptr;
}
