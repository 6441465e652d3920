#ifndef QZLIB_APPS_QZDB_DATABASE_H
#define QZLIB_APPS_QZDB_DATABASE_H

#include <functional>
#include <memory>
#include <string>

#include "common/private_files.h"
#include "tool.h"

namespace qzdb
{

/// The header as it stood in the file when it was opened.
struct Header
{
    QZInt64 fileSize = 0;
    int version = 0;
    int addressMode = 0;
    int fileMode = 0;
    QZInt64 addressLength = 0;
    /// Position of the last byte in use.
    QZInt64 length = 0;
    /// The reserved bytes are as they were made: zero.
    bool reservedClean = true;
};

/// From now on a Database is a private copy of its file, in the state of the last sync, which is deleted at
/// the end.
void ReadPrivateCopies(bool copies);

/// An open database whose file may be damaged. It checks each address before it follows it, and every walk
/// ends.
///
/// The engine's own checks of arguments are off; the checks here replace them.
class Database
{
public:
    /// Opens the file. Failure: it is missing, cannot be opened, or is no database.
    explicit Database(const std::string& path);
    ~Database();
    Database(const Database&) = delete;
    Database& operator=(const Database&) = delete;

    /// Writes everything and closes. Throws when that fails, which the destructor cannot do.
    void Close();

    QZChannel* Channel() const { return m_channel; }
    const Header& GetHeader() const { return m_header; }
    const std::string& Path() const { return m_path; }
    /// The engine's error code from opening the file, 0 for none.
    QZInt64 OpenError() const { return m_openError; }

    /// Checks the parts that every command needs: length field, main HD, the roots of the five trees. Throws
    /// Failure that says what is broken.
    void RequireSound();

    /// The root HD of a tree, 1 to 5; 0 when there is none.
    QZInt64 Root(QZInt64 tree);

    /// The type code of the record that begins at the address, UNKNOWN for none.
    QZInt64 Kind(QZInt64 address);

    /// An address field of a record. The caller has checked the record's kind.
    QZInt64 Field(QZInt64 address, QZInt64 selector);

    /// Calls visit(record, kind) for each record of the list of an HD. The walk ends when visit returns
    /// false. Failure when the list is broken or does not end.
    void Walk(QZInt64 hd, const std::function<bool(QZInt64 record, QZInt64 kind)>& visit);

    /// Content of a PD (PD_DATA), CD (CD_DATA) or of an LD's field (its number). Failure when its length is
    /// impossible.
    std::string Content(QZInt64 address, QZInt64 field);
    QZInt64 ContentLength(QZInt64 address, QZInt64 field);

    /// Writes content. Failure when the engine refuses.
    void PutContent(QZInt64 address, QZInt64 field, std::string_view bytes);
    QZInt64 PutRecord(QZInt64 hd, QZInt64 kind);
    void PutField(QZInt64 address, QZInt64 selector, QZInt64 value);
    QZInt64 PutFreeHead();

    /// The log is on.
    bool RollbackOn();

    /// A Failure that names the file.
    [[noreturn]] void Fail(int code, const std::string& text) const;
    [[noreturn]] void FailDamaged(QZInt64 address, const std::string& text) const;
    [[noreturn]] void FailRefused() const;

    /// The library is about to append records and this much content.
    void Grown(QZInt64 bytes) { m_most += bytes / 16 + 64; }

    /// More bytes than this cannot be in use.
    QZInt64 MostBytes() const { return m_most * 16; }

private:
    void Open();
    bool ReadHeader();

    std::string m_path;
    /// Where the private copy lies, null without one.
    std::unique_ptr<qzapp::PrivateFolder> m_folder;
    /// What is opened: m_path or the copy.
    std::string m_opened;
    Header m_header;
    QZChannel* m_channel = nullptr;
    QZInt64 m_openError = 0;
    /// More records than this cannot be in a list: they stand at least 16 bytes apart.
    QZInt64 m_most = 0;
};

/// Switches the log off while records are made that no earlier state can reach, and on again at the end.
class LogPause
{
public:
    explicit LogPause(Database& database);
    ~LogPause();
    LogPause(const LogPause&) = delete;
    LogPause& operator=(const LogPause&) = delete;

    void End();

private:
    Database& m_database;
    bool m_paused;
};

}  // namespace qzdb

#endif
