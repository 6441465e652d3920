#ifndef QZLIB_OS_SERIAL_H
#define QZLIB_OS_SERIAL_H

#include <memory>
#include <vector>

#include "fw/fw_collection.h"
#include "fw/fw_keyed.h"

class QZString;

namespace os
{
class Line;
}

/// A serial port: lists the ports of the machine, opens one with 8 data bits, no parity and one stop bit, and
/// transfers bytes with a timeout.
///
/// The stored path has the device prefix "\\.\". Copies made by value share the path and the port that was
/// open when they were made: Close, and the destructor of any copy, closes it for all. A port that a copy
/// opens later is its own. One thread at a time.
///
/// Failures of the port are QZIOException objects with the system's number in the message; a transfer on a
/// closed port throws QZException 1792.
class QZ_API QZSerial : public QZObject
{
public:
    QZSerial();
    QZSerial(const QZSerial& other);
    QZSerial& operator=(const QZSerial& other);
    ~QZSerial() override;

    /// Opens a port: "COM3" or "\\.\COM3"; on Linux a name below /dev or an absolute path.
    ///
    /// A port that this object has open stays open in the system until the object is destroyed. The path is
    /// stored on success, the speed as soon as it is accepted.
    /// @param baud  2400, 4800, 9600, 19200, 115200, 230400, 460800, 921600 or 2000000
    /// @throws QZIOException 5376 when the port cannot be opened, 5632 when it refuses its settings
    /// @throws QZException 8192 for another speed, after the port was opened and closed again
    void Connect(QZString* path, QZInt64 baud);
    void Connect(const QZWChar* path, QZInt64 baud);
    void Connect(const char* path, QZInt64 baud);

    /// Calls Close, then Connect with the stored path and speed.
    void Reconnect();

    /// Closes the port. Does nothing on a closed port.
    void Close();

    /// Reads up to `length` bytes; waits for all of them until the timeout.
    /// @return the number of bytes received, fewer than `length` after a timeout
    /// @throws QZIOException 6144 when none were received, 5632 when the transfer fails
    /// @throws QZException 1792 on a closed port
    int Read(void* buffer, int length);

    /// Writes all bytes and returns their number.
    /// @throws QZIOException 6144 after a timeout, 5632 when the transfer fails, 5888 when fewer were
    /// written
    /// @throws QZException 1792 on a closed port
    int Write(const void* buffer, int length);

    /// Reads the bytes already received, up to `length`. Returns 0 on a closed port and on every failure;
    /// never throws.
    int TryRead(void* buffer, int length);
    /// Like Write, but returns 0 instead of an exception.
    int TryWrite(const void* buffer, int length);

    int WriteByte(unsigned char byte);
    int ReadByte(unsigned char* byte);

    /// Applies the settings of the port again and stores the speed, which is not tested here. Only the next
    /// Connect or Reconnect uses the new speed. True when the port accepted the settings; false on a closed
    /// port.
    QZBool SetBaud(unsigned short baud);

    /// The stored path, empty before the first connection. The port owns it.
    QZString* GetPath();

    /// The timeout of a transfer in milliseconds, 2000 by default. A negative time has no limit.
    void SetTimeout(int milliseconds);
    int GetTimeout();

    /// Discards bytes received and not yet read. Does nothing on a closed port.
    void RecvBufferClean();

    /// The ports of this machine, each with the prefix; give the list back with Recycle.
    /// @throws QZException 16 when the system has no list of its ports
    static QZList<QZString>* GetDeviceList();
    /// Always a new, empty collection; the text is not used.
    static QZStringCollection* GetDeviceList(QZString* text);

    /// Gives the collection back and clears the variable. A null in it is a QZLibAssert(false).
    static void Recycle(QZStringCollection** collection);
    /// Gives the strings back and deletes the list.
    static void Recycle(QZList<QZString>** list);

protected:
    /// The stored speed.
    QZInt64 Baud() const { return m_baud; }

private:
    struct Path;
    struct Port;

    template <typename Unit>
    void ConnectText(const Unit* path, QZInt64 baud);
    os::Line* OpenLine() const;
    os::Line* RequireLine(const QZWChar* method, const void* buffer, int length) const;

    /// Null before the first connection. m_left holds ports that were open at a later Connect until the
    /// object is destroyed.
    std::shared_ptr<Port> m_port;
    std::vector<std::shared_ptr<Port>> m_left;
    std::shared_ptr<Path> m_path;
    QZInt32 m_baud = 115200;
    QZInt32 m_timeout = 2000;
};

#endif
