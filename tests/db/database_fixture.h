#ifndef QZLIB_TESTS_DB_DATABASE_FIXTURE_H
#define QZLIB_TESTS_DB_DATABASE_FIXTURE_H

/// A database as a host uses it: a file in its own folder, accessed through a channel.

#include <gtest/gtest.h>

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "db/db_channel.h"
#include "db/db_format.h"
#include "db/db_node.h"
#include "fw/fw_collection.h"
#include "fw/fw_data.h"
#include "fw/fw_string.h"
#include "support/qz_test.h"

namespace qztest
{
using Info = QZDatabaseInfo;
using Addresses = std::vector<QZInt64>;

class DatabaseTest : public ::testing::Test
{
protected:
    ~DatabaseTest() override { Close(); }

    bool Create(QZInt64 addressMode, QZInt64 rollback)
    {
        return QZChannel::Create(Path().c_str(), 5, addressMode, rollback) != 0;
    }

    void Open(QZInt64 mode = QZChannel::MODE_FILE) { m_channel = QZChannel::Open(mode, Path().c_str()); }

    void Close()
    {
        if (m_channel != nullptr) QZChannel::Close(&m_channel);
    }

    void Reopen()
    {
        Close();
        Open();
    }

    void Fresh(QZInt64 addressMode = 3, QZInt64 rollback = 0)
    {
        ASSERT_TRUE(Create(addressMode, rollback));
        Open();
        ASSERT_EQ(m_channel->G_EN(), 0);
    }

    Text Path() const { return m_dir.Name("test.db"); }

    /// The content of the file on disk, after a sync.
    std::string File()
    {
        if (m_channel != nullptr) m_channel->SYNC();
        return m_dir.Read("test.db");
    }

    /// Bytes of the file on disk, after a sync.
    std::string Bytes(QZInt64 position, QZInt64 size)
    {
        return File().substr(static_cast<std::size_t>(position), static_cast<std::size_t>(size));
    }

    /// Closes the database, overwrites bytes of the file and opens it again.
    void Damage(QZInt64 position, std::string_view bytes)
    {
        Close();
        std::string file = m_dir.Read("test.db");
        file.replace(static_cast<std::size_t>(position), bytes.size(), bytes);
        m_dir.Write("test.db", file);
        Open();
    }

    /// Overwrites an address as Damage does, in the address length of the file.
    void DamageAddress(QZInt64 position, QZInt64 value)
    {
        std::string bytes;
        for (QZInt64 i = 0; i < m_channel->G_AS(); ++i)
        {
            bytes += static_cast<char>((static_cast<std::uint64_t>(value) >> (8 * i)) & 0xFF);
        }
        Damage(position, bytes);
    }

    /// An address in the file on disk, after a sync.
    QZInt64 AddressAt(QZInt64 position)
    {
        const std::string bytes = Bytes(position, m_channel->G_AS());
        std::uint64_t value = 0;
        for (std::size_t i = bytes.size(); i-- > 0;)
            value = value << 8 | static_cast<unsigned char>(bytes[i]);
        return static_cast<QZInt64>(value);
    }

    QZInt64 Length() { return AddressAt(16); }

    QZInt64 A(QZInt64 address, QZInt64 selector) { return m_channel->G_A(address, selector); }

    /// Appends a PD with a new LD to a list.
    QZInt64 MakePD(QZInt64 hd)
    {
        const QZInt64 ld = m_channel->P_D(m_channel->G_TA(Info::TREELSN), Info::DATA_LD);
        const QZInt64 pd = m_channel->P_D(hd, Info::DATA_PD);
        m_channel->P_A(pd, Info::PD_LD_A, ld);
        return pd;
    }

    QZInt64 MakePD() { return MakePD(m_channel->G_TA(Info::TREESSN)); }

    /// Adds a child list with one PD to a PD and returns the new PD.
    QZInt64 MakeChild(QZInt64 pd) { return MakePD(m_channel->P_HD(pd)); }

    QZInt64 Put(QZInt64 address, QZInt64 field, std::string_view text)
    {
        return m_channel->P_C(address, field, text.data(), static_cast<QZInt64>(text.size()));
    }

    std::string Get(QZInt64 address, QZInt64 field)
    {
        const QZInt64 size = m_channel->G_C_L(address, field);
        if (size < 0) return "<failed>";
        std::string text(static_cast<std::size_t>(size), '?');
        m_channel->G_C(address, field, text.data());
        return text;
    }

    Addresses List(QZInt64 hd)
    {
        QZCollection collection;
        m_channel->G_AL(Info::ADDRESSARRAYCOPY_PD_FROM_HD, hd, &collection);
        return Words(collection);
    }

    static Addresses Words(QZCollection& collection)
    {
        Addresses words;
        for (QZInt64 i = 0; i < collection.Count(); ++i)
        {
            words.push_back(static_cast<QZInt64>(collection.GetElement(i)));
        }
        return words;
    }

    /// Returns how many errors the call recorded.
    template <typename Call>
    QZInt64 Errors(Call call)
    {
        const QZInt64 before = m_channel->G_EN();
        call();
        return m_channel->G_EN() - before;
    }

    TempDir m_dir;
    QZChannel* m_channel = nullptr;
};

/// Expects that the statement records one error, with this code.
#define EXPECT_RECORDS(code, ...)                   \
    {                                               \
        EXPECT_EQ(Errors([&] { __VA_ARGS__; }), 1); \
        EXPECT_EQ(m_channel->G_LE(), code);         \
    }
#define EXPECT_RECORDS_NOTHING(...) EXPECT_EQ(Errors([&] { __VA_ARGS__; }), 0)

}  // namespace qztest

#endif
