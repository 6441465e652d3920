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

/// A serial port: finds the ports of the machine, opens one with 8 data bits, no parity and one stop bit, and
/// moves bytes with a time-out.
///
/// The path always carries the device prefix "\\.\" once a port was opened. Copies made by value share the
/// path and the port as it was when they were made: what one closes is closed for all, the first to go closes
/// it, and what one opens later is its own. One thread at a time.
///
/// Failures of the port are QZIOException objects with the system's number in the message; a transfer on a
/// closed port is a QZException 1792.
class QZ_API QZSerial : public QZObject
{
public:
    QZSerial();
    QZSerial(const QZSerial& other);
    QZSerial& operator=(const QZSerial& other);
    ~QZSerial() override;

    /// Opens a port, "COM3" or "\\.\COM3"; on Linux a name under /dev or an absolute path.
    ///
    /// A port that is open already is neither closed nor asked for: it stays with the system until the object
    /// goes. The path is stored when all went well, the speed as soon as it is found good.
    /// @param baud  2400, 4800, 9600, 19200, 115200, 230400, 460800, 921600 or 2000000
    /// @throws QZIOException 5376 when the port cannot be opened, 5632 when it refuses its settings;
    /// QZException 8192
    ///         for another speed, after the port was opened and closed again
    void Connect(QZString* path, QZInt64 baud);
    void Connect(const QZWChar* path, QZInt64 baud);
    void Connect(const char* path, QZInt64 baud);

    /// Close, and Connect with the stored path and speed.
    void Reconnect();

    /// Harmless on a closed port.
    void Close();

    /// Reads up to `length` bytes; waits for all of them as long as the time-out allows.
    /// @return how many came, fewer than asked for when the time is over
    /// @throws QZIOException 6144 when none came, 5632 when the transfer fails; QZException 1792 on a closed
    /// port
    int Read(void* buffer, int length);

    /// Writes all bytes and answers how many.
    /// @throws QZIOException 6144 when the time is over, 5632 when the transfer fails, 5888 when fewer went;
    ///         QZException 1792 on a closed port
    int Write(const void* buffer, int length);

    /// Reads what has come, up to `length` bytes. 0 on a closed port and for every failure; never throws.
    int TryRead(void* buffer, int length);
    /// Write; 0 instead of an exception.
    int TryWrite(const void* buffer, int length);

    int WriteByte(unsigned char byte);
    int ReadByte(unsigned char* byte);

    /// True when the port took its settings; false on a closed port. Only the next Connect or Reconnect works
    /// at the new speed, which is not tested here.
    QZBool SetBaud(unsigned short baud);

    /// The stored path, empty before the first connection. It stays the port's.
    QZString* GetPath();

    /// Milliseconds for the next transfer, 2000 at first; a negative time has no limit.
    void SetTimeout(int milliseconds);
    int GetTimeout();

    /// Drops what came and was not read yet; nothing on a closed port.
    void RecvBufferClean();

    /// The ports of this machine, each with the prefix; given back with Recycle.
    /// @throws QZException 16 when the system does not give its list
    static QZList<QZString>* GetDeviceList();
    /// A new, empty collection, whatever the text: hosts that ask in this way find no port.
    static QZStringCollection* GetDeviceList(QZString* text);

    /// The variable is cleared. A null in it is a QZLibAssert(false).
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

    /// Null before the first connection. Those that a Connect went over wait for the object's end.
    std::shared_ptr<Port> m_port;
    std::vector<std::shared_ptr<Port>> m_left;
    std::shared_ptr<Path> m_path;
    QZInt32 m_baud = 115200;
    QZInt32 m_timeout = 2000;
};

#endif
