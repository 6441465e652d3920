#include "db/db_node.h"

#include <cstdlib>

#include "db/database_fixture.h"
#include "fw/fw_library.h"

namespace qztest
{
namespace
{
class Node : public DatabaseTest
{
protected:
    void SetUp() override { Fresh(); }

    QZInt64 MakeLD() { return QZNodeLD::Create(m_channel); }

    /// Creates a PD with this LD, and the AD of the LD that refers to the PD, as SetLD does.
    QZInt64 MakeKnownPD(QZInt64 ld)
    {
        const QZInt64 pd = m_channel->P_D(m_channel->G_TA(3), Info::DATA_PD);
        m_channel->P_A(pd, Info::PD_LD_A, ld);
        const QZInt64 ad = m_channel->P_D(A(ld, Info::LD_TREE_S), Info::DATA_AD);
        m_channel->P_A(ad, Info::AD_FREE, pd);
        return pd;
    }

    static std::string Take(QZData* data)
    {
        const std::string text(static_cast<const char*>(data->GetPointer()),
                               static_cast<std::size_t>(data->GetSize()));
        QZNodeLD::Recycle(&data);
        EXPECT_EQ(data, nullptr);
        return text;
    }

    static Addresses Take(QZCollection* collection)
    {
        const Addresses words = Words(*collection);
        QZNodeHD::Recycle(&collection);
        EXPECT_EQ(collection, nullptr);
        return words;
    }

    /// Returns the code of the exception that the call throws, 0 for none. Such a call leaves the lock held,
    /// so it is released.
    template <typename Call>
    QZInt64 CodeThrown(Call call)
    {
        const Thrown thrown = Catch(call);
        if (thrown.thrown) m_channel->ConsoleUnlock();
        return thrown.thrown ? thrown.code : 0;
    }
};

TEST_F(Node, Types)
{
    EXPECT_EQ(QZNode(m_channel, 0).GetType(), 0x81FFFFF);
    EXPECT_EQ(QZNodeAD(m_channel, 0).GetType(), 0x8200000);
    EXPECT_EQ(QZNodeCD(m_channel, 0).GetType(), 0x8200001);
    EXPECT_EQ(QZNodeRD(m_channel, 0).GetType(), 0x8200002);
    EXPECT_EQ(QZNodeLD(m_channel, 0).GetType(), 0x8200003);
    EXPECT_EQ(QZNodePD(m_channel, 0).GetType(), 0x8200004);
    EXPECT_EQ(QZNodeHD(m_channel, 0).GetType(), 0x8200005);
    EXPECT_EQ(QZNode::Type, 0x81FFFFF);
    EXPECT_EQ(QZNodeHD::Type, 0x8200005);
}

TEST_F(Node, ConstructorChecksAndChangesNothing)
{
    const std::string before = File();
    {
        QZNode nowhere(nullptr, -1);
        EXPECT_EQ(nowhere.GetAddress(), -1);
        EXPECT_EQ(nowhere.GetChannel(), nullptr);
        const QZNodeHD head(nullptr, 12345);
        EXPECT_EQ(head.GetAddress(), 12345);
    }
    EXPECT_EQ(File(), before);
}

// ---- Any record

TEST_F(Node, NeighboursHeadAndPlace)
{
    const QZInt64 hd = m_channel->P_HD();
    const QZInt64 first = MakePD(hd);
    const QZInt64 second = MakePD(hd);
    QZNode node(m_channel, second);
    EXPECT_EQ(node.GetPrev(), first);
    EXPECT_EQ(node.GetNext(), 0);
    EXPECT_EQ(node.GetHDA(), hd);
    EXPECT_EQ(node.GetSN(), 2);
    EXPECT_EQ(node.GetNodeType(), Info::DATA_PD);
    EXPECT_EQ(QZNode::GetPrev(m_channel, first), 0);
    EXPECT_EQ(QZNode::GetNext(m_channel, first), second);
    EXPECT_EQ(QZNode::GetHDA(m_channel, first), hd);
    EXPECT_EQ(QZNode::GetSN(m_channel, first), 1);
    EXPECT_EQ(QZNode::GetNodeType(m_channel, hd), Info::TABLE_HD);
}

TEST_F(Node, GetNextOfANodeWorksForPDsOnly)
{
    const QZInt64 first = MakeLD();
    const QZInt64 second = MakeLD();
    EXPECT_EQ(CodeThrown([&] { QZNode::GetNext(m_channel, first); }), Info::BAD_STRUCT);
    EXPECT_EQ(QZNodeLD::GetNext(m_channel, first), second);
    EXPECT_EQ(QZNodeLD(m_channel, second).GetPrev(), first);
    m_channel->CheckParam(0);
    EXPECT_EQ(QZNode::GetNext(m_channel, first), second);
}

TEST_F(Node, MoveUpAndMoveDownAreTheSameSignedMove)
{
    const QZInt64 hd = m_channel->P_HD();
    const QZInt64 a = m_channel->P_D(hd, Info::DATA_CD);
    const QZInt64 b = m_channel->P_D(hd, Info::DATA_CD);
    const QZInt64 c = m_channel->P_D(hd, Info::DATA_CD);
    EXPECT_EQ(QZNode(m_channel, a).MoveUp(1), 0);
    EXPECT_EQ(List(hd), (Addresses{b, a, c}));
    EXPECT_EQ(QZNode(m_channel, c).MoveDown(-1), 0);
    EXPECT_EQ(List(hd), (Addresses{b, c, a}));
    QZNode::MoveUp(m_channel, a, -2);
    EXPECT_EQ(List(hd), (Addresses{a, b, c}));
    QZNode::MoveDown(m_channel, a, 1);
    EXPECT_EQ(List(hd), (Addresses{b, a, c}));
}

TEST_F(Node, MoveFirstAndMoveLastBothMoveToTheEnd)
{
    const QZInt64 hd = m_channel->P_HD();
    const QZInt64 a = m_channel->P_D(hd, Info::DATA_CD);
    const QZInt64 b = m_channel->P_D(hd, Info::DATA_CD);
    const QZInt64 c = m_channel->P_D(hd, Info::DATA_CD);
    EXPECT_EQ(QZNode(m_channel, b).MoveFirst(), 0);
    EXPECT_EQ(List(hd), (Addresses{a, c, b}));
    QZNode::MoveFirst(m_channel, a);
    EXPECT_EQ(List(hd), (Addresses{c, b, a}));
    QZNode(m_channel, c).MoveLast();
    EXPECT_EQ(List(hd), (Addresses{b, a, c}));
    QZNode::MoveLast(m_channel, b);
    EXPECT_EQ(List(hd), (Addresses{a, c, b}));
}

TEST_F(Node, MoveToAnotherList)
{
    const QZInt64 from = m_channel->P_HD();
    const QZInt64 to = m_channel->P_HD();
    const QZInt64 a = m_channel->P_D(from, Info::DATA_CD);
    const QZInt64 b = m_channel->P_D(from, Info::DATA_CD);
    EXPECT_EQ(QZNode(m_channel, b).MoveTo(to), b);
    EXPECT_EQ(QZNode::MoveTo(m_channel, a, to), a);
    EXPECT_EQ(List(to), (Addresses{b, a}));
}

// ---- AD, CD, RD

TEST_F(Node, ADReturnsItsAddress)
{
    EXPECT_EQ(QZNodeAD(m_channel, 319).GetADF(), 79);
    EXPECT_EQ(QZNodeAD::GetADF(m_channel, 399), 127);
    EXPECT_EQ(CodeThrown([&] { QZNodeAD::GetADF(m_channel, 31); }), Info::BAD_STRUCT);
}

TEST_F(Node, CDReturnsItsContentAsNewData)
{
    const QZInt64 cd = m_channel->P_D(m_channel->P_HD(), Info::DATA_CD);
    Put(cd, Info::CD_DATA, "content");
    QZData* data = QZNodeCD(m_channel, cd).GetData();
    EXPECT_EQ(data->GetSize(), 7);
    QZNodeCD::Recycle(&data);
    EXPECT_EQ(data, nullptr);
    EXPECT_EQ(Take(QZNodeCD::GetData(m_channel, cd)), "content");
}

TEST_F(Node, RDReturnsItsThreeAddresses)
{
    const QZInt64 rd = m_channel->P_D(m_channel->P_HD(), Info::DATA_RD);
    m_channel->P_A(rd, Info::RD_P, 1);
    m_channel->P_A(rd, Info::RD_O, 2);
    m_channel->P_A(rd, Info::RD_N, 3);
    QZNodeRD node(m_channel, rd);
    EXPECT_EQ((Addresses{node.GetAddr1(), node.GetAddr2(), node.GetAddr3()}), (Addresses{1, 2, 3}));
    EXPECT_EQ(QZNodeRD::GetAddr1(m_channel, rd), 1);
    EXPECT_EQ(QZNodeRD::GetAddr2(m_channel, rd), 2);
    EXPECT_EQ(QZNodeRD::GetAddr3(m_channel, rd), 3);
}

// ---- LD

TEST_F(Node, NewLDIsTheLastOfTreeL)
{
    const QZInt64 first = QZNodeLD::Create(m_channel);
    const QZInt64 second = QZNodeLD::Create(m_channel);
    EXPECT_EQ(List(m_channel->G_TA(4)), (Addresses{first, second}));
    QZNodeLD node(m_channel, second);
    EXPECT_TRUE(node.IsLD());
    EXPECT_TRUE(node.Check());
    EXPECT_EQ(node.GetPrev(), first);
    EXPECT_EQ(node.GetNext(), 0);
    EXPECT_EQ(QZNodeLD::GetPrev(m_channel, second), first);
    EXPECT_FALSE(QZNodeLD::IsLD(m_channel, 31));
    EXPECT_FALSE(QZNodeLD::Check(m_channel, 32));
}

TEST_F(Node, FieldsOfAnLD)
{
    QZNodeLD node(m_channel, MakeLD());
    QZData data("abc", 3);
    EXPECT_EQ(node.FieldCount(), 0);
    EXPECT_EQ(node.PutData(2, &data), 1);
    EXPECT_EQ(node.FieldCount(), 2);
    EXPECT_EQ(node.GetSize(1), 0);
    EXPECT_EQ(node.GetSize(2), 3);
    EXPECT_EQ(QZNodeLD::PutData(m_channel, node.GetAddress(), 1, "four", 4), 1);
    EXPECT_EQ(QZNodeLD::PutData(m_channel, node.GetAddress(), 3, &data), 1);
    EXPECT_EQ(node.PutData(4, "x", 1), 1);
    EXPECT_EQ(QZNodeLD::FieldCount(m_channel, node.GetAddress()), 4);
    EXPECT_EQ(QZNodeLD::GetSize(m_channel, node.GetAddress(), 1), 4);

    EXPECT_EQ(Take(node.GetData(1)), "four");
    EXPECT_EQ(Take(QZNodeLD::GetData(m_channel, node.GetAddress(), 2)), "abc");
    QZData into;
    EXPECT_GT(node.GetData(1, &into), 0);
    EXPECT_TRUE(into.Equals("four", 4));
    EXPECT_GT(QZNodeLD::GetData(m_channel, node.GetAddress(), 2, &into), 0);
    EXPECT_TRUE(into.Equals("abc", 3));
    char buffer[4] = {};
    EXPECT_GT(node.GetData(1, static_cast<void*>(buffer)), 0);
    EXPECT_EQ(std::string(buffer, 4), "four");
    EXPECT_GT(QZNodeLD::GetData(m_channel, node.GetAddress(), 2, static_cast<void*>(buffer)), 0);
    EXPECT_EQ(std::string(buffer, 4), "abcr");
    EXPECT_EQ(node.GetData(9, static_cast<void*>(buffer)), 0);
}

TEST_F(Node, FieldDeleteDeletesNothing)
{
    QZNodeLD node(m_channel, MakeLD());
    node.PutData(2, "ab", 2);
    EXPECT_RECORDS_NOTHING(EXPECT_FALSE(node.FieldDelete(1)));
    EXPECT_FALSE(QZNodeLD::FieldDelete(m_channel, node.GetAddress(), 2));
    EXPECT_EQ(node.FieldCount(), 2);
    EXPECT_EQ(Take(node.GetData(2)), "ab");
}

TEST_F(Node, FieldMoveMovesTowardsTheEndForEitherSign)
{
    for (const QZInt64 steps : {1, -1})
    {
        QZNodeLD node(m_channel, MakeLD());
        node.PutData(1, "1", 1);
        node.PutData(2, "2", 1);
        node.PutData(3, "3", 1);
        EXPECT_EQ(steps > 0 ? node.FieldMove(2, steps)
                            : QZNodeLD::FieldMove(m_channel, node.GetAddress(), 2, steps),
                  0);
        EXPECT_EQ(Take(node.GetData(1)) + Take(node.GetData(2)) + Take(node.GetData(3)), "132");
    }
}

TEST_F(Node, RemoveOfAnLDRemovesNothing)
{
    const QZInt64 ld = MakeLD();
    EXPECT_RECORDS_NOTHING(EXPECT_FALSE(QZNodeLD::Remove(m_channel, ld)));
    EXPECT_FALSE(QZNodeLD(m_channel, ld).Remove());
    EXPECT_EQ(List(m_channel->G_TA(4)), (Addresses{ld}));
}

TEST_F(Node, EraseOfFieldsClearsTheLengthAndReturnsTheBytes)
{
    QZNodeLD node(m_channel, MakeLD());
    node.PutData(1, "ab", 2);
    node.PutData(3, "cdef", 4);
    EXPECT_EQ(node.Erase(1), 10);
    EXPECT_EQ(node.GetSize(1), 0);
    EXPECT_EQ(QZNodeLD::Erase(m_channel, node.GetAddress(), 9), 0);
    // Three lengths of 8 bytes, and the 4 bytes of field 3.
    EXPECT_EQ(node.EraseAll(), 28);
    EXPECT_EQ(QZNodeLD::EraseAll(m_channel, node.GetAddress()), 24);
    EXPECT_EQ(node.FieldCount(), 3);
}

TEST_F(Node, ArrayOf32BitValuesInAField)
{
    QZNodeLD node(m_channel, MakeLD());
    EXPECT_EQ(node.NEW_ARRAYINT32(2), 1);
    EXPECT_EQ(Take(node.GetData(2)), std::string(4, '\0'));
    EXPECT_EQ(node.GET_ARRAYINT32(2, 0), 0);
    EXPECT_EQ(CodeThrown([&] { node.GET_ARRAYINT32(2, 1); }), 0x400);
    m_channel->ConsoleLock();

    QZData data(4);
    QZNodeLD::PUT_ARRAYINT32(&data, 3, 33);
    EXPECT_BYTES(data.GetPointer(), data.GetSize(), "03 00 00 00 00 00 00 00 00 00 00 00 21 00 00 00");
    node.PUT_ARRAYINT32(&data, 1, -1);
    EXPECT_BYTES(data.GetPointer(), data.GetSize(), "03 00 00 00 FF FF FF FF 00 00 00 00 21 00 00 00");
    node.PutData(2, &data);
    EXPECT_EQ(QZNodeLD::GET_ARRAYINT32(m_channel, node.GetAddress(), 2, 3), 33);
    EXPECT_EQ(node.GET_ARRAYINT32(2, 1), -1);
    EXPECT_EQ(QZNodeLD::NEW_ARRAYINT32(m_channel, node.GetAddress(), 2), 1);
    EXPECT_EQ(node.GetSize(2), 4);
}

TEST_F(Node, ArrayIndexUpToTheCountNeedsTheBytes)
{
    QZData data(8);
    data.SetValueInt32(0, 5);
    EXPECT_QZ_THROW(QZNodeLD::PUT_ARRAYINT32(&data, 3, 1), 0x400);
    EXPECT_EQ(data.GetSize(), 8);
    // Element 0 is the count itself.
    QZNodeLD::PUT_ARRAYINT32(&data, 0, 1);
    EXPECT_EQ(data.GetValueInt32(0), 1);
    // A new index sets the size, even when the data was longer.
    data.NewSize(100);
    QZNodeLD::PUT_ARRAYINT32(&data, 2, 7);
    EXPECT_EQ(data.GetSize(), 12);
    EXPECT_EQ(data.GetValueInt32(0), 2);
}

// ---- PD

TEST_F(Node, CreatePDWritesNoContentAndRecordsBadParameter)
{
    const QZInt64 ld = MakeLD();
    QZInt64 pd = 0;
    EXPECT_RECORDS(Info::BAD_PARAMETER, pd = QZNodePD::Create(m_channel, m_channel->G_TA(3), ld));
    EXPECT_EQ(QZNodePD::GetLD(m_channel, pd), ld);
    EXPECT_EQ(QZNodePD::GetMarkSize(m_channel, pd), 0);
    QZInt64 second = 0;
    EXPECT_RECORDS(Info::BAD_PARAMETER,
                   second = QZNodePD::Create(m_channel, m_channel->G_TA(3), ld, "text", 4));
    EXPECT_EQ(QZNodePD::GetMarkSize(m_channel, second), 0);
    EXPECT_EQ(List(m_channel->G_TA(3)), (Addresses{pd, second}));
    EXPECT_TRUE(List(A(ld, Info::LD_TREE_S)).empty());
    QZNodePD node(m_channel, pd);
    EXPECT_TRUE(node.IsPD());
    EXPECT_TRUE(node.Check());
    EXPECT_FALSE(QZNodePD::IsPD(m_channel, ld));
    EXPECT_TRUE(QZNodePD::Check(m_channel, second));
}

TEST_F(Node, ChildrenOfAPD)
{
    QZNodePD node(m_channel, MakePD());
    EXPECT_EQ(node.GetHD(), 0);
    const QZInt64 hd = QZNodeHD::Create(m_channel, node.GetAddress());
    EXPECT_EQ(node.GetHD(), hd);
    EXPECT_EQ(QZNodePD::SetHD(m_channel, node.GetAddress(), 0), 1);
    EXPECT_EQ(QZNodePD::GetHD(m_channel, node.GetAddress()), 0);
    EXPECT_EQ(node.SetHD(hd), 1);
    EXPECT_EQ(node.GetHD(), hd);
    EXPECT_EQ(QZNodeHD::Create(m_channel, hd), -1);
}

TEST_F(Node, SetLDChangesThePDsInTheListOfTheOldLD)
{
    const QZInt64 old = MakeLD();
    const QZInt64 fresh = MakeLD();
    const QZInt64 first = MakeKnownPD(old);
    const QZInt64 second = MakeKnownPD(old);
    const QZInt64 unknown = QZNodePD::Create(m_channel, m_channel->G_TA(3), old);
    m_channel->P_HD(first);
    QZNodePD node(m_channel, unknown);
    EXPECT_EQ(node.SetLD(fresh), 0);
    // SetLD changes the PDs in the list of the old LD. The node's own PD is not in the list and keeps its LD;
    // the node then refers to the last PD of the list.
    EXPECT_EQ(node.GetAddress(), second);
    EXPECT_EQ(QZNodePD::GetLD(m_channel, first), fresh);
    EXPECT_EQ(QZNodePD::GetLD(m_channel, second), fresh);
    EXPECT_EQ(QZNodePD::GetLD(m_channel, unknown), old);
    EXPECT_EQ(QZNodePD::GetHD(m_channel, first), 0);
    const Addresses known = List(A(fresh, Info::LD_TREE_S));
    ASSERT_EQ(known.size(), 2u);
    EXPECT_EQ(QZNodeAD::GetADF(m_channel, known[0]), first);
    EXPECT_EQ(QZNodeAD::GetADF(m_channel, known[1]), second);
    EXPECT_EQ(List(A(old, Info::LD_TREE_S)).size(), 2u);
    EXPECT_EQ(List(m_channel->G_TA(4)), (Addresses{old, fresh}));
}

TEST_F(Node, SetLDToTheSameLDVisitsOnlyTheOldEntries)
{
    const QZInt64 ld = MakeLD();
    const QZInt64 pd = MakeKnownPD(ld);
    EXPECT_EQ(QZNodePD::SetLD(m_channel, pd, ld), 0);
    EXPECT_EQ(List(A(ld, Info::LD_TREE_S)).size(), 2u);
}

TEST_F(Node, SetLDWithAnEmptyListChangesNothing)
{
    const QZInt64 old = MakeLD();
    const QZInt64 pd = QZNodePD::Create(m_channel, m_channel->G_TA(3), old);
    EXPECT_EQ(QZNodePD::SetLD(m_channel, pd, MakeLD()), 0);
    EXPECT_EQ(QZNodePD::GetLD(m_channel, pd), old);
    EXPECT_EQ(QZNodePD::SetLD(m_channel, pd, 31), -1);
    EXPECT_EQ(QZNodePD::SetLD(m_channel, pd, 0), -1);
}

TEST_F(Node, RemoveLDRemovesThePDsInItsList)
{
    const QZInt64 ld = MakeLD();
    const QZInt64 known = MakeKnownPD(ld);
    const QZInt64 unknown = QZNodePD::Create(m_channel, m_channel->G_TA(3), ld);
    EXPECT_TRUE(QZNodePD::RemoveLD(m_channel, known));
    EXPECT_EQ(List(m_channel->G_TA(3)), (Addresses{unknown}));
    EXPECT_TRUE(List(m_channel->G_TA(4)).empty());
    EXPECT_FALSE(QZNodePD::Check(m_channel, unknown));
}

TEST_F(Node, RemovePDKeepsItsLD)
{
    const QZInt64 ld = MakeLD();
    QZNodePD node(m_channel, MakeKnownPD(ld));
    EXPECT_TRUE(node.RemovePD());
    EXPECT_TRUE(List(m_channel->G_TA(3)).empty());
    EXPECT_TRUE(List(A(ld, Info::LD_TREE_S)).empty());
    EXPECT_EQ(List(m_channel->G_TA(4)), (Addresses{ld}));
}

TEST_F(Node, MarkOfAPD)
{
    QZNodePD node(m_channel, MakePD());
    EXPECT_EQ(Take(node.GetMark()), "");
    QZData data("mark", 4);
    EXPECT_EQ(node.PutMark(&data), 1);
    EXPECT_EQ(node.GetMarkSize(), 4);
    EXPECT_EQ(Take(node.GetMark()), "mark");
    EXPECT_EQ(Take(QZNodePD::GetMark(m_channel, node.GetAddress())), "mark");
    EXPECT_EQ(QZNodePD::PutMark(m_channel, node.GetAddress(), &data), 1);
    EXPECT_EQ(node.Erase(), 12);
    EXPECT_EQ(node.GetMarkSize(), 0);
    EXPECT_EQ(QZNodePD::GetMark(m_channel, 31), nullptr);
    EXPECT_EQ(m_channel->G_LE(), Info::BAD_STRUCT);
}

TEST_F(Node, MarkTypeIsStoredBeforeTheMark)
{
    QZNodePD node(m_channel, MakePD());
    QZData data("mark", 4);
    EXPECT_EQ(node.PutMark(&data, 0x2080400), 1);
    EXPECT_EQ(data.GetOffset(), 64);
    EXPECT_TRUE(data.Equals("mark", 4));
    EXPECT_EQ(Take(node.GetMark()), std::string("\x00\x04\x08\x02mark", 8));
    EXPECT_EQ(node.GetMarkType(), 0x2080400);
    EXPECT_EQ(node.PutMarkType(0x2010200), 1);
    EXPECT_EQ(QZNodePD::GetMarkType(m_channel, node.GetAddress()), 0x2010200);
    EXPECT_EQ(Take(node.GetMark()), std::string("\x00\x02\x01\x02mark", 8));
    EXPECT_EQ(QZNodePD::PutMark(m_channel, node.GetAddress(), &data, 0x20FFFFF), 1);
    EXPECT_EQ(node.GetMarkType(), 0x20FFFFF);
    EXPECT_EQ(QZNodePD::PutMarkType(m_channel, node.GetAddress(), 0x2100000), 1);
    EXPECT_EQ(node.GetMarkType(), 0);
    node.PutMarkType(0x1FFFFFF);
    EXPECT_EQ(node.GetMarkType(), 0);
}

TEST_F(Node, MarkTypeOfAShortMarkThrows)
{
    QZNodePD node(m_channel, MakePD());
    EXPECT_QZ_THROW(node.GetMarkType(), 0x400);
    EXPECT_QZ_THROW(node.PutMarkType(1), 0x400);
}

TEST_F(Node, RemoveHDStoresTheTypeCodeAsChildAddress)
{
    QZNodePD node(m_channel, MakePD());
    const QZInt64 child = MakeChild(node.GetAddress());
    const QZInt64 hd = node.GetHD();
    const QZInt64 second = MakePD(hd);
    EXPECT_EQ(node.RemoveHD(), 0);
    EXPECT_TRUE(List(hd).empty());
    m_channel->CheckParam(0);
    EXPECT_EQ(node.GetHD(), 0x7010100);
    EXPECT_EQ(List(m_channel->G_TA(4)).size(), 1u);
    EXPECT_NE(child, second);
    m_channel->CheckParam(1);

    QZNodePD without(m_channel, MakePD());
    EXPECT_EQ(QZNodePD::RemoveHD(m_channel, without.GetAddress()), 0);
    m_channel->CheckParam(0);
    EXPECT_EQ(without.GetHD(), 0x7010100);
}

TEST_F(Node, RemoveAllOfALeaf)
{
    const QZInt64 pd = MakePD();
    EXPECT_TRUE(QZNodePD::RemoveAll(m_channel, pd));
    EXPECT_TRUE(QZNodePD(m_channel, MakePD()).RemoveAll());
    EXPECT_TRUE(List(m_channel->G_TA(3)).empty());
}

TEST_F(Node, CutOffEndsTheListBeforeThePDAndThrows)
{
    const QZInt64 hd = m_channel->P_HD();
    const QZInt64 first = MakePD(hd);
    const QZInt64 second = MakePD(hd);
    MakePD(hd);
    EXPECT_EQ(CodeThrown([&] { QZNodePD(m_channel, second).CutOff(); }), Info::BAD_STRUCT);
    EXPECT_EQ(A(hd, Info::HD_END), A(first, Info::PD_END) + 16);
    EXPECT_EQ(A(hd, Info::HD_LASTDATA_THIS), first);
    // The link of the previous record does not change.
    EXPECT_EQ(A(first, Info::PD_NEXT), second);
    EXPECT_EQ(QZNodePD::CutOff(m_channel, 0), 0);
}

TEST_F(Node, CutOffOfTheFirstPDWithoutChecks)
{
    const QZInt64 hd = m_channel->P_HD();
    const QZInt64 pd = MakePD(hd);
    m_channel->CheckParam(0);
    QZNodePD::CutOff(m_channel, pd);
    EXPECT_EQ(A(hd, Info::HD_END), hd + 16);
}

TEST_F(Node, GetPrevLayerReturnsTheParent)
{
    const QZInt64 parent = MakePD();
    const QZInt64 child = MakeChild(parent);
    EXPECT_EQ(QZNodePD(m_channel, child).GetPrevLayer(), parent);
    EXPECT_EQ(QZNodePD::GetPrevLayer(m_channel, parent), 0);
}

// ---- HD

TEST_F(Node, RecordsOfAHead)
{
    const QZInt64 parent = MakePD();
    QZNodeHD node(m_channel, QZNodeHD::Create(m_channel, parent));
    EXPECT_TRUE(node.IsHD());
    EXPECT_TRUE(node.Check());
    EXPECT_FALSE(QZNodeHD::IsHD(m_channel, parent));
    EXPECT_FALSE(QZNodeHD::Check(m_channel, 32));
    EXPECT_EQ(node.GetFirst(), 0);
    EXPECT_EQ(node.GetLast(), 0);
    EXPECT_EQ(node.GetPrev(), parent);
    const QZInt64 first = MakePD(node.GetAddress());
    const QZInt64 second = MakePD(node.GetAddress());
    EXPECT_EQ(QZNodeHD::GetFirst(m_channel, node.GetAddress()), first);
    EXPECT_EQ(QZNodeHD::GetLast(m_channel, node.GetAddress()), second);
    EXPECT_EQ(QZNodeHD::GetPrev(m_channel, node.GetAddress()), parent);
    EXPECT_EQ(node.Get(2), second);
    EXPECT_EQ(QZNodeHD::Get(m_channel, node.GetAddress(), 3), 0);
    EXPECT_EQ(node.Count(false), 2);
    EXPECT_EQ(QZNodeHD::Count(m_channel, node.GetAddress(), false), 2);
    EXPECT_EQ(Take(node.GetAddrCollection(false)), (Addresses{first, second}));
    EXPECT_EQ(Take(QZNodeHD::GetAddrCollection(m_channel, node.GetAddress(), false)),
              (Addresses{first, second}));
}

TEST_F(Node, CountAllAndCollectAllThrowUnlessTheListIsEmpty)
{
    QZNodeHD node(m_channel, m_channel->P_HD());
    EXPECT_EQ(node.Count(true), 0);
    EXPECT_TRUE(Take(node.GetAddrCollection(true)).empty());
    MakePD(node.GetAddress());
    EXPECT_EQ(CodeThrown([&] { node.Count(true); }), 0x400);
    EXPECT_EQ(CodeThrown([&] { node.GetAddrCollection(true); }), 0x400);
    EXPECT_EQ(CodeThrown([&] { QZNodeHD::Count(m_channel, node.GetAddress(), true); }), 0x400);
}

TEST_F(Node, ClearChangesNothing)
{
    QZNodeHD node(m_channel, m_channel->P_HD());
    const QZInt64 pd = MakePD(node.GetAddress());
    const QZInt64 cd = m_channel->P_D(node.GetAddress(), Info::DATA_CD);
    const std::string before = File();
    EXPECT_RECORDS_NOTHING(node.Clear());
    EXPECT_RECORDS_NOTHING(QZNodeHD::Clear(m_channel, node.GetAddress()));
    QZNodeHD::Clear(m_channel, 0);
    EXPECT_EQ(File(), before);
    EXPECT_EQ(List(node.GetAddress()), (Addresses{pd, cd}));
}

TEST_F(Node, ClearAllRemovesThePDsAndTheirLDs)
{
    QZNodeHD node(m_channel, m_channel->P_HD(MakePD()));
    MakePD(node.GetAddress());
    MakePD(node.GetAddress());
    node.ClearAll();
    EXPECT_TRUE(List(node.GetAddress()).empty());
    EXPECT_EQ(List(m_channel->G_TA(4)).size(), 1u);
    QZNodeHD::ClearAll(m_channel, 0);
    EXPECT_EQ(m_channel->G_EN(), 0);
}

TEST_F(Node, ClearAllThrowsAtAPDWithChildren)
{
    QZNodeHD node(m_channel, m_channel->P_HD(MakePD()));
    MakePD(node.GetAddress());
    MakeChild(MakePD(node.GetAddress()));
    const QZInt64 last = MakePD(node.GetAddress());
    EXPECT_EQ(CodeThrown([&] { node.ClearAll(); }), 0x400);
    EXPECT_EQ(List(node.GetAddress()), (Addresses{last}));
}

TEST_F(Node, ResetEmptiesAList)
{
    QZNodeHD node(m_channel, m_channel->P_HD());
    MakePD(node.GetAddress());
    EXPECT_TRUE(node.Reset());
    EXPECT_EQ(node.Count(false), 0);
    MakePD(node.GetAddress());
    EXPECT_TRUE(QZNodeHD::Reset(m_channel, node.GetAddress()));
    EXPECT_EQ(node.GetFirst(), 0);
}

TEST_F(Node, SearchByValueReturnsAnEmptyCollection)
{
    QZNodeHD node(m_channel, m_channel->P_HD());
    QZData data("text", 4);
    const QZInt64 cd = m_channel->P_D(node.GetAddress(), Info::DATA_CD);
    Put(cd, Info::CD_DATA, "text");
    EXPECT_TRUE(Take(node.GetTargetsAddrCollection(Info::CD_DATA, &data)).empty());
    EXPECT_TRUE(
        Take(QZNodeHD::GetTargetsAddrCollection(m_channel, node.GetAddress(), Info::CD_DATA, &data)).empty());
}

TEST_F(Node, NullArgumentsCallTheAssertHook)
{
    static int asserts;
    asserts = 0;
    QZLibSetFunctionAssert([](QZBool condition) { asserts += condition ? 0 : 1; });
    QZData* data = nullptr;
    QZCollection* collection = nullptr;
    QZNodeCD::Recycle(&data);
    QZNodeLD::Recycle(&data);
    QZNodeHD::Recycle(&collection);
    EXPECT_EQ(asserts, 3);
    QZLibSetFunctionAssert([](QZBool condition) {
        if (!condition) std::abort();
    });
}

}  // namespace
}  // namespace qztest
