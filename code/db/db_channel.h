#ifndef QZLIB_DB_CHANNEL_H
#define QZLIB_DB_CHANNEL_H

#include "db/db_database.h"
#include "fw/fw_object.h"

class QZCollection;
class QZString;

/// The host's access to a database: everything above the engine uses a channel, never a QZDatabase.
///
/// A channel reaches a database in this process (MODE_FILE). MODE_PROCESS is reserved: its operations pass a
/// command code to CallFun, which returns 0. With any other mode every operation returns 0. Operations have
/// the names, the arguments and the results of QZDatabase. The channel owns its database; it adds no lock of
/// its own, and several threads may share it.
class QZ_API QZChannel : public QZObject
{
public:
    static const QZInt64 Type = 0x81FFFFE;

    static const QZInt64 MODE_FILE = 0x100;
    static const QZInt64 MODE_PROCESS = 0x200;

    QZInt64 GetType() override;

    /// Opens a database file. The mode is only stored: the file is opened in every mode.
    /// @throws QZDatabaseException with the last recorded code (BadStruct) for a file that is no database
    /// @throws QZIOException  the file is missing or cannot be opened
    static QZChannel* Open(QZInt64 mode, QZString* path);
    static QZChannel* Open(QZInt64 mode, const char* path);
    static QZChannel* Open(QZInt64 mode, const QZWChar* path);

    /// See QZDatabase::Create.
    static QZBool Create(QZString* path);
    static QZBool Create(const char* path);
    static QZBool Create(const QZWChar* path);
    static QZBool Create(QZString* path, QZInt64 version, QZInt64 addressMode, QZInt64 rollback);
    static QZBool Create(const char* path, QZInt64 version, QZInt64 addressMode, QZInt64 rollback);
    static QZBool Create(const QZWChar* path, QZInt64 version, QZInt64 addressMode, QZInt64 rollback);

    /// Closes the database, deletes the channel and clears the variable. A null in the variable is a
    /// QZLibAssert(false).
    /// @throws QZIOException WriteFailed when not everything reached the file; all is released all the same
    static void Close(QZChannel** channel);

    /// Reserved for a database in another process. Returns 0 and does nothing.
    QZInt64 CallFun(QZInt64 command, QZInt64 a, QZInt64 b, QZInt64 c, QZInt64 d, QZInt64 e);

    /// 4 or 8, by the address mode; 0 outside MODE_FILE.
    QZInt64 GetAddrLength();

    void ConsoleLock();
    void ConsoleUnlock();

    /// Write everything to the disk. Both return 0, whatever the result of the database is. TrySync tells
    /// whether it succeeded.
    QZInt64 COLLECT();
    QZInt64 SYNC();

    /// Additions, see QZDatabase. Outside MODE_FILE the state is empty and the path null.
    static QZWriteState TryClose(QZChannel** channel);
    QZWriteState TryCollect();
    QZWriteState TrySync();
    QZWriteState GetWriteState();
    QZString* GetPath();

    void CheckParam(QZInt64 flag);
    QZBool CheckParam();

    QZInt64 G_AS();
    QZInt64 G_EN();
    QZInt64 G_LE();
    QZInt64 G_WS();
    QZInt64 G_TA(QZInt64 n);
    QZInt64 G_A(QZInt64 address, QZInt64 selector);
    QZInt64 G_HD_A(QZInt64 side, QZInt64 address, QZInt64 selector);
    QZInt64 G_T(QZInt64 side, QZInt64 address);
    QZInt64 G_CN(QZInt64 address, QZInt64 code, QZInt64 argument);
    QZInt64 G_AL(QZInt64 code, QZInt64 address, QZCollection* collection);
    QZInt64 A_G(QZInt64 hd, QZInt64 selector, const void* buffer, QZInt64 length, QZCollection* collection);
    QZInt64 CK(QZInt64 side, QZInt64 address);

    QZInt64 P_D(QZInt64 hd, QZInt64 kind);
    QZInt64 P_HD(QZInt64 pd);
    /// P_HDF of the database: a free HD.
    QZInt64 P_HD();
    QZInt64 P_A(QZInt64 address, QZInt64 selector, QZInt64 value);
    QZInt64 P_C(QZInt64 address, QZInt64 field, const void* buffer, QZInt64 length);
    QZInt64 G_C(QZInt64 address, QZInt64 field, void* buffer);
    QZInt64 G_C_L(QZInt64 address, QZInt64 field);
    /// G_C_L, and G_C as well when the content is no longer than `room`, in one step.
    QZInt64 ReadContent(QZInt64 address, QZInt64 field, void* buffer, QZInt64 room);
    /// Where the contents of `count` neighbouring fields of an LD begin, in one walk; false where each is to
    /// be asked for by itself. ReadSlot is ReadContent for such a slot.
    bool FieldSlots(QZInt64 ld, QZInt64 field, QZInt64 count, QZInt64* slots);
    QZInt64 ReadSlot(QZInt64 slot, void* buffer, QZInt64 room);
    QZInt64 E_C(QZInt64 address, QZInt64 field);
    QZInt64 ERASE(QZInt64 address, QZInt64 count);
    QZBool D_DATA(QZInt64 address, QZInt64 code);
    QZInt64 MV(QZInt64 address, QZInt64 steps);
    QZInt64 MT(QZInt64 address, QZInt64 hd);

    QZBool RB_ON();
    QZBool RB_OFF();
    QZInt64 AD_TS();
    QZBool AB_CB(QZInt64 mark);
    QZInt64 G_WPS();

    /// A new record, given back with Recycle: zeroed in MODE_PROCESS, null in a mode that is neither.
    QZDbSysInfo* GetSysInfo();
    /// MODE_FILE: deletes the record and clears the variable. Not to be called in MODE_PROCESS: there it
    /// frees nothing and leaves 512 in QZLastError.
    void Recycle(QZDbSysInfo** info);

private:
    QZChannel(QZDatabase* database, QZInt64 mode);
    ~QZChannel() override;

    bool IsFile() const { return m_mode == MODE_FILE; }
    QZInt64 Call(QZInt64 command, QZInt64 a = 0, QZInt64 b = 0, QZInt64 c = 0);

    QZDatabase* m_database;
    QZInt64 m_mode;
};

#endif
