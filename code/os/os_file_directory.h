#ifndef QZLIB_OS_FILE_DIRECTORY_H
#define QZLIB_OS_FILE_DIRECTORY_H

#include "fw/fw_object.h"

class QZString;
class QZStringCollection;

/// Directories, all static. Paths are narrow, wide or a QZString, at most 255 characters.
class QZ_API QZFileDirectory : public QZObject
{
public:
    static const QZInt64 Type = 0x81FF400;

    QZInt64 GetType() override;

    /// Makes the directory and its missing parents. Succeeds when it exists.
    /// @throws QZIOException 4864 for a path of more than 255 characters, 5888 with the system's number
    static void Create(const char* path);
    static void Create(const QZWChar* path);
    static void Create(QZString* path);
    /// Deletes an empty directory. Throws like Create.
    static void Delete(const char* path);
    static void Delete(const QZWChar* path);
    static void Delete(QZString* path);
    /// True for a directory, false for a file and a missing path. @throws QZIOException 4864
    static QZBool Exists(const char* path);
    static QZBool Exists(const QZWChar* path);
    static QZBool Exists(QZString* path);

    /// The files of a directory in a new collection, each directory's names in ascending order. `recursive`:
    /// the files of its subdirectories too; links to directories are not followed. `withPath`: names with
    /// their path.
    /// @throws QZIOException 4864, 5888 with the system's number
    static QZStringCollection* GetFiles(QZString* path, unsigned char recursive, unsigned char withPath);
    /// The same with the directories, each before its content.
    static QZStringCollection* GetFilesAll(QZString* path, unsigned char recursive, unsigned char withPath);
    /// Gives the collection back with its strings.
    static void Recycle(QZStringCollection** collection);
};

#endif
