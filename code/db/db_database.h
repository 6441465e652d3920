#ifndef QZLIB_DB_DATABASE_H
#define QZLIB_DB_DATABASE_H

#include "fw/fw_object.h"

class OBJECTS;
class QZChannel;
class QZCollection;
class QZCriticalSection;
class QZDbReport;
class QZString;
struct QZWriteState;

/// Information about a database. GetSysInfo makes it, Recycle deletes it. A plain record.
class QZ_API QZDbSysInfo : public QZObject
{
public:
    static const QZInt64 Type = 0x81FFFFC;

    QZDbSysInfo() = default;
    QZDbSysInfo(const QZDbSysInfo& other) = default;
    QZDbSysInfo(QZDbSysInfo&& other) = default;
    QZDbSysInfo& operator=(const QZDbSysInfo& other) = default;
    QZDbSysInfo& operator=(QZDbSysInfo&& other) = default;
    ~QZDbSysInfo() override = default;

    QZInt64 GetType() override;

    QZInt64 Version = 0;       ///< 1, 4, 5 or 9
    QZInt64 AddrMode = 0;      ///< ADDR_MODE_32I, ADDR_MODE_32 or ADDR_MODE_64
    QZInt64 WriteProtect = 0;  ///< 0 while writing is allowed
    QZInt64 Rollback = 0;      ///< 1 while the rollback log is on
    QZInt64 FileMode = 0;      ///< of an open database: the address mode again
};

/// The only access to the engine: short operations that take the lock, test their arguments and call a
/// component.
///
/// A database exists between Open (through QZChannel::Open) and Close. Addresses are byte offsets in the
/// file, 0 means none. A failure is recorded (G_EN is the count, G_LE the last code), and the
/// result is then -1, 0 or false; only G_A throws. While argument tests are on (the default), an operation
/// first tests whether the record is of the kind that it needs.
///
/// Any thread may call. One recursive section serialises the operations; G_AS, G_WS, GetSysInfo and the
/// rollback operations do not enter it. An exception that passes through an operation leaves the section
/// entered by the thread, and every other thread then waits for ever: UnlockOnRaise changes that.
class QZ_API QZDatabase : public QZObject
{
public:
    static const QZInt64 Type = 0x81FFFFD;

    /// 1: an exception that passes through an operation leaves the section, so that a failed operation is
    /// one failure and other threads go on. Brackets of ConsoleLock stay: their owner unlocks them. 0, the
    /// default: the section stays entered by the thread. Set it before the first operation.
    static QZByte UnlockOnRaise;

    QZInt64 GetType() override;

    /// Makes a database file and leaves nothing open. Only version 5 is made. False, and the disk is not
    /// touched, for another version or address mode and for a file that exists.
    /// @throws QZIOException  the file cannot be created or opened
    static QZBool Create(QZString* path);
    /// @param addressMode  ADDR_MODE_32I, ADDR_MODE_32 (addresses of 4 bytes) or ADDR_MODE_64 (8 bytes, the
    /// default)
    /// @param rollback     not 0 (the default): the file gets the structure of the rollback log
    static QZBool Create(QZString* path, QZInt64 version, QZInt64 addressMode, QZInt64 rollback);

    /// Copies everything that can be reached in a damaged file into a new one: lists, records, contents and
    /// the references between them. The earlier states of the log and the snapshots are not copied, and the
    /// addresses are others. The damaged file is only read; nobody may have it open.
    /// @param newPath  the file to make. It gets its name when it is whole and on the disk; until then it is
    /// newPath with ".part" appended, which a later run deletes
    /// @param report   gets what was left out and what was mended; may be null
    /// @return 0, and there is no new file, when newPath exists or when the report ended it
    /// @throws QZDatabaseException BAD_STRUCT: not even a header or a main list can be recognised
    /// @throws QZIOException       a file cannot be opened, made or written; there is no new file then
    static QZBool Repair(QZString* path, QZString* newPath, QZDbReport* report);

    /// Writes the live state into a new file without the log and without contents that nothing refers to. The
    /// addresses of the records change; a reference of one record to another follows. Bytes of contents are
    /// copied as they are. The memory that it takes is about 12 bytes for each record, 3 percent of the
    /// file, and the blocks of two files. Nobody else may have the file open.
    /// @param newPath  null: the new file replaces the old one in one step. Else the file to make. Until it
    /// is whole it has the name with ".part" appended, which a later run deletes
    /// @param marks    snapshot marks, by their addresses; null for none. The new file can restore the
    /// states at these marks; their own fields are copied. Each of them takes a copy of the file for a while,
    /// whose name ends with ".state"
    /// @param report   gets sizes and, for a damaged file, the faults; may be null
    /// @return 0, and nothing has changed, when newPath exists, when the file is damaged (use Repair), or
    /// when the report ended it
    /// @throws QZException         ArgumentOutOfRange for a mark that is none; StructuralFailure when a sync
    /// of the file was not completed and AtomicSync is off
    /// @throws QZDatabaseException BAD_STRUCT: the file is no database; ROLLBACK_ERROR_INVALIDADDR: the log
    /// does not lead to a mark; WRITE_ERROR_WRITEPROTECT: no address is left for the new file
    /// @throws QZIOException       a file cannot be opened, made, written or replaced
    static QZBool Compact(QZString* path, QZString* newPath, QZCollection* marks, QZDbReport* report);

    /// Writes everything to the disk, closes the file, deletes the object and clears the variable. A null in
    /// the variable is a QZLibAssert(false).
    /// @throws QZIOException WriteFailed when not everything reached the file; all is released all the same
    static void Close(QZDatabase** database);

    /// Enter and leave the section that serialises the operations, to bracket several of them into one.
    void ConsoleLock();
    void ConsoleUnlock();

    /// The file buffer's operation and its result.
    QZBool Collect();
    QZBool Sync();

    /// Additions: Close, Collect and Sync for those who ask whether everything was written. They throw
    /// nothing for a file that cannot be written, and return the state afterwards; see
    /// QZFileBuffer::GetWriteState. After TryClose, Unwritten is what was lost.
    static QZWriteState TryClose(QZDatabase** database);
    QZWriteState TryCollect();
    QZWriteState TrySync();
    /// An addition: whether the changes reach the file.
    QZWriteState GetWriteState();
    /// An addition: the path of the file, which belongs to the database.
    QZString* GetPath();

    /// Argument tests: not 0 turns them on.
    void CheckParam(QZInt64 flag);
    QZBool CheckParam();

    /// Address length, 4 or 8.
    QZInt64 G_AS();
    /// How many errors were recorded, and the last one.
    QZInt64 G_EN();
    QZInt64 G_LE();
    /// Write protection, 0 while writing is allowed.
    QZInt64 G_WS();

    /// The root HD of tree n (TREEASN to TREEBSN), 0 if there is none.
    QZInt64 G_TA(QZInt64 n);
    /// An address field of a record or HD; -1 when refused.
    /// @throws QZDatabaseException BadStruct, when argument tests are on and the record does not fit the
    /// selector; without UnlockOnRaise the section stays entered
    QZInt64 G_A(QZInt64 address, QZInt64 selector);
    /// A field of an HD, untested.
    QZInt64 G_HD_A(QZInt64 side, QZInt64 address, QZInt64 selector);
    /// What lies at the address: a type code.
    QZInt64 G_T(QZInt64 side, QZInt64 address);
    /// Counts and places; `code` is HD_NODE_COUNT and its like. -1 when refused.
    /// @throws QZException 1024 with HD_NODE_COUNT_ALL on a list that is not empty; without
    /// UnlockOnRaise the section stays entered
    QZInt64 G_CN(QZInt64 address, QZInt64 code, QZInt64 argument);
    /// Fills `collection`; `code` is ADDRESSARRAYCOPY_PD_FROM_HD and its like. -1, on success too; 0 for a
    /// null collection; a byte size for ADDRESSARRAYCOPY_ROLLBACKMARKS.
    /// @throws QZException 1024 with ADDRESSARRAYCOPY_ALL_PD_FROM_HD on a list that is not empty
    QZInt64 G_AL(QZInt64 code, QZInt64 address, QZCollection* collection);
    /// There is no search by value. Returns 0, -1 for a bad HD.
    QZInt64 A_G(QZInt64 hd, QZInt64 selector, const void* buffer, QZInt64 length, QZCollection* collection);
    /// The structure check by kind: NORMAL, a fault's code, or UNKNOWN.
    QZInt64 CK(QZInt64 side, QZInt64 address);

    /// Appends a record of the kind (DATA_LD, DATA_PD, DATA_AD, DATA_CD, DATA_RD) with empty content; -1 on
    /// failure.
    QZInt64 P_D(QZInt64 hd, QZInt64 kind);
    /// A new HD under a PD; -1 for a bad PD.
    QZInt64 P_HD(QZInt64 pd);
    /// A new unattached HD, 0 when writing is refused.
    QZInt64 P_HDF();
    /// Writes an address field: 1, 0 for a selector that cannot be written, -1 for a bad record.
    QZInt64 P_A(QZInt64 address, QZInt64 selector, QZInt64 value);

    /// Content of an LD's field (from 1), of a PD (PD_DATA) or of a CD (CD_DATA). `length` is in bytes.
    /// P_C returns 1, 0 when refused; G_C the position of the last byte; G_C_L the length; E_C the bytes
    /// erased. All: 0 for a field that an LD does not have, -1 on failure.
    QZInt64 P_C(QZInt64 address, QZInt64 field, const void* buffer, QZInt64 length);
    QZInt64 G_C(QZInt64 address, QZInt64 field, void* buffer);
    QZInt64 G_C_L(QZInt64 address, QZInt64 field);
    QZInt64 E_C(QZInt64 address, QZInt64 field);

    /// Writes `count` zero bytes, untested and never logged; returns `count`.
    QZInt64 ERASE(QZInt64 address, QZInt64 count);

    /// Removes from lists; `code` is DELETE_DATA and its like. False for another code or a bad record.
    /// @throws QZException 1024 with DELETE_PD_ALL for a child list that is not empty, after the PD and its
    /// LD were removed
    QZBool D_DATA(QZInt64 address, QZInt64 code);
    /// Moves a record within its list, towards the end for positive steps: 0, -1 for a bad record.
    QZInt64 MV(QZInt64 address, QZInt64 steps);
    /// Moves a record to the end of a list: the record, -1 for a bad record or HD.
    QZInt64 MT(QZInt64 address, QZInt64 hd);

    /// The rollback log: on, off, a new snapshot mark (0 while off), restore to a log record, state of the
    /// write position. None of them takes the lock.
    QZBool RB_ON();
    QZBool RB_OFF();
    QZInt64 AD_TS();
    QZBool AB_CB(QZInt64 mark);
    QZInt64 G_WPS();

    /// A new record, given back with Recycle.
    QZDbSysInfo* GetSysInfo();
    /// Deletes the record and clears the variable. A null in the variable is a QZLibAssert(false).
    void Recycle(QZDbSysInfo** info);

private:
    friend class QZChannel;
    class Operation;

    explicit QZDatabase(OBJECTS* objects);
    ~QZDatabase() override;

    static QZDatabase* Open(QZString* path);

    static bool ISDATAOBJ(QZInt64 selector);
    static bool ISHDOBJ(QZInt64 selector);
    static bool ISTABLEOBJ(QZInt64 selector);
    static bool ISLDOBJ(QZInt64 selector);
    static bool ISPDOBJ(QZInt64 selector);
    static bool ISADOBJ(QZInt64 selector);
    static bool ISCDOBJ(QZInt64 selector);
    static bool ISRDOBJ(QZInt64 selector);
    QZInt64 StructCheck(QZInt64 side, QZInt64 address);
    bool CheckObject(QZInt64 side, QZInt64 address, QZInt64 selector);

    void Enter();
    void Leave();
    bool Testing() const;
    void Record(QZInt64 code);
    bool Is(QZInt64 address, QZInt64 type);
    bool Fits(bool fits);

    QZInt64 ReadField(QZInt64 address, QZInt64 selector);
    QZInt64 CountOrNumber(QZInt64 address, QZInt64 code, QZInt64 argument);
    QZInt64 CountAll(QZInt64 hd);
    QZInt64 NthRecord(QZInt64 hd, QZInt64 n);
    QZInt64 ListAddresses(QZInt64 code, QZInt64 address, QZCollection* collection);
    QZInt64 AppendRecord(QZInt64 hd, QZInt64 kind);
    QZInt64 PutContent(QZInt64 address, QZInt64 field, const void* buffer, QZInt64 length);
    QZInt64 PutFieldContent(QZInt64 ld, QZInt64 field, const void* buffer, QZInt64 length);
    QZInt64 FieldForWriting(QZInt64 fields, QZInt64 field);
    QZInt64 ContentSlot(QZInt64 address, QZInt64 field);
    bool FieldSlots(QZInt64 ld, QZInt64 field, QZInt64 count, QZInt64* slots);
    QZInt64 ReadSlot(QZInt64 slot, void* buffer, QZInt64 room);
    bool FindSlots(QZInt64 ld, QZInt64 field, QZInt64 count, QZInt64* slots);
    QZInt64 ReadContent(QZInt64 address, QZInt64 field, void* buffer, QZInt64 room);
    bool Delete(QZInt64 address, QZInt64 code);
    void DeleteWithBranch(QZInt64 pd);

    OBJECTS* m_objects;
    /// Operations that took the lock. Counted and never read.
    QZInt64 m_operations;
    QZCriticalSection* m_section;
};

#endif
