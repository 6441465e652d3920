#include "db/db_semantic.h"

#include <memory>

#include "db/database_fixture.h"
#include "fw/fw_convert.h"
#include "fw/fw_data_type.h"
#include "fw/fw_package.h"
#include "fw/fw_time.h"

namespace qztest
{
namespace
{
using Code = QZDatabaseExceptionCode;

class Semantic : public DatabaseTest
{
protected:
    void SetUp() override { Fresh(); }

    QZInt64 Root() { return m_channel->G_TA(3); }

    static std::string Take(QZString* text)
    {
        const std::string utf8 = Utf8(text);
        QZSNode::Recycle(&text);
        EXPECT_EQ(text, nullptr);
        return utf8;
    }

    static std::string Take(QZData* data)
    {
        const std::string bytes(static_cast<const char*>(data->GetPointer()),
                                static_cast<std::size_t>(data->GetSize()));
        QZSNode::Recycle(&data);
        EXPECT_EQ(data, nullptr);
        return bytes;
    }

    std::string Field(QZInt64 pd, QZInt64 field) { return Get(QZNodePD::GetLD(m_channel, pd), field); }
    std::string FormatOf(QZInt64 pd) { return Hex(Field(pd, 2)); }

    static std::string Words(std::initializer_list<QZInt32> words)
    {
        std::string bytes;
        for (const QZInt32 word : words)
        {
            for (int i = 0; i < 4; ++i) bytes += static_cast<char>(static_cast<unsigned>(word) >> (8 * i));
        }
        return Hex(bytes);
    }

    template <typename Call>
    Thrown CatchAndUnlock(Call call)
    {
        const Thrown thrown = Catch(call);
        if (thrown.thrown) m_channel->ConsoleUnlock();
        return thrown;
    }
};

const QZInt32 kUtf16 = 0x2010200;
const QZInt32 kArray = 0x2040100;
const QZInt32 kAny = 0x2000000;
const QZInt32 kPackage = 0x2060100;

TEST_F(Semantic, KindsTypesAndFixedLengths)
{
    EXPECT_EQ(LDTYPE::LDTYPEVALUE, 0x1000000);
    EXPECT_EQ(LDTYPE::TLDTYPE, QZNodeTLD::Type);
    EXPECT_EQ(LDTYPE::BLDTYPE, QZNodeBLD::Type);
    EXPECT_EQ(LDTYPE::FLDTYPE, QZNodeFLD::Type);
    EXPECT_EQ(LDTYPE::WLDTYPE, QZNodeWLD::Type);
    EXPECT_EQ(QZNodeTLD::Type, 0x1000100);
    EXPECT_EQ(QZNodeBLD::Type, 0x1000200);
    EXPECT_EQ(QZNodeFLD::Type, 0x1000300);
    EXPECT_EQ(QZNodeWLD::Type, 0x1000400);
    EXPECT_EQ(QZNodeTLD::TLDLEN, 5);
    EXPECT_EQ(QZNodeFLD::FLDLEN, 5);
    EXPECT_EQ(QZNodeBLD::BLDLEN, 10);
    EXPECT_EQ(QZNodeWLD::WLDLEN, 6);
    EXPECT_EQ(BLDSTATE::DEFAULT, 0);
    EXPECT_EQ(BLDSTATE::EMPTY, 1);

    const QZInt64 tld = QZNodeTLD::Create(m_channel, Root());
    const QZInt64 fld = QZNodeFLD::Create(m_channel, Root());
    const QZInt64 bld = QZNodeBLD::Create(m_channel, Root());
    EXPECT_EQ(QZNodeTLD(m_channel, tld).GetType(), 0x1000100);
    EXPECT_EQ(QZNodeFLD(m_channel, fld).GetType(), 0x1000300);
    EXPECT_EQ(QZNodeBLD(m_channel, bld).GetType(), 0x1000200);
    EXPECT_EQ(QZNodeWLD(m_channel, bld).GetType(), 0x1000400);
    EXPECT_EQ(QZSNode(m_channel, bld).GetType(), 0x1000000);
    EXPECT_EQ(QZSNode(m_channel, tld).GetNodeType(), LDTYPE::TLDTYPE);
    EXPECT_EQ(QZSNode::GetNodeType(m_channel, fld), LDTYPE::FLDTYPE);
    EXPECT_EQ(QZSNode::GetNodeTypeByLD(m_channel, QZNodePD::GetLD(m_channel, bld)), LDTYPE::BLDTYPE);
}

TEST_F(Semantic, NewNodesHaveTheFieldsOfTheirKind)
{
    const QZInt64 tld = QZSNode::Create(m_channel, LDTYPE::TLDTYPE, Root());
    EXPECT_EQ(FormatOf(tld), Words({7, 0x1000100, 5, kUtf16, kUtf16, kArray, kArray, kArray}));
    EXPECT_EQ(Field(tld, 1), "");
    EXPECT_EQ(Field(tld, TLDTYPE::STATE), "");
    EXPECT_EQ(Field(tld, TLDTYPE::CREATEDATE).size(), 32u);
    EXPECT_EQ(Field(tld, TLDTYPE::CHANGEDATE), "");

    const QZInt64 fld = QZSNode::Create(m_channel, LDTYPE::FLDTYPE, Root());
    EXPECT_EQ(FormatOf(fld), Words({7, 0x1000300, 5, kUtf16, kUtf16, kArray, kArray, kArray}));
    EXPECT_EQ(Hex(Field(fld, FLDTYPE::STATE)), Words({1, 0}));
    EXPECT_EQ(Field(fld, FLDTYPE::CREATEDATE).size(), 32u);

    const QZInt64 bld = QZSNode::Create(m_channel, LDTYPE::BLDTYPE, Root());
    EXPECT_EQ(FormatOf(bld), Words({12, 0x1000200, 10, kAny, kArray, kAny, kArray, kUtf16, kUtf16, kArray,
                                    kPackage, kArray, kArray}));
    EXPECT_EQ(Hex(Field(bld, BLDTYPE::BMPDATALEN)), Words({2, 0, 0}));
    EXPECT_EQ(Hex(Field(bld, BLDTYPE::TBMPDATALEN)), Words({2, 0, 0}));
    EXPECT_EQ(Hex(Field(bld, BLDTYPE::INFO)), Words({0}));
    EXPECT_EQ(Hex(Field(bld, BLDTYPE::STATE)), Words({1, 0}));
    EXPECT_EQ(Field(bld, BLDTYPE::CREATEDATE).size(), 32u);
    EXPECT_EQ(Field(bld, BLDTYPE::CHANGEDATE), "");
}

TEST_F(Semantic, CreateOfAnUnknownKindThrows)
{
    const std::size_t before = DatabaseTest::List(Root()).size();
    const Thrown thrown = Catch([&] { QZSNode::Create(m_channel, 0, Root()); });
    EXPECT_EQ(thrown.code, Code::UnknownNodeType);
    EXPECT_NE(thrown.stackTrace.find("QZSNode"), std::string::npos);
    EXPECT_NE(thrown.argumentTrace.find("Create("), std::string::npos);
    EXPECT_QZ_THROW(QZSNode::Create(m_channel, LDTYPE::LDTYPEVALUE, Root()), Code::UnknownNodeType);
    EXPECT_EQ(DatabaseTest::List(Root()).size(), before);
}

TEST_F(Semantic, CreateOfAWaveThrowsAfterAddingTheRecord)
{
    EXPECT_EQ(CatchAndUnlock([&] { QZSNode::Create(m_channel, LDTYPE::WLDTYPE, Root()); }).code,
              Code::BadStruct);
    ASSERT_EQ(DatabaseTest::List(Root()).size(), 1u);
    const QZInt64 wave = DatabaseTest::List(Root())[0];
    EXPECT_EQ(FormatOf(wave), Words({8, 0x1000400, 6, 0, kUtf16, kUtf16, kArray, kArray, kArray}));
    EXPECT_EQ(Field(wave, WLDTYPE::CREATEDATE), "");
    QZString name("whale");
    QZSNode::PutName(m_channel, wave, &name);
    EXPECT_QZ_TEXT(QZNodeWLD(m_channel, wave).GetName(), "whale");
    EXPECT_EQ(QZSNode(m_channel, wave).GetStringLength(4), 5);
}

TEST_F(Semantic, NodeCachesNameAndText)
{
    for (const QZInt64 kind : {LDTYPE::TLDTYPE, LDTYPE::FLDTYPE, LDTYPE::BLDTYPE})
    {
        const QZInt64 pd = QZSNode::Create(m_channel, kind, Root());
        QZSNode node(m_channel, pd);
        EXPECT_QZ_TEXT(node.GetName(), "");
        QZString name(Wide("\xE5\x90\x8D").c_str());
        QZString text("some text");
        node.PutName(&name);
        node.PutText(&text);
        EXPECT_QZ_TEXT(node.GetName(), "\xE5\x90\x8D");
        EXPECT_QZ_TEXT(node.GetText(), "some text");
        EXPECT_FALSE(node.GetName()->IsDisposable());
        EXPECT_FALSE(node.GetText()->IsDisposable());

        QZString other;
        QZSNode::GetName(m_channel, pd, &other);
        EXPECT_QZ_TEXT(other, "\xE5\x90\x8D");
        QZSNode::GetText(m_channel, pd, &other);
        EXPECT_QZ_TEXT(other, "some text");
        QZSNode::GetNameByLD(m_channel, QZNodePD::GetLD(m_channel, pd), &other);
        EXPECT_QZ_TEXT(other, "\xE5\x90\x8D");

        // A name that was written through the static function is seen only by a new object.
        QZSNode::PutName(m_channel, pd, &text);
        EXPECT_QZ_TEXT(node.GetName(), "\xE5\x90\x8D");
        EXPECT_QZ_TEXT(QZSNode(m_channel, pd).GetName(), "some text");
        EXPECT_QZ_TEXT(QZSNode(node).GetName(), "\xE5\x90\x8D");
    }
}

TEST_F(Semantic, NameOfANodeWithoutAKindThrows)
{
    const QZInt64 pd = QZNodeTLD::Create(m_channel, Root());
    QZSNode::SetDataType(m_channel, pd, 1, 0);
    QZString text;
    EXPECT_QZ_THROW_MESSAGE(QZSNode::GetName(m_channel, pd, &text), Code::UnknownNodeType,
                            " UnknownNodeType");
    EXPECT_QZ_THROW(QZSNode::GetText(m_channel, pd, &text), Code::UnknownNodeType);
    EXPECT_QZ_THROW(QZSNode::PutName(m_channel, pd, &text), Code::UnknownNodeType);
    EXPECT_QZ_THROW(QZSNode::PutText(m_channel, pd, &text), Code::UnknownNodeType);
    EXPECT_QZ_THROW(QZSNode(m_channel, pd), Code::UnknownNodeType);
    EXPECT_EQ(QZSNode::GetDataType(m_channel, pd, 3), kUtf16);
}

TEST_F(Semantic, TypesOfFields)
{
    const QZInt64 pd = QZNodeTLD::Create(m_channel, Root());
    QZSNode node(m_channel, pd);
    node.SetDataType(10, kArray);
    EXPECT_EQ(node.GetDataType(10), kArray);
    EXPECT_EQ(node.GetDataType(9), 0);
    EXPECT_EQ(node.GetDataType(0), 10);
    EXPECT_EQ(Field(pd, 2).size(), 44u);
    EXPECT_QZ_THROW(node.GetDataType(11), 1024);
    EXPECT_QZ_THROW(node.GetDataType(-1), Code::ArgumentOutOfRange);
    EXPECT_QZ_THROW(node.SetDataType(-1, 0), Code::ArgumentOutOfRange);
    EXPECT_QZ_THROW(QZSNode::SetDataType(m_channel, pd, -2, 0), Code::ArgumentOutOfRange);
}

TEST_F(Semantic, TextTypeIsAlwaysUtf16)
{
    const QZInt64 pd = QZNodeTLD::Create(m_channel, Root());
    QZSNode node(m_channel, pd);
    QZString text("AB");
    node.PutString(9, &text, QZDataType::TEXTUTF16LE);
    EXPECT_EQ(Hex(Field(pd, 9)), "41 00 42 00");
    EXPECT_EQ(node.GetDataType(9), kUtf16);
    EXPECT_EQ(node.GetDataType(2), 7);
    EXPECT_EQ(Take(node.GetString(9)), "AB");
    EXPECT_EQ(node.GetStringLength(9), 2);

    node.PutString(9, &text, QZDataType::TEXTGB2312);
    EXPECT_EQ(Field(pd, 9), "AB");
    EXPECT_EQ(node.GetDataType(9), kUtf16);
    EXPECT_EQ(Take(QZSNode::GetString(m_channel, pd, 9)), "\xE4\x89\x81");  // U+4241
    node.SetDataType(9, QZDataType::TEXTGB2312);
    QZString read;
    node.GetString(9, &read);
    EXPECT_QZ_TEXT(read, "AB");
    QZSNode::GetString(m_channel, pd, 9, &read);
    EXPECT_QZ_TEXT(read, "AB");

    EXPECT_QZ_THROW(node.PutString(9, &text, QZDataType::TEXTUTF8), Code::UnknownStringEncoding);
    node.SetDataType(9, kAny);
    EXPECT_QZ_THROW(node.GetString(9), Code::UnknownStringEncoding);
}

TEST_F(Semantic, PutDataDoesNotChangeTypesAndCount)
{
    const QZInt64 pd = QZNodeFLD::Create(m_channel, Root());
    QZSNode node(m_channel, pd);
    const std::string format = FormatOf(pd);
    QZData data("xyz", 3);
    node.PutData(12, &data);
    EXPECT_EQ(FormatOf(pd), format);
    EXPECT_EQ(Take(node.GetData(12)), "xyz");
    EXPECT_EQ(node.GetDataSize(12), 3);
    EXPECT_EQ(Take(QZSNode::GetData(m_channel, pd, 12)), "xyz");
}

TEST_F(Semantic, States)
{
    const QZInt64 pd = QZNodeFLD::Create(m_channel, Root());
    QZNodeFLD node(m_channel, pd);
    EXPECT_EQ(node.GetState(), 0);
    node.SetState(-7);
    EXPECT_EQ(node.GetState(), -7);
    node.SetState(11, 3);
    EXPECT_EQ(node.GetState(3), 11);
    EXPECT_EQ(QZNodeFLD::GetState(m_channel, pd, 2), 0);
    EXPECT_EQ(Hex(Field(pd, FLDTYPE::STATE)), Words({3, -7, 0, 11}));
    EXPECT_QZ_THROW(node.GetState(4), 1024);

    QZSNode::NewState(m_channel, pd, 9, 5);
    EXPECT_EQ(QZSNode::GetDataType(m_channel, pd, 9), kArray);
    EXPECT_EQ(QZSNode::GetState(m_channel, pd, 9), 5);
    const Thrown thrown = Catch([&] { QZSNode::GetState(m_channel, pd, FLDTYPE::TEXT); });
    EXPECT_EQ(thrown.code, Code::DataTypeException);
    EXPECT_EQ(thrown.argumentTrace, "QZSNode::GetState(3, 1)");
    EXPECT_QZ_THROW(QZSNode::SetState(m_channel, pd, FLDTYPE::TEXT, 1), Code::DataTypeException);
}

TEST_F(Semantic, StateInPackagesIsWrittenWith32BitsAndReadWith64)
{
    const QZInt64 pd = QZNodeFLD::Create(m_channel, Root());
    QZSNode node(m_channel, pd);
    QZData array(8);
    array.SetValueInt32(0, 1);
    array.SetValueInt32(1, 42);
    node.SetDataType(FLDTYPE::STATE, QZDataType::ARRAYDATA);

    QZPackage32 narrow;
    narrow.Add(1, &array, kArray);
    QZData bytes;
    QZPackage32::Serialize(&narrow, &bytes);
    node.PutData(FLDTYPE::STATE, &bytes);
    node.SetState(FLDTYPE::STATE, 77, 2);
    const std::unique_ptr<QZData> stored(node.GetData(FLDTYPE::STATE));
    QZPackage32* read = QZPackage32::Deserialize(stored.get());
    QZData* element = read->GetElement(0);
    EXPECT_EQ(element->GetSize(), 12);
    EXPECT_EQ(element->GetValueInt32(0), 2);
    EXPECT_EQ(element->GetValueInt32(1), 42);
    EXPECT_EQ(element->GetValueInt32(2), 77);
    QZPackage32::Recycle(&element);
    QZPackage32::Recycle(&read);
    EXPECT_QZ_THROW(node.GetState(FLDTYPE::STATE, 2), 512);

    QZPackage wide;
    wide.Add(1, &array, kArray);
    QZPackage::Serialize(&wide, &bytes);
    node.PutData(FLDTYPE::STATE, &bytes);
    EXPECT_EQ(node.GetState(FLDTYPE::STATE), 42);
}

TEST_F(Semantic, Dates)
{
    const QZInt64 pd = QZNodeTLD::Create(m_channel, Root());
    QZNodeTLD node(m_channel, pd);
    QZDateTime* created = node.GetCreateDate();
    EXPECT_GE(created->GetYear(), 2020);
    QZConvert::Recycle(&created);
    EXPECT_QZ_THROW(node.GetChangeDate(), 256);
    QZString name("n");
    node.PutName(&name);
    node.Changed();
    node.UpdateChangedDate();
    EXPECT_EQ(Field(pd, TLDTYPE::CHANGEDATE), "");
    EXPECT_QZ_THROW(QZSNode::GetDate(m_channel, pd, TLDTYPE::NAME), Code::DataTypeException);
    QZSNode::PutDateInt32(m_channel, pd, TLDTYPE::CHANGEDATE);
    QZDateTime* changed = QZNodeTLD::GetChangeDate(m_channel, pd);
    EXPECT_GE(changed->GetYear(), 2020);
    QZConvert::Recycle(&changed);
}

// ---- Text lists

TEST_F(Semantic, TextListReturnsItemNumbers)
{
    const QZInt64 pd = QZNodeTLD::Create(m_channel, Root());
    QZNodeTLD node(m_channel, pd);
    EXPECT_EQ(node.Count(), 0);
    QZString one("one");
    QZString two("two");
    EXPECT_EQ(node.AddString(&one), 1);
    EXPECT_EQ(Hex(Field(pd, 8)), Hex(std::string("o\0n\0e\0", 6)));
    EXPECT_EQ(QZNodeTLD::AddString(m_channel, pd, &two), 2);
    EXPECT_EQ(node.Count(), 2);
    EXPECT_EQ(Take(node.GetString(1)), "one");
    EXPECT_EQ(Take(QZNodeTLD::GetString(m_channel, pd, 2)), "two");
    EXPECT_EQ(FormatOf(pd), Words({9, 0x1000100, 7, kUtf16, kUtf16, kArray, kArray, kArray, kUtf16, kUtf16}));

    node.PutString(4, &one);
    EXPECT_EQ(node.Count(), 4);
    EXPECT_EQ(Take(node.GetString(4)), "one");
    EXPECT_QZ_THROW(node.GetString(3), Code::UnknownStringEncoding);
    node.PutString(1, &two);
    EXPECT_EQ(node.Count(), 4);
    EXPECT_EQ(Take(node.GetString(1)), "two");

    const Thrown negative = Catch([&] { node.GetString(-1); });
    EXPECT_EQ(negative.code, 256);
    EXPECT_QZ_THROW(node.PutString(-1, &one), 256);
    EXPECT_QZ_THROW(node.PutString(1, nullptr), 256);
}

TEST_F(Semantic, TextListHasNoStateByDefault)
{
    const QZInt64 pd = QZNodeTLD::Create(m_channel, Root());
    QZNodeTLD node(m_channel, pd);
    EXPECT_QZ_THROW(node.GetState(), 1024);
    EXPECT_QZ_THROW(node.SetState(1), 1024);
    QZSNode::NewState(m_channel, pd, TLDTYPE::STATE, 3);
    EXPECT_EQ(node.GetState(), 3);
    QZNodeTLD::SetState(m_channel, pd, 4);
    EXPECT_EQ(QZNodeTLD::GetState(m_channel, pd), 4);
}

TEST_F(Semantic, MoveStringMovesTowardsTheEndForEitherSign)
{
    const QZInt64 pd = QZNodeTLD::Create(m_channel, Root());
    QZNodeTLD node(m_channel, pd);
    for (const char* text : {"a", "b", "c"})
    {
        QZString item(text);
        node.AddString(&item);
    }
    EXPECT_TRUE(node.MoveString(1, 1));
    EXPECT_EQ(Take(node.GetString(1)) + Take(node.GetString(2)) + Take(node.GetString(3)), "bac");
    EXPECT_TRUE(node.MoveString(1, 100));
    EXPECT_EQ(Take(node.GetString(1)) + Take(node.GetString(2)) + Take(node.GetString(3)), "acb");
    EXPECT_TRUE(node.MoveString(2, -1));
    EXPECT_EQ(Take(node.GetString(1)) + Take(node.GetString(2)) + Take(node.GetString(3)), "abc");
    EXPECT_QZ_THROW(node.MoveString(0, 1), 256);
    EXPECT_QZ_THROW(node.MoveString(4, 1), 256);
    EXPECT_QZ_THROW(node.DeleteString(0), 256);
    EXPECT_QZ_THROW(node.DeleteString(4), 256);
}

TEST_F(Semantic, DeleteStringDropsTheLastText)
{
    const QZInt64 pd = QZNodeTLD::Create(m_channel, Root());
    QZNodeTLD node(m_channel, pd);
    for (const char* text : {"a", "b", "c"})
    {
        QZString item(text);
        node.AddString(&item);
    }
    EXPECT_TRUE(node.DeleteString(2));
    EXPECT_EQ(node.Count(), 2);
    EXPECT_EQ(Take(node.GetString(1)), "a");
    EXPECT_EQ(Take(node.GetString(2)), "b");
    EXPECT_EQ(FormatOf(pd), Words({9, 0x1000100, 7, kUtf16, kUtf16, kArray, kArray, kArray, kUtf16, kUtf16}));
}

// ---- Data lists

TEST_F(Semantic, DataListReturnsItsLength)
{
    const QZInt64 pd = QZNodeFLD::Create(m_channel, Root());
    QZNodeFLD node(m_channel, pd);
    QZData data("data", 4);
    EXPECT_EQ(node.AddData(&data, QZDataType::ANY), 6);
    EXPECT_EQ(node.DataCount(), 1);
    EXPECT_EQ(Take(node.GetData(1)), "data");
    EXPECT_EQ(Take(node.GetData(6)), "");
    EXPECT_EQ(node.AddData(QZDataType::INT64), 7);
    EXPECT_EQ(node.GetDataSize(2), 8);
    EXPECT_EQ(Take(node.GetData(2)), std::string(8, '\0'));
    EXPECT_EQ(node.GetDataType(1), kAny);
    EXPECT_EQ(QZNodeFLD::GetDataType(m_channel, pd, 2), QZDataType::INT64);
    EXPECT_EQ(FormatOf(pd),
              Words({9, 0x1000300, 7, kUtf16, kUtf16, kArray, kArray, kArray, kAny, 0x2080500}));

    node.PutData(4, &data, kArray);
    EXPECT_EQ(node.DataCount(), 4);
    EXPECT_EQ(node.GetDataType(3), 0);
    EXPECT_EQ(node.GetDataType(4), kArray);
    node.PutData(5, &data);
    EXPECT_EQ(node.DataCount(), 5);
    EXPECT_QZ_THROW(node.GetDataType(5), 1024);
    EXPECT_QZ_THROW(node.PutData(-1, &data), Code::ArgumentOutOfRange);
    EXPECT_QZ_THROW(node.PutData(-8, &data, kAny), Code::ArgumentOutOfRange);
}

TEST_F(Semantic, DataListHoldsManyItems)
{
    const QZInt64 pd = QZNodeFLD::Create(m_channel, Root());
    QZNodeFLD node(m_channel, pd);
    for (QZInt32 item = 1; item <= 130; ++item)
    {
        QZData data(4);
        data.SetValueInt32(0, item);
        node.PutData(item, &data, 0x2000000 + item);
    }
    EXPECT_EQ(node.DataCount(), 130);
    EXPECT_EQ(node.GetDataType(0 - 7), 137);
    for (QZInt32 item = 1; item <= 130; ++item)
    {
        EXPECT_EQ(node.GetDataType(item), 0x2000000 + item);
        EXPECT_EQ(Take(node.GetData(item)).size(), 4u);
    }

    // One item far past the end.
    const QZInt64 other = QZNodeFLD::Create(m_channel, Root());
    QZData data("x", 1);
    QZNodeFLD::PutData(m_channel, other, 150, &data, kAny);
    EXPECT_EQ(QZNodeFLD::DataCount(m_channel, other), 150);
    EXPECT_EQ(QZNodeFLD::GetDataType(m_channel, other, 150), kAny);
    EXPECT_EQ(QZNodeFLD::GetDataType(m_channel, other, 149), 0);
    EXPECT_EQ(Field(other, 2).size(), 158u * 4);
}

TEST_F(Semantic, ItemNumbersOutOfRange)
{
    const QZInt64 pd = QZNodeFLD::Create(m_channel, Root());
    QZNodeFLD node(m_channel, pd);
    const std::string format = FormatOf(pd);
    QZData data("x", 1);
    QZString text("x");
    const QZInt64 last = INT64_MAX;
    EXPECT_EQ(node.GetDataSize(last), 0);
    EXPECT_EQ(Take(node.GetData(last)), "");
    EXPECT_QZ_THROW(node.GetDataType(last), Code::ArgumentOutOfRange);
    EXPECT_QZ_THROW(node.PutData(last, &data, kAny), Code::ArgumentOutOfRange);
    node.PutData(last, &data);
    EXPECT_QZ_THROW(node.SetDataType(last, kAny), 1024);
    const QZInt64 list = QZNodeTLD::Create(m_channel, Root());
    EXPECT_QZ_THROW(QZNodeTLD::GetString(m_channel, list, last), Code::ArgumentOutOfRange);
    EXPECT_QZ_THROW(QZNodeTLD::PutString(m_channel, list, last, &text), Code::ArgumentOutOfRange);
    EXPECT_QZ_THROW(node.QZSNode::PutString(INT64_MIN, &text, QZDataType::TEXTUTF16LE),
                    Code::ArgumentOutOfRange);
    EXPECT_EQ(FormatOf(pd), format);
}

TEST_F(Semantic, TypeOfField0IsTheCount)
{
    const QZInt64 pd = QZNodeFLD::Create(m_channel, Root());
    QZSNode::SetDataType(m_channel, pd, 0, -5);
    EXPECT_EQ(FormatOf(pd), Words({-5, 0x1000300, 5, kUtf16, kUtf16, kArray, kArray, kArray}));
    // The index 0 is above a negative count. So the array is cut after element 0, and the new count 0
    // overwrites the 9.
    QZSNode::SetDataType(m_channel, pd, 0, 9);
    EXPECT_EQ(FormatOf(pd), Words({0}));
}

TEST_F(Semantic, ItemsAsText)
{
    const QZInt64 pd = QZNodeFLD::Create(m_channel, Root());
    QZNodeFLD node(m_channel, pd);
    QZData number(8);
    number.SetValueInt64(0, -1234);
    node.AddData(&number, QZDataType::INT64);
    EXPECT_EQ(Take(node.GetString(1)), "-1234");
    EXPECT_EQ(Take(QZNodeFLD::GetString(m_channel, pd, 1)), "-1234");
    number.SetValueInt64(0, 9);
    EXPECT_EQ(Take(node.ValuesConvert(1, &number)), "9");
    QZString text("77");
    EXPECT_EQ(Hex(Take(node.ValuesConvert(1, &text))), "4D 00 00 00 00 00 00 00");
}

TEST_F(Semantic, PutStringOfADataListWritesTheFieldOfThatNumber)
{
    const QZInt64 pd = QZNodeFLD::Create(m_channel, Root());
    QZNodeFLD node(m_channel, pd);
    for (int i = 0; i < 3; ++i) node.AddData(QZDataType::INT64);
    QZString text("5");
    node.PutString(3, &text);
    EXPECT_EQ(Take(node.GetData(3)), std::string(8, '\0'));
    EXPECT_EQ(Hex(Field(pd, 3)), "05 00 00 00 00 00 00 00");
}

TEST_F(Semantic, MoveDataToTheFrontMovesTypesButNotData)
{
    const QZInt64 pd = QZNodeFLD::Create(m_channel, Root());
    QZNodeFLD node(m_channel, pd);
    QZData a("a", 1);
    QZData b("b", 1);
    QZData c("c", 1);
    node.AddData(&a, 0x2000001);
    node.AddData(&b, 0x2000002);
    node.AddData(&c, 0x2000003);
    EXPECT_TRUE(node.MoveData(1, 1));
    EXPECT_EQ(Take(node.GetData(1)) + Take(node.GetData(2)) + Take(node.GetData(3)), "bac");
    EXPECT_EQ(node.GetDataType(1), 0x2000002);
    EXPECT_EQ(node.GetDataType(2), 0x2000001);
    EXPECT_TRUE(node.MoveData(2, -1));
    EXPECT_EQ(Take(node.GetData(1)) + Take(node.GetData(2)) + Take(node.GetData(3)), "bca");
    EXPECT_EQ(node.GetDataType(1), 0x2000001);
    EXPECT_EQ(node.GetDataType(2), 0x2000002);
    EXPECT_EQ(node.GetDataType(3), 0x2000003);
    EXPECT_QZ_THROW(node.MoveData(0, 1), 256);
    EXPECT_QZ_THROW(node.MoveData(4, -1), 256);
}

TEST_F(Semantic, DeleteDataShiftsTheTypesButNotTheData)
{
    const QZInt64 pd = QZNodeFLD::Create(m_channel, Root());
    QZNodeFLD node(m_channel, pd);
    QZData a("a", 1);
    QZData b("b", 1);
    node.AddData(&a, 0x2000001);
    node.AddData(&b, 0x2000002);
    EXPECT_TRUE(node.DeleteData(1));
    EXPECT_EQ(node.DataCount(), 1);
    EXPECT_EQ(Take(node.GetData(1)), "a");
    EXPECT_EQ(node.GetDataType(1), 0x2000002);
    EXPECT_EQ(FormatOf(pd), Words({8, 0x1000300, 6, kUtf16, kUtf16, kArray, kArray, kArray, 0x2000002}));
    EXPECT_QZ_THROW(node.DeleteData(2), 256);
}

// ---- Bitmaps

TEST_F(Semantic, Bitmap)
{
    const QZInt64 pd = QZNodeBLD::Create(m_channel, Root());
    QZNodeBLD node(m_channel, pd);
    EXPECT_EQ(node.GetBitmapDataSize(), 0);
    EXPECT_EQ(node.GetBitmapDataType(), kAny);
    EXPECT_EQ(node.GetWidth(), 0);
    QZData extent(12);
    extent.SetValueInt32(0, 2);
    extent.SetValueInt32(1, 640);
    extent.SetValueInt32(2, 480);
    node.PutData(BLDTYPE::BMPDATALEN, &extent);
    EXPECT_EQ(node.GetWidth(), 640);
    EXPECT_EQ(QZNodeBLD::GetHeight(m_channel, pd), 480);
    QZData bytes("pixels", 6);
    node.PutData(BLDTYPE::BMPDATA, &bytes);
    EXPECT_EQ(node.GetBitmapDataSize(), 6);

    EXPECT_EQ(Hex(Take(node.GetInfo())), "00 00 00 00");
    node.PutInfo(&bytes);
    EXPECT_EQ(Take(node.GetInfo()), "pixels");
    node.SetDataType(BLDTYPE::INFO, kAny);
    EXPECT_EQ(Hex(Take(node.GetInfo())), "00 00 00 00");
    node.PutInfo(&bytes);
    EXPECT_EQ(node.GetDataType(BLDTYPE::INFO), kPackage);

    node.SetState(static_cast<QZInt32>(BLDSTATE::EMPTY));
    EXPECT_EQ(node.GetState(), 1);
    QZNodeBLD::SetState(m_channel, pd, 5, 2);
    EXPECT_EQ(node.GetState(2), 5);
    EXPECT_EQ(QZNodeBLD::GetState(m_channel, pd), 1);
    EXPECT_EQ(Hex(Field(pd, BLDTYPE::STATE)), Words({2, 1, 5}));
    QZDateTime* created = node.GetCreateDate();
    EXPECT_GE(created->GetYear(), 2020);
    QZConvert::Recycle(&created);
    EXPECT_QZ_THROW(node.GetChangeDate(), 256);
}

}  // namespace
}  // namespace qztest
