#include "db/internal/db_repair.h"

#include "db/database_fixture.h"

namespace qztest
{
namespace
{
/// With 8-byte addresses the fields of a PD have these offsets from its mark: 1 previous, 9 own address, 17
/// END, 25 LD, 33 child, 41 pointer, 49 length, 57 content. Those of a CD are 25 pointer, 33 length, 41
/// content.
class Repair : public DatabaseTest
{
protected:
    void SetUp() override { Fresh(); }

    QZInt64 Check(QZInt64 address) { return m_channel->CK(1, address); }
    QZInt64 TypeAt(QZInt64 address) { return m_channel->G_T(1, address); }
    QZInt64 MakeLD() { return m_channel->P_D(m_channel->G_TA(4), Info::DATA_LD); }

    /// Creates an LD with an AD in one of its tree lists that refers to a PD, and damages the previous link
    /// of the AD.
    QZInt64 WithBrokenReference(QZInt64 tree)
    {
        const QZInt64 ld = MakeLD();
        const QZInt64 ad = m_channel->P_D(A(ld, tree), Info::DATA_AD);
        m_channel->P_A(ad, Info::AD_FREE, MakePD());
        EXPECT_EQ(Check(ld), Info::NORMAL);
        DamageAddress(ad + 1, 16);
        EXPECT_EQ(Check(ad), 2);
        return ld;
    }
};

TEST_F(Repair, TypesOfAFreshFile)
{
    EXPECT_EQ(TypeAt(0), Info::UNKNOWN);
    EXPECT_EQ(TypeAt(31), Info::TABLE_HD);
    EXPECT_EQ(m_channel->G_T(2, 704), Info::TABLE_HD);
    EXPECT_EQ(TypeAt(79), Info::TABLE_HD);
    EXPECT_EQ(TypeAt(319), Info::DATA_AD);
    EXPECT_EQ(m_channel->G_T(2, 368), Info::DATA_AD);
    EXPECT_EQ(TypeAt(320), Info::UNKNOWN);
    EXPECT_EQ(TypeAt(-1), Info::UNKNOWN);
    EXPECT_EQ(TypeAt(1LL << 40), Info::UNKNOWN);
}

TEST_F(Repair, TypesOfEveryKindFromBothEnds)
{
    const QZInt64 hd = m_channel->P_HD();
    for (const QZInt64 kind : {Info::DATA_LD, Info::DATA_AD, Info::DATA_CD, Info::DATA_RD})
    {
        const QZInt64 record = m_channel->P_D(hd, kind);
        EXPECT_EQ(TypeAt(record), kind);
        EXPECT_EQ(m_channel->G_T(2, A(record, Info::DATA_END)), kind);
    }
    const QZInt64 pd = MakePD(hd);
    EXPECT_EQ(m_channel->G_T(2, A(pd, Info::PD_END)), Info::DATA_PD);
}

TEST_F(Repair, BadSideRecordsAnErrorAndIsUnknown)
{
    EXPECT_RECORDS(Info::BAD_PARAMETER, EXPECT_EQ(m_channel->G_T(3, 319), Info::UNKNOWN));
    EXPECT_RECORDS(Info::BAD_PARAMETER, EXPECT_EQ(m_channel->G_T(0, 31), Info::UNKNOWN));
    // Without a mark at the address the side is not checked.
    EXPECT_RECORDS_NOTHING(EXPECT_EQ(m_channel->G_T(3, 320), Info::UNKNOWN));
}

TEST_F(Repair, PDWithoutLDHasTheTypeOfACD)
{
    EXPECT_EQ(TypeAt(m_channel->P_D(m_channel->G_TA(3), Info::DATA_PD)), Info::DATA_CD);
}

TEST_F(Repair, AddressesPastTheLengthFieldAreNoRecords)
{
    const QZInt64 ad = m_channel->P_D(m_channel->P_HD(), Info::DATA_AD);
    DamageAddress(16, ad + 49);
    EXPECT_EQ(TypeAt(ad), Info::DATA_AD);
    DamageAddress(16, ad + 48);
    EXPECT_EQ(TypeAt(ad), Info::UNKNOWN);
}

TEST_F(Repair, IntactRecordsAreNormalAndLogRecordsUnknown)
{
    const QZInt64 hd = m_channel->P_HD();
    const QZInt64 pd = MakePD(hd);
    const QZInt64 cd = m_channel->P_D(hd, Info::DATA_CD);
    const QZInt64 ad = m_channel->P_D(hd, Info::DATA_AD);
    const QZInt64 rd = m_channel->P_D(hd, Info::DATA_RD);
    MakeChild(pd);
    const QZInt64 ld = A(pd, Info::PD_LD_A);
    Put(ld, 2, "field");
    for (const QZInt64 record : {hd, pd, cd, ad, ld}) EXPECT_EQ(Check(record), Info::NORMAL) << record;
    EXPECT_EQ(Check(rd), Info::UNKNOWN);
    EXPECT_EQ(Check(0), Info::UNKNOWN);
    EXPECT_EQ(m_channel->CK(2, A(cd, Info::CD_END)), Info::NORMAL);
    EXPECT_EQ(m_channel->CK(2, A(ld, Info::LD_END)), Info::NORMAL);
    EXPECT_EQ(m_channel->CK(2, A(pd, Info::PD_END)), Info::NORMAL);
}

TEST_F(Repair, ChecksRecordNoErrors)
{
    const QZInt64 ld = MakeLD();
    DamageAddress(ld + 1 + 3 * 8, 5);
    EXPECT_RECORDS_NOTHING(EXPECT_EQ(Check(ld), Info::LDS_ERROR));
}

// ---- AD

TEST_F(Repair, ADWithABrokenPreviousLinkReturnsTheCode2)
{
    const QZInt64 hd = m_channel->P_HD();
    const QZInt64 ad = m_channel->P_D(hd, Info::DATA_AD);
    DamageAddress(ad + 1, 16);
    EXPECT_EQ(Check(ad), 2);
}

TEST_F(Repair, ADWithABrokenNextLink)
{
    const QZInt64 ad = m_channel->P_D(m_channel->P_HD(), Info::DATA_AD);
    DamageAddress(ad + 41, 16);
    EXPECT_EQ(Check(ad), Info::NEXT_ERROR);
}

// ---- CD

TEST_F(Repair, CDWithBrokenLinks)
{
    const QZInt64 cd = m_channel->P_D(m_channel->P_HD(), Info::DATA_CD);
    const QZInt64 end = A(cd, Info::CD_END);
    DamageAddress(end - 8, 16);
    EXPECT_EQ(Check(cd), Info::NEXT_ERROR);
    DamageAddress(cd + 1, 16);
    EXPECT_EQ(Check(cd), Info::PREV_ERROR);
}

TEST_F(Repair, CDWithReplacedContentIsNormal)
{
    const QZInt64 cd = m_channel->P_D(m_channel->P_HD(), Info::DATA_CD);
    Put(cd, Info::CD_DATA, "elsewhere");
    EXPECT_EQ(Check(cd), Info::NORMAL);
}

TEST_F(Repair, CDWhosePointerLeadsToNoCD)
{
    const QZInt64 cd = m_channel->P_D(m_channel->P_HD(), Info::DATA_CD);
    DamageAddress(cd + 25, 64);
    EXPECT_EQ(Check(cd), Info::CHAR_ERROR);
    // A pointer to the address one further than its own content is accepted.
    DamageAddress(cd + 25, cd + 49);
    EXPECT_EQ(Check(cd), Info::NORMAL);
}

TEST_F(Repair, LengthsAreComparedWithPositions)
{
    const QZInt64 cd = m_channel->P_D(m_channel->P_HD(), Info::DATA_CD);
    const QZInt64 end = A(cd, Info::CD_END);
    // The check is: length + 41 is at most the closing position. So lengths far above the record's size pass.
    DamageAddress(cd + 33, end + 16 - 41);
    EXPECT_EQ(TypeAt(cd), Info::DATA_CD);
    DamageAddress(cd + 33, end + 16 - 40);
    EXPECT_EQ(TypeAt(cd), Info::DATA_UNKNOWN);
    EXPECT_EQ(Check(cd), Info::UNKNOWN);
}

// ---- PD

TEST_F(Repair, PDWithBrokenLinks)
{
    const QZInt64 pd = MakePD();
    const QZInt64 end = A(pd, Info::PD_END);
    DamageAddress(end - 8, 16);
    EXPECT_EQ(Check(pd), Info::NEXT_ERROR);
    DamageAddress(pd + 1, 16);
    EXPECT_EQ(Check(pd), Info::PREV_ERROR);
    DamageAddress(pd + 1, 8);
    EXPECT_EQ(Check(pd), Info::PREV_ERROR);
}

TEST_F(Repair, PDWhoseLDIsDamaged)
{
    const QZInt64 pd = MakePD();
    const QZInt64 ld = A(pd, Info::PD_LD_A);
    // The LD keeps its mark, so the record is still a PD; the END of the LD is invalid.
    DamageAddress(ld + 17, 16);
    EXPECT_EQ(TypeAt(pd), Info::DATA_PD);
    EXPECT_EQ(Check(pd), Info::PD_LD_ERROR);
}

TEST_F(Repair, PDWhoseLDWasUnlinked)
{
    const QZInt64 first = MakePD();
    const QZInt64 second = MakePD();
    m_channel->D_DATA(A(second, Info::PD_LD_A), Info::DELETE_DATA);
    EXPECT_EQ(Check(second), Info::PD_LD_DELETED);
    EXPECT_EQ(Check(first), Info::NORMAL);
    m_channel->D_DATA(A(first, Info::PD_LD_A), Info::DELETE_DATA);
    EXPECT_EQ(Check(first), Info::PD_LD_DELETED);
}

TEST_F(Repair, PDWithADamagedChild)
{
    const QZInt64 pd = MakePD();
    const QZInt64 hd = m_channel->P_HD(pd);
    DamageAddress(hd + 17, 16);
    EXPECT_EQ(TypeAt(pd), Info::DATA_PD);
    EXPECT_EQ(Check(pd), Info::PD_HD_ERROR);
}

TEST_F(Repair, PDWhosePointerLeadsToNoCD)
{
    const QZInt64 pd = MakePD();
    Put(pd, Info::PD_DATA, "elsewhere");
    EXPECT_EQ(Check(pd), Info::NORMAL);
    DamageAddress(pd + 41, 64);
    EXPECT_EQ(Check(pd), Info::CHAR_ERROR);
}

// ---- LD

TEST_F(Repair, LDWithBrokenLinks)
{
    const QZInt64 ld = MakeLD();
    DamageAddress(ld + 65, 16);
    EXPECT_EQ(Check(ld), Info::NEXT_ERROR);
    DamageAddress(ld + 1, 16);
    EXPECT_EQ(Check(ld), Info::PREV_ERROR);
}

TEST_F(Repair, LDWithDamagedLists)
{
    // From the last to the first, because the check reports the first damaged list.
    const QZInt64 ld = MakeLD();
    const QZInt64 codes[] = {Info::LDS_ERROR, Info::TREEA_ERROR, Info::TREER_ERROR, Info::TREES_ERROR};
    for (int list = 3; list >= 0; --list)
    {
        const QZInt64 head = AddressAt(ld + 25 + 8 * list);
        Damage(head, "x");
        EXPECT_EQ(Check(ld), codes[list]) << list;
    }
}

TEST_F(Repair, LDWithABrokenField)
{
    const QZInt64 ld = MakeLD();
    Put(ld, 2, "x");
    const QZInt64 cd = m_channel->G_CN(A(ld, Info::LD_LDS), Info::SN_GET_DATA_FROM_HD, 2);
    EXPECT_EQ(Check(ld), Info::NORMAL);
    DamageAddress(cd + 25, 64);
    EXPECT_EQ(Check(ld), Info::LDS_ERROR);
}

TEST_F(Repair, LDWithABrokenReferenceInTreeRReturnsTreeA)
{
    EXPECT_EQ(Check(WithBrokenReference(Info::LD_TREE_A)), Info::TREEA_ERROR);
    EXPECT_EQ(Check(WithBrokenReference(Info::LD_TREE_R)), Info::TREEA_ERROR);
    EXPECT_EQ(Check(WithBrokenReference(Info::LD_TREE_S)), Info::TREES_ERROR);
}

TEST_F(Repair, BrokenReferenceToNoPDIsAccepted)
{
    const QZInt64 ld = WithBrokenReference(Info::LD_TREE_A);
    const QZInt64 ad = A(A(ld, Info::LD_TREE_A), Info::HD_FIRSTDATA);
    m_channel->P_A(ad, Info::AD_FREE, 0);
    EXPECT_EQ(Check(ad), 2);
    EXPECT_EQ(Check(ld), Info::NORMAL);
}

// ---- HD

TEST_F(Repair, HeadIsCheckedByItsFirstRecordOnly)
{
    const QZInt64 hd = m_channel->P_HD();
    EXPECT_EQ(Check(hd), Info::NORMAL);
    const QZInt64 first = m_channel->P_D(hd, Info::DATA_CD);
    const QZInt64 second = m_channel->P_D(hd, Info::DATA_CD);
    m_channel->P_D(hd, Info::DATA_CD);
    Damage(second, "x");
    EXPECT_EQ(Check(hd), Info::NORMAL);
    Damage(first, "x");
    EXPECT_EQ(Check(hd), Info::UNKNOWN);
}

// ---- Version 9 checks the frame of the bytes

TEST_F(Repair, Version9ChecksTheLengthAtBothEnds)
{
    const QZInt64 hd = m_channel->P_HD();
    const QZInt64 cd = m_channel->P_D(hd, Info::DATA_CD);
    const QZInt64 pd = MakePD(hd);
    Damage(0, "\x09");
    EXPECT_EQ(TypeAt(cd), Info::DATA_CD);
    EXPECT_EQ(TypeAt(pd), Info::DATA_PD);
    EXPECT_EQ(Check(cd), Info::NORMAL);
    EXPECT_EQ(Check(pd), Info::NORMAL);
    // Version 5 accepts this smaller length; in version 9 the trailing length must agree.
    DamageAddress(cd + 33, 3);
    EXPECT_EQ(TypeAt(cd), Info::DATA_UNKNOWN);
    DamageAddress(pd + 49, 3);
    EXPECT_NE(TypeAt(pd), Info::DATA_PD);
    Damage(0, "\x05");
    EXPECT_EQ(TypeAt(cd), Info::DATA_CD);
    EXPECT_EQ(TypeAt(pd), Info::DATA_PD);
}

TEST_F(Repair, TypeChecksSurviveRandomBytes)
{
    MakePD();
    const std::string before = (Close(), m_dir.Read("test.db"));
    Open();
    std::uint32_t random = 12345;
    int types = 0;
    for (int round = 0; round < 200; ++round)
    {
        Close();
        std::string file = before;
        for (int i = 0; i < 20; ++i)
        {
            random = random * 1664525 + 1013904223;
            const std::size_t at = 3 + (random >> 8) % (file.size() - 3);
            random = random * 1664525 + 1013904223;
            file[at] = static_cast<char>(random >> 24);
        }
        m_dir.Write("test.db", file);
        Open();
        for (QZInt64 address = 0; address < static_cast<QZInt64>(file.size()); address += 16)
        {
            for (const QZInt64 side : {1, 2})
            {
                const QZInt64 type = m_channel->G_T(side, address + 15);
                types += type != Info::UNKNOWN;
                // The check of an LD does not limit its walks, so it might not end on a damaged file.
                if (type != Info::DATA_LD) m_channel->CK(side, address + 15);
            }
        }
    }
    EXPECT_GT(types, 1000);
}

}  // namespace
}  // namespace qztest
