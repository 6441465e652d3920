#ifndef QZLIB_TESTS_SUPPORT_QZ_DATABASE_TEXT_H
#define QZLIB_TESTS_SUPPORT_QZ_DATABASE_TEXT_H

/// Everything that a database holds as a text in which no address appears: two databases hold the same when
/// their texts are equal.

#include <map>
#include <string>
#include <vector>

#include "db/db_channel.h"
#include "db/db_format.h"
#include "fw/fw_string.h"

namespace qztest
{

/// Writes the four trees and everything that they lead to: kinds, order, contents, owners, references.
/// Records and lists are numbered in the order in which they are met, and named by their numbers.
class DatabaseText
{
public:
    explicit DatabaseText(QZChannel* channel) : m_channel(channel) {}

    std::string Write()
    {
        m_channel->CheckParam(0);
        // The first round gives the numbers, the second one writes with all numbers known.
        for (const bool writing : {false, true})
        {
            m_writing = writing;
            m_entered.clear();
            for (const QZInt64 tree : {4, 1, 2, 3})
            {
                Line(0, "tree " + std::to_string(tree));
                List(m_channel->G_TA(tree), 1, false);
            }
        }
        return m_text;
    }

private:
    using Info = QZDatabaseInfo;

    QZInt64 Field(QZInt64 address, QZInt64 selector) { return m_channel->G_A(address, selector); }
    QZInt64 Kind(QZInt64 address) { return m_channel->G_T(Info::ADDRESS_MARK_THIS, address); }

    void Line(int depth, const std::string& text)
    {
        if (m_writing) m_text += std::string(static_cast<std::size_t>(2 * depth), ' ') + text + "\n";
    }

    bool Enter(QZInt64 address)
    {
        m_numbers.emplace(address, m_numbers.size() + 1);
        return m_entered.emplace(address, true).second;
    }

    std::string Name(QZInt64 address)
    {
        const auto found = m_numbers.find(address);
        return found != m_numbers.end() ? "#" + std::to_string(found->second) : "dead";
    }

    std::string Content(QZInt64 address, QZInt64 field)
    {
        const QZInt64 length = m_channel->G_C_L(address, field);
        if (length < 0) return "none";
        std::string bytes(static_cast<std::size_t>(length), '\0');
        if (length > 0 && m_channel->G_C(address, field, bytes.data()) < 0) return "unreadable";
        std::string text = std::to_string(length) + ":";
        for (const char c : bytes)
        {
            const char* digits = "0123456789ABCDEF";
            text.push_back(digits[static_cast<unsigned char>(c) >> 4]);
            text.push_back(digits[static_cast<unsigned char>(c) & 15]);
        }
        return text;
    }

    void List(QZInt64 hd, int depth, bool references)
    {
        if (Kind(hd) != Info::TABLE_HD)
        {
            Line(depth, "no list");
            return;
        }
        const bool fresh = Enter(hd);
        const QZInt64 owner = Field(hd, Info::HD_PREV);
        const bool known = owner == 0 || m_numbers.count(owner) != 0;
        Line(depth, "HD " + Name(hd) + (owner == 0 ? " free" : known ? " of " + Name(owner) : " of another"));
        if (!fresh) return;
        QZInt64 last = 0;
        for (QZInt64 record = Field(hd, Info::HD_FIRSTDATA); record != 0;
             record = Field(record, Info::DATA_NEXT))
        {
            if (references)
            {
                // A reference to a node that was removed says nothing.
                const QZInt64 target = Field(record, Info::AD_FREE);
                if (m_numbers.count(target) != 0) Line(depth + 1, "reference " + Name(target));
                continue;
            }
            Record(record, depth + 1);
            if (Field(record, Info::DATA_PREV) != (last == 0 ? hd : Field(last, Info::DATA_END)))
                Line(depth + 1, "wrong previous link");
            last = record;
        }
    }

    void Record(QZInt64 record, int depth)
    {
        const QZInt64 kind = Kind(record);
        const bool fresh = Enter(record);
        if (!fresh)
        {
            Line(depth, "again " + Name(record));
            return;
        }
        switch (kind)
        {
            case Info::DATA_LD: Ld(record, depth); break;
            case Info::DATA_PD: Pd(record, depth); break;
            case Info::DATA_AD: Ad(record, depth); break;
            case Info::DATA_CD: Cd(record, depth); break;
            case Info::DATA_RD:
                Line(depth, "RD " + Name(record) + " " + Value(Field(record, Info::RD_P)) + " " +
                                Value(Field(record, Info::RD_O)) + " " + Value(Field(record, Info::RD_N)));
                break;
            default: Line(depth, "? " + std::to_string(kind)); break;
        }
    }

    std::string Value(QZInt64 value)
    {
        return m_numbers.count(value) != 0 ? Name(value) : std::to_string(value);
    }

    void Ld(QZInt64 ld, int depth)
    {
        Line(depth, "LD " + Name(ld));
        const QZInt64 count = m_channel->G_CN(ld, Info::LD_LDS_COUNT, 0);
        for (QZInt64 i = 1; i <= count; ++i)
            Line(depth + 1, "field " + std::to_string(i) + " " + Content(ld, i));
        for (const QZInt64 selector : {Info::LD_TREE_A, Info::LD_TREE_R, Info::LD_TREE_S})
            List(Field(ld, selector), depth + 1, true);
    }

    void Cd(QZInt64 record, int depth)
    {
        // A PD without an LD reads as a CD. What would be its content is then the beginning of the file.
        const bool bare = Field(record, Info::PD_LD_A) == 0;
        Line(depth, bare ? "PD without LD " + Name(record)
                         : "CD " + Name(record) + " " + Content(record, Info::CD_DATA));
    }

    void Pd(QZInt64 pd, int depth)
    {
        const QZInt64 ld = Field(pd, Info::PD_LD_A);
        const QZInt64 hd = Field(pd, Info::PD_HD_A);
        Line(depth, "PD " + Name(pd) + " " + Content(pd, Info::PD_DATA) + " LD " + Name(ld));
        if (Kind(ld) == Info::DATA_LD && m_entered.count(ld) == 0) Record(ld, depth + 1);
        if (hd != 0) List(hd, depth + 1, false);
    }

    void Ad(QZInt64 ad, int depth)
    {
        const QZInt64 target = Field(ad, Info::AD_FREE);
        const QZInt64 kind = Kind(target);
        if (kind == Info::TABLE_HD)
        {
            Line(depth, "AD " + Name(ad));
            List(target, depth + 1, false);
            return;
        }
        Line(depth, "AD " + Name(ad) + " " + Value(target));
        if (kind > Info::TYPE_DATA && m_entered.count(target) == 0) Record(target, depth + 1);
    }

    QZChannel* m_channel;
    bool m_writing = false;
    std::string m_text;
    std::map<QZInt64, std::size_t> m_numbers;
    std::map<QZInt64, bool> m_entered;
};

/// The text of the database in a file.
inline std::string DatabaseTextOf(QZString* path)
{
    QZChannel* channel = QZChannel::Open(QZChannel::MODE_FILE, path);
    const std::string text = DatabaseText(channel).Write();
    QZChannel::Close(&channel);
    return text;
}

/// The text of the state of a database at a snapshot mark. The file is changed: give it a copy.
inline std::string DatabaseTextAt(QZString* path, QZInt64 mark)
{
    QZChannel* channel = QZChannel::Open(QZChannel::MODE_FILE, path);
    std::string text = "cannot be restored";
    if (channel->AB_CB(channel->G_A(mark, QZDatabaseInfo::RD_P)) != 0) text = DatabaseText(channel).Write();
    QZChannel::Close(&channel);
    return text;
}

}  // namespace qztest

#endif
