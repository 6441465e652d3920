#include "controller.h"

#include <algorithm>
#include <cstring>

namespace qzdevice
{

namespace
{

template <typename T>
T Value(const unsigned char* bytes)
{
    T value;
    std::memcpy(&value, bytes, sizeof(value));
    return value;
}

}  // namespace

unsigned char LineCrc(const void* bytes, std::size_t count)
{
    const unsigned char* byte = static_cast<const unsigned char*>(bytes);
    unsigned crc = 0xFF;
    for (std::size_t i = 0; i < count % 256; ++i)
    {
        crc ^= byte[i];
        for (int bit = 0; bit < 8; ++bit)
        {
            crc <<= 1;
            if (crc & 0x100) crc ^= 0x131;
        }
    }
    return static_cast<unsigned char>(crc);
}

Controller::Controller() : m_return{} { CleanParameters(); }

void Controller::CleanParameters()
{
    std::memset(m_parameters, 0, sizeof(m_parameters));
    m_nibbles = 0;
}

void Controller::Load(const void* bytes, int count)
{
    std::memset(m_return, 0, sizeof(m_return));
    std::memcpy(m_return, bytes, static_cast<std::size_t>(std::min(count, 16)));
}

unsigned char Controller::LoadText(const std::string& text)
{
    Load(text.data(), static_cast<int>(text.size()));
    return Good;
}

std::string Controller::Take(unsigned char byte)
{
    const bool data = m_transfer == Transfer::Writing && m_block.size() < m_length;
    const int command = data ? DataByte : byte;
    std::string answer;
    if (Spoil(command, &answer, true)) return answer;
    const unsigned char back = data ? TakeData(byte) : Command(byte);
    answer.assign(1, static_cast<char>(back));
    Spoil(command, &answer, false);
    return answer;
}

/// Counts faults of the command down. `before` for those that keep it from being carried out; true when one
/// did.
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
                // The place of a refused byte is taken all the same.
                if (command == DataByte) m_block.push_back(0);
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
    return Good;
}

unsigned char Controller::AddNibble(unsigned char nibble)
{
    if (m_nibbles >= 32) return OutOfRange;
    unsigned char& byte = m_parameters[m_nibbles / 2];
    byte = static_cast<unsigned char>(m_nibbles % 2 == 0 ? nibble : byte | nibble << 4);
    ++m_nibbles;
    return Good;
}

unsigned char Controller::KeyWord(const std::string& word)
{
    char expected[16] = {};
    std::memcpy(expected, word.data(), word.size());
    return std::memcmp(m_parameters, expected, sizeof(expected)) == 0 ? Good : InvalidKey;
}

bool Controller::Slot(int* slot) const
{
    *slot = Value<std::int32_t>(m_parameters);
    return *slot >= 0 && *slot < Slots;
}

unsigned char Controller::Command(unsigned char byte)
{
    unsigned char status = Good;
    if (m_readOut && byte != 0x26 && byte != 0x27)
        status = InvalidInReadOut;
    else if (byte >= 0x21 && byte <= 0x29)
        return BlockCommand(byte);
    else if (byte >= 0x30 && byte <= 0x3F)
        status = AddNibble(byte & 15);
    else if (byte >= 0x40 && byte <= 0x4F)
        return m_return[byte & 15];
    else if (byte >= 0x57 && byte <= 0x64 && (byte < 0x5B || byte > 0x5F))
        status = StoredValues(byte);
    else
    {
        switch (byte)
        {
            case 0x01: status = LoadText(model); break;
            case 0x02: status = LoadText(settings.serial); break;
            case 0x03: status = LoadText(version); break;
            case 0x10: status = LoadText(std::string(1, settings.initialised ? '\1' : '\0')); break;
            case 0x11:
                status = KeyWord("INIT");
                if (status == Good)
                {
                    const std::string serial = settings.serial;
                    settings = Settings();
                    settings.serial = serial;
                    settings.initialised = true;
                }
                break;
            case 0x12:
                status = KeyWord("SYNC");
                if (status == Good) m_kept = settings;
                break;
            case 0x13:
                status = KeyWord("RESTART");
                if (status == Good)
                {
                    settings = m_kept;
                    std::memset(m_return, 0, sizeof(m_return));
                    m_transfer = Transfer::None;
                    m_selected = false;
                }
                break;
            case 0x51: CleanParameters(); break;
            case 0x52: std::memset(m_return, 0, sizeof(m_return)); break;
            case 0x54:
                settings.serial.assign(reinterpret_cast<const char*>(m_parameters), sizeof(m_parameters));
                settings.serial.resize(std::strlen(settings.serial.c_str()));
                break;
            case 0x56: status = Call(); break;
            case 0x5B:
                status = KeyWord("ERASE");
                if (status == Good) std::fill(memory.begin(), memory.end(), '\xFF');
                break;
            case 0x5C: return LoadText(std::string(1, static_cast<char>(m_lastError)));
            case 0x5D: m_lastError = 0; break;
            case 0x5E: return LineCrc(m_parameters, sizeof(m_parameters));
            case 0x5F: return LineCrc(m_return, sizeof(m_return));
            default: status = InvalidStatus;
        }
    }
    if (status != Good) m_lastError = status;
    return status;
}

unsigned char Controller::StoredValues(unsigned char byte)
{
    int slot;
    if (!Slot(&slot)) return OutOfRange;
    const float number = Value<float>(m_parameters + 4);
    switch (byte)
    {
        case 0x57: settings.incremental[slot] = number; return Good;
        case 0x58: settings.magnification[slot] = number; return Good;
        case 0x59: Load(&settings.incremental[slot], 4); return Good;
        case 0x5A: Load(&settings.magnification[slot], 4); return Good;
        case 0x61:
            settings.keys[slot].assign(reinterpret_cast<const char*>(m_parameters) + 4, 4);
            return Good;
        case 0x62: settings.values[slot] = number; return Good;
        case 0x63: return LoadText(settings.keys[slot]);
        case 0x64: Load(&settings.values[slot], 4); return Good;
        default: return InvalidStatus;
    }
}

unsigned char Controller::Call()
{
    const std::uint16_t function = Value<std::uint16_t>(m_parameters);
    const unsigned char* arguments = m_parameters + 2;
    const std::uint32_t before = m_calls++;
    switch (function)
    {
        case Nothing: return Good;
        case Echo: Load(arguments, 14); return Good;
        case AddOne:
        {
            const std::uint32_t sum = Value<std::uint32_t>(arguments) + 1;
            Load(&sum, 4);
            return Good;
        }
        case Twice:
        {
            const float product = Value<float>(arguments) * 2;
            Load(&product, 4);
            return Good;
        }
        case Calls: Load(&before, 4); return Good;
        case AddShorts:
        {
            const std::int32_t sum = Value<std::int16_t>(arguments) + Value<std::int16_t>(arguments + 2);
            Load(&sum, 4);
            return Good;
        }
        default: return OutOfRange;
    }
}

unsigned char Controller::BlockCommand(unsigned char byte)
{
    unsigned char status = Good;
    switch (byte)
    {
        case 0x21:
        {
            const std::uint32_t address = Value<std::uint32_t>(m_parameters);
            const std::uint32_t length = Value<std::uint32_t>(m_parameters + 4);
            m_selected = std::uint64_t{address} + length <= memory.size() &&
                         length <= static_cast<std::uint32_t>(std::max<std::int32_t>(blockSize, 0));
            // A block that was written and not committed is gone.
            m_transfer = Transfer::None;
            m_address = address;
            m_length = m_selected ? length : 0;
            if (!m_selected) status = OutOfRange;
            break;
        }
        case 0x22:
            if (m_transfer != Transfer::Ended)
                status = InvalidStatus;
            else
                memory.replace(m_address, m_block.size(), m_block);
            m_transfer = Transfer::None;
            break;
        case 0x23:
        case 0x24:
            if (!m_selected)
                status = InvalidStatus;
            else
                m_transfer = byte == 0x23 ? Transfer::Reading : Transfer::Writing;
            m_block.clear();
            break;
        case 0x25:
            if (m_transfer != Transfer::Reading)
                status = InvalidStatus;
            else
                m_readOut = true;
            break;
        case 0x26:
            if (!m_readOut || m_block.size() >= m_length) return 0;
            m_block.push_back(memory[m_address + m_block.size()]);
            return static_cast<unsigned char>(m_block.back());
        case 0x27:
            m_readOut = false;
            if (m_transfer == Transfer::None)
                status = InvalidStatus;
            else
                m_transfer = Transfer::Ended;
            break;
        case 0x28:
        {
            const unsigned char crc = LineCrc(m_block.data(), m_block.size());
            Load(&crc, 1);
            break;
        }
        default: Load(&blockSize, 4);
    }
    if (status != Good) m_lastError = status;
    return status;
}

}  // namespace qzdevice
