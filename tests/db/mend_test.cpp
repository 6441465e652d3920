// Repairing and compacting: what a database holds before and after, compared as a whole.

#include "db/db_report.h"

#include <algorithm>
#include <memory>
#include <random>

#include "db/database_fixture.h"
#include "db/db_semantic.h"
#include "db/db_table.h"
#include "db/db_tree_table.h"
#include "db/internal/db_mend_map.h"
#include "fw/fw_data_type.h"
#include "os/os_file_buffer.h"
#include "support/qz_database_text.h"
#include "support/qz_hooks.h"
#include "sys/internal/sys_hooks.h"

using namespace qztest;

namespace
{
class Mend : public DatabaseTest
{
protected:
    QZString Named(const std::string& name) { return QZString(m_dir.Name(name).c_str()); }

    bool Compact(const std::string& to, const Addresses& marks = {}, QZDbReport* report = nullptr)
    {
        Close();
        QZString from = Named("test.db");
        QZString target = Named(to);
        QZCollection kept;
        for (const QZInt64 mark : marks) kept.Push(static_cast<QZUInt64>(mark));
        return QZDatabase::Compact(&from, to.empty() ? nullptr : &target, &kept, report) != 0;
    }

    bool Repair(const std::string& to, QZDbReport* report = nullptr)
    {
        Close();
        QZString from = Named("test.db");
        QZString target = Named(to);
        return QZDatabase::Repair(&from, &target, report) != 0;
    }

    std::string TextOf(const std::string& name)
    {
        Close();
        QZString path = Named(name);
        return DatabaseTextOf(&path);
    }

    std::string TextAt(const std::string& name, QZInt64 mark)
    {
        Close();
        m_dir.Write("state.db", m_dir.Read(name));
        QZString path = Named("state.db");
        return DatabaseTextAt(&path, mark);
    }

    /// The snapshot marks of a file.
    Addresses MarksOf(const std::string& name)
    {
        QZString path = Named(name);
        QZChannel* channel = QZChannel::Open(QZChannel::MODE_FILE, &path);
        QZCollection marks;
        channel->G_AL(Info::ADDRESSARRAYCOPY_SHNAPSHOTS, 0, &marks);
        QZChannel::Close(&channel);
        Addresses all;
        for (QZInt64 i = 0; i < marks.Count(); ++i) all.push_back(static_cast<QZInt64>(marks.GetElement(i)));
        return all;
    }

    QZInt64 Mark(const std::string& label)
    {
        const QZInt64 mark = m_channel->AD_TS();
        m_channel->RB_OFF();
        m_channel->P_C(m_channel->G_A(mark, Info::RD_N), 1, label.data(), static_cast<QZInt64>(label.size()));
        m_channel->RB_ON();
        return mark;
    }

    void Put(QZInt64 address, QZInt64 field, const std::string& text)
    {
        ASSERT_GE(m_channel->P_C(address, field, text.data(), static_cast<QZInt64>(text.size())), 0);
    }

    /// Records of every kind, in the ways that a host can link them.
    void MakeRecords()
    {
        m_channel->CheckParam(0);
        const QZInt64 treeA = m_channel->G_TA(1);
        const QZInt64 treeR = m_channel->G_TA(2);
        const QZInt64 treeL = m_channel->G_TA(4);
        Addresses lds;
        for (int i = 0; i < 3; ++i)
        {
            lds.push_back(m_channel->P_D(treeL, Info::DATA_LD));
            for (int field = 1; field <= 4; ++field)
                Put(lds.back(), field, std::string(static_cast<std::size_t>(field * 40 * i), 'f'));
            Put(lds.back(), 2, "&" + std::string(30, 'x'));  // the mark of a record, and a length that is one
            Put(lds.back(), 6, std::string("\0\1^&", 4));
        }
        Addresses pds;
        for (const QZInt64 tree : {treeA, treeR, treeA})
        {
            const QZInt64 pd = m_channel->P_D(tree, Info::DATA_PD);
            m_channel->P_A(pd, Info::PD_LD_A, lds[pds.size()]);
            Put(pd, Info::PD_DATA, "node " + std::to_string(pds.size()));
            const QZInt64 back =
                m_channel->P_D(m_channel->G_A(lds[pds.size()], Info::LD_TREE_R), Info::DATA_AD);
            m_channel->P_A(back, Info::AD_FREE, pd);
            pds.push_back(pd);
        }
        // Nested lists, one that a second node shares, and one that leads back to a list above it.
        const QZInt64 below = m_channel->P_HD(pds[0]);
        const QZInt64 inner = m_channel->P_D(below, Info::DATA_PD);
        m_channel->P_A(inner, Info::PD_LD_A, lds[0]);
        m_channel->P_A(inner, Info::PD_HD_A, treeA);
        m_channel->P_A(pds[1], Info::PD_HD_A, below);
        // Lists of other kinds.
        const QZInt64 mixed = m_channel->P_HD(pds[2]);
        for (const std::string& text : {std::string(), std::string("cd"), std::string(5000, 'c')})
            Put(m_channel->P_D(mixed, Info::DATA_CD), Info::CD_DATA, text);
        const QZInt64 free = m_channel->P_HD();
        Put(m_channel->P_D(free, Info::DATA_CD), Info::CD_DATA, "in a free list");
        m_channel->P_A(m_channel->P_D(mixed, Info::DATA_AD), Info::AD_FREE, free);
        m_channel->P_A(m_channel->P_D(mixed, Info::DATA_AD), Info::AD_FREE, pds[1]);
        m_channel->P_A(m_channel->P_D(mixed, Info::DATA_AD), Info::AD_FREE, 0);
        const QZInt64 rd = m_channel->P_D(mixed, Info::DATA_RD);
        m_channel->P_A(rd, Info::RD_P, pds[0]);
        m_channel->P_A(rd, Info::RD_O, 12);
        m_channel->P_A(rd, Info::RD_N, lds[1]);
        // A node whose LD is in no list, and one that has none.
        const QZInt64 alone = m_channel->P_D(m_channel->P_HD(), Info::DATA_LD);
        Put(alone, 1, "in no list");
        m_channel->P_A(m_channel->P_D(treeA, Info::DATA_PD), Info::PD_LD_A, alone);
        m_channel->P_D(treeA, Info::DATA_PD);
        // Erased contents, and records that are moved and removed.
        m_channel->E_C(lds[1], 3);
        m_channel->E_C(pds[1], Info::PD_DATA);
        m_channel->MV(lds[0], 1);
        m_channel->D_DATA(m_channel->P_D(treeA, Info::DATA_CD), Info::DELETE_DATA);
    }

    QZInt64 MakeTable(const QZWChar* path, int rows)
    {
        QZString text(path);
        const QZInt64 handle = QZDbTable::Create(m_channel, &text);
        QZDbTable* table = QZDbTable::Open(m_channel, handle);
        const QZInt64 types[] = {QZDataType::INT64,      QZDataType::DOUBLE,   QZDataType::TEXTUTF16LE,
                                 QZDataType::TIMESTAMP,  QZDataType::DATETIME, QZDataType::BOOL,
                                 QZDataType::ARRAYINT32, QZDataType::TEXTUTF8, QZDataType::BYTE};
        for (std::size_t i = 0; i < std::size(types); ++i)
        {
            QZString name(("field " + std::to_string(i)).c_str());
            table->FieldAdd(&name, types[i]);
        }
        for (int r = 0; r < rows; ++r) FillRow(table, table->DataAdd(), r);
        QZDbTable::Close(&table);
        return handle;
    }

    void FillRow(QZDbTable* table, QZInt64 row, int r)
    {
        const double weight = r * 0.1;
        const QZInt64 number = r * 1000003;
        const QZData n(&number, 8);
        const QZData w(&weight, 8);
        QZString text(QZ_W("Zürich 山田 "));
        text.Append(r);
        const std::string blob(static_cast<std::size_t>(r * 37 % 900), static_cast<char>('&' + r));
        const QZData b(blob.data(), static_cast<QZInt64>(blob.size()));
        table->DataSetValue(row, 1, const_cast<QZData*>(&n));
        table->DataSetValue(row, 2, const_cast<QZData*>(&w));
        table->DataSetValue(row, 3, &text);
        if (r % 3 != 0) table->DataSetValue(row, 7, const_cast<QZData*>(&b));
        if (r % 4 == 0) table->DataSetValue(row, 2, const_cast<QZData*>(&n));
    }

    /// Bitmaps, waves, lists, empty tables, names in any script, moved and removed rows.
    void MakeTables()
    {
        const QZInt64 stock = MakeTable(QZ_W("stock/parts"), 12);
        MakeTable(QZ_W("empty/\u00C4\u6771\U0001F389"), 0);
        MakeTable(QZ_W("a/b/c/d"), 2);
        QZDbTable* table = QZDbTable::Open(m_channel, stock);
        table->DataMove(table->DataGet(2), 5);
        table->DataRemove(table->DataGet(4));
        QZNode::MoveUp(m_channel, table->DataGet(6), -3);
        QZDbTable::Close(&table);
        const QZInt64 root = m_channel->G_TA(3);
        QZString name(QZ_W("\u0416\u05D0\u0E01"));
        const QZInt64 list = QZNodeTLD::Create(m_channel, root);
        QZSNode::PutName(m_channel, list, &name);
        QZNodeTLD(m_channel, list).AddString(&name);
        QZSNode::PutName(m_channel, QZNodeBLD::Create(m_channel, root), &name);
        // A table whose LD is in no list any more can be opened as before.
        QZDbTable* removed = QZDbTable::Open(m_channel, MakeTable(QZ_W("removed"), 1));
        removed->Remove();
        QZDbTable::Close(&removed);
    }
};
}  // namespace

TEST(MendMap, KeepsAnAddressForEachPlaceAndRefusesOthers)
{
    QZDbAddressMap map(100000);
    std::mt19937 random(7);
    std::map<QZInt64, QZInt64> model;
    for (int i = 0; i < 5000; ++i)
    {
        const QZInt64 address = static_cast<QZInt64>(random() % 6000 + 1) * 16 - 1;
        model[address] = i + 1;
        map.Set(address, i + 1);
    }
    for (QZInt64 address = 15; address < 110000; address += 16)
    {
        const auto found = model.find(address);
        EXPECT_EQ(map.Get(address), found != model.end() ? found->second : 0) << address;
    }
    map.Set(16, 5);
    map.Set(-1, 5);
    map.Set(1 << 30, 5);
    EXPECT_EQ(map.Get(16), 0);
    EXPECT_EQ(map.Get(-1), 0);
    EXPECT_EQ(map.Get((1 << 30) - 1), 0);
}

TEST_F(Mend, ACompactFileHoldsTheSameInEveryAddressMode)
{
    for (const QZInt64 mode : {1, 2, 3})
    {
        for (const QZInt64 rollback : {0, 1})
        {
            Fresh(mode, rollback);
            MakeRecords();
            MakeTables();
            const std::string before = TextOf("test.db");
            const std::string bytes = m_dir.Read("test.db");
            QZDbReport report;
            ASSERT_TRUE(Compact("new.db", {}, &report)) << report.GetReason(0);
            EXPECT_EQ(report.Count(), 0);
            EXPECT_EQ(m_dir.Read("test.db"), bytes);
            EXPECT_EQ(TextOf("new.db"), before);
            EXPECT_EQ(report.SizeAfter, static_cast<QZInt64>(m_dir.Read("new.db").size()));
            EXPECT_LT(report.SizeAfter, report.SizeBefore);
            EXPECT_FALSE(m_dir.Exists("new.db.part"));
            EXPECT_EQ(m_dir.Read("new.db").substr(0, 3), bytes.substr(0, 3));
            // A second time nothing is left to win.
            m_dir.Write("test.db", m_dir.Read("new.db"));
            ASSERT_TRUE(Compact("again.db"));
            EXPECT_EQ(TextOf("again.db"), before);
            EXPECT_EQ(m_dir.Read("again.db").size(), m_dir.Read("new.db").size());
            for (const char* name : {"test.db", "new.db", "again.db"})
                std::filesystem::remove(m_dir.Path(name));
        }
    }
}

TEST_F(Mend, ARepairedSoundFileHoldsTheSameToo)
{
    Fresh(3, 1);
    MakeTables();
    Close();
    const std::string before = TextOf("test.db");
    QZDbReport report;
    ASSERT_TRUE(Repair("new.db", &report));
    EXPECT_EQ(report.Count(), 0) << report.GetReason(0);
    // A repair puts the LD of the removed table into the list again.
    Open();
    EXPECT_EQ(std::count(before.begin(), before.end(), '\n'), [this] {
        const std::string after = TextOf("new.db");
        return std::count(after.begin(), after.end(), '\n');
    }());
}

TEST_F(Mend, ACompactFileCanBeWrittenTo)
{
    Fresh(3, 1);
    MakeTables();
    ASSERT_TRUE(Compact(""));
    Open();
    ASSERT_EQ(m_channel->G_EN(), 0);
    const QZInt64 mark = Mark("here");
    QZString path(QZ_W("stock/parts"));
    QZDbTable* table = QZDbTable::Open(m_channel, &path);
    EXPECT_EQ(table->DataCount(), 11);
    const QZInt64 row = table->DataAdd();
    FillRow(table, row, 77);
    EXPECT_EQ(table->DataCount(), 12);
    const std::unique_ptr<QZString> value(table->DataGetValueString(row, 3));
    EXPECT_TRUE(value->Equals(QZ_W("Zürich 山田 77")));
    table->DataMove(table->DataGet(1), 4);
    EXPECT_EQ(table->DataCount(), 12);
    QZDbTable::Close(&table);
    EXPECT_EQ(m_channel->AB_CB(m_channel->G_A(mark, Info::RD_P)), 1);
    table = QZDbTable::Open(m_channel, &path);
    EXPECT_EQ(table->DataCount(), 11);
    QZDbTable::Close(&table);
    Close();
    QZDbReport report;
    EXPECT_TRUE(Compact("again.db", {}, &report));
    EXPECT_EQ(report.Count(), 0);
}

TEST_F(Mend, KeptStatesAreRestoredAsBefore)
{
    for (const QZInt64 mode : {2, 3})
    {
        Fresh(mode, 1);
        const QZInt64 fresh = Mark("fresh");
        MakeTables();
        const QZInt64 first = Mark("first");
        MakeRecords();
        QZString path(QZ_W("stock/parts"));
        QZDbTable* table = QZDbTable::Open(m_channel, &path);
        for (int i = 0; i < 5; ++i)
        {
            table->DataMove(table->DataGet(1), i);
            FillRow(table, table->DataGet(i + 2), 50 + i);
            table->DataRemove(table->DataGet(3));
        }
        QZDbTable::Close(&table);
        const QZInt64 second = Mark("second");
        // A branch: back to the first one, and on from there.
        ASSERT_EQ(m_channel->AB_CB(m_channel->G_A(first, Info::RD_P)), 1);
        MakeTable(QZ_W("branch"), 3);
        const QZInt64 branch = Mark("branch");
        MakeTable(QZ_W("after"), 1);
        const Addresses marks{fresh, first, second, branch};
        std::vector<std::string> texts;
        for (const QZInt64 mark : marks) texts.push_back(TextAt("test.db", mark));
        const std::string present = TextOf("test.db");
        for (const Addresses& kept : {marks, Addresses{second}, Addresses{branch, fresh}})
        {
            QZDbReport report;
            ASSERT_TRUE(Compact("new.db", kept, &report)) << report.GetReason(0);
            EXPECT_EQ(report.States, static_cast<QZInt64>(kept.size()));
            EXPECT_EQ(TextOf("new.db"), present);
            const Addresses made = MarksOf("new.db");
            ASSERT_EQ(made.size(), kept.size());
            std::size_t n = 0;
            for (std::size_t i = 0; i < marks.size(); ++i)
            {
                if (std::find(kept.begin(), kept.end(), marks[i]) == kept.end()) continue;
                EXPECT_NE(texts[i], "cannot be restored");
                EXPECT_EQ(TextAt("new.db", made[n]), texts[i]) << i;
                ++n;
            }
            EXPECT_FALSE(m_dir.Exists("new.db.state"));
            std::filesystem::remove(m_dir.Path("new.db"));
        }
        std::filesystem::remove(m_dir.Path("test.db"));
    }
}

TEST_F(Mend, TheFieldsOfAKeptMarkAreCopied)
{
    Fresh(3, 1);
    Mark("one");
    MakeTable(QZ_W("t"), 1);
    const QZInt64 two = Mark("two, in any \xE8\xAA\x9E");
    Close();
    ASSERT_TRUE(Compact("", {two}));
    Open();
    const Addresses marks = MarksOf("test.db");
    ASSERT_EQ(marks.size(), 1u);
    const QZInt64 ld = m_channel->G_A(marks[0], Info::RD_N);
    std::string label(static_cast<std::size_t>(m_channel->G_C_L(ld, 1)), '\0');
    m_channel->G_C(ld, 1, label.data());
    EXPECT_EQ(label, "two, in any \xE8\xAA\x9E");
}

TEST_F(Mend, WhatCannotBeDoneChangesNothing)
{
    Fresh(3, 1);
    MakeTables();
    const QZInt64 mark = Mark("m");
    Close();
    const std::string bytes = m_dir.Read("test.db");
    m_dir.Write("there.db", "mine");
    EXPECT_FALSE(Compact("there.db"));
    EXPECT_FALSE(Repair("there.db"));
    EXPECT_FALSE(Repair("test.db"));
    EXPECT_EQ(m_dir.Read("there.db"), "mine");
    EXPECT_EQ(Catch([&] { Compact("new.db", {mark + 16}); }).code, 256);
    m_dir.Write("text.db", "This is no database.");
    QZString text = Named("text.db");
    QZString target = Named("new.db");
    EXPECT_EQ(Catch([&] { QZDatabase::Compact(&text, &target, nullptr, nullptr); }).code, Info::BAD_STRUCT);
    EXPECT_EQ(Catch([&] { QZDatabase::Repair(&text, &target, nullptr); }).code, Info::BAD_STRUCT);
    QZString none = Named("none.db");
    EXPECT_TRUE(Catch([&] { QZDatabase::Repair(&none, &target, nullptr); }).thrown);
    EXPECT_FALSE(m_dir.Exists("none.db"));
    EXPECT_FALSE(m_dir.Exists("new.db"));
    EXPECT_FALSE(m_dir.Exists("new.db.part"));
    EXPECT_EQ(m_dir.Read("test.db"), bytes);
}

TEST_F(Mend, EveryFailureOfTheSystemLeavesTheOldFileAndNothingElse)
{
    Fresh(3, 1);
    MakeTables();
    const QZInt64 mark = Mark("m");
    MakeTable(QZ_W("later"), 2);
    const std::string before = TextOf("test.db");
    const std::string bytes = m_dir.Read("test.db");
    for (const QZByte atomic : {0, 1})
    {
        for (const os::Op operation : {os::Op::FileOpen, os::Op::FileRead, os::Op::FileWrite,
                                       os::Op::FileSize, os::Op::FileSync, os::Op::FileName})
        {
            bool failed = true;
            for (int n = 1; failed && n < 1000000; n += 1 + n / 6)
            {
                m_dir.Write("test.db", bytes);
                QZFileBuffer::AtomicSync = atomic;
                {
                    Hooks hooks;
                    hooks.Fail(operation, 5, n);
                    failed = Catch([&] { Compact("", {mark}); }).thrown;
                }
                if (failed && m_dir.Read("test.db") != bytes)
                {
                    // The new file has its name, and only the directory could not be flushed, or a file that
                    // was not needed any more could not be deleted.
                    EXPECT_EQ(TextOf("test.db"), before) << static_cast<int>(operation) << " " << n;
                }
                // What a failed deletion has left is deleted by the next run.
                ASSERT_TRUE(Compact("", {})) << static_cast<int>(operation) << " " << n;
                EXPECT_EQ(TextOf("test.db"), before) << static_cast<int>(operation) << " " << n;
                QZFileBuffer::AtomicSync = 0;
                EXPECT_FALSE(m_dir.Exists("test.db.part"));
                EXPECT_FALSE(m_dir.Exists("test.db.state"));
            }
            EXPECT_FALSE(failed) << static_cast<int>(operation);
        }
    }
}

TEST_F(Mend, TheReportEndsAnOperation)
{
    class Ending : public QZDbReport
    {
    public:
        explicit Ending(int after) : m_left(after) {}
        QZBool Progress(QZInt64 done, QZInt64 total) override
        {
            EXPECT_GE(done, m_last);
            EXPECT_LE(done, total);
            m_last = done;
            return m_left-- > 0;
        }

    private:
        int m_left;
        QZInt64 m_last = 0;
    };
    Fresh(3, 1);
    MakeTable(QZ_W("t"), 400);
    Close();
    const std::string bytes = m_dir.Read("test.db");
    for (const int after : {0, 1})
    {
        Ending compacting(after);
        EXPECT_FALSE(Compact("", {}, &compacting));
        Ending repairing(after);
        EXPECT_FALSE(Repair("new.db", &repairing));
        EXPECT_EQ(m_dir.Read("test.db"), bytes);
        EXPECT_FALSE(m_dir.Exists("test.db.part"));
        EXPECT_FALSE(m_dir.Exists("new.db"));
    }
    Ending report(1000);
    EXPECT_TRUE(Compact("", {}, &report));
}

TEST_F(Mend, ARepairNamesWhatItLeavesOut)
{
    Fresh(3, 1);
    const QZInt64 handle = MakeTable(QZ_W("t"), 5);
    const QZInt64 list = m_channel->G_A(handle, Info::PD_HD_A);
    const QZInt64 types = m_channel->G_A(list, Info::HD_FIRSTDATA);
    const QZInt64 first = m_channel->G_A(types, Info::DATA_NEXT);
    const QZInt64 second = m_channel->G_A(first, Info::DATA_NEXT);
    const QZInt64 ld = m_channel->G_A(first, Info::PD_LD_A);
    const QZInt64 field = m_channel->G_CN(m_channel->G_A(ld, Info::LD_LDS), Info::SN_GET_DATA_FROM_HD, 9);
    // The LD of a row, a field of another one, and the header.
    Damage(m_channel->G_A(second, Info::PD_LD_A), std::string(100, '\0'));
    Damage(field, std::string(100, '\0'));
    Close();
    m_dir.Write("test.db", m_dir.Read("test.db").replace(1, 1, "\7"));
    QZDbReport report;
    ASSERT_TRUE(Repair("new.db", &report));
    EXPECT_EQ(report.Count(), report.LeftOut() + report.Mended());
    bool row = false;
    bool value = false;
    bool header = false;
    for (QZInt64 i = 0; i < report.Count(); ++i)
    {
        row = row || (report.GetAddress(i) == second && report.GetKind(i) == Info::DATA_PD &&
                      report.GetOutcome(i) == QZDbReport::LEFT_OUT);
        value = value || (report.GetAddress(i) == field && report.GetOutcome(i) == QZDbReport::LEFT_OUT);
        header = header || (report.GetAddress(i) == 0 && report.GetOutcome(i) == QZDbReport::MENDED);
        EXPECT_NE(report.GetReason(i), nullptr);
    }
    EXPECT_TRUE(row);
    EXPECT_TRUE(value);
    EXPECT_TRUE(header);
    EXPECT_EQ(report.GetReason(report.Count()), nullptr);
    EXPECT_EQ(report.GetAddress(-1), 0);
    // The other fields of the row keep their numbers.
    m_dir.Write("test.db", m_dir.Read("new.db"));
    Open();
    QZString path(QZ_W("t"));
    QZDbTable* table = QZDbTable::Open(m_channel, &path);
    EXPECT_EQ(table->DataCount(), 4);
    const QZInt64 row1 = table->DataGetFirst();
    const std::unique_ptr<QZData> lost(table->DataGetValue(row1, 2));
    EXPECT_EQ(lost->GetSize(), 0);
    const std::unique_ptr<QZString> kept(table->DataGetValueString(row1, 3));
    EXPECT_TRUE(kept->Equals(QZ_W("Zürich 山田 0")));
    QZDbTable::Close(&table);
}

TEST_F(Mend, SortingARowListThatGoesRoundEnds)
{
    Fresh(3, 0);
    const QZInt64 handle = MakeTable(QZ_W("t"), 30);
    QZString path(QZ_W("t"));
    QZString name("field 2");
    QZDbTable* table = QZDbTable::Open(m_channel, &path);
    EXPECT_EQ(table->ArrangementByLetters(&name), 1);
    const QZInt64 tenth = table->DataGet(10);
    const QZInt64 last = table->DataGetLast();
    QZDbTable::Close(&table);
    DamageAddress(m_channel->G_A(last, Info::DATA_END) - 8, tenth);
    table = QZDbTable::Open(m_channel, handle);
    EXPECT_EQ(table->ArrangementByLetters(&name), 0);
    QZDbTable::Close(&table);
}
