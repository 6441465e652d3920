#include "fw/fw_package.h"

#include <unordered_set>

#include "fw/fw_block.h"
#include "fw/fw_collection.h"
#include "fw/fw_data_factory.h"
#include "fw/fw_library.h"
#include "fw/internal/fw_hooks.h"
#include "fw/internal/fw_raise.h"
#include "fw/internal/fw_scoped.h"
#include "sys/sys_bytes.h"

const QZInt64 QZPackage::Type;
const QZInt64 QZPackage32::Type;

namespace
{

QZUInt64 ToWord(const void* pointer) { return reinterpret_cast<std::uintptr_t>(pointer); }

void* ToBlock(QZUInt64 word) { return reinterpret_cast<void*>(static_cast<std::uintptr_t>(word)); }

[[noreturn]] void ThrowNoMemory(const QZWChar* className, const QZWChar* method)
{
    QZRaise(QZLastErrorOr(QZExceptionCode::OutOfMemory), className, method).Throw();
}

/// Unique ids.
class IdCollection : public QZCollection
{
public:
    IdCollection() { m_duplicatesAllowed = 0; }
    /// Adds an id that is known to be new.
    void PushNew(QZUInt64 id) { PushWord(id); }
};

/// The differences of the wire formats. A directory entry ends with type, id, start and end, one word each.
template <typename WordType>
struct WireFormat;

template <>
struct WireFormat<QZUInt64>
{
    using Word = QZUInt64;
    static constexpr QZInt64 kEntry = 64;
    /// Reserved bytes in front of an entry's words.
    static constexpr QZInt64 kReserved = 32;
    /// The bytes that a string must hold for each element before it is read: half of an entry.
    static constexpr QZInt64 kTested = 32;
    static constexpr const QZWChar* kClass = QZ_W("QZPackage");
};

template <>
struct WireFormat<QZUInt32>
{
    using Word = QZUInt32;
    static constexpr QZInt64 kEntry = 16;
    static constexpr QZInt64 kReserved = 0;
    static constexpr QZInt64 kTested = 16;
    static constexpr const QZWChar* kClass = QZ_W("QZPackage32");
};

template <typename Wire>
constexpr QZInt64 kWord = sizeof(typename Wire::Word);

/// One directory entry in a byte string.
template <typename Wire>
class Entry
{
public:
    Entry(void* package, QZInt64 index)
        : m_words(QZAt(package, kWord<Wire> + Wire::kEntry * index + Wire::kReserved))
    {}

    QZUInt64 Get(int word) const { return QZLoad<typename Wire::Word>(m_words + word * kWord<Wire>); }
    void Set(int word, QZUInt64 value)
    {
        QZStore(m_words + word * kWord<Wire>, static_cast<typename Wire::Word>(value));
    }

    enum Words
    {
        kType,
        kId,
        kStart,
        kEnd
    };

private:
    unsigned char* m_words;
};

/// The tests of a byte string before it is read.
template <typename Wire>
bool IsPackage(QZData* data)
{
    const auto size = static_cast<QZUInt64>(data->GetSize());
    if (size < kWord<Wire>) return false;
    const QZUInt64 count = QZLoad<typename Wire::Word>(data->GetPointer());
    // The whole directory must be in the string, although the elements may begin inside it.
    if (count > (size - kWord<Wire>) / Wire::kEntry) return false;
    QZUInt64 limit = count * Wire::kTested;
    for (QZUInt64 i = 0; i < count; ++i)
    {
        const Entry<Wire> entry(data->GetPointer(), static_cast<QZInt64>(i));
        const QZUInt64 start = entry.Get(Entry<Wire>::kStart);
        const QZUInt64 end = entry.Get(Entry<Wire>::kEnd);
        if (start < limit || start > size || end < start || end > size) return false;
        limit = end;
    }
    return true;
}

}  // namespace

// ---- What both packages share

struct QZPackage::Elements
{
    QZCollection blocks;
    IdCollection ids;
    QZCollection types;
    QZInt64 capacityHint = 0;

    Elements() = default;
    Elements(const Elements&) = delete;
    Elements& operator=(const Elements&) = delete;
    ~Elements()
    {
        const QZInt64 count = blocks.Count();
        for (QZInt64 i = 0; i < count; ++i) block::Free(ToBlock(blocks.GetElement(i)));
    }

    void MakeRoom(QZInt64 n, const QZWChar* className, const QZWChar* type)
    {
        if (n < 1)
            QZRaise(QZExceptionCode::ArgumentOutOfRange, className, className).Argument(type, n).Throw();
        capacityHint = n;
        for (QZCollection* collection : {&blocks, static_cast<QZCollection*>(&ids), &types})
        {
            collection->NewLength(n);
            collection->Clear();
        }
    }

    /// A private copy of a buffer's block.
    static void* CopyOf(QZData* data, const QZWChar* className, const QZWChar* method)
    {
        if (data == nullptr)
            QZRaise(QZExceptionCode::ArgumentOutOfRange, className, method)
                .Argument(QZ_W("QZData*"), static_cast<const QZWChar*>(nullptr))
                .Throw();
        void* copy = block::Copy(data->GetStructPointer());
        if (copy == nullptr) ThrowNoMemory(className, method);
        return copy;
    }

    /// The package owns the block from here on, also when there is no memory to add it.
    void PushBlock(void* element, QZUInt64 type)
    {
        try
        {
            blocks.Push(ToWord(element));
        }
        catch (...)
        {
            block::Free(element);
            throw;
        }
        try
        {
            types.Push(type);
        }
        catch (...)
        {
            block::Free(ToBlock(blocks.Pop()));
            throw;
        }
    }

    QZBool Add(QZUInt64 id, QZData* data, QZUInt64 type, const QZWChar* className)
    {
        if (ids.FindElement(id) >= 0) return 0;
        PushBlock(CopyOf(data, className, QZ_W("Add")), type);
        try
        {
            ids.PushNew(id);
        }
        catch (...)
        {
            block::Free(ToBlock(blocks.Pop()));
            types.Pop();
            throw;
        }
        return 1;
    }

    QZData* Get(QZInt64 index)
    {
        const void* element = ToBlock(blocks.GetElement(index));
        QZScopedData data(QZDataFactory::CreateData());
        data->Set(block::Data(element), block::Size(element));
        return data.Release();
    }

    QZData* GetById(QZUInt64 id)
    {
        const QZInt64 index = ids.FindElement(id);
        return index < 0 ? nullptr : Get(index);
    }

    void Set(QZInt64 index, QZData* data, const QZWChar* className, const QZWChar* method)
    {
        void* old = ToBlock(blocks.GetElement(index));
        blocks.SetElement(index, ToWord(CopyOf(data, className, method)));
        block::Free(old);
    }

    void SetById(QZUInt64 id, QZData* data, const QZWChar* className)
    {
        const QZInt64 index = ids.FindElement(id);
        if (index < 0)
            QZRaise(QZExceptionCode::ArgumentOutOfRange, className, QZ_W("SetElementByID"))
                .Argument(QZ_W("QZUInt64"), static_cast<QZInt64>(id))
                .Throw();
        Set(index, data, className, QZ_W("SetElementByID"));
    }

    QZUInt64 TypeById(QZUInt64 id)
    {
        const QZInt64 index = ids.FindElement(id);
        return index < 0 ? 0 : types.GetElement(index);
    }

    template <typename Wire>
    void Write(QZData* target)
    {
        const QZInt64 count = blocks.Count();
        QZInt64 size = kWord<Wire> + Wire::kEntry * count;
        for (QZInt64 i = 0; i < count; ++i) size += block::Size(ToBlock(blocks.GetElement(i))) + 1;
        target->NewSize(size);
        void* package = target->GetPointer();
        QZStore(package, static_cast<typename Wire::Word>(count));
        QZInt64 start = kWord<Wire> + Wire::kEntry * count + 1;
        for (QZInt64 i = 0; i < count; ++i)
        {
            const void* element = ToBlock(blocks.GetElement(i));
            const QZInt64 length = block::Size(element);
            Entry<Wire> entry(package, i);
            entry.Set(entry.kType, types.GetElement(i));
            entry.Set(entry.kId, ids.GetElement(i));
            entry.Set(entry.kStart, static_cast<QZUInt64>(start));
            entry.Set(entry.kEnd, static_cast<QZUInt64>(start + length));
            QZMemCopy(QZAt(package, start), block::Data(element), length);
            start += length + 1;
        }
    }

    /// Reads a byte string that has passed the tests.
    template <typename Wire>
    void Read(QZData* data)
    {
        void* package = data->GetPointer();
        const auto count = static_cast<QZInt64>(QZLoad<typename Wire::Word>(package));
        std::unordered_set<QZUInt64> seen;
        for (QZInt64 i = 0; i < count; ++i)
        {
            const Entry<Wire> entry(package, i);
            const auto start = static_cast<QZInt64>(entry.Get(Entry<Wire>::kStart));
            const auto length = static_cast<QZInt64>(entry.Get(Entry<Wire>::kEnd)) - start;
            void* element = block::Make(0, block::kDefaultOffset, length, 0);
            if (element == nullptr) ThrowNoMemory(Wire::kClass, Wire::kClass);
            QZMemCopy(block::Data(element), QZAt(package, start), length);
            PushBlock(element, entry.Get(Entry<Wire>::kType));
            // A second element with the same id gets no entry in the list of ids, so the elements after it
            // have the ids of their neighbours. Stored strings rely on it.
            const QZUInt64 id = entry.Get(Entry<Wire>::kId);
            if (seen.insert(id).second) ids.PushNew(id);
        }
    }
};

namespace
{

/// Deserialize of both classes; `make` calls the constructor from a byte string.
template <typename Wire, typename Maker>
auto ReadPackage(QZData* data, Maker make)
{
    const QZWChar* const method = QZ_W("Deserialize");
    if (data == nullptr)
        QZRaise(QZExceptionCode::ArgumentOutOfRange, Wire::kClass, method)
            .Argument(QZ_W("QZData*"), static_cast<const QZWChar*>(nullptr))
            .Throw();
    try
    {
        if (!IsPackage<Wire>(data)) QZRaise(QZGeneralFailure(QZExceptionCode::StructuralFailure)).Throw();
        return make();
    }
    catch (...)
    {
        QZPassOn(Wire::kClass, method).Argument(QZ_W("QZData*"), data->GetPointer(), data->GetSize());
        throw;
    }
}

template <typename Package>
void Delete(Package** package)
{
    if (*package == nullptr)
    {
        QZLibAssert(0);
        return;
    }
    delete *package;
    *package = nullptr;
}

void GiveBack(QZData** data)
{
    if (*data == nullptr)
    {
        QZLibAssert(0);
        return;
    }
    if ((*data)->IsDisposable()) QZDataFactory::Recycle(data);
    *data = nullptr;
}

using Wire64 = WireFormat<QZUInt64>;
using Wire32 = WireFormat<QZUInt32>;

}  // namespace

// ---- QZPackage

QZPackage::QZPackage() : m_elements(std::make_shared<QZPackage::Elements>()) {}

QZPackage::QZPackage(QZInt64 n) : QZPackage() { m_elements->MakeRoom(n, Wire64::kClass, QZ_W("QZInt64")); }

QZPackage::QZPackage(QZData* data) : QZPackage() { m_elements->Read<Wire64>(data); }

QZPackage::QZPackage(const QZPackage& other) = default;
QZPackage& QZPackage::operator=(const QZPackage& other) = default;
QZPackage::~QZPackage() = default;

QZInt64 QZPackage::GetType() { return Type; }

QZBool QZPackage::Add(QZUInt64 id, QZData* data, QZUInt64 type)
{
    return m_elements->Add(id, data, type, Wire64::kClass);
}

QZData* QZPackage::GetElementByID(QZUInt64 id) { return m_elements->GetById(id); }
QZData* QZPackage::GetElement(QZInt64 index) { return m_elements->Get(index); }

void QZPackage::SetElementByID(QZUInt64 id, QZData* data) { m_elements->SetById(id, data, Wire64::kClass); }

void QZPackage::SetElement(QZInt64 index, QZData* data)
{
    m_elements->Set(index, data, Wire64::kClass, QZ_W("SetElement"));
}

QZUInt64 QZPackage::GetElementTypeByID(QZUInt64 id) { return m_elements->TypeById(id); }
QZInt64 QZPackage::Count() { return m_elements->blocks.Count(); }

void QZPackage::Serialize(QZPackage* package, QZData* target) { package->m_elements->Write<Wire64>(target); }

QZPackage* QZPackage::Deserialize(QZData* data)
{
    return ReadPackage<Wire64>(data, [data] { return new QZPackage(data); });
}

void QZPackage::Recycle(QZPackage** package) { Delete(package); }
void QZPackage::Recycle(QZData** data) { GiveBack(data); }

// ---- QZPackage32

QZPackage32::QZPackage32() : m_elements(std::make_shared<QZPackage::Elements>()) {}

QZPackage32::QZPackage32(int n) : QZPackage32() { m_elements->MakeRoom(n, Wire32::kClass, QZ_W("QZInt32")); }

QZPackage32::QZPackage32(QZData* data) : QZPackage32() { m_elements->Read<Wire32>(data); }

QZPackage32::QZPackage32(const QZPackage32& other) = default;
QZPackage32& QZPackage32::operator=(const QZPackage32& other) = default;
QZPackage32::~QZPackage32() = default;

QZInt64 QZPackage32::GetType() { return Type; }

QZBool QZPackage32::Add(QZUInt64 id, QZData* data, QZUInt64 type)
{
    return m_elements->Add(id, data, type, Wire32::kClass);
}

QZData* QZPackage32::GetElementByID(QZUInt64 id) { return m_elements->GetById(id); }
QZData* QZPackage32::GetElement(QZInt64 index) { return m_elements->Get(index); }

void QZPackage32::SetElementByID(QZUInt64 id, QZData* data) { m_elements->SetById(id, data, Wire32::kClass); }

void QZPackage32::SetElement(QZInt64 index, QZData* data)
{
    m_elements->Set(index, data, Wire32::kClass, QZ_W("SetElement"));
}

QZUInt64 QZPackage32::GetElementTypeByID(QZUInt64 id) { return m_elements->TypeById(id); }
QZInt64 QZPackage32::Count() { return m_elements->blocks.Count(); }

void QZPackage32::Serialize(QZPackage32* package, QZData* target)
{
    package->m_elements->Write<Wire32>(target);
}

QZPackage32* QZPackage32::Deserialize(QZData* data)
{
    return ReadPackage<Wire32>(data, [data] { return new QZPackage32(data); });
}

void QZPackage32::Recycle(QZPackage32** package) { Delete(package); }
void QZPackage32::Recycle(QZData** data) { GiveBack(data); }
