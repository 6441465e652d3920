#include "db/internal/db_semantic_fields.h"

#include "db/db_channel.h"
#include "db/db_node.h"
#include "db/db_semantic_type.h"
#include "fw/fw_data.h"
#include "fw/fw_data_type.h"
#include "fw/fw_encoding.h"
#include "fw/fw_environment.h"
#include "fw/fw_package.h"
#include "fw/fw_string.h"
#include "fw/fw_time.h"
#include "fw/internal/fw_trace.h"
#include "sys/sys_bytes.h"

namespace
{
constexpr QZInt64 kFormatField = 2;
constexpr QZInt64 kKindIndex = 1;
constexpr QZInt64 kLengthIndex = 2;
/// The items of the two lists follow their fixed fields.
constexpr QZInt64 kFirstItem = 7;

/// Hosts may pass any item number, so the sum wraps around.
QZInt64 Past(QZInt64 item, QZInt64 offset)
{
    return static_cast<QZInt64>(static_cast<QZUInt64>(item) + static_cast<QZUInt64>(offset));
}

/// The length of a list that ends with the item.
QZInt64 LengthWith(QZInt64 item) { return Past(item, 5); }

/// The exceptions of semantic nodes. Their traces name the class QZSNode.
QZTrace<QZDatabaseException> Failure(QZInt64 code, const QZWChar* method)
{
    return QZTrace(QZExceptionFactory::CreateDatabaseException(code), QZ_W("QZSNode"), method);
}

/// The fields that hold the name and the text of a kind; 0 for an unknown kind.
QZInt64 NameField(QZInt64 kind)
{
    switch (kind)
    {
        case LDTYPE::TLDTYPE: return TLDTYPE::NAME;
        case LDTYPE::FLDTYPE: return FLDTYPE::NAME;
        case LDTYPE::BLDTYPE: return BLDTYPE::NAME;
        case LDTYPE::WLDTYPE: return WLDTYPE::NAME;
        default: return 0;
    }
}

QZInt64 TextField(QZInt64 kind)
{
    switch (kind)
    {
        case LDTYPE::TLDTYPE: return TLDTYPE::TEXT;
        case LDTYPE::FLDTYPE: return FLDTYPE::TEXT;
        case LDTYPE::BLDTYPE: return BLDTYPE::TEXT;
        case LDTYPE::WLDTYPE: return WLDTYPE::TEXT;
        default: return 0;
    }
}

/// Returns the field, or throws for an unknown kind.
QZInt64 Known(QZInt64 field, QZInt64 kind, const QZWChar* method)
{
    if (field != 0) return field;
    throw Failure(QZDatabaseExceptionCode::UnknownNodeType, method)
        .Argument(QZ_W("QZInt64"), kind)
        .Exception();
}

void TestEncoding(QZInt64 type, QZInt64 field, const QZWChar* method)
{
    if (type == QZDataType::TEXTGB2312 || type == QZDataType::TEXTUTF16LE) return;
    throw Failure(QZDatabaseExceptionCode::UnknownStringEncoding, method)
        .Argument(QZ_W("QZInt64"), field)
        .Argument(QZ_W("QZInt64"), type)
        .Exception();
}

/// Holds the database lock, so that a length and the content that is read after it belong together.
class Bracket
{
public:
    explicit Bracket(QZChannel* channel) : m_channel(channel) { m_channel->ConsoleLock(); }
    ~Bracket() { m_channel->ConsoleUnlock(); }
    Bracket(const Bracket&) = delete;
    Bracket& operator=(const Bracket&) = delete;

private:
    QZChannel* m_channel;
};

/// An array field on the stack. Every operation on a node reads its format field several times; this saves an
/// allocation each time. Long or damaged arrays do not fit; they are read as a QZData, with its tests.
class SmallArray
{
public:
    SmallArray(QZChannel* channel, QZInt64 ld, QZInt64 field) : m_channel(channel), m_ld(ld), m_field(field)
    {
        const QZInt64 size = channel->ReadContent(ld, field, m_bytes, kRoom);
        // A QZData of this size throws. The failure was recorded once, and that is enough.
        if (size < 0) const QZData refused(size);
        if (size >= 4 && size <= kRoom) m_size = size;
    }

    /// True when the array has the element.
    bool Has(QZInt64 index) const { return index >= 0 && index < m_size / 4; }
    QZInt32 Get(QZInt64 index) const { return QZLoad<QZInt32>(m_bytes + index * 4); }

    /// Sets an element and writes the array, as PUT_ARRAYINT32 with PutData does. Returns false, and does
    /// nothing, when the array does not fit.
    bool Put(QZInt64 index, QZInt32 value)
    {
        if (m_size == 0 || index < 0 || index >= kRoom / 4) return false;
        if (index > Get(0))
        {
            const QZInt64 size = index * 4 + 4;
            for (QZInt64 i = m_size; i < size; ++i) m_bytes[i] = 0;
            m_size = size;
            QZStore(m_bytes + index * 4, value);
            QZStore(m_bytes, static_cast<QZInt32>(index));
        }
        else
        {
            if (!Has(index)) return false;
            QZStore(m_bytes + index * 4, value);
        }
        // A refused write leaves the old content in the file, so the copy here is no longer valid.
        if (m_channel->P_C(m_ld, m_field, m_bytes, m_size) <= 0) m_size = 0;
        return true;
    }

private:
    static constexpr QZInt64 kRoom = 512;

    QZChannel* m_channel;
    QZInt64 m_ld;
    QZInt64 m_field;
    QZInt64 m_size = 0;
    QZByte m_bytes[kRoom];
};

struct GiveBack
{
    void operator()(QZData* data) const { QZData::Recycle(&data); }
    void operator()(QZPackage* package) const { QZPackage::Recycle(&package); }
    void operator()(QZPackage32* package) const { QZPackage32::Recycle(&package); }
};
}  // namespace

QZDbFields QZDbFields::Of(QZChannel* channel, QZInt64 pd)
{
    return QZDbFields(channel, QZNodePD::GetLD(channel, pd));
}

// ---- The format field

std::unique_ptr<QZData> QZDbFields::Format() const { return std::unique_ptr<QZData>(GetData(kFormatField)); }

QZInt32 QZDbFields::Element(QZInt64 field, QZInt64 index) const
{
    {
        const Bracket bracket(m_channel);
        const SmallArray array(m_channel, m_ld, field);
        if (array.Has(index)) return array.Get(index);
    }
    const std::unique_ptr<QZData> array(GetData(field));
    return array->GetValueInt32(index);
}

void QZDbFields::SetElement(QZInt64 field, QZInt64 index, QZInt32 value) const
{
    {
        const Bracket bracket(m_channel);
        if (SmallArray(m_channel, m_ld, field).Put(index, value)) return;
    }
    const std::unique_ptr<QZData> array(GetData(field));
    QZNodeLD::PUT_ARRAYINT32(array.get(), index, value);
    PutData(field, array.get());
}

QZInt64 QZDbFields::Kind() const { return Element(kFormatField, kKindIndex); }
QZInt64 QZDbFields::Length() const { return Element(kFormatField, kLengthIndex); }

void QZDbFields::SetLength(QZInt64 length) const
{
    SetElement(kFormatField, kLengthIndex, static_cast<QZInt32>(length));
}

void QZDbFields::AtLeast(QZInt64 length) const
{
    if (Length() < length) SetLength(length);
}

QZInt64 QZDbFields::Type(QZInt64 field) const
{
    if (field < 0)
    {
        throw Failure(QZDatabaseExceptionCode::ArgumentOutOfRange, QZ_W("GetDataType"))
            .Argument(QZ_W("QZInt64"), field)
            .Exception();
    }
    return Element(kFormatField, field);
}

void QZDbFields::SetType(QZInt64 field, QZInt64 type) const
{
    if (field < 0)
    {
        throw Failure(QZDatabaseExceptionCode::ArgumentOutOfRange, QZ_W("SetDataType"))
            .Argument(QZ_W("QZInt64"), field)
            .Argument(QZ_W("QZInt64"), type)
            .Exception();
    }
    SetElement(kFormatField, field, static_cast<QZInt32>(type));
}

// ---- Text

void QZDbFields::PutString(QZInt64 field, QZString* text, QZInt64 encoding) const
{
    TestEncoding(encoding, field, QZ_W("PutString"));
    QZData bytes;
    QZEncoding::GetData(encoding, text, &bytes);
    PutData(field, &bytes);
    AtLeast(field < 0 ? field : field - 2);
    // Always this type, whatever the encoding of the bytes: readers decode by this type.
    SetType(field, QZDataType::TEXTUTF16LE);
}

void QZDbFields::GetString(QZInt64 field, QZString* text) const
{
    const QZInt64 type = Type(field);
    TestEncoding(type, field, QZ_W("GetString"));
    const std::unique_ptr<QZData> bytes(GetData(field));
    QZEncoding::GetString(type, bytes.get(), text);
}

QZString* QZDbFields::GetString(QZInt64 field) const
{
    std::unique_ptr<QZString> text(new QZString());
    GetString(field, text.get());
    return text.release();
}

QZInt64 QZDbFields::GetStringLength(QZInt64 field) const
{
    QZString text;
    GetString(field, &text);
    return text.GetLength();
}

void QZDbFields::PutName(QZString* name) const
{
    const QZInt64 kind = Kind();
    PutString(Known(NameField(kind), kind, QZ_W("PutName")), name, QZDataType::TEXTUTF16LE);
}

void QZDbFields::GetName(QZString* name) const
{
    const QZInt64 kind = Kind();
    GetString(Known(NameField(kind), kind, QZ_W("GetName")), name);
}

void QZDbFields::PutText(QZString* text) const
{
    const QZInt64 kind = Kind();
    PutString(Known(TextField(kind), kind, QZ_W("PutText")), text, QZDataType::TEXTUTF16LE);
}

void QZDbFields::GetText(QZString* text) const
{
    const QZInt64 kind = Kind();
    GetString(Known(TextField(kind), kind, QZ_W("GetText")), text);
}

// ---- Data

QZInt64 QZDbFields::PutData(QZInt64 field, QZData* data) const
{
    return QZNodeLD::PutData(m_channel, m_ld, field, data);
}
QZData* QZDbFields::GetData(QZInt64 field) const { return QZNodeLD::GetData(m_channel, m_ld, field); }
QZInt64 QZDbFields::GetDataSize(QZInt64 field) const { return QZNodeLD::GetSize(m_channel, m_ld, field); }
QZInt32 QZDbFields::GetArrayElement(QZInt64 field, QZInt64 index) const { return Element(field, index); }

// ---- State

void QZDbFields::NewState(QZInt64 field, QZInt32 value) const
{
    QZData state(8);
    state.SetValueInt32(0, 1);
    state.SetValueInt32(1, value);
    PutData(field, &state);
    SetType(field, QZDataType::ARRAYINT32);
}

void QZDbFields::SetState(QZInt64 field, QZInt32 value, QZInt64 index) const
{
    const QZInt64 type = Type(field);
    if (type == QZDataType::ARRAYINT32)
    {
        SetElement(field, index, value);
    }
    else if (type == QZDataType::ARRAYDATA)
    {
        const std::unique_ptr<QZData> stored(GetData(field));
        const std::unique_ptr<QZPackage32, GiveBack> package(QZPackage32::Deserialize(stored.get()));
        const std::unique_ptr<QZData, GiveBack> state(package->GetElement(0));
        QZNodeLD::PUT_ARRAYINT32(state.get(), index, value);
        package->SetElement(0, state.get());
        QZData written;
        QZPackage32::Serialize(package.get(), &written);
        PutData(field, &written);
    }
    else
    {
        throw Failure(QZDatabaseExceptionCode::DataTypeException, QZ_W("SetState"))
            .Argument(QZ_W("QZInt64"), field)
            .Argument(QZ_W("QZInt32"), value)
            .Argument(QZ_W("QZInt64"), index)
            .Exception();
    }
}

QZInt32 QZDbFields::GetState(QZInt64 field, QZInt64 index) const
{
    const QZInt64 type = Type(field);
    if (type == QZDataType::ARRAYINT32) return Element(field, index);
    if (type == QZDataType::ARRAYDATA)
    {
        // This reads the wide package, although SetState reads and writes the narrow one. Hosts that store
        // wide packages write them themselves. docs/packages.md describes both.
        const std::unique_ptr<QZData> stored(GetData(field));
        const std::unique_ptr<QZPackage, GiveBack> package(QZPackage::Deserialize(stored.get()));
        const std::unique_ptr<QZData, GiveBack> state(package->GetElement(0));
        return state->GetValueInt32(index);
    }
    throw Failure(QZDatabaseExceptionCode::DataTypeException, QZ_W("GetState"))
        .Argument(QZ_W("QZInt64"), field)
        .Argument(QZ_W("QZInt64"), index)
        .Exception();
}

// ---- Dates

void QZDbFields::PutDateInt32(QZInt64 field) const
{
    const QZDateTime now(QZEnvironment::GetCurrentTimestamp());
    QZData bytes;
    now.ToData(&bytes);
    PutData(field, &bytes);
}

QZDateTime* QZDbFields::GetDate(QZInt64 field) const
{
    if (Type(field) != QZDataType::ARRAYINT32)
    {
        throw Failure(QZDatabaseExceptionCode::DataTypeException, QZ_W("GetDate"))
            .Argument(QZ_W("QZInt64"), field)
            .Exception();
    }
    const std::unique_ptr<QZData> bytes(GetData(field));
    return new QZDateTime(bytes.get());
}

// ---- Items

QZInt64 QZDbFields::ItemField(QZInt64 item) { return Past(item, kFirstItem); }

QZInt64 QZDbFields::ItemCount() const { return Length() - 5; }

QZInt64 QZDbFields::AddString(QZString* text) const
{
    const QZInt64 length = Length() + 1;
    PutString(length + 2, text, QZDataType::TEXTUTF16LE);
    return length - 5;
}

QZString* QZDbFields::ItemString(QZInt64 item) const
{
    if (item < 0)
    {
        throw QZTrace(QZExceptionFactory::CreateException(QZExceptionCode::ArgumentOutOfRange),
                      QZ_W("QZNodeTLD"), QZ_W("GetString"))
            .Argument(QZ_W("QZInt64"), item)
            .Exception();
    }
    return GetString(ItemField(item));
}

void QZDbFields::PutItemString(QZInt64 item, QZString* text) const
{
    if (item < 0 || text == nullptr)
    {
        throw QZTrace(QZExceptionFactory::CreateException(QZExceptionCode::ArgumentOutOfRange),
                      QZ_W("QZNodeTLD"), QZ_W("PutString"))
            .Argument(QZ_W("QZInt64"), item)
            .Argument(QZ_W("QZString*"), text)
            .Exception();
    }
    PutString(ItemField(item), text, QZDataType::TEXTUTF16LE);
}

QZInt64 QZDbFields::AddData(QZData* data, QZInt64 type) const
{
    const QZInt64 length = Length() + 1;
    PutData(length + 2, data);
    SetLength(length);
    SetType(length + 2, type);
    // This is the length, not the number of the item: 5 more, as documented.
    return length;
}

void QZDbFields::PutItem(QZInt64 item, QZData* data) const
{
    if (item < 0)
    {
        throw QZTrace(
            QZExceptionFactory::CreateDatabaseException(QZDatabaseExceptionCode::ArgumentOutOfRange),
            QZ_W("QZNodeFLD"), QZ_W("PutData"))
            .Argument(QZ_W("QZInt64"), item)
            .Exception();
    }
    PutData(ItemField(item), data);
    AtLeast(LengthWith(item));
}

void QZDbFields::PutItem(QZInt64 item, QZData* data, QZInt64 type) const
{
    const QZInt64 field = ItemField(item);
    const QZInt64 length = LengthWith(item);
    if (field < 0) return SetType(field, type);
    // The same three writes, but the format field is read only once when it fits. A copy whose write was
    // refused is not used.
    const Bracket bracket(m_channel);
    SmallArray format(m_channel, m_ld, kFormatField);
    const bool held = format.Put(field, static_cast<QZInt32>(type));
    if (!held) SetType(field, type);
    PutData(field, data);
    // Item -5 is the format field itself.
    if (!held || field == kFormatField || !format.Has(kLengthIndex)) return AtLeast(length);
    if (format.Get(kLengthIndex) < length) format.Put(kLengthIndex, static_cast<QZInt32>(length));
}

void QZDbFields::TestItem(QZInt64 item, const QZWChar* className, const QZWChar* method) const
{
    if (item >= 1 && item <= ItemCount()) return;
    throw QZTrace(QZExceptionFactory::CreateException(QZExceptionCode::ArgumentOutOfRange), className, method)
        .Argument(QZ_W("QZInt64"), item)
        .Exception();
}

void QZDbFields::MoveItem(QZInt64 item, QZInt64 steps, const QZWChar* className, const QZWChar* method) const
{
    TestItem(item, className, method);
    const QZInt64 count = ItemCount();
    if (steps > count - item) steps = count - item;
    if (steps < 1 - item) steps = 1 - item;

    const std::unique_ptr<QZData> format = Format();
    const QZInt64 direction = steps > 0 ? 1 : -1;
    for (QZInt64 i = 0; i != steps; i += direction)
    {
        const QZInt64 here = item + kFirstItem + i;
        const QZInt32 type = format->GetValueInt32(here);
        format->SetValueInt32(here, format->GetValueInt32(here + direction));
        format->SetValueInt32(here + direction, type);
    }
    PutData(kFormatField, format.get());
    // The field moves towards the end for both signs. So after a move to the front its type is at another
    // item.
    QZNodeLD::FieldMove(m_channel, m_ld, item + kFirstItem, steps);
}

void QZDbFields::DeleteItem(QZInt64 item, const QZWChar* className, const QZWChar* method) const
{
    TestItem(item, className, method);
    const std::unique_ptr<QZData> format = Format();
    const QZInt64 length = format->GetValueInt32(kLengthIndex) - 1;
    QZData shorter(length * 4 + 12);
    QZInt64 to = 0;
    for (QZInt64 from = 0; from <= length + 3; ++from)
    {
        if (from != item + kFirstItem) shorter.SetValueInt32(to++, format->GetValueInt32(from));
    }
    shorter.SetValueInt32(0, shorter.GetValueInt32(0) - 1);
    PutData(kFormatField, &shorter);
    // The engine refuses this: the data stays, and the types of the later items move by one.
    QZNodeLD::FieldDelete(m_channel, m_ld, item + kFirstItem);
    SetLength(length);
}
