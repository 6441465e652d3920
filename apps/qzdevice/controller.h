#ifndef QZLIB_APPS_QZDEVICE_CONTROLLER_H
#define QZLIB_APPS_QZDEVICE_CONTROLLER_H

#include <cstdint>
#include <string>
#include <vector>

#include "controller_protocol.h"

namespace qzdevice
{

/// A fault that the controller simulates.
struct Fault
{
    enum class Kind
    {
        Status,  ///< the command is not carried out, and its answer is `value`
        Flip,    ///< the command is carried out, and the bits of `value` in its answer are flipped
        Mute     ///< the command is carried out, and there is no answer
    };

    /// A command byte, or Controller::kDataByte for the data bytes of a block.
    int command;
    /// Which of these commands fails, counted from now: 1 is the next one.
    int occurrence;
    Kind kind;
    unsigned char value;
    /// Every command from that one on fails.
    bool ever;
};

/// A simulated instrument controller: it takes the bytes that a host sends and returns the bytes of the
/// answers. It does not know the line itself or the time.
///
/// A setting takes effect at once. The command "keep the settings" saves them, and "restart" restores what
/// was saved.
class Controller
{
public:
    /// Stands for a data byte where a command byte is asked for.
    static constexpr int kDataByte = 256;

    /// The numbers of its functions.
    enum Function : std::uint16_t
    {
        Nothing = 0,   ///< no result
        Echo = 1,      ///< the 14 bytes of arguments
        AddOne = 2,    ///< a 32-bit integer and 1
        Twice = 3,     ///< a float times 2
        Calls = 4,     ///< how many functions were called before
        AddShorts = 5  ///< the sum of two 16-bit integers, as 32 bits
    };

    static constexpr int kSlots = 64;

    struct Settings
    {
        std::string serial = "SN000001";
        bool initialised = false;
        float incremental[kSlots] = {};
        float magnification[kSlots] = {};
        std::string keys[kSlots];
        float values[kSlots] = {};
    };

    Controller();

    /// Takes one byte and returns its answer, which is one byte or none.
    std::string Take(unsigned char byte);

    void Inject(const Fault& fault) { m_faults.push_back(fault); }

    /// Of each text the first 16 bytes count.
    std::string model = "AB12CD";
    std::string version = "2.41";
    std::int32_t blockSize = 128;
    std::string memory = std::string(65536, protocol::kErased);
    Settings settings;

private:
    enum class Transfer
    {
        None,
        Writing,
        Reading,
        Ended
    };

    unsigned char Command(unsigned char byte);
    unsigned char Execute(unsigned char byte);
    unsigned char KeyWordCommand(unsigned char byte);
    unsigned char StoredValues(unsigned char byte);
    unsigned char BlockCommand(unsigned char byte);
    unsigned char SelectBlock();
    unsigned char ReadOut();
    unsigned char AddNibble(unsigned char nibble);
    /// Compares the parameter buffer with a key word.
    unsigned char KeyWord(const char* word) const;
    unsigned char Call();
    unsigned char LoadText(const std::string& text);
    unsigned char TakeData(unsigned char byte);
    bool Slot(int* slot) const;
    void CleanReturn();
    /// Copies bytes into the return buffer, and zeros after them.
    void Load(const void* bytes, std::size_t count);
    void CleanParameters();
    /// Counts the faults of a command down and applies one that is due. `before` selects the faults that keep
    /// the command from being carried out; true when one of them did.
    bool Spoil(int command, std::string* answer, bool before);

    unsigned char m_parameters[protocol::kBufferSize];
    std::size_t m_nibbles;
    unsigned char m_return[protocol::kBufferSize];
    unsigned char m_lastError = 0;
    std::uint32_t m_calls = 0;
    std::uint32_t m_address = 0;
    std::uint32_t m_length = 0;
    bool m_selected = false;
    Transfer m_transfer = Transfer::None;
    bool m_readOut = false;
    std::string m_block;
    Settings m_kept;
    std::vector<Fault> m_faults;
};

/// The checksum of the line, as docs/serial-protocol.md describes it: of 256 bytes none count, of 300 the
/// first 44.
unsigned char LineCrc(const void* bytes, std::size_t count);

}  // namespace qzdevice

#endif
