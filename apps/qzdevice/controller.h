#ifndef QZLIB_APPS_QZDEVICE_CONTROLLER_H
#define QZLIB_APPS_QZDEVICE_CONTROLLER_H

#include <cstdint>
#include <string>
#include <vector>

namespace qzdevice
{

/// Something that goes wrong on purpose.
struct Fault
{
    enum class Kind
    {
        Status,  ///< the command is not carried out, and answers `value`
        Flip,    ///< the command is carried out, and its answer has `value` flipped
        Mute     ///< the command is carried out, and nothing is answered
    };

    /// A command byte, or Controller::DataByte for bytes of a block that is written.
    int command;
    /// 1 is the next one.
    int occurrence;
    Kind kind;
    unsigned char value;
    /// From that one on every one.
    bool ever;
};

/// The instrument controller as a host sees it on the line: takes bytes, answers bytes. It knows nothing of
/// lines and of time.
///
/// What is set works at once; Sync keeps it, and Restart goes back to what was kept.
class Controller
{
public:
    static constexpr int DataByte = 256;

    /// Status bytes that it answers of its own accord.
    static constexpr unsigned char Good = 0;
    static constexpr unsigned char InvalidKey = 0xE1;
    static constexpr unsigned char InvalidStatus = 0xE2;
    static constexpr unsigned char InvalidInReadOut = 0xE3;
    static constexpr unsigned char OutOfRange = 0xF1;

    /// Functions that it has.
    enum Function : std::uint16_t
    {
        Nothing = 0,   ///< no result
        Echo = 1,      ///< the 14 bytes of arguments
        AddOne = 2,    ///< a 32-bit integer and 1
        Twice = 3,     ///< a float times 2
        Calls = 4,     ///< how many functions were called before
        AddShorts = 5  ///< the sum of two 16-bit integers, as 32 bits
    };

    static constexpr int Slots = 64;

    struct Settings
    {
        std::string serial = "SN000001";
        bool initialised = false;
        float incremental[Slots] = {};
        float magnification[Slots] = {};
        std::string keys[Slots];
        float values[Slots] = {};
    };

    Controller();

    /// What goes back for a byte: nothing or one byte.
    std::string Take(unsigned char byte);

    void Inject(const Fault& fault) { m_faults.push_back(fault); }

    /// At most 16 characters each count.
    std::string model = "AB12CD";
    std::string version = "2.41";
    std::int32_t blockSize = 128;
    std::string memory = std::string(65536, '\xFF');
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
    unsigned char StoredValues(unsigned char byte);
    unsigned char BlockCommand(unsigned char byte);
    unsigned char AddNibble(unsigned char nibble);
    unsigned char KeyWord(const std::string& word);
    unsigned char Call();
    unsigned char LoadText(const std::string& text);
    unsigned char TakeData(unsigned char byte);
    bool Slot(int* slot) const;
    void Load(const void* bytes, int count);
    void CleanParameters();
    bool Spoil(int command, std::string* answer, bool before);

    unsigned char m_parameters[16];
    int m_nibbles;
    unsigned char m_return[16];
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

/// The checksum of the line: CRC-8, polynomial 0x31, from 0xFF on. The count of bytes is held in a byte, as
/// the host holds it.
unsigned char LineCrc(const void* bytes, std::size_t count);

}  // namespace qzdevice

#endif
