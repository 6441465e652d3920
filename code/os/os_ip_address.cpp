#include "os/os_ip_address.h"

#include "fw/fw_convert.h"
#include "fw/fw_data.h"
#include "fw/fw_data_factory.h"
#include "fw/fw_keyed.h"
#include "fw/fw_string.h"
#include "fw/fw_string_factory.h"
#include "fw/internal/fw_raise.h"
#include "fw/internal/fw_scoped.h"

const QZInt64 QZIPAddress::Type;

namespace
{

constexpr QZUInt16 kSilentPort = 80;
constexpr int kNumbers = 4;
constexpr QZInt64 kWord = 4;
constexpr QZInt64 kSizeWithoutPort = (1 + kNumbers) * kWord;
constexpr QZInt64 kSizeWithPort = kSizeWithoutPort + kWord;

}  // namespace

QZIPAddress::QZIPAddress() = default;

QZIPAddress::QZIPAddress(QZIPAddress* other) : m_value(other->m_value), m_port(other->m_port) {}

QZIPAddress::QZIPAddress(unsigned int value) : m_value(value) {}

QZIPAddress::QZIPAddress(const char* text) { Set(text); }
QZIPAddress::QZIPAddress(const QZWChar* text) { Set(text); }
QZIPAddress::QZIPAddress(QZString* text) { Set(text); }

QZIPAddress::QZIPAddress(QZData* data)
{
    // Only the size determines the form; the count in the first word is not tested.
    const QZInt64 size = data != nullptr ? data->GetSize() : 0;
    if (size != kSizeWithoutPort && size != kSizeWithPort) return;
    for (int i = 0; i < kNumbers; ++i) SetNumber(i, static_cast<QZUInt32>(data->GetValueInt32(1 + i)));
    if (size == kSizeWithPort) m_port = static_cast<QZUInt16>(data->GetValueInt32(1 + kNumbers));
}

QZIPAddress::QZIPAddress(unsigned char a1, unsigned char a2, unsigned char a3, unsigned char a4)
{
    SetNumber(0, a1);
    SetNumber(1, a2);
    SetNumber(2, a3);
    SetNumber(3, a4);
}

QZInt64 QZIPAddress::GetType() { return Type; }

unsigned char QZIPAddress::Number(int index) { return static_cast<unsigned char>(m_value >> (8 * index)); }

void QZIPAddress::SetNumber(int index, QZUInt32 number)
{
    const int shift = 8 * index;
    m_value = (m_value & ~(0xFFu << shift)) | (number & 0xFFu) << shift;
}

unsigned int QZIPAddress::GetValue() { return m_value; }
void QZIPAddress::SetValue(unsigned int value) { m_value = value; }

unsigned char QZIPAddress::GetAddr1() { return Number(0); }
unsigned char QZIPAddress::GetAddr2() { return Number(1); }
unsigned char QZIPAddress::GetAddr3() { return Number(2); }
unsigned char QZIPAddress::GetAddr4() { return Number(3); }
void QZIPAddress::SetAddr1(unsigned char number) { SetNumber(0, number); }
void QZIPAddress::SetAddr2(unsigned char number) { SetNumber(1, number); }
void QZIPAddress::SetAddr3(unsigned char number) { SetNumber(2, number); }
void QZIPAddress::SetAddr4(unsigned char number) { SetNumber(3, number); }

unsigned int QZIPAddress::ToUInt32() { return m_value; }

unsigned short QZIPAddress::GetThePort() { return m_port; }
void QZIPAddress::SetThePort(unsigned short port) { m_port = port; }

void QZIPAddress::Set(const char* text)
{
    QZString held;
    held.Set(text);
    Set(&held);
}

void QZIPAddress::Set(const QZWChar* text)
{
    QZString held;
    held.Set(text);
    Set(&held);
}

void QZIPAddress::Set(QZString* text)
{
    QZString address;
    address.Set(text);
    if (address.Contains(':'))
    {
        QZScopedStringCollection parts(address.Split(static_cast<QZWChar>(':')));
        m_port = static_cast<QZUInt16>(QZConvert::StringToUInt32(parts->GetElement(1)));
        address.Set(parts->GetElement(0));
    }
    QZScopedStringCollection numbers(address.Split(static_cast<QZWChar>('.')));
    if (numbers->Count() != kNumbers)
    {
        m_value = 0;
        m_port = 0;
        QZRaise(QZExceptionCode::InvalidArgument, QZ_W("QZIPAddress"), QZ_W("Set"))
            .Argument(QZ_W("QZString*"), text)
            .Throw();
    }
    // The range is not tested: callers get 44 for 300.
    for (int i = 0; i < kNumbers; ++i) SetNumber(i, QZConvert::StringToUInt32(numbers->GetElement(i)));
}

void QZIPAddress::Set(unsigned int value) { m_value = value; }

QZString* QZIPAddress::ToString()
{
    QZScopedString text(QZStringFactory::CreateString());
    for (int i = 0; i < kNumbers; ++i)
    {
        if (i > 0) text->Append(".");
        text->Append(static_cast<int>(Number(i)));
    }
    if (m_port != 0 && m_port != kSilentPort)
    {
        text->Append(":");
        text->Append(static_cast<int>(m_port));
    }
    return text.Release();
}

QZData* QZIPAddress::ToData()
{
    // Port 80 is not written and is read back as 0; port 0 is written.
    const bool port = m_port != kSilentPort;
    QZScopedData data(QZDataFactory::CreateData());
    data->NewSize(port ? kSizeWithPort : kSizeWithoutPort);
    data->SetValueInt32(0, port ? kNumbers + 1 : kNumbers);
    for (int i = 0; i < kNumbers; ++i) data->SetValueInt32(1 + i, Number(i));
    if (port) data->SetValueInt32(1 + kNumbers, m_port);
    return data.Release();
}

void QZIPAddress::Recycle(QZData** data) { QZDataFactory::Recycle(data); }
void QZIPAddress::Recycle(QZString** text) { QZStringFactory::Recycle(text); }
