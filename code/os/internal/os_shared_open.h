#ifndef QZLIB_OS_SHARED_OPEN_H
#define QZLIB_OS_SHARED_OPEN_H

/// The ways in which a buffered file is opened when others may have it open too. Internal.

class QZFile;
class QZString;

/// Opens a file for its only writer: others may read, and only without forbidding writes.
/// @throws QZIOException  FileInUse; OperationFailed on a file system without locks; what QZFile::Open throws
QZFile* OpenAlone(QZString* path);

/// Opens a file for a reader whom nobody disturbs. Recovers it first where its writer has died.
/// @throws QZIOException  FileInUse; what QZFile::Open throws
QZFile* OpenToRead(QZString* path);

/// Copies a file with its recovery files and recovers the copy.
/// @throws QZIOException  what QZFile throws; there is no copy then
void CopySynced(QZString* from, QZString* to);

#endif
