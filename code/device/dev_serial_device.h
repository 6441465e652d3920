#ifndef QZLIB_DEV_SERIAL_DEVICE_H
#define QZLIB_DEV_SERIAL_DEVICE_H

#include <memory>

#include "os/os_serial.h"

class QZCriticalSection;
class QZData;
class QZException;
class QZMutex;

/// The place for a function's result: 32 bytes with some views at their start.
union QZSerialDeviceBuffer
{
    QZByte Bytes[32];
    QZInt16 Int16;
    QZInt32 Int32;
    QZInt64 Int64;
    QZFloat Float;
    QZDouble Double;
};

/// A waiting function call of QZSerialDevice. Everything it points to is the caller's.
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
    /// Takes the exception of the call; whoever reads it recycles it.
    QZException** Exception = nullptr;
};

/// A small instrument controller on a serial port: identification, parameters, keys, values, functions,
/// memory.
///
/// One command byte goes out, one answer byte comes back; docs/serial-protocol.md has every byte. Values pass
/// through a parameter and a return buffer of 16 bytes on the device; both are checked with a CRC.
///
/// Any thread may call: a mutex covers whole operations. An object starts a queue thread of its own, which a
/// copy made by value does not have; copies share the port, the texts and the mutex.
///
/// Operations throw QZSerialException with the device's status byte (210 for a wrong checksum), what QZSerial
/// throws for the line, and QZException with a message for an update that failed. The device is not
/// resynchronised: the next operation drops what is left on the line and begins anew.
class QZ_API QZSerialDevice : public QZSerial
{
public:
    QZSerialDevice();
    QZSerialDevice(const QZSerialDevice& other);
    QZSerialDevice& operator=(const QZSerialDevice& other);
    ~QZSerialDevice() override;

    /// QZSerial::Connect, then asks for serial number, version and model. The port stays open when the device
    /// does not answer.
    void Connect(QZString* path, QZInt64 baud);
    /// Close, and Connect with the stored path and speed.
    void Reconnect();
    /// Empties the three texts and closes the port.
    void Close();

    /// What the device told when it was connected, at most 16 characters each. They stay the device's.
    QZString* GetSN();
    QZString* GetModel();
    QZString* GetVersion();
    QZString* GetPath();

    /// Writes a new serial number to the device, the low byte of each character. GetSN shows it after the
    /// next connection.
    /// @throws QZException with a message that names the step at which the device refused
    void UpdateSN(QZString* text);

    /// Commands that the device takes only with their key word.
    void Earse();
    void Sync();
    void Restart();
    void InitDevice();
    QZBool IsDeviceInit();

    /// Numbered parameters.
    void SetIncremental(int index, float value);
    void SetMagnification(int index, float value);
    float GetIncremental(int index);
    float GetMagnification(int index);

    /// A slot holds a key of four bytes (UTF-8, filled up with zeros) and a value.
    void SetKey(int index, QZString* key);
    /// A new string of all four bytes, zeros included; given back with Recycle.
    QZString* GetKey(int index);
    void SetValue(int index, float value);
    float GetValue(int index);

    /// The leading part of a model's name, up to the first capital letter behind its first digit: AB12 of
    /// AB12CD. A new string, given back with Recycle.
    static QZString* GetSeries(QZString* model);

    static void Recycle(QZString** text);
    static void Recycle(QZStringCollection** collection);
    static void Recycle(QZList<QZString>** list);
    static void Recycle(QZData** data);

    /// Calls a function of the device with at most 14 bytes of arguments; more are left out.
    /// @param result  takes 16 bytes at most and zeros behind them; null when no result is wanted
    void FunExec(short function, short value, QZSerialDeviceBuffer* result);
    void FunExec(short function, int value, QZSerialDeviceBuffer* result);
    void FunExec(short function, float value, QZSerialDeviceBuffer* result);
    void FunExec(short function, const void* arguments, QZInt64 size, QZSerialDeviceBuffer* result);
    void FunExec(short function, const void* arguments, QZInt64 size, QZSerialDeviceBuffer* result,
                 QZInt64 resultSize);
    /// @param priority  counts for queued calls only
    void FunExec(short function, const void* arguments, QZInt64 size, QZSerialDeviceBuffer* result,
                 QZInt64 resultSize, int priority);
    /// The same at once on the calling thread, whatever its name says.
    void FunExecAsync(short function, const void* arguments, QZInt64 size, QZSerialDeviceBuffer* result,
                      QZInt64 resultSize);

    /// Write and read the device's memory in blocks of the size that the device names; `verify` compares the
    /// checksum of each block. A device that names 0 keeps them going for ever.
    /// @return length
    /// @throws QZSerialException for a data byte that the device refused only when all blocks are through
    QZInt64 WriteMemory(QZInt64 address, const void* data, QZInt64 length, QZBool verify);
    QZInt64 ReadMemory(QZInt64 address, void* data, QZInt64 length, QZBool verify);

    /// Read and Write of the port, the length taken as 32 bits.
    QZInt64 ReadData(void* buffer, QZInt64 length);
    QZInt64 WriteData(const void* buffer, QZInt64 length);

    void SetTimeout(int milliseconds);

    /// 0 leaves the checksums of function calls and of the return buffer out; settings, key words and the
    /// initialised state are checked all the same.
    void Checksum(unsigned char check);

protected:
    /// Drops the input, then sends byte by byte and reads one answer for each; with the bulk flag the smaller
    /// count at once. How many bytes came.
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
    /// The device's last error; nothing in the library asks for it.
    QZByte GetLastError();
    void CleanLastError();

    /// The queue's side: a request from the free list, filled, and back to it. QueueAdd hands one over.
    QZSerialFunData* CreateFunData(QZUInt16 function, const void* param, QZInt64 paramSize,
                                   QZSerialDeviceBuffer* result, QZInt64 resultSize, int* done,
                                   QZException** exception);
    void DelateFunData(QZSerialFunData** data);
    void QueueAdd(QZSerialFunData* data);

    /// Held by whoever hands several requests over at one time.
    QZCriticalSection* QueueLock();

    /// The host's copy of the device's parameter buffer, and how many bytes went into it.
    QZByte m_mirror[16] = {};
    QZByte m_mirrorCount = 0;

    /// Whole groups of bytes at once instead of one by one; calls through the queue. Nothing in the library
    /// sets either.
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
