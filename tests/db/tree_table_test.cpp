#include "db/db_tree_table.h"

#include "db/database_fixture.h"
#include "db/db_semantic.h"
#include "fw/fw_keyed.h"

namespace qztest
{
namespace
{
using Code = QZDatabaseExceptionCode;

class TreeTable : public DatabaseTest
{
protected:
    void SetUp() override { Fresh(); }

    QZInt64 Root() { return m_channel->G_TA(3); }

    QZInt64 Access(const char* path)
    {
        QZString text(path);
        return QZTable::Access(m_channel, &text);
    }

    QZInt64 Make(const char* path, QZInt64 kind = LDTYPE::FLDTYPE)
    {
        QZString text(path);
        return QZTable::Create(m_channel, &text, kind);
    }

    std::string NameOf(QZInt64 handle)
    {
        QZString name;
        QZSNode::GetName(m_channel, handle, &name);
        return Utf8(name);
    }

    static Addresses Take(QZCollection* collection)
    {
        const Addresses words = Words(*collection);
        QZTable::Recycle(&collection);
        EXPECT_EQ(collection, nullptr);
        return words;
    }
};

TEST_F(TreeTable, NeedsAChannelAndAHandle)
{
    EXPECT_QZ_THROW(QZTable(nullptr, 256), Code::ArgumentOutOfRange);
    EXPECT_QZ_THROW(QZTable(m_channel, 0), Code::ArgumentOutOfRange);
    QZString path("a");
    EXPECT_QZ_THROW(QZTable::Access(nullptr, &path), Code::ArgumentOutOfRange);
    EXPECT_QZ_THROW(QZTable::Create(nullptr, &path, LDTYPE::FLDTYPE), Code::ArgumentOutOfRange);
    EXPECT_QZ_THROW(QZTable::GetTables(nullptr, 256), Code::ArgumentOutOfRange);
    EXPECT_QZ_THROW(QZTable::GetTables(m_channel, 0), Code::ArgumentOutOfRange);
    EXPECT_QZ_THROW(QZTable::GetTablesFromRoot(nullptr), Code::ArgumentOutOfRange);
    EXPECT_EQ(QZTable::Access(m_channel, nullptr), 0);
}

TEST_F(TreeTable, NothingIsFoundInAnEmptyDatabase)
{
    EXPECT_EQ(Access("a"), 0);
    EXPECT_EQ(Access("a/b"), 0);
    EXPECT_EQ(Access(""), 0);
    EXPECT_TRUE(List(Root()).empty());
}

TEST_F(TreeTable, CreateByPathCreatesEveryNode)
{
    const QZInt64 c = Make("a/b\\c", LDTYPE::TLDTYPE);
    ASSERT_EQ(List(Root()).size(), 1u);
    const QZInt64 a = List(Root())[0];
    const QZInt64 b = List(QZNodePD::GetHD(m_channel, a))[0];
    EXPECT_EQ(List(QZNodePD::GetHD(m_channel, b)), (Addresses{c}));
    EXPECT_EQ(NameOf(a) + NameOf(b) + NameOf(c), "abc");
    EXPECT_EQ(QZSNode::GetNodeType(m_channel, a), LDTYPE::TLDTYPE);
    EXPECT_EQ(QZSNode::GetNodeType(m_channel, b), LDTYPE::TLDTYPE);
    EXPECT_EQ(Access("a"), a);
    EXPECT_EQ(Access("a/b"), b);
    EXPECT_EQ(Access("a\\b/c"), c);
    EXPECT_EQ(Access("/a//b/c/"), c);
    EXPECT_EQ(Access("A"), 0);
    EXPECT_EQ(QZNodePD::GetHD(m_channel, c), 0);
}

TEST_F(TreeTable, AccessReturnsTheLastNodeThatExists)
{
    const QZInt64 a = Make("a");
    EXPECT_EQ(Access("a/b"), a);
    EXPECT_EQ(Access("a/b/a"), a);
    EXPECT_QZ_THROW(Make("a/b"), 256);
    EXPECT_QZ_THROW(Make("a"), 256);
    QZString path("a/b/c");
    const QZInt64 c = QZTable::Access(m_channel, &path, 1, LDTYPE::FLDTYPE);
    EXPECT_EQ(Access("a/b/c"), c);
    EXPECT_EQ(QZTable::Access(m_channel, &path, 1, LDTYPE::FLDTYPE), c);
    EXPECT_EQ(List(Root()), (Addresses{a}));
}

TEST_F(TreeTable, CreateOfAnUnknownKindThrows)
{
    const Thrown thrown = Catch([&] { Make("a", 5); });
    EXPECT_EQ(thrown.code, Code::UnknownNodeType);
    EXPECT_NE(thrown.stackTrace.find("QZTable::Access"), std::string::npos);
    EXPECT_EQ(Access("a"), 0);
}

TEST_F(TreeTable, ChildrenOfEveryKind)
{
    QZTable table(m_channel, Make("dir"));
    EXPECT_QZ_TEXT(table.GetName(), "dir");
    EXPECT_EQ(table.GetType(), 0x8330001);
    EXPECT_EQ(QZTable::Type, 0x8330001);
    QZString name("x");
    const QZInt64 fld = table.CreateFLD(&name);
    const QZInt64 bld = table.CreateBLD(&name);
    const QZInt64 tld = table.CreateTLD(&name);
    EXPECT_EQ(table.Count(), 3);
    EXPECT_EQ(Take(table.GetHandles()), (Addresses{fld, bld, tld}));
    EXPECT_EQ(table.GetFirst(), fld);
    EXPECT_EQ(table.GetLast(), tld);
    EXPECT_EQ(QZSNode::GetNodeType(m_channel, fld), LDTYPE::FLDTYPE);
    EXPECT_EQ(QZSNode::GetNodeType(m_channel, bld), LDTYPE::BLDTYPE);
    EXPECT_EQ(QZSNode::GetNodeType(m_channel, tld), LDTYPE::TLDTYPE);
    EXPECT_EQ(NameOf(tld), "x");
    EXPECT_QZ_THROW(table.CreateWLD(&name), Code::BadStruct);
    m_channel->ConsoleUnlock();
    EXPECT_EQ(table.Count(), 4);
}

TEST_F(TreeTable, FindReturnsTheFirstOfEqualNames)
{
    QZTable table(m_channel, Make("dir"));
    QZString x("x");
    QZString y("y");
    QZString upper("X");
    const QZInt64 first = table.CreateFLD(&x);
    table.CreateFLD(&x);
    const QZInt64 other = table.CreateFLD(&y);
    EXPECT_EQ(table.Find(&x), first);
    EXPECT_EQ(table.Find(&y), other);
    EXPECT_EQ(table.Find(&upper), 0);
}

TEST_F(TreeTable, GetPrevAndGetNextIgnoreTheirArgument)
{
    const QZInt64 a = Make("a");
    const QZInt64 b = Make("b");
    const QZInt64 c = Make("c");
    QZTable table(m_channel, b);
    for (const QZInt64 asked : {QZInt64{0}, a, b, c, QZInt64{-5}})
    {
        EXPECT_EQ(table.GetPrev(asked), a);
        EXPECT_EQ(table.GetNext(asked), c);
    }
}

TEST_F(TreeTable, ChildListCreatedByTheConstructorIsSeenAfterRefersh)
{
    const QZInt64 handle = Make("a");
    ASSERT_EQ(QZNodePD::GetHD(m_channel, handle), 0);
    QZTable table(m_channel, handle);
    const QZInt64 list = QZNodePD::GetHD(m_channel, handle);
    EXPECT_NE(list, 0);
    EXPECT_RECORDS(Info::BAD_STRUCT, EXPECT_EQ(table.Count(), -1));
    table.Refersh();
    EXPECT_EQ(table.Count(), 0);
    EXPECT_EQ(QZNodePD::GetHD(m_channel, handle), list);
    EXPECT_EQ(table.GetHandle(), handle);
}

TEST_F(TreeTable, ClearChangesNothingAndClearAllRemovesAllChildren)
{
    QZTable table(m_channel, Make("dir"));
    QZString name("x");
    table.CreateFLD(&name);
    table.CreateFLD(&name);
    table.Clear();
    EXPECT_EQ(table.Count(), 2);
    table.ClearAll();
    EXPECT_EQ(table.Count(), 0);
}

TEST_F(TreeTable, GetTablesCreatesChildLists)
{
    const QZInt64 a = Make("a");
    const QZInt64 b = Make("b");
    QZObjectCollection* tables = QZTable::GetTablesFromRoot(m_channel);
    ASSERT_EQ(tables->Count(), 2);
    EXPECT_EQ(static_cast<QZTable*>(tables->GetElement(0))->GetHandle(), a);
    EXPECT_QZ_TEXT(static_cast<QZTable*>(tables->GetElement(1))->GetName(), "b");
    QZTable::Recycle(&tables);
    EXPECT_EQ(tables, nullptr);
    EXPECT_NE(QZNodePD::GetHD(m_channel, a), 0);
    EXPECT_NE(QZNodePD::GetHD(m_channel, b), 0);

    const QZInt64 c = Make("c");
    tables = QZTable::GetTables(m_channel, c);
    EXPECT_EQ(tables->Count(), 0);
    QZTable::Recycle(&tables);
    EXPECT_EQ(QZNodePD::GetHD(m_channel, c), 0);
    QZTable dir(m_channel, a);
    QZString name("child");
    const QZInt64 child = dir.CreateTLD(&name);
    tables = QZTable::GetTables(m_channel, a);
    ASSERT_EQ(tables->Count(), 1);
    EXPECT_EQ(static_cast<QZTable*>(tables->GetElement(0))->GetHandle(), child);
    QZTable::Recycle(&tables);
}

}  // namespace
}  // namespace qztest
