#ifndef QZLIB_FW_PACKAGE_H
#define QZLIB_FW_PACKAGE_H

#include <concepts>
#include <memory>

#include "fw/fw_object.h"

class QZData;

/// A small self-describing record of numbered, typed byte fields that is written to and read from one flat
/// byte string.
///
/// Elements keep the order in which they were added. Their ids are unique; their types are any numbers,
/// usually values of QZDataType. The package holds private copies of what was added; what it returns belongs
/// to the caller, who gives it back with Recycle. A copy made by value shares the elements with its source.
/// One thread at a time. docs/packages.md describes the wire format byte by byte.
class QZ_API QZPackage : public QZObject
{
public:
    static const QZInt64 Type = 0x81FF100;

    QZPackage();
    /// @param n  how many elements to make room for
    /// @throws QZException 256 for n below 1
    explicit QZPackage(QZInt64 n);
    template <std::integral T>
    explicit QZPackage(T n) : QZPackage(static_cast<QZInt64>(n))
    {}
    QZPackage(const QZPackage& other);
    QZPackage& operator=(const QZPackage& other);
    ~QZPackage() override;

    QZInt64 GetType() override;

    /// Adds a copy of the bytes. False, and nothing changes, when the id is present.
    /// @throws QZException 256 for null
    QZBool Add(QZUInt64 id, QZData* data, QZUInt64 type);

    /// A new buffer with the element's bytes; null when the id is absent.
    QZData* GetElementByID(QZUInt64 id);
    /// @throws QZException 1024 for a bad index
    QZData* GetElement(QZInt64 index);

    /// Replaces the bytes of an element by a copy of others; its type stays.
    /// @throws QZException 256 for an unknown id and for null, 1024 for a bad index
    void SetElementByID(QZUInt64 id, QZData* data);
    void SetElement(QZInt64 index, QZData* data);

    /// 0 when the id is absent.
    QZUInt64 GetElementTypeByID(QZUInt64 id);

    QZInt64 Count();

    /// Sizes the target and writes the package into it. Reserved words and the filler byte in front of each
    /// element keep what the target's storage held.
    static void Serialize(QZPackage* package, QZData* target);

    /// A new package of a byte string, given back with Recycle.
    /// @throws QZException 512 for a string that is no package
    static QZPackage* Deserialize(QZData* data);

    /// Deletes the package and clears the variable. A null in it is a QZLibAssert(false).
    static void Recycle(QZPackage** package);
    /// Recycles a buffer; if it is locked, only the variable is cleared.
    static void Recycle(QZData** data);

protected:
    /// Reads a byte string that has passed the tests.
    explicit QZPackage(QZData* data);

private:
    struct Elements;
    std::shared_ptr<Elements> m_elements;
    friend class QZPackage32;
};

/// The same with 32-bit fields and a directory of 16 bytes per element. Ids and types are 64 bits wide here
/// too; only their low halves are written.
class QZ_API QZPackage32 : public QZObject
{
public:
    /// The number of QZPackage: the two classes share their type.
    static const QZInt64 Type = 0x81FF100;

    QZPackage32();
    /// @param n  how many elements to make room for
    /// @throws QZException 256 for n below 1
    explicit QZPackage32(int n);
    template <std::integral T>
    explicit QZPackage32(T n) : QZPackage32(static_cast<int>(n))
    {}
    QZPackage32(const QZPackage32& other);
    QZPackage32& operator=(const QZPackage32& other);
    ~QZPackage32() override;

    QZInt64 GetType() override;

    /// As in QZPackage.
    QZBool Add(QZUInt64 id, QZData* data, QZUInt64 type);
    QZData* GetElementByID(QZUInt64 id);
    QZData* GetElement(QZInt64 index);
    void SetElementByID(QZUInt64 id, QZData* data);
    void SetElement(QZInt64 index, QZData* data);
    QZUInt64 GetElementTypeByID(QZUInt64 id);
    QZInt64 Count();

    static void Serialize(QZPackage32* package, QZData* target);
    static QZPackage32* Deserialize(QZData* data);
    static void Recycle(QZPackage32** package);
    static void Recycle(QZData** data);

protected:
    explicit QZPackage32(QZData* data);

private:
    std::shared_ptr<QZPackage::Elements> m_elements;
};

#endif
