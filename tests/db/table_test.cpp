#include "db/db_table.h"

#include <memory>

#include "db/database_fixture.h"
#include "db/db_semantic.h"
#include "db/db_tree_table.h"
#include "fw/fw_convert.h"
#include "fw/fw_data_type.h"
#include "fw/fw_keyed.h"
#include "fw/fw_library.h"
#include "fw/fw_table.h"
#include "fw/fw_time.h"

namespace qztest
{
namespace
{
using Code = QZDatabaseExceptionCode;

class DbTable : public DatabaseTest
{
protected:
    void SetUp() override { Fresh(); }
    ~DbTable() override
    {
        if (m_table != nullptr) QZDbTable::Close(&m_table);
    }

    /// Opens a table with a number, a text and an array field.
    void Open3()
    {
        m_table = QZDbTable::Open(m_channel, QZDbTable::Create(m_channel, "people"));
        Add("id", QZDataType::INT64);
        Add("name", QZDataType::TEXTUTF16LE);
        Add("marks", QZDataType::ARRAYINT32);
    }

    QZInt64 Add(const char* name, QZInt64 type)
    {
        QZString text(name);
        return m_table->FieldAdd(&text, type);
    }

    QZInt64 Row(const char* id, const char* name)
    {
        const QZInt64 row = m_table->DataAdd();
        Set(row, 1, id);
        Set(row, 2, name);
        return row;
    }

    void Set(QZInt64 row, QZInt64 field, const char* text)
    {
        QZString value(text);
        EXPECT_TRUE(m_table->DataSetValue(row, field, &value));
    }

    void SetWords(QZInt64 row, QZInt64 field, std::initializer_list<QZInt32> words)
    {
        QZData data(static_cast<QZInt64>(words.size()) * 4);
        QZInt64 i = 0;
        for (const QZInt32 word : words) data.SetValueInt32(i++, word);
        m_table->DataSetValue(row, field, &data);
    }

    std::string Value(QZInt64 row, QZInt64 field)
    {
        QZString* text = m_table->DataGetValueString(row, field);
        return Take(text);
    }

    static std::string Take(QZString* text)
    {
        const std::string utf8 = Utf8(text);
        if (text != nullptr) QZDbTable::Recycle(&text);
        return utf8;
    }

    static Addresses Take(QZCollection* collection)
    {
        const Addresses words = Words(*collection);
        QZDbTable::Recycle(&collection);
        EXPECT_EQ(collection, nullptr);
        return words;
    }

    static std::string Take(QZStringCollection* names)
    {
        std::string all;
        for (QZInt64 i = 0; i < names->Count(); ++i) all += Utf8(names->GetElement(i)) + ";";
        QZDbTable::Recycle(&names);
        EXPECT_EQ(names, nullptr);
        return all;
    }

    std::string NameOf(QZInt64 node)
    {
        QZString name;
        QZSNode::GetName(m_channel, node, &name);
        return Utf8(name);
    }

    QZInt64 Types() { return List(QZNodePD::GetHD(m_channel, m_table->GetHandle()))[0]; }

    QZDbTable* m_table = nullptr;
};

// An exception with a text has no code.
#define EXPECT_THROWS_TEXT(statement, text) EXPECT_QZ_THROW_MESSAGE(statement, 0, text)

TEST_F(DbTable, NewTableIsEmpty)
{
    const QZInt64 handle = QZDbTable::Create(m_channel, "people");
    EXPECT_TRUE(QZDbTable::IsDatatable(m_channel, handle));
    m_table = QZDbTable::Open(m_channel, handle);
    EXPECT_EQ(m_table->GetType(), 0x8330002);
    EXPECT_EQ(m_table->GetHandle(), handle);
    EXPECT_EQ(m_table->FieldCount(), 0);
    EXPECT_EQ(m_table->DataCount(), 0);
    EXPECT_EQ(m_table->GetKey(), nullptr);
    EXPECT_EQ(m_table->GetKeyIndex(), 0);
    EXPECT_EQ(m_table->DataGetFirst(), 0);
    EXPECT_EQ(m_table->DataGetLast(), 0);
    EXPECT_EQ(m_table->DataGet(0), 0);
    EXPECT_EQ(m_table->DataGet(1), 0);
    EXPECT_QZ_TEXT(m_table->GetName(), "people");
    EXPECT_EQ(NameOf(Types()), "TYPES");
    EXPECT_EQ(QZNodeFLD::GetState(m_channel, Types(), 2), 0);
    EXPECT_EQ(QZDbTable::KeyIndexInState, 2);
    EXPECT_EQ(QZDbTable::GET_TARGET_CONDITION_EQUAL, 0x100);
    EXPECT_EQ(QZDbTable::GET_TARGET_CONDITION_INCLUDE, 0x200);
}

TEST_F(DbTable, OpensByHandleAndPath)
{
    const QZInt64 handle = QZDbTable::Create(m_channel, QZ_W("dir/people"));
    QZString path("dir\\people");
    for (QZDbTable* table :
         {QZDbTable::Open(m_channel, handle), QZDbTable::Open(m_channel, "dir/people"),
          QZDbTable::Open(m_channel, QZ_W("dir/people")), QZDbTable::Open(m_channel, &path)})
    {
        EXPECT_EQ(table->GetHandle(), handle);
        QZDbTable::Close(&table);
        EXPECT_EQ(table, nullptr);
    }
    EXPECT_QZ_THROW(QZDbTable::Open(m_channel, 0), Code::ArgumentOutOfRange);
    EXPECT_QZ_THROW(QZDbTable::Open(m_channel, "dir"), Code::ArgumentOutOfRange);
    EXPECT_QZ_THROW(QZDbTable::Open(m_channel, "nowhere"), Code::ArgumentOutOfRange);
    EXPECT_FALSE(QZDbTable::IsDatatable(m_channel, 0));
}

TEST_F(DbTable, CreateByPathThrowsWhenAPartExists)
{
    QZDbTable::Create(m_channel, "a");
    EXPECT_QZ_THROW(QZDbTable::Create(m_channel, "a"), Code::CreateFailedTableAlreadyExists);
    EXPECT_QZ_THROW(QZDbTable::Create(m_channel, "a/b"), Code::CreateFailedTableAlreadyExists);
    EXPECT_QZ_THROW(QZDbTable::Create(m_channel, ""), Code::OperationFailed);
}

TEST_F(DbTable, CreateInADirectory)
{
    QZString path("dir");
    const QZInt64 directory = QZTable::Create(m_channel, &path, LDTYPE::FLDTYPE);
    QZString name("people");
    const QZInt64 handle = QZDbTable::Create(m_channel, directory, &name);
    EXPECT_TRUE(QZDbTable::IsDatatable(m_channel, handle));
    EXPECT_EQ(NameOf(handle), "people");
    EXPECT_THROWS_TEXT(QZDbTable::Create(m_channel, directory, &name), "名为的表已经存在");
    EXPECT_EQ(Take(QZDbTable::GetDatatableNamesFromDir(m_channel, &path)), "people;");
    EXPECT_EQ(Take(QZDbTable::GetDatatableNamesFromRoot(m_channel)), "");
    QZString nowhere("nowhere");
    EXPECT_EQ(Take(QZDbTable::GetDatatableNamesFromDir(m_channel, &nowhere)), "");
    QZDbTable::Create(m_channel, "root");
    EXPECT_EQ(Take(QZDbTable::GetDatatableNamesFromRoot(m_channel)), "root;");
}

TEST_F(DbTable, TablesOfTheStandardDirectory)
{
    QZObjectCollection* tables = QZDbTable::GetDataTables(m_channel);
    EXPECT_EQ(tables->Count(), 0);
    QZDbTable::Recycle(&tables);
    EXPECT_EQ(tables, nullptr);
    const QZInt64 directory = List(m_channel->G_TA(3))[0];
    EXPECT_EQ(NameOf(directory), "DATATABLE");
    EXPECT_EQ(QZSNode::GetNodeType(m_channel, directory), LDTYPE::FLDTYPE);
    QZString name("one");
    const QZInt64 handle = QZDbTable::Create(m_channel, directory, &name);
    QZTable(m_channel, directory).CreateFLD(&name);
    tables = QZDbTable::GetDataTables(m_channel);
    ASSERT_EQ(tables->Count(), 1);
    QZDbTable* table = static_cast<QZDbTable*>(tables->GetElement(0));
    // Recycling the collection does not close its tables.
    QZDbTable::Recycle(&tables);
    EXPECT_EQ(tables, nullptr);
    EXPECT_EQ(table->GetHandle(), handle);
    QZDbTable::Close(&table);
}

TEST_F(DbTable, NullArgumentsCallTheAssertHook)
{
    static int asserts;
    asserts = 0;
    QZLibSetFunctionAssert([](QZBool condition) { asserts += condition ? 0 : 1; });
    QZDbTable* table = nullptr;
    QZStringCollection* names = nullptr;
    QZObjectCollection* tables = nullptr;
    QZCollection* handles = nullptr;
    QZData* data = nullptr;
    QZString* text = nullptr;
    QZDataTable* memory = nullptr;
    QZDbTable::Close(&table);
    QZDbTable::Recycle(&names);
    QZDbTable::Recycle(&tables);
    QZDbTable::Recycle(&handles);
    QZDbTable::Recycle(&data);
    QZDbTable::Recycle(&text);
    QZDbTable::Recycle(&memory);
    EXPECT_EQ(asserts, 7);
    QZTable::Recycle(&handles);
    QZTable::Recycle(&text);
    QZTable::Recycle(&tables);
    EXPECT_EQ(asserts, 10);
    QZSNode::Recycle(&text);
    QZSNode::Recycle(&data);
    EXPECT_EQ(asserts, 12);
    QZLibSetFunctionAssert(FailOnFailedAssertion);
}

TEST_F(DbTable, TracesShowTheArguments)
{
    Open3();
    QZString unknown("x");
    QZData data("\x01\xFF", 2);
    Thrown thrown = Catch([&] { m_table->FieldMove(&unknown, -2); });
    EXPECT_EQ(thrown.stackTrace, "QZDbTable::FieldMove(QZString*, QZInt64)");
    EXPECT_EQ(thrown.argumentTrace, "QZDbTable::FieldMove(x, -2)");
    thrown = Catch([&] { m_table->DataAdd(&data); });
    EXPECT_EQ(thrown.stackTrace, "QZDbTable::DataAdd(QZData*)");
    EXPECT_EQ(thrown.argumentTrace, "QZDbTable::DataAdd(<HEX>01FF)");
    thrown = Catch([&] { m_table->DataSetValue(7, 0, &data); });
    EXPECT_EQ(thrown.stackTrace, "QZDbTable::DataSetValue(QZInt64, QZInt64, QZData*)");
    EXPECT_EQ(thrown.argumentTrace, "QZDbTable::DataSetValue(7, 0, <HEX>01FF)");
    thrown = Catch([&] { QZDbTable::Open(m_channel, 0); });
    EXPECT_EQ(thrown.stackTrace, "QZDbTable::Open(QZChannel*, QZInt64)");
    thrown = Catch([&] { QZDbTable::Create(m_channel, "people"); });
    EXPECT_EQ(thrown.stackTrace, "QZDbTable::Create(QZChannel*, QZString*)");
}

// ---- Schema

TEST_F(DbTable, Fields)
{
    Open3();
    EXPECT_EQ(m_table->FieldCount(), 3);
    EXPECT_EQ(Take(m_table->GetFieldsName()), "id;name;marks;");
    EXPECT_EQ(Take(m_table->GetFieldName(2)), "name");
    EXPECT_THROWS_TEXT(m_table->GetFieldName(0), "错误的参数");
    EXPECT_EQ(m_table->GetFieldType(3), QZDataType::ARRAYINT32);
    QZString upper("NAME");
    EXPECT_EQ(m_table->GetFieldType(&upper), QZDataType::TEXTUTF16LE);
    QZString unknown("x");
    EXPECT_THROWS_TEXT(m_table->GetFieldType(&unknown), "找不到字段");
    EXPECT_THROWS_TEXT(m_table->SetFieldName(1, &upper), "字段已经存在");
    EXPECT_TRUE(m_table->SetFieldName(2, &unknown));
    EXPECT_EQ(Take(m_table->GetFieldsName()), "id;x;marks;");
    EXPECT_TRUE(m_table->SetFieldName(4, &upper));
    EXPECT_EQ(m_table->FieldCount(), 4);
    EXPECT_QZ_THROW(m_table->GetFieldType(4), 1024);
    EXPECT_THROWS_TEXT(m_table->FieldAdd(&upper, QZDataType::INT64), "字段已经存在");
}

TEST_F(DbTable, ValuesAsText)
{
    Open3();
    QZString text("12");
    QZString id("id");
    QZString unknown("x");
    const std::unique_ptr<QZData> data(m_table->ValuesConvert(&id, &text));
    EXPECT_EQ(data->GetSize(), 8);
    EXPECT_EQ(data->GetValueInt64(0), 12);
    EXPECT_EQ(Take(m_table->ValuesConvert(&id, data.get())), "12");
    EXPECT_THROWS_TEXT(m_table->ValuesConvert(&unknown, &text), "找不到字段!");
    EXPECT_THROWS_TEXT(m_table->ValuesConvert(&unknown, data.get()), "找不到字段!");
}

TEST_F(DbTable, Keys)
{
    Open3();
    QZString name("name");
    QZString unknown("x");
    EXPECT_THROWS_TEXT(m_table->SetKeyToName(), "未设置m_key");
    EXPECT_THROWS_TEXT(m_table->SetKey(&unknown), "字段不存在");
    EXPECT_TRUE(m_table->SetKey(&name));
    EXPECT_EQ(m_table->GetKeyIndex(), 2);
    EXPECT_EQ(Take(m_table->GetKey()), "name");
    EXPECT_EQ(QZNodeFLD::GetState(m_channel, Types(), 2), 2);
    QZString empty;
    EXPECT_TRUE(m_table->SetKey(&empty));
    EXPECT_EQ(m_table->GetKeyIndex(), 0);
    m_table->SetKey(&name);
    EXPECT_TRUE(m_table->SetKey(nullptr));
    EXPECT_EQ(m_table->GetKey(), nullptr);
}

TEST_F(DbTable, RowsMayHaveEqualKeys)
{
    Open3();
    QZString id("id");
    QZString value("7");
    const std::unique_ptr<QZData> data(m_table->ValuesConvert(1, &value));
    EXPECT_THROWS_TEXT(m_table->DataAdd(data.get()), "此表未设置主键，请使用其他重载方法！");
    EXPECT_THROWS_TEXT(m_table->DataAdd(&value), "此表未设置主键，请使用其他重载方法！");
    m_table->SetKey(&id);
    EXPECT_THROWS_TEXT(m_table->DataAdd(), "此表已设置主键，请使用其他重载方法！");
    const QZInt64 first = m_table->DataAdd(data.get());
    const QZInt64 second = m_table->DataAdd(&value);
    EXPECT_EQ(m_table->DataCount(), 2);
    EXPECT_EQ(Value(first, 1), "7");
    EXPECT_EQ(Value(second, 1), "7");
    EXPECT_EQ(NameOf(first), "");
    Set(second, 1, "7");
    EXPECT_TRUE(m_table->SetKeyToName());
    EXPECT_EQ(NameOf(first), "7");
    EXPECT_EQ(NameOf(second), "7");
}

TEST_F(DbTable, FieldMoveMovesTheKey)
{
    Open3();
    QZString id("id");
    QZString unknown("x");
    const QZInt64 row = Row("1", "n");
    m_table->SetKey(&id);
    EXPECT_THROWS_TEXT(m_table->FieldMove(&unknown, 1), "字段不存在");
    EXPECT_TRUE(m_table->FieldMove(&id, 1));
    EXPECT_EQ(Take(m_table->GetFieldsName()), "name;id;marks;");
    EXPECT_EQ(m_table->GetFieldType(1), QZDataType::TEXTUTF16LE);
    EXPECT_EQ(m_table->GetKeyIndex(), 2);
    EXPECT_EQ(Value(row, 1), "n");
    EXPECT_EQ(Value(row, 2), "1");
}

TEST_F(DbTable, FieldDeleteKeepsTheDataInPlace)
{
    Open3();
    QZString id("id");
    QZString unknown("x");
    const QZInt64 row = Row("1", "n");
    m_table->SetKey(&id);
    EXPECT_THROWS_TEXT(m_table->FieldDelete(&unknown), "字段不存在");
    EXPECT_TRUE(m_table->FieldDelete(&id));
    EXPECT_EQ(m_table->GetKeyIndex(), 0);
    EXPECT_EQ(Take(m_table->GetFieldsName()), "id;name;");
    EXPECT_EQ(m_table->GetFieldType(1), QZDataType::TEXTUTF16LE);
    const std::unique_ptr<QZData> value(m_table->DataGetValue(row, 1));
    EXPECT_EQ(value->GetValueInt64(0), 1);
}

// ---- Table

TEST_F(DbTable, NameIsCachedWhenTheTableIsOpened)
{
    Open3();
    QZString other("other");
    m_table->SetName(&other);
    m_table->SetText(&other);
    m_table->Refersh();
    EXPECT_QZ_TEXT(m_table->GetName(), "people");
    EXPECT_QZ_TEXT(m_table->GetText(), "other");
    EXPECT_EQ(NameOf(m_table->GetHandle()), "other");
    QZDateTime* created = m_table->GetCreateDate();
    EXPECT_GE(created->GetYear(), 2020);
    QZConvert::Recycle(&created);
    EXPECT_QZ_THROW(m_table->GetChangedDate(), 256);
}

TEST_F(DbTable, NeighboursAndMoving)
{
    const QZInt64 a = QZDbTable::Create(m_channel, "a");
    const QZInt64 b = QZDbTable::Create(m_channel, "b");
    m_table = QZDbTable::Open(m_channel, a);
    EXPECT_EQ(m_table->GetNext(), b);
    EXPECT_EQ(m_table->GetPrev(), 0);
    m_table->Move(1);
    EXPECT_EQ(m_table->GetPrev(), b);
    m_table->Move(-1);
    EXPECT_EQ(m_table->GetNext(), b);
}

TEST_F(DbTable, RemovedTableStaysInItsDirectory)
{
    Open3();
    Row("1", "n");
    const QZInt64 handle = m_table->GetHandle();
    EXPECT_TRUE(m_table->Remove());
    EXPECT_EQ(List(m_channel->G_TA(3)), (Addresses{handle}));
    EXPECT_EQ(m_table->DataCount(), 1);
}

// ---- Rows

TEST_F(DbTable, RowsInOrder)
{
    Open3();
    const QZInt64 a = Row("1", "a");
    const QZInt64 b = Row("2", "b");
    const QZInt64 c = Row("3", "c");
    EXPECT_EQ(NameOf(a), "ROW");
    EXPECT_NE(QZNodePD::GetHD(m_channel, a), 0);
    EXPECT_EQ(Take(m_table->GetHandles()), (Addresses{a, b, c}));
    EXPECT_EQ(m_table->DataCount(), 3);
    EXPECT_EQ(m_table->DataGet(0), 0);
    EXPECT_EQ(m_table->DataGet(1), a);
    EXPECT_EQ(m_table->DataGet(3), c);
    EXPECT_EQ(m_table->DataGet(4), 0);
    EXPECT_EQ(m_table->DataGetFirst(), a);
    EXPECT_EQ(m_table->DataGetLast(), c);
    EXPECT_EQ(m_table->DataGetNext(a), b);
    EXPECT_EQ(m_table->DataGetNext(c), 0);
    EXPECT_EQ(m_table->DataGetPrev(b), a);
    EXPECT_EQ(m_table->DataGetPrev(a), 0);
    EXPECT_EQ(m_table->DataGetSN(b), 2);
    QZDateTime* created = m_table->DataGetCreateDate(a);
    EXPECT_GE(created->GetYear(), 2020);
    QZConvert::Recycle(&created);
    EXPECT_QZ_THROW(m_table->DataGetChangeDate(a), 256);
    QZString name("name");
    EXPECT_TRUE(m_table->SetValueToName(&name));
    EXPECT_EQ(NameOf(a) + NameOf(b) + NameOf(c), "abc");
    QZString unknown("x");
    EXPECT_THROWS_TEXT(m_table->SetValueToName(&unknown), "字段不存在");
}

TEST_F(DbTable, DataMoveMovesTowardsTheEndForEitherSign)
{
    Open3();
    const QZInt64 a = Row("1", "a");
    const QZInt64 b = Row("2", "b");
    const QZInt64 c = Row("3", "c");
    m_table->DataMove(a, 1);
    EXPECT_EQ(Take(m_table->GetHandles()), (Addresses{b, a, c}));
    m_table->DataMove(a, -1);
    EXPECT_EQ(Take(m_table->GetHandles()), (Addresses{b, c, a}));
    m_table->DataMove(b, -5);
    EXPECT_EQ(Take(m_table->GetHandles()), (Addresses{b, c, a}));
    m_table->DataSetSN(b, 3);
    EXPECT_EQ(Take(m_table->GetHandles()), (Addresses{c, a, b}));
    m_table->DataSetSN(a, 1);
    EXPECT_EQ(Take(m_table->GetHandles()), (Addresses{c, b, a}));
}

TEST_F(DbTable, Values)
{
    Open3();
    const QZInt64 row = m_table->DataAdd();
    QZString text("x");
    EXPECT_THROWS_TEXT(m_table->DataSetValue(row, 0, &text), "错误的字段索引");
    QZData data("x", 1);
    EXPECT_THROWS_TEXT(m_table->DataSetValue(row, 0, &data), "错误的字段索引");
    EXPECT_EQ(QZNodeFLD::GetDataType(m_channel, row, 1), QZDataType::INT64);
    Set(row, 1, "-5");
    EXPECT_EQ(Value(row, 1), "-5");
    EXPECT_QZ_THROW(m_table->DataGetValueInt32(row, 3), 1024);
    SetWords(row, 3, {1, 42});
    EXPECT_EQ(m_table->DataGetValueInt32(row, 3), 42);
    SetWords(row, 3, {2, 42, 43});
    EXPECT_EQ(m_table->DataGetValueInt32(row, 3), 0);
}

TEST_F(DbTable, RemovedRowIsGone)
{
    Open3();
    const QZInt64 a = Row("1", "a");
    const QZInt64 b = Row("2", "b");
    EXPECT_TRUE(m_table->DataRemove(a));
    EXPECT_EQ(Take(m_table->GetHandles()), (Addresses{b}));
}

TEST_F(DbTable, SearchFindsNothing)
{
    Open3();
    Row("7", "a");
    QZString id("id");
    QZString unknown("x");
    QZString seven("7");
    QZData data(8);
    EXPECT_TRUE(Take(m_table->GetTargetsAddrCollection(1, 7)).empty());
    EXPECT_TRUE(Take(m_table->GetTargetsAddrCollection(1, &seven)).empty());
    EXPECT_TRUE(Take(m_table->GetTargetsAddrCollection(&id, &seven)).empty());
    EXPECT_TRUE(Take(m_table->GetTargetsAddrCollection(&id, 7)).empty());
    EXPECT_TRUE(Take(m_table->GetTargetsAddrCollection(&id, &data)).empty());
    EXPECT_THROWS_TEXT(m_table->GetTargetsAddrCollection(&unknown, 7), "错误的字段索引");
    EXPECT_THROWS_TEXT(m_table->GetTargetsAddrCollection(&unknown, &seven), "错误的字段索引");
    EXPECT_THROWS_TEXT(m_table->GetTargetsAddrCollection(&unknown, &data), "错误的字段索引");
    for (const int field : {0, -1, 4})
    {
        EXPECT_THROWS_TEXT(m_table->GetTargetsAddrCollection(field, 7), "错误的字段索引");
        EXPECT_THROWS_TEXT(m_table->GetTargetsAddrCollection(field, &seven), "错误的字段索引");
        EXPECT_THROWS_TEXT(m_table->GetTargetsAddrCollection(field, &data), "错误的字段索引");
    }
}

TEST_F(DbTable, Sums)
{
    Open3();
    const QZInt64 wide = Add("wide", QZDataType::ARRAYINT64);
    QZString marks("marks");
    QZString wideName("wide");
    QZString id("id");
    QZString unknown("x");
    QZData values(24);
    values.SetValueInt64(0, 2);
    values.SetValueInt64(1, 5000000000);
    values.SetValueInt64(2, -1);
    for (int i = 0; i < 2; ++i)
    {
        const QZInt64 row = Row("9", "a");
        SetWords(row, 3, {2, 2147483647, -3});
        m_table->DataSetValue(row, wide, &values);
    }
    EXPECT_EQ(m_table->Sum(&marks), 4294967288);
    EXPECT_EQ(m_table->Sum(&wideName), 9999999998);
    EXPECT_EQ(m_table->Sum(&id), 0);
    EXPECT_THROWS_TEXT(m_table->Sum(&unknown), "找不到字段");
}

TEST_F(DbTable, ByteOrder)
{
    QZData a("ab", 2);
    QZData b("abc", 3);
    QZData c("b", 1);
    QZData high("\xFF", 1);
    EXPECT_EQ(QZDbTable::com_biger(&a, &b), 0);
    EXPECT_EQ(QZDbTable::com_biger(&b, &a), 1);
    EXPECT_EQ(QZDbTable::com_biger(&c, &b), 1);
    EXPECT_EQ(QZDbTable::com_biger(&high, &c), 1);
    EXPECT_EQ(QZDbTable::com_biger(&a, &a), 0);
}

TEST_F(DbTable, ArrangementByLettersMovesSmallerRowsTowardsTheEnd)
{
    Open3();
    const QZInt64 b = Row("1", "b");
    const QZInt64 a = Row("2", "a");
    QZString name("name");
    QZString unknown("x");
    EXPECT_THROWS_TEXT(m_table->ArrangementByLetters(&unknown), "错误的字段索引");
    // The smaller row is moved to the end, where it is already.
    EXPECT_TRUE(m_table->ArrangementByLetters(&name));
    EXPECT_EQ(Take(m_table->GetHandles()), (Addresses{b, a}));
    // c is the last row; a, the second one, is moved one position towards the end.
    const QZInt64 c = Row("3", "c");
    EXPECT_TRUE(m_table->ArrangementByLetters(&name));
    EXPECT_EQ(Take(m_table->GetHandles()), (Addresses{b, c, a}));
}

TEST_F(DbTable, ArrangementByTimeWorksForOneRowOnly)
{
    Open3();
    QZString name("name");
    QZString marks("marks");
    QZString unknown("x");
    EXPECT_THROWS_TEXT(m_table->ArrangementByTime(&unknown), "找不到字段");
    EXPECT_FALSE(m_table->ArrangementByTime(&name));
    const QZInt64 before = QZNodePD::GetHD(m_channel, m_table->GetHandle());
    const QZInt64 row = Row("1", "a");
    EXPECT_TRUE(m_table->ArrangementByTime(&marks));
    EXPECT_NE(QZNodePD::GetHD(m_channel, m_table->GetHandle()), before);
    EXPECT_EQ(m_table->DataGetFirst(), row);
    EXPECT_EQ(m_table->DataCount(), 1);
    EXPECT_TRUE(List(before).empty());
    Row("2", "b");
    EXPECT_QZ_THROW(m_table->ArrangementByTime(&marks), 1024);
}

// ---- Tables in memory

TEST_F(DbTable, Select)
{
    Open3();
    const QZInt64 a = Row("1", "a");
    const QZInt64 b = Row("2", "b");
    const QZInt64 c = Row("3", "c");
    const auto handles = [&](QZDataTable* table) {
        Addresses rows;
        for (QZInt64 i = 0; i < table->Rows->Count(); ++i) rows.push_back(table->Rows->GetRow(i)->Handle);
        QZDbTable::Recycle(&table);
        EXPECT_EQ(table, nullptr);
        return rows;
    };
    EXPECT_EQ(handles(m_table->Select()), (Addresses{a, b, c}));
    EXPECT_EQ(handles(m_table->Select(2)), (Addresses{a, b}));
    EXPECT_EQ(handles(m_table->Select(-1)), (Addresses{c}));
    EXPECT_EQ(handles(m_table->Select(-9)), (Addresses{c, b, a}));

    QZDataTable* table = m_table->Select(0);
    EXPECT_EQ(table->Rows->Count(), 0);
    EXPECT_EQ(table->Columns->Count(), 3);
    EXPECT_QZ_TEXT(table->GetName(), "people");
    EXPECT_QZ_TEXT(table->Columns->GetColumn(1), "name");
    EXPECT_EQ(table->Columns->GetElementType(2), QZDataType::ARRAYINT32);
    QZDbTable::Recycle(&table);

    table = m_table->Select(1);
    EXPECT_EQ(table->Rows->GetRow(0)->GetElement("id")->GetValueInt64(0), 1);
    QZDbTable::Recycle(&table);
}

TEST_F(DbTable, InsertAndUpdate)
{
    Open3();
    QZDataTable memory;
    memory.Columns->Add("ID", QZDataType::INT64);
    memory.Columns->Add("name", QZDataType::TEXTUTF16LE);
    QZDataRow* row = memory.Rows->NewRow();
    QZString id("5");
    row->SetElement(0, &id);
    EXPECT_EQ(m_table->Insert(&memory), 1);
    const QZInt64 handle = row->Handle;
    EXPECT_EQ(m_table->DataGetFirst(), handle);
    EXPECT_EQ(Value(handle, 1), "5");
    EXPECT_EQ(Value(handle, 2), "");

    QZString name("new");
    row->SetElement(1, &name);
    QZDataRow* added = memory.Rows->NewRow();
    EXPECT_EQ(m_table->Update(&memory), 2);
    EXPECT_EQ(row->Handle, handle);
    EXPECT_EQ(m_table->DataCount(), 2);
    EXPECT_EQ(added->Handle, m_table->DataGetLast());
    EXPECT_EQ(Value(handle, 2), "new");

    QZDataTable wrong;
    wrong.Columns->Add("id", QZDataType::INT32);
    wrong.Rows->NewRow();
    EXPECT_THROWS_TEXT(m_table->Insert(&wrong), "列 id 的数据类型不同");
    QZDataTable missing;
    missing.Columns->Add("x", QZDataType::INT32);
    missing.Rows->NewRow();
    EXPECT_THROWS_TEXT(m_table->Update(&missing), "不存在的列 x");
    // The row was added before its columns were checked.
    EXPECT_EQ(m_table->DataCount(), 4);
    EXPECT_EQ(missing.Rows->GetRow(0)->Handle, m_table->DataGetLast());
    QZString key("id");
    m_table->SetKey(&key);
    EXPECT_THROWS_TEXT(m_table->Insert(&memory), "此表已设置主键，请使用其他重载方法！");
    EXPECT_EQ(m_table->Update(&memory), 2);
}

}  // namespace
}  // namespace qztest
