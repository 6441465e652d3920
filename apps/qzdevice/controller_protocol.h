#ifndef QZLIB_APPS_QZDEVICE_CONTROLLER_PROTOCOL_H
#define QZLIB_APPS_QZDEVICE_CONTROLLER_PROTOCOL_H

#include <cstddef>

// The bytes of the serial protocol as the simulated controller reads and sends them. docs/serial-protocol.md
// describes them. The library has its own names for them: a test of the library against this controller
// compares the two.

namespace qzdevice::protocol
{

using Byte = unsigned char;

// Commands.
constexpr Byte kGetModel = 0x01;
constexpr Byte kGetSerial = 0x02;
constexpr Byte kGetVersion = 0x03;
constexpr Byte kGetInitialised = 0x10;
constexpr Byte kInitialise = 0x11;
constexpr Byte kKeepSettings = 0x12;
constexpr Byte kRestart = 0x13;
constexpr Byte kSelectBlock = 0x21;
constexpr Byte kCommitBlock = 0x22;
constexpr Byte kOpenForReading = 0x23;
constexpr Byte kOpenForWriting = 0x24;
constexpr Byte kStartReadOut = 0x25;
constexpr Byte kReadByte = 0x26;
constexpr Byte kEndBlock = 0x27;
constexpr Byte kBlockChecksum = 0x28;
constexpr Byte kGetBlockSize = 0x29;
/// The first of 16 commands, one for each value of a nibble.
constexpr Byte kAddNibble = 0x30;
/// The first of 16 commands, one for each byte of the return buffer.
constexpr Byte kReadReturnByte = 0x40;
constexpr Byte kCleanParameters = 0x51;
constexpr Byte kCleanReturn = 0x52;
constexpr Byte kSetSerial = 0x54;
constexpr Byte kRunFunction = 0x56;
constexpr Byte kSetIncremental = 0x57;
constexpr Byte kSetMagnification = 0x58;
constexpr Byte kGetIncremental = 0x59;
constexpr Byte kGetMagnification = 0x5A;
constexpr Byte kErase = 0x5B;
constexpr Byte kGetLastError = 0x5C;
constexpr Byte kForgetLastError = 0x5D;
constexpr Byte kParameterChecksum = 0x5E;
constexpr Byte kReturnChecksum = 0x5F;
constexpr Byte kSetKey = 0x61;
constexpr Byte kSetValue = 0x62;
constexpr Byte kGetKey = 0x63;
constexpr Byte kGetValue = 0x64;

/// The part of a nibble or return-byte command that says which of the 16 it is.
constexpr Byte kLowNibble = 0x0F;

// Status bytes.
constexpr Byte kGood = 0;
constexpr Byte kInvalidKey = 0xE1;
constexpr Byte kInvalidStatus = 0xE2;
constexpr Byte kInvalidInReadOut = 0xE3;
constexpr Byte kOutOfRange = 0xF1;

// Key words in the parameter buffer, zeros after them.
constexpr char kInitialiseWord[] = "INIT";
constexpr char kKeepSettingsWord[] = "SYNC";
constexpr char kRestartWord[] = "RESTART";
constexpr char kEraseWord[] = "ERASE";

/// Size of the parameter buffer and of the return buffer, and so of every text.
constexpr std::size_t kBufferSize = 16;

// Offsets in the parameter buffer.
constexpr std::size_t kIndexAt = 0;
constexpr std::size_t kNumberAt = 4;  ///< a float, or the four bytes of a key
constexpr std::size_t kBlockAddressAt = 0;
constexpr std::size_t kBlockLengthAt = 4;
constexpr std::size_t kFunctionAt = 0;
constexpr std::size_t kArgumentsAt = 2;

/// Bytes of arguments that a function takes at most.
constexpr std::size_t kArgumentsSize = kBufferSize - kArgumentsAt;
constexpr std::size_t kKeySize = 4;

// The checksum of the line, a CRC-8.
constexpr unsigned kChecksumStart = 0xFF;
constexpr unsigned kChecksumPolynomial = 0x31;
/// Both sides hold the count of bytes in one byte.
constexpr std::size_t kChecksumCounts = 256;

/// The value of a byte that was erased.
constexpr char kErased = '\xFF';

}  // namespace qzdevice::protocol

#endif
