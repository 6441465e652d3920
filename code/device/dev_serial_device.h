#ifndef QZLIB_DEVICE_SERIAL_DEVICE_H
#define QZLIB_DEVICE_SERIAL_DEVICE_H

#include <memory>

#include "os/os_serial.h"

class QZCriticalSection;
class QZData;
class QZException;
class QZMutex;

/// The buffer for the result of a device function: 32 bytes, and views of its first bytes as numbers.
union QZSerialDeviceBuffer
{
    QZByte Bytes[32];
    QZInt16 Int16;
    QZInt32 Int32;
    QZInt64 Int64;
    QZFloat Float;
    QZDouble Double;
};

/// A queued function call of QZSerialDevice. The caller owns everything it points to.
class QZ_API QZSerialFunData : public QZObject
{
public:
    QZUInt16 Function = 0;
    const void* Param = nullptr;
    QZInt64 ParamSize = 0;
    QZSerialDeviceBuffer* Result = nullptr;
    QZInt64 ResultSize = 0;
    QZInt32 Priority = 0;
    /// Becomes 1 when the call is done.
    int* Done = nullptr;
    /// Receives the exception of the call; the reader recycles it.
    QZException** Exception = nullptr;
};

/// A small instrument controller on a serial port: identification, parameters, keys, values, functions,
/// memory.
///
/// The host sends one command byte and receives one answer byte; docs/serial-protocol.md documents every
/// byte. Values pass through a parameter buffer and a return buffer of 16 bytes on the device. Both are
/// checked with a CRC.
///
/// Any thread may call: a mutex is held for each whole operation. Each object starts a queue thread; a copy
/// made by value has none. Copies share the port, the texts and the mutex.
///
/// Operations throw QZSerialException with the device's status byte (210 for a wrong checksum), what QZSerial
/// throws for the line, and QZException with a message for a failed update. The device is not resynchronised
/// after an error: the next operation discards unread input and starts with a clear command.
class QZ_API QZSerialDevice : public QZSerial
{
public:
    QZSerialDevice();
    QZSerialDevice(const QZSerialDevice& other);
    QZSerialDevice& operator=(const QZSerialDevice& other);
    ~QZSerialDevice() override;

    /// Calls QZSerial::Connect, then reads serial number, version and model. The port stays open when the
    /// device does not answer.
    void Connect(QZString* path, QZInt64 baud);
    /// Calls Close, then Connect with the stored path and speed.
    void Reconnect();
    /// Empties the three texts and closes the port.
    void Close();

    /// The texts that were read at connection, at most 16 characters each. The object owns them.
    QZString* GetSN();
    QZString* GetModel();
    QZString* GetVersion();
    QZString* GetPath();

    /// Writes a new serial number to the device, the low byte of each character. GetSN returns it after the
    /// next connection.
    /// @throws QZException with a message that names the step that the device refused
    void UpdateSN(QZString* text);

    /// Commands that the device executes only when its parameter buffer holds their key word: erase, save the
    /// settings, restart, initialise.
    void Earse();
    void Sync();
    void Restart();
    void InitDevice();
    QZBool IsDeviceInit();

    /// Numbered parameters of the device.
    void SetIncremental(int index, float value);
    void SetMagnification(int index, float value);
    float GetIncremental(int index);
    float GetMagnification(int index);

    /// A slot holds a key of four bytes (UTF-8, padded with zeros) and a value.
    void SetKey(int index, QZString* key);
    /// Returns all four bytes, zeros included, in a new string; give it back with Recycle.
    QZString* GetKey(int index);
    void SetValue(int index, float value);
    float GetValue(int index);

    /// Returns the start of a model name, up to the first capital letter after its first digit: AB12 of
    /// AB12CD. A new string; give it back with Recycle.
    /// @throws QZException 1792 for null
    static QZString* GetSeries(QZString* model);

    static void Recycle(QZString** text);
    static void Recycle(QZStringCollection** collection);
    static void Recycle(QZList<QZString>** list);
    static void Recycle(QZData** data);

    /// Calls a function of the device with at most 14 bytes of arguments; further bytes are not sent.
    /// @param result  receives at most 16 bytes, followed by zeros; null when no result is wanted
    void FunExec(short function, short value, QZSerialDeviceBuffer* result);
    void FunExec(short function, int value, QZSerialDeviceBuffer* result);
    void FunExec(short function, float value, QZSerialDeviceBuffer* result);
    void FunExec(short function, const void* arguments, QZInt64 size, QZSerialDeviceBuffer* result);
    void FunExec(short function, const void* arguments, QZInt64 size, QZSerialDeviceBuffer* result,
                 QZInt64 resultSize);
    /// With m_queued set by a derived class this waits for the queue thread and holds the mutex that the
    /// queue thread needs: the call never returns. Such a class queues its calls with QueueAdd.
    /// @param priority  used for queued calls only
    void FunExec(short function, const void* arguments, QZInt64 size, QZSerialDeviceBuffer* result,
                 QZInt64 resultSize, int priority);
    /// The same, always on the calling thread and before it returns, although the name says otherwise.
    void FunExecAsync(short function, const void* arguments, QZInt64 size, QZSerialDeviceBuffer* result,
                      QZInt64 resultSize);

    /// Write and read the device's memory in blocks of the size that the device reports; `verify` compares
    /// the checksum of each block. With a device that reports 0 they do not return.
    /// @return length
    /// @throws QZSerialException  for a data byte that is refused, after all blocks were sent
    /// @throws QZSerialException  for every other status, at once
    QZInt64 WriteMemory(QZInt64 address, const void* data, QZInt64 length, QZBool verify);
    QZInt64 ReadMemory(QZInt64 address, void* data, QZInt64 length, QZBool verify);

    /// QZSerial::Read and QZSerial::Write; the length is converted to 32 bits.
    QZInt64 ReadData(void* buffer, QZInt64 length);
    QZInt64 WriteData(const void* buffer, QZInt64 length);

    void SetTimeout(int milliseconds);

    /// 0 switches off the checksums of function calls and of the return buffer. Settings, key words and the
    /// initialised state are checked in any case.
    void Checksum(unsigned char check);

protected:
    /// Discards unread input, then sends byte by byte and reads one answer for each; in bulk mode it sends
    /// and reads the smaller count at once. Returns the number of bytes received.
    QZInt64 Exec(const QZByte* send, QZInt64 sendCount, QZByte* receive, QZInt64 receiveCount);
    void ExecCommand(QZByte command);
    void WriteByteToParamBuffer(QZByte byte);
    void WriteParamBuffer(const QZByte* bytes, QZInt64 count);
    void ReadFromReturnBuffer(QZSerialDeviceBuffer* buffer, QZInt64 count);
    bool ChecksumFromParamBuffer(const QZByte* bytes);
    bool ChecksumFromReturnBuffer(const QZByte* bytes, QZInt64 count);
    void ReadSN();
    void ReadVersion();
    void ReadModel();
    /// Reads the device's last error, for derived classes.
    QZByte GetLastError();
    void CleanLastError();

    /// Takes a request from the free list and fills it; returns one to the free list; queues one.
    QZSerialFunData* CreateFunData(QZUInt16 function, const void* param, QZInt64 paramSize,
                                   QZSerialDeviceBuffer* result, QZInt64 resultSize, int* done,
                                   QZException** exception);
    void DelateFunData(QZSerialFunData** data);
    void QueueAdd(QZSerialFunData* data);

    /// The lock of the queue, for a caller that queues several requests together.
    QZCriticalSection* QueueLock();

    /// The host's copy of the device's parameter buffer, and the number of bytes written to it.
    QZByte m_mirror[16] = {};
    QZByte m_mirrorCount = 0;

    /// m_bulk: several bytes in one exchange instead of one by one. m_queued: FunExec uses the queue, and
    /// waits for ever (see there). Derived classes set them.
    QZByte m_bulk = 0;
    QZByte m_queued = 0;

private:
    struct Shared;
    struct Worker;

    static void DataProcessThread(void* device);
    void ServeQueue();
    QZSerialFunData* TakeRequest();
    void AnswerEqualRequests(const QZSerialFunData* served);
    void StopWorker();

    QZMutex* Mutex() const;
    void WriteParameters(const void* bytes, QZInt64 count);
    void RequireParamChecksum();
    void RunKeyWord(const char* word, QZByte command);
    void SetNumber(QZByte command, int index, float value);
    void ReadNumbered(QZByte command, int index, QZSerialDeviceBuffer* buffer, QZInt64 count);
    void ReadText(QZByte command, QZString* text, const QZWChar* method);
    QZInt64 AskBlockSize();
    void SelectBlock(QZUInt64 address, QZInt64 count, QZByte direction);
    void SendBlock(const QZByte* bytes, QZInt64 count, QZInt64 block, QZByte* refused);
    void ReceiveBlock(QZByte* bytes, QZInt64 count, QZInt64 block);
    void VerifyBlock(const QZByte* data, QZInt64 length, QZInt64 offset, QZInt64 count);

    std::shared_ptr<Shared> m_shared;
    QZByte m_checksum = 1;
    std::unique_ptr<Worker> m_worker;
};

#endif
