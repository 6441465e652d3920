#ifndef QZLIB_OS_IP_ADDRESS_H
#define QZLIB_OS_IP_ADDRESS_H

#include <concepts>

#include "fw/fw_object.h"

class QZData;
class QZString;

/// An IPv4 address with a port, by value.
///
/// The first number of the dotted form is the lowest byte of the value, so that the value lies in memory in
/// network order. The port is a plain number. One thread at a time.
class QZ_API QZIPAddress : public QZObject
{
public:
    static const QZInt64 Type = 0x8310001;

    /// 0.0.0.0, port 0.
    QZIPAddress();
    /// Address and port of the other.
    explicit QZIPAddress(QZIPAddress* other);
    /// The value, port 0.
    explicit QZIPAddress(unsigned int value);
    template <std::integral T>
    explicit QZIPAddress(T value) : QZIPAddress(static_cast<unsigned int>(value))
    {}
    /// Sets the text like Set.
    /// @throws QZException 8192 for a text without four numbers
    explicit QZIPAddress(const char* text);
    explicit QZIPAddress(const QZWChar* text);
    explicit QZIPAddress(QZString* text);
    /// The data of ToData: 20 bytes without a port, 24 bytes with one; 0.0.0.0 for any other size.
    explicit QZIPAddress(QZData* data);
    /// The four numbers in order; port 0.
    QZIPAddress(unsigned char a1, unsigned char a2, unsigned char a3, unsigned char a4);

    QZInt64 GetType() override;

    unsigned int GetValue();
    void SetValue(unsigned int value);

    /// The numbers of the dotted form in order.
    unsigned char GetAddr1();
    unsigned char GetAddr2();
    unsigned char GetAddr3();
    unsigned char GetAddr4();
    void SetAddr1(unsigned char number);
    void SetAddr2(unsigned char number);
    void SetAddr3(unsigned char number);
    void SetAddr4(unsigned char number);

    /// The value.
    unsigned int ToUInt32();

    unsigned short GetThePort();
    void SetThePort(unsigned short port);

    /// Sets "10.0.0.1" or "10.0.0.1:8080". Without a port in the text the port does not change. Each number
    /// is cut to its low byte, the port to 16 bits.
    /// @throws QZException 8192 for a text without four numbers, after which value and port are 0; 256 for an
    /// empty number
    void Set(const char* text);
    void Set(const QZWChar* text);
    void Set(QZString* text);
    /// Sets the value. The port does not change.
    void Set(unsigned int value);
    template <std::integral T>
    void Set(T value)
    {
        Set(static_cast<unsigned int>(value));
    }

    /// "10.0.0.1:8080", without the port when it is 0 or 80, in a new string; give it back with Recycle.
    QZString* ToString();

    /// 32-bit words in a new buffer: the number of words that follow (4 or 5), the four numbers, and the port
    /// unless it is 80. Give the buffer back with Recycle.
    QZData* ToData();

    static void Recycle(QZData** data);
    static void Recycle(QZString** text);

private:
    unsigned char Number(int index);
    void SetNumber(int index, QZUInt32 number);

    QZUInt32 m_value = 0;
    QZUInt16 m_port = 0;
};

#endif
