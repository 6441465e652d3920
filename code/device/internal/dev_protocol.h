#ifndef QZLIB_DEVICE_PROTOCOL_H
#define QZLIB_DEVICE_PROTOCOL_H

/// The bytes of the controller's protocol. docs/serial-protocol.md documents them. Internal.

#include "sys/sys_types.h"

namespace serialdevice
{

/// What the host sends to the device. The device answers each byte with a status, with a data byte (NextByte,
/// ReturnByte) or with a checksum (ParameterChecksum, ReturnChecksum).
enum Command : QZByte
{
    LoadModel = 0x01,
    LoadSN = 0x02,
    LoadVersion = 0x03,
    LoadInit = 0x10,
    Init = 0x11,
    Synchronise = 0x12,
    Reset = 0x13,
    TakeAddress = 0x21,
    CommitBlock = 0x22,
    OpenForReading = 0x23,
    OpenForWriting = 0x24,
    StartReadOut = 0x25,
    NextByte = 0x26,
    EndBlock = 0x27,
    BlockChecksum = 0x28,
    LoadBlockSize = 0x29,
    Nibble = 0x30,      ///< to 0x3F: the low four bits are the nibble
    ReturnByte = 0x40,  ///< to 0x4F: the low four bits are the position in the return buffer
    CleanParameters = 0x51,
    CleanReturn = 0x52,
    StoreSN = 0x54,
    Execute = 0x56,
    PutIncremental = 0x57,
    PutMagnification = 0x58,
    TakeIncremental = 0x59,
    TakeMagnification = 0x5A,
    Erase = 0x5B,
    AskLastError = 0x5C,
    ForgetLastError = 0x5D,
    ParameterChecksum = 0x5E,
    ReturnChecksum = 0x5F,
    PutKey = 0x61,
    PutValue = 0x62,
    TakeKey = 0x63,
    TakeValue = 0x64
};

// ---- Answers

constexpr QZByte kStatusDone = 0;
/// The status that the host throws for a checksum that differs.
constexpr QZByte kStatusVerifyFailed = 0xD2;

// ---- The two buffers of the device

/// Bytes of the parameter buffer, and of the return buffer.
constexpr QZInt64 kBufferSize = 16;

// The parameter buffer. Numbers are 4 bytes: an index, then the value or the key.
constexpr QZInt64 kKeySize = 4;
constexpr QZInt64 kAddressSize = 4;
constexpr QZInt64 kLengthSize = 4;
constexpr QZInt64 kFunctionSize = 2;
constexpr QZInt64 kArgumentSizeMax = kBufferSize - kFunctionSize;

// The return buffer: positions of results.
constexpr QZInt64 kTextAt = 0;
constexpr QZInt64 kNumberAt = 0;
constexpr QZInt64 kKeyAt = 0;
constexpr QZInt64 kInitialisedAt = 0;
constexpr QZInt64 kLastErrorAt = 0;
constexpr QZInt64 kBlockSizeAt = 0;
constexpr QZInt64 kBlockChecksumAt = 0;

/// The byte at kInitialisedAt of a device that is initialised.
constexpr QZByte kInitialised = 1;

// ---- Key words, in the parameter buffer when their command is sent

constexpr const char* kEraseWord = "ERASE";
constexpr const char* kSynchroniseWord = "SYNC";
constexpr const char* kResetWord = "RESTART";
constexpr const char* kInitWord = "INIT";

// ---- Nibbles

inline QZByte LowNibble(QZByte byte) { return static_cast<QZByte>(Nibble | (byte & 0x0F)); }
inline QZByte HighNibble(QZByte byte) { return static_cast<QZByte>(Nibble | byte >> 4); }

// ---- The checksum

constexpr QZByte kChecksumStart = 0xFF;
constexpr QZByte kChecksumPolynomial = 0x31;

/// The bytes of `length` that a checksum covers: both sides count in one byte, so 256 bytes count as none and
/// of 300 bytes the first 44 count.
constexpr QZInt64 ChecksumCoverage(QZUInt16 length) { return length & 0xFF; }
constexpr QZInt64 kChecksumCoverageMax = 0xFF;

/// CRC-8 of the bytes that ChecksumCoverage counts: most significant bit first, not reflected, no final XOR.
QZByte Crc8(const QZByte* bytes, QZUInt16 length);

}  // namespace serialdevice

#endif
