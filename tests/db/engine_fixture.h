#ifndef QZLIB_TESTS_DB_ENGINE_FIXTURE_H
#define QZLIB_TESTS_DB_ENGINE_FIXTURE_H

/// The engine without the class QZDatabase: the container and its components over a new file, and expected
/// file contents written field by field.

#include <gtest/gtest.h>

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "db/db_format.h"
#include "db/internal/db_chars.h"
#include "db/internal/db_console.h"
#include "db/internal/db_data.h"
#include "db/internal/db_link.h"
#include "db/internal/db_objects.h"
#include "db/internal/db_read.h"
#include "db/internal/db_repair.h"
#include "db/internal/db_rollback.h"
#include "fw/fw_string.h"
#include "support/qz_test.h"

namespace qztest
{

constexpr QZInt64 kSideThis = 1;
constexpr QZInt64 kSideEnd = 2;

/// The expected bytes of a file.
class Image
{
public:
    Image(std::size_t size, QZInt64 addressLength) : m_bytes(size, '\0'), m_length(addressLength) {}

    Image& Byte(QZInt64 position, int value)
    {
        m_bytes.at(static_cast<std::size_t>(position)) = static_cast<char>(value);
        return *this;
    }

    /// Consecutive addresses, beginning at `position`.
    template <typename... Values>
    Image& Addresses(QZInt64 position, Values... values)
    {
        for (const QZInt64 value : {static_cast<QZInt64>(values)...})
        {
            for (QZInt64 i = 0; i < m_length; ++i)
                Byte(position + i, static_cast<int>((static_cast<std::uint64_t>(value) >> (8 * i)) & 0xFF));
            position += m_length;
        }
        return *this;
    }

    Image& Text(QZInt64 position, std::string_view text)
    {
        for (const char c : text) Byte(position++, c);
        return *this;
    }

    Image& HeadMark(QZInt64 position) { return Byte(position, '^'); }
    Image& DataMark(QZInt64 position) { return Byte(position, '&'); }

    const std::string& Bytes() const { return m_bytes; }

private:
    std::string m_bytes;
    QZInt64 m_length;
};

/// Lists the first differences of two files, such as "at 719: 5E, not 00". Empty when the files are equal.
inline std::string Difference(const std::string& actual, const std::string& expected)
{
    std::string text;
    if (actual.size() != expected.size())
        text = "size " + std::to_string(actual.size()) + ", not " + std::to_string(expected.size()) + "; ";
    int shown = 0;
    for (std::size_t i = 0; i < actual.size() && i < expected.size() && shown < 12; ++i)
    {
        if (actual[i] == expected[i]) continue;
        text +=
            "at " + std::to_string(i) + ": " + Hex(&actual[i], 1) + ", not " + Hex(&expected[i], 1) + "; ";
        ++shown;
    }
    return text;
}

#define EXPECT_FILE(actual, image) EXPECT_EQ(::qztest::Difference(actual, (image).Bytes()), "")

class EngineTest : public ::testing::Test
{
protected:
    /// Creates a file and leaves it closed.
    bool Create(QZInt64 mode, QZInt64 rollback = 0, QZInt64 version = 5, std::string_view name = "test.db")
    {
        OBJECTS objects;
        objects.Initialise(mode);
        QZString path(m_dir.Name(name).c_str());
        return objects.Console()->CreateFile(version, mode, &path, rollback);
    }

    /// Opens the file as the database does. False when the file is refused.
    bool Open(std::string_view name = "test.db")
    {
        m_objects = std::make_unique<OBJECTS>();
        QZString path(m_dir.Name(name).c_str());
        if (!Console()->OpenFile(&path)) return false;
        m_objects->Initialise(Console()->AddressInfo()->AddressMode);
        Console()->Verify();
        return true;
    }

    void Fresh(QZInt64 mode, QZInt64 rollback = 0)
    {
        ASSERT_TRUE(Create(mode, rollback));
        ASSERT_TRUE(Open());
        ASSERT_EQ(Console()->GetErrorCount(), 0);
    }

    void Close()
    {
        if (m_objects != nullptr) Console()->CloseFile();
        m_objects.reset();
    }

    /// The content of the file on disk, after a sync.
    std::string File(std::string_view name = "test.db")
    {
        if (m_objects != nullptr) Console()->Buffer()->Sync();
        return m_dir.Read(name);
    }

    /// The addresses of the records of a list, in the order of their links.
    std::vector<QZInt64> List(QZInt64 hd)
    {
        std::vector<QZInt64> records;
        QZInt64 record = Read()->ReadHD(kSideThis, hd, QZDatabaseInfo::HD_FIRSTDATA);
        for (; record != 0 && records.size() < 100; record = Read()->Next(record)) records.push_back(record);
        return records;
    }

    /// Expects that the list has these records and that its links, heads and end agree.
    void ExpectConsistent(QZInt64 hd, const std::vector<QZInt64>& records)
    {
        EXPECT_EQ(List(hd), records);
        const QZInt64 a = Address()->Length();
        QZInt64 previous = hd;
        for (const QZInt64 record : records)
        {
            EXPECT_EQ(Read()->ReadData(kSideThis, record, QZDatabaseInfo::DATA_PREV), previous);
            EXPECT_EQ(Read()->HeadOf(record), hd);
            previous = Read()->ReadData(kSideThis, record, QZDatabaseInfo::DATA_END);
        }
        const QZInt64 end = Read()->ReadHD(kSideThis, hd, QZDatabaseInfo::HD_END);
        EXPECT_EQ(end, records.empty() ? hd + 4 * a + 1 : previous + 2 * a);
        EXPECT_EQ(Read()->ReadHD(kSideEnd, end, QZDatabaseInfo::HD_THIS), hd);
    }

    CONSOLE* Console() { return m_objects->Console(); }
    BINARY* Binary() { return m_objects->Binary(); }
    ADDRESS* Address() { return m_objects->Address(); }
    READ* Read() { return m_objects->Read(); }
    CHARS* Chars() { return m_objects->Chars(); }
    DATA* Data() { return m_objects->Data(); }
    LINK* Link() { return m_objects->Link(); }

    TempDir m_dir;
    std::unique_ptr<OBJECTS> m_objects;
};

}  // namespace qztest

#endif
