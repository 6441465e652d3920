#include "controller.h"

#include <algorithm>
#include <cstring>

namespace qzdevice
{

namespace
{

using namespace protocol;

template <typename T>
T Value(const Byte* bytes)
{
    T value;
    std::memcpy(&value, bytes, sizeof(value));
    return value;
}

/// A text of one character, for the return buffer.
std::string OneByte(Byte value) { return std::string(1, static_cast<char>(value)); }

/// The command is one of the 16 that begin with `first`.
bool IsOneOf16(Byte command, Byte first) { return (command & ~kLowNibble) == first; }

}  // namespace

unsigned char LineCrc(const void* bytes, std::size_t count)
{
    const Byte* byte = static_cast<const Byte*>(bytes);
    unsigned crc = kChecksumStart;
    for (std::size_t i = 0; i < count % kChecksumCounts; ++i)
    {
        crc ^= byte[i];
        for (int bit = 0; bit < 8; ++bit)
        {
            crc <<= 1;
            if (crc & 0x100) crc ^= 0x100 | kChecksumPolynomial;
        }
    }
    return static_cast<Byte>(crc);
}

Controller::Controller() : m_return{} { CleanParameters(); }

void Controller::CleanParameters()
{
    std::memset(m_parameters, 0, sizeof(m_parameters));
    m_nibbles = 0;
}

void Controller::CleanReturn() { std::memset(m_return, 0, sizeof(m_return)); }

void Controller::Load(const void* bytes, std::size_t count)
{
    CleanReturn();
    std::memcpy(m_return, bytes, std::min(count, sizeof(m_return)));
}

unsigned char Controller::LoadText(const std::string& text)
{
    Load(text.data(), text.size());
    return kGood;
}

std::string Controller::Take(unsigned char byte)
{
    const bool data = m_transfer == Transfer::Writing && m_block.size() < m_length;
    const int command = data ? kDataByte : byte;
    std::string answer;
    if (Spoil(command, &answer, true)) return answer;
    const Byte back = data ? TakeData(byte) : Command(byte);
    answer.assign(1, static_cast<char>(back));
    Spoil(command, &answer, false);
    return answer;
}

bool Controller::Spoil(int command, std::string* answer, bool before)
{
    for (std::size_t i = 0; i < m_faults.size(); ++i)
    {
        Fault& fault = m_faults[i];
        if (fault.command != command || (fault.kind == Fault::Kind::Status) != before) continue;
        if (fault.occurrence > 1)
        {
            --fault.occurrence;
            continue;
        }
        const Fault now = fault;
        if (!now.ever) m_faults.erase(m_faults.begin() + static_cast<std::ptrdiff_t>(i));
        switch (now.kind)
        {
            case Fault::Kind::Status:
                m_lastError = now.value;
                answer->assign(1, static_cast<char>(now.value));
                // A refused data byte takes its place in the block all the same.
                if (command == kDataByte) m_block.push_back(0);
                break;
            case Fault::Kind::Flip: (*answer)[0] = static_cast<char>((*answer)[0] ^ now.value); break;
            case Fault::Kind::Mute: answer->clear(); break;
        }
        return true;
    }
    return false;
}

unsigned char Controller::TakeData(unsigned char byte)
{
    m_block.push_back(static_cast<char>(byte));
    return kGood;
}

unsigned char Controller::AddNibble(unsigned char nibble)
{
    if (m_nibbles >= 2 * kBufferSize) return kOutOfRange;
    Byte& byte = m_parameters[m_nibbles / 2];
    byte = static_cast<Byte>(m_nibbles % 2 == 0 ? nibble : byte | nibble << 4);
    ++m_nibbles;
    return kGood;
}

unsigned char Controller::KeyWord(const char* word) const
{
    char expected[kBufferSize] = {};
    std::memcpy(expected, word, std::strlen(word));
    return std::memcmp(m_parameters, expected, sizeof(expected)) == 0 ? kGood : kInvalidKey;
}

bool Controller::Slot(int* slot) const
{
    *slot = Value<std::int32_t>(m_parameters + kIndexAt);
    return *slot >= 0 && *slot < kSlots;
}

unsigned char Controller::Command(unsigned char byte)
{
    // Its own answer is no status that is kept as the last error.
    if (!m_readOut || byte == kReadByte || byte == kEndBlock)
    {
        if (IsOneOf16(byte, kReadReturnByte)) return m_return[byte & kLowNibble];
        if (byte == kParameterChecksum) return LineCrc(m_parameters, sizeof(m_parameters));
        if (byte == kReturnChecksum) return LineCrc(m_return, sizeof(m_return));
        if (byte == kReadByte) return ReadOut();
    }
    const Byte status = Execute(byte);
    if (status != kGood) m_lastError = status;
    return status;
}

unsigned char Controller::Execute(unsigned char byte)
{
    if (m_readOut && byte != kEndBlock) return kInvalidInReadOut;
    if (IsOneOf16(byte, kAddNibble)) return AddNibble(byte & kLowNibble);
    if (byte >= kSelectBlock && byte <= kGetBlockSize) return BlockCommand(byte);
    switch (byte)
    {
        case kGetModel: return LoadText(model);
        case kGetSerial: return LoadText(settings.serial);
        case kGetVersion: return LoadText(version);
        case kGetInitialised: return LoadText(OneByte(settings.initialised ? 1 : 0));
        case kInitialise:
        case kKeepSettings:
        case kRestart:
        case kErase: return KeyWordCommand(byte);
        case kCleanParameters: CleanParameters(); return kGood;
        case kCleanReturn: CleanReturn(); return kGood;
        case kSetSerial:
            settings.serial.assign(reinterpret_cast<const char*>(m_parameters), sizeof(m_parameters));
            settings.serial.resize(std::strlen(settings.serial.c_str()));
            return kGood;
        case kRunFunction: return Call();
        case kGetLastError: return LoadText(OneByte(m_lastError));
        case kForgetLastError: m_lastError = 0; return kGood;
        default: return byte >= kSetIncremental && byte <= kGetValue ? StoredValues(byte) : kInvalidStatus;
    }
}

unsigned char Controller::KeyWordCommand(unsigned char byte)
{
    const char* const word = byte == kInitialise     ? kInitialiseWord
                             : byte == kKeepSettings ? kKeepSettingsWord
                             : byte == kRestart      ? kRestartWord
                                                     : kEraseWord;
    const Byte status = KeyWord(word);
    if (status != kGood) return status;
    switch (byte)
    {
        case kInitialise:
        {
            const std::string serial = settings.serial;
            settings = Settings();
            settings.serial = serial;
            settings.initialised = true;
            break;
        }
        case kKeepSettings: m_kept = settings; break;
        case kRestart:
            settings = m_kept;
            CleanReturn();
            m_transfer = Transfer::None;
            m_selected = false;
            break;
        default: std::fill(memory.begin(), memory.end(), kErased); break;
    }
    return kGood;
}

unsigned char Controller::StoredValues(unsigned char byte)
{
    int slot;
    if (!Slot(&slot)) return kOutOfRange;
    const float number = Value<float>(m_parameters + kNumberAt);
    switch (byte)
    {
        case kSetIncremental: settings.incremental[slot] = number; break;
        case kSetMagnification: settings.magnification[slot] = number; break;
        case kGetIncremental: Load(&settings.incremental[slot], sizeof(float)); break;
        case kGetMagnification: Load(&settings.magnification[slot], sizeof(float)); break;
        case kSetKey:
            settings.keys[slot].assign(reinterpret_cast<const char*>(m_parameters) + kNumberAt, kKeySize);
            break;
        case kSetValue: settings.values[slot] = number; break;
        case kGetKey: return LoadText(settings.keys[slot]);
        case kGetValue: Load(&settings.values[slot], sizeof(float)); break;
        default: return kInvalidStatus;
    }
    return kGood;
}

unsigned char Controller::Call()
{
    const std::uint16_t function = Value<std::uint16_t>(m_parameters + kFunctionAt);
    const Byte* arguments = m_parameters + kArgumentsAt;
    const std::uint32_t before = m_calls++;
    switch (function)
    {
        case Nothing: return kGood;
        case Echo: Load(arguments, kArgumentsSize); return kGood;
        case AddOne:
        {
            const std::uint32_t sum = Value<std::uint32_t>(arguments) + 1;
            Load(&sum, sizeof(sum));
            return kGood;
        }
        case Twice:
        {
            const float product = Value<float>(arguments) * 2;
            Load(&product, sizeof(product));
            return kGood;
        }
        case Calls: Load(&before, sizeof(before)); return kGood;
        case AddShorts:
        {
            const std::int32_t sum =
                Value<std::int16_t>(arguments) + Value<std::int16_t>(arguments + sizeof(std::int16_t));
            Load(&sum, sizeof(sum));
            return kGood;
        }
        default: return kOutOfRange;
    }
}

unsigned char Controller::SelectBlock()
{
    m_address = Value<std::uint32_t>(m_parameters + kBlockAddressAt);
    const std::uint32_t length = Value<std::uint32_t>(m_parameters + kBlockLengthAt);
    m_selected = std::uint64_t{m_address} + length <= memory.size() &&
                 length <= static_cast<std::uint32_t>(std::max<std::int32_t>(blockSize, 0));
    // A block that was written and not committed is lost.
    m_transfer = Transfer::None;
    m_length = m_selected ? length : 0;
    return m_selected ? kGood : kOutOfRange;
}

unsigned char Controller::ReadOut()
{
    if (!m_readOut || m_block.size() >= m_length) return 0;
    m_block.push_back(memory[m_address + m_block.size()]);
    return static_cast<Byte>(m_block.back());
}

unsigned char Controller::BlockCommand(unsigned char byte)
{
    switch (byte)
    {
        case kSelectBlock: return SelectBlock();
        case kCommitBlock:
        {
            const bool ended = m_transfer == Transfer::Ended;
            if (ended) memory.replace(m_address, m_block.size(), m_block);
            m_transfer = Transfer::None;
            return ended ? kGood : kInvalidStatus;
        }
        case kOpenForReading:
        case kOpenForWriting:
            m_block.clear();
            if (!m_selected) return kInvalidStatus;
            m_transfer = byte == kOpenForReading ? Transfer::Reading : Transfer::Writing;
            return kGood;
        case kStartReadOut:
            if (m_transfer != Transfer::Reading) return kInvalidStatus;
            m_readOut = true;
            return kGood;
        case kEndBlock:
            m_readOut = false;
            if (m_transfer == Transfer::None) return kInvalidStatus;
            m_transfer = Transfer::Ended;
            return kGood;
        case kBlockChecksum:
        {
            const Byte crc = LineCrc(m_block.data(), m_block.size());
            Load(&crc, sizeof(crc));
            return kGood;
        }
        default: Load(&blockSize, sizeof(blockSize)); return kGood;
    }
}

}  // namespace qzdevice
