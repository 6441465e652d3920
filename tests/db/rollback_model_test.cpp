#include <algorithm>
#include <filesystem>
#include <map>
#include <random>

#include "db/database_fixture.h"

namespace qztest
{
namespace
{
/// Random operations with snapshots and restores. A successful restore must give the state that was recorded
/// at the snapshot; a refused one must change nothing.
class RollbackModel : public DatabaseTest
{
protected:
    /// All that a host sees below a list: addresses, contents, fields, children.
    std::string State(QZInt64 hd)
    {
        std::string text = "(" + std::to_string(hd);
        for (const QZInt64 pd : List(hd))
        {
            text += " " + std::to_string(pd) + "=" + Get(pd, Info::PD_DATA);
            const QZInt64 ld = A(pd, Info::PD_LD_A);
            text += " ld" + std::to_string(ld) + Fields(ld);
            const QZInt64 child = A(pd, Info::PD_HD_A);
            if (child != 0) text += State(child);
        }
        return text + ")";
    }

    std::string Fields(QZInt64 ld)
    {
        std::string text;
        const QZInt64 count = m_channel->G_CN(ld, Info::LD_LDS_COUNT, 0);
        for (QZInt64 field = 1; field <= count; ++field) text += ":" + Get(ld, field);
        return text;
    }

    std::string State()
    {
        std::string text = State(m_channel->G_TA(Info::TREESSN));
        for (const QZInt64 ld : List(m_channel->G_TA(Info::TREELSN))) text += " " + std::to_string(ld);
        return text;
    }

    int Random(int below) { return static_cast<int>(m_random() % static_cast<unsigned>(below)); }

    void CollectPDs(QZInt64 hd, Addresses* pds, Addresses* hds)
    {
        hds->push_back(hd);
        for (const QZInt64 pd : List(hd))
        {
            pds->push_back(pd);
            const QZInt64 child = A(pd, Info::PD_HD_A);
            if (child != 0) CollectPDs(child, pds, hds);
        }
    }

    void Work()
    {
        Addresses pds;
        Addresses hds;
        CollectPDs(m_channel->G_TA(Info::TREESSN), &pds, &hds);
        if (pds.empty())
        {
            MakePD();
            return;
        }
        const QZInt64 pd = pds[static_cast<std::size_t>(Random(static_cast<int>(pds.size())))];
        const std::string text = "t" + std::to_string(m_random() % 1000);
        switch (Random(9))
        {
            case 0: MakePD(hds[static_cast<std::size_t>(Random(static_cast<int>(hds.size())))]); break;
            case 1:
                if (A(pd, Info::PD_HD_A) == 0) m_channel->P_HD(pd);
                break;
            case 2: Put(pd, Info::PD_DATA, text); break;
            case 3:
            case 4: Put(A(pd, Info::PD_LD_A), 1 + Random(4), text); break;
            case 5: m_channel->MV(pd, Random(7) - 3); break;
            case 6: m_channel->D_DATA(pd, Info::DELETE_PD); break;
            case 7: m_channel->D_DATA(pd, Info::DELETE_DATA); break;
            default:
            {
                // Only PDs without children are moved, so that no list becomes its own descendant.
                const QZInt64 root = m_channel->G_TA(Info::TREESSN);
                if (A(pd, Info::PD_HD_A) == 0) m_channel->MT(pd, root);
                break;
            }
        }
    }

    struct Mark
    {
        QZInt64 point;
        std::string state;
    };

    void Run(unsigned seed, int steps)
    {
        m_random.seed(seed);
        std::vector<Mark> marks;
        int reached = 0;
        int refused = 0;
        for (int step = 0; step < steps; ++step)
        {
            const int choice = Random(10);
            if (choice == 0)
            {
                const QZInt64 mark = m_channel->AD_TS();
                ASSERT_NE(mark, 0);
                marks.push_back({A(mark, Info::RD_P), State()});
            }
            else if (choice == 1 && !marks.empty())
            {
                const Mark& mark = marks[static_cast<std::size_t>(Random(static_cast<int>(marks.size())))];
                const std::string before = State();
                const QZInt64 errors = m_channel->G_EN();
                if (m_channel->AB_CB(mark.point))
                {
                    ++reached;
                    ASSERT_EQ(State(), mark.state) << "seed " << seed << " step " << step;
                    ASSERT_EQ(m_channel->G_EN(), errors);
                }
                else
                {
                    ++refused;
                    ASSERT_EQ(State(), before) << "seed " << seed << " step " << step;
                    ASSERT_EQ(m_channel->G_EN(), errors + 1);
                    ASSERT_EQ(m_channel->G_LE(), Info::ROLLBACK_ERROR_INVALIDADDR);
                }
            }
            else
            {
                Work();
            }
            if (step % 50 == 49) Reopen();
        }
        EXPECT_GT(reached, refused);
        m_reached += reached;
        m_refused += refused;
    }

    std::mt19937 m_random;
    int m_reached = 0;
    int m_refused = 0;
};

TEST_F(RollbackModel, EverySuccessfulRestoreGivesTheStateOfItsSnapshot)
{
    for (unsigned seed = 1; seed <= 12; ++seed)
    {
        Close();
        std::filesystem::remove(m_dir.Path("test.db"));
        Fresh(seed % 2 == 0 ? 3 : 2, 1);
        Run(seed, 250);
        if (HasFatalFailure()) return;
    }
    EXPECT_GT(m_reached, 100);
}

/// Writes of one address, with snapshots and restores, compared with a model of the log.
class RollbackTree : public DatabaseTest
{
protected:
    /// The position of a record in its list, counted from 1; 0 when it is not in the list.
    QZInt64 PositionOf(QZInt64 record)
    {
        QZInt64 place = 0;
        for (const QZInt64 other : List(A(record, Info::DATA_HDA)))
        {
            ++place;
            if (other == record) return place;
        }
        return 0;
    }

    /// The lists from the record's own list up to the root of the log.
    Addresses Levels(QZInt64 record)
    {
        Addresses levels;
        QZInt64 level = A(record, Info::DATA_HDA);
        while (level != 271)
        {
            levels.push_back(level);
            level = A(A(level, Info::HD_PREV), Info::DATA_HDA);
        }
        return levels;
    }

    /// The records on the path from a record to the beginning of the log.
    Addresses PathOf(QZInt64 record)
    {
        Addresses path;
        for (const QZInt64 level : Levels(record))
        {
            const Addresses list = List(level);
            std::size_t i = 0;
            while (list[i] != record) ++i;
            for (std::size_t j = i + 1; j-- > 0;) path.push_back(list[j]);
            record = A(level, Info::HD_PREV);
        }
        path.push_back(record);
        return path;
    }

    /// Whether a restore from the present record to the target succeeds. The fork is the earlier of the two
    /// records in their nearest common list, where a record of a deeper list is represented by the hook of
    /// the common list. The restore succeeds when the fork is on both paths.
    bool CanRestore(QZInt64 target, QZInt64 present)
    {
        const Addresses targetLevels = Levels(target);
        const Addresses presentLevels = Levels(present);
        QZInt64 fork = 0;
        if (targetLevels[0] == presentLevels[0])
        {
            fork = PositionOf(target) >= PositionOf(present) ? present : target;
        }
        else
        {
            QZInt64 common = 0;
            for (const QZInt64 level : presentLevels)
            {
                if (std::find(targetLevels.begin(), targetLevels.end(), level) == targetLevels.end())
                    continue;
                common = level;
                break;
            }
            const QZInt64 hook = A(common, Info::HD_PREV);
            const QZInt64 targetSide = targetLevels[0] == common ? target : hook;
            const QZInt64 presentSide = presentLevels[0] == common ? present : hook;
            fork = PositionOf(targetSide) >= PositionOf(presentSide) ? presentSide : targetSide;
        }
        const Addresses targetPath = PathOf(target);
        const Addresses presentPath = PathOf(present);
        return std::find(targetPath.begin(), targetPath.end(), fork) != targetPath.end() &&
               std::find(presentPath.begin(), presentPath.end(), fork) != presentPath.end();
    }

    QZInt64 Present()
    {
        const QZInt64 position = A(975, Info::AD_FREE);
        const QZInt64 last = A(position, Info::HD_LASTDATA_THIS);
        return last != 0 ? last : A(position, Info::HD_PREV);
    }
};

TEST_F(RollbackTree, RestoreSucceedsExactlyWhenTheForkIsOnBothPaths)
{
    int reached = 0;
    int refused = 0;
    for (unsigned seed = 1; seed <= 8; ++seed)
    {
        Close();
        std::filesystem::remove(m_dir.Path("test.db"));
        Fresh(3, 1);
        const QZInt64 place = m_channel->P_D(m_channel->P_HD(), Info::DATA_AD);
        std::mt19937 random(seed);
        std::map<QZInt64, QZInt64> marks;
        QZInt64 value = 0;
        for (int step = 0; step < 150; ++step)
        {
            switch (random() % 6)
            {
                case 0: marks[A(m_channel->AD_TS(), Info::RD_P)] = value; break;
                case 1:
                {
                    if (marks.empty()) break;
                    auto mark = marks.begin();
                    std::advance(mark, random() % marks.size());
                    const bool expected = CanRestore(mark->first, Present());
                    ASSERT_EQ(m_channel->AB_CB(mark->first) != 0, expected) << seed << " " << step;
                    if (expected) value = mark->second;
                    ++(expected ? reached : refused);
                    break;
                }
                default:
                    value = static_cast<QZInt64>(random() % 100000);
                    m_channel->P_A(place, Info::AD_FREE, value);
            }
            ASSERT_EQ(A(place, Info::AD_FREE), value) << seed << " " << step;
        }
    }
    EXPECT_GT(reached, 50);
    EXPECT_GT(refused, 5);
}

/// Logs with wrong links, as after a disk fault.
class RollbackDamage : public DatabaseTest
{};

TEST_F(RollbackDamage, RestoresOnDamagedLogsEnd)
{
    ASSERT_TRUE(Create(2, 1));
    Open();
    const QZInt64 place = m_channel->P_D(m_channel->P_HD(), Info::DATA_AD);
    Addresses marks;
    for (int i = 0; i < 12; ++i)
    {
        for (int n = 0; n < 3; ++n) m_channel->P_A(place, Info::AD_FREE, i * 10 + n);
        marks.push_back(m_channel->AD_TS());
        if (i % 3 == 2) m_channel->AB_CB(A(marks[static_cast<std::size_t>(i) / 2], Info::RD_P));
    }
    Addresses points;
    for (const QZInt64 mark : marks) points.push_back(A(mark, Info::RD_P));
    Close();
    const std::string intact = m_dir.Read("test.db");
    Addresses records;
    for (QZInt64 at = 31; at < static_cast<QZInt64>(intact.size()); at += 16)
    {
        const char mark = intact[static_cast<std::size_t>(at)];
        if (mark == '^' || mark == '&') records.push_back(at);
    }

    std::mt19937 random(99);
    const auto pick = [&random](const Addresses& from) { return from[random() % from.size()]; };
    int restored = 0;
    int refused = 0;
    for (int round = 0; round < 300; ++round)
    {
        std::string file = intact;
        for (int i = 0; i < 3; ++i)
        {
            // A field of one record is overwritten with the address of another.
            const QZInt64 record = pick(records);
            const auto field = static_cast<std::size_t>(record + 1 + 4 * static_cast<QZInt64>(random() % 8));
            QZInt64 value = pick(records);
            if (random() % 3 == 0) value += 33;
            if (random() % 4 == 0) value = 0;
            if (field + 4 > file.size()) continue;
            for (std::size_t b = 0; b < 4; ++b)
            {
                file[field + b] = static_cast<char>(static_cast<std::uint64_t>(value) >> (8 * b) & 0xFF);
            }
        }
        m_dir.Write("test.db", file);
        Open();
        m_channel->CheckParam(0);
        for (const QZInt64 point : points) ++(m_channel->AB_CB(point) ? restored : refused);
        QZCollection collection;
        m_channel->G_AL(Info::ADDRESSARRAYCOPY_SHNAPSHOTS, 0, &collection);
        m_channel->G_AL(Info::ADDRESSARRAYCOPY_ROLLBACKMARKS, 0, &collection);
        m_channel->G_WPS();
        m_channel->P_A(place, Info::AD_FREE, round);
        m_channel->AD_TS();
        Close();
    }
    EXPECT_GT(restored, 100);
    EXPECT_GT(refused, 100);
}

}  // namespace
}  // namespace qztest
