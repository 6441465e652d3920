#ifndef QZLIB_APPS_COMMON_OWNED_H
#define QZLIB_APPS_COMMON_OWNED_H

#include <qzlib.h>

#include <memory>
#include <string>

// Owners of the library's objects: at the end of the scope they return the object to the library.

namespace qzapp
{

struct GiveBack
{
    void operator()(QZString* text) const { QZStringFactory::Recycle(&text); }
    void operator()(QZData* data) const { QZDataFactory::Recycle(&data); }
    void operator()(QZDataTable* table) const { QZDbTable::Recycle(&table); }
    void operator()(QZJsonValue* value) const { QZJsonFactory::Recycle(&value); }
    void operator()(QZFile* file) const { QZFile::Close(&file); }
};

using OwnedString = std::unique_ptr<QZString, GiveBack>;
using OwnedData = std::unique_ptr<QZData, GiveBack>;
using OwnedTable = std::unique_ptr<QZDataTable, GiveBack>;
/// A JSON value with everything in it.
using OwnedJson = std::unique_ptr<QZJsonValue, GiveBack>;
/// An open file, which is closed at the end of the scope.
using OwnedFile = std::unique_ptr<QZFile, GiveBack>;

/// The bytes of a value; none for null.
inline std::string BytesOf(QZData* data)
{
    if (data == nullptr) return {};
    return std::string(static_cast<const char*>(data->GetPointer()),
                       static_cast<std::size_t>(data->GetSize()));
}

}  // namespace qzapp

#endif
