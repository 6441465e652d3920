#include "fw/fw_table.h"

#include <memory>

#include "fw/assert_watch.h"
#include "fw/fw_data_factory.h"
#include "fw/fw_data_type.h"
#include "fw/fw_library.h"
#include "fw/fw_string.h"
#include "fw/fw_value.h"
#include "fw/internal/fw_hooks.h"
#include "support/qz_test.h"

namespace
{

/// A table of a number, a text and bytes.
class Table : public ::testing::Test
{
protected:
    Table()
    {
        m_table.Columns->Add("number", QZDataType::INT32);
        m_table.Columns->Add(QZ_W("Text"), QZDataType::TEXTUTF8);
        QZString bytes(QZ_W("bytes"));
        m_table.Columns->Add(&bytes, QZDataType::BINARY);
    }

    QZDataTable m_table;
};

std::string Bytes(QZData* data)
{
    return data != nullptr ? qztest::Hex(data->GetPointer(), static_cast<std::size_t>(data->GetSize()))
                           : "null";
}

TEST(EmptyTable, HasNoColumnsRowsOrName)
{
    QZDataTable table;
    EXPECT_EQ(table.Columns->Count(), 0);
    EXPECT_EQ(table.Rows->Count(), 0);
    EXPECT_QZ_TEXT(table.GetName(), "");
    EXPECT_EQ(table.GetType(), 0x81FC000);
    EXPECT_EQ(table.Columns->GetType(), 0x81FE000);
    EXPECT_EQ(table.Rows->GetType(), 0x81FD000);
    EXPECT_EQ(QZDataRow::Type, 0x81FB000);
}

TEST(EmptyTable, RowsWithoutColumnsHaveNoValues)
{
    QZDataTable table;
    QZDataRow* row = table.Rows->NewRow();
    EXPECT_EQ(row->Handle, 0);
    EXPECT_EQ(row->GetType(), 0x81FB000);
    EXPECT_QZ_THROW(row->GetElement(0), 1024);
}

TEST_F(Table, NameInThreeForms)
{
    QZString name(QZ_W("first"));
    m_table.SetName(&name);
    EXPECT_QZ_TEXT(m_table.GetName(), "first");
    m_table.SetName("second");
    EXPECT_QZ_TEXT(m_table.GetName(), "second");
    m_table.SetName(QZ_W("third"));
    EXPECT_QZ_TEXT(m_table.GetName(), "third");
    EXPECT_EQ(m_table.GetName()->IsDisposable(), 0);
    EXPECT_EQ(m_table.GetName()->SetDisposable(m_table.GetObjectID() + 1, 1), 0);
}

TEST_F(Table, ColumnsByIndexAndByName)
{
    EXPECT_EQ(m_table.Columns->Count(), 3);
    EXPECT_QZ_TEXT(m_table.Columns->GetColumn(0), "number");
    EXPECT_QZ_TEXT(m_table.Columns->GetColumn(1), "Text");
    EXPECT_EQ(m_table.Columns->GetColumn(3), nullptr);
    EXPECT_EQ(m_table.Columns->GetColumn(-1), nullptr);
    EXPECT_EQ(m_table.Columns->GetIndex("NUMBER"), 0);
    EXPECT_EQ(m_table.Columns->GetIndex(QZ_W("text")), 1);
    QZString bytes(QZ_W("Bytes"));
    EXPECT_EQ(m_table.Columns->GetIndex(&bytes), 2);
    EXPECT_EQ(m_table.Columns->GetIndex("missing"), -1);
    EXPECT_QZ_THROW(m_table.Columns->GetIndex(static_cast<QZString*>(nullptr)), 1792);
    EXPECT_EQ(m_table.Columns->GetElementType(0), QZDataType::INT32);
    EXPECT_EQ(m_table.Columns->GetElementType(1), QZDataType::TEXTUTF8);
    EXPECT_QZ_THROW(m_table.Columns->GetElementType(3), 1024);
    EXPECT_QZ_THROW(m_table.Columns->GetElementType(-1), 1024);
}

TEST_F(Table, ColumnNamesAreUniqueAndNotEmpty)
{
    EXPECT_QZ_THROW(m_table.Columns->Add("TEXT", QZDataType::INT8), 2304);
    EXPECT_QZ_THROW(m_table.Columns->Add("", QZDataType::INT8), 2048);
    EXPECT_QZ_THROW(m_table.Columns->Add(static_cast<QZString*>(nullptr), QZDataType::INT8), 2048);
    EXPECT_EQ(m_table.Columns->Count(), 3);
    EXPECT_EQ(m_table.Columns->Add("more", QZDataType::INT8), 1);
    EXPECT_EQ(m_table.Columns->GetElementType(3), QZDataType::INT8);
}

TEST_F(Table, NewRowIsEmptyAndLocked)
{
    QZDataRow* row = m_table.Rows->NewRow();
    EXPECT_EQ(m_table.Rows->Count(), 1);
    EXPECT_EQ(m_table.Rows->GetRow(0), row);
    for (int i = 0; i < 3; ++i) EXPECT_EQ(row->GetElement(i), nullptr);
    EXPECT_QZ_THROW(row->GetElement(3), 1024);
    EXPECT_QZ_THROW(m_table.Rows->GetRow(1), 1024);
    EXPECT_QZ_THROW(m_table.Rows->GetRow(-1), 1024);
    EXPECT_EQ(row->IsDisposable(), 0);
    EXPECT_EQ(row->SetDisposable(m_table.Rows->GetObjectID(), 1), 1);
    row->SetDisposable(m_table.Rows->GetObjectID(), 0);
}

TEST_F(Table, ValuesByName)
{
    QZDataRow* row = m_table.Rows->NewRow();
    QZDataInt32 number;
    number.SetValue(7);
    QZString name(QZ_W("Number"));
    EXPECT_EQ(row->SetElement(&name, &number), 1);
    EXPECT_EQ(Bytes(row->GetElement("number")), "07 00 00 00");
    number.SetValue(8);
    row->SetElement("number", &number);
    EXPECT_EQ(Bytes(row->GetElement(QZ_W("NUMBER"))), "08 00 00 00");
    number.SetValue(9);
    row->SetElement(QZ_W("number"), &number);
    EXPECT_EQ(Bytes(row->GetElement(&name)), "09 00 00 00");
    EXPECT_QZ_THROW(row->GetElement("missing"), 1024);
    EXPECT_QZ_THROW(row->SetElement("missing", &number), 1024);
    name.Set("missing");
    EXPECT_QZ_THROW(row->SetElement(&name, &name), 1024);
}

TEST_F(Table, FirstValueGetsTheClassOfItsColumn)
{
    QZDataRow* row = m_table.Rows->NewRow();
    QZData source("\x01\x02", 2);
    EXPECT_EQ(row->SetElement(0, &source), 1);
    QZData* value = row->GetElement(0);
    EXPECT_EQ(value->GetType(), QZDataInt32::Type);
    EXPECT_EQ(Bytes(value), "01 02") << "the bytes are copied from the source";
    source.NewSize(1);
    EXPECT_EQ(Bytes(value), "01 02");
    row->SetElement(0, &source);
    EXPECT_EQ(row->GetElement(0), value) << "the object is reused";
    EXPECT_EQ(Bytes(value), "01");
    EXPECT_QZ_THROW(row->SetElement(1, static_cast<QZData*>(nullptr)), 256);
    EXPECT_EQ(row->GetElement(1), nullptr);
    EXPECT_QZ_THROW(row->SetElement(3, &source), 1024);
}

TEST_F(Table, ValueSetToItselfBecomesEmpty)
{
    QZDataRow* row = m_table.Rows->NewRow();
    QZData source("\x01\x02", 2);
    row->SetElement(2, &source);
    row->SetElement(2, row->GetElement(2));
    EXPECT_EQ(Bytes(row->GetElement(2)), "");
}

TEST_F(Table, ValuesFromText)
{
    QZDataRow* row = m_table.Rows->NewRow();
    QZString text(QZ_W("-2"));
    EXPECT_EQ(row->SetElement(0, &text), 1);
    EXPECT_EQ(row->GetElement(0)->GetType(), QZDataInt32::Type);
    EXPECT_EQ(Bytes(row->GetElement(0)), "FE FF FF FF");
    text.Set("ab");
    QZString name(QZ_W("text"));
    row->SetElement(&name, &text);
    EXPECT_EQ(Bytes(row->GetElement(1)), "61 62");
    row->SetElement(2, &text);
    EXPECT_EQ(Bytes(row->GetElement(2)), "AB");
    text.Set("12");
    row->SetElement(0, &text);
    EXPECT_EQ(Bytes(row->GetElement(0)), "0C 00 00 00");
    EXPECT_QZ_THROW(row->SetElement(3, &text), 1024);
    EXPECT_QZ_THROW(row->SetElement(-1, &text), 1024);
}

TEST_F(Table, AddAppendsAValueWithoutAColumn)
{
    QZDataRow* row = m_table.Rows->NewRow();
    row->Add();
    EXPECT_EQ(row->GetElement(3), nullptr);
    QZData source("\x01", 1);
    EXPECT_QZ_THROW(row->SetElement(3, &source), 1024);
}

TEST_F(Table, RecycledRowIsRemovedButNotDeleted)
{
    QZDataRow* first = m_table.Rows->NewRow();
    QZDataRow* second = m_table.Rows->NewRow();
    QZDataRow* variable = first;
    m_table.Rows->Recycle(&variable);
    EXPECT_EQ(variable, nullptr);
    EXPECT_EQ(m_table.Rows->Count(), 1);
    EXPECT_EQ(m_table.Rows->GetRow(0), second);
    EXPECT_EQ(first->IsDisposable(), 0) << "the row is still locked";
    EXPECT_EQ(first->GetElement(0), nullptr) << "the row still exists";
    variable = first;
    EXPECT_QZ_THROW_MESSAGE(m_table.Rows->Recycle(&variable), 6144, " OperationFailed");
    EXPECT_EQ(variable, first);
    first->SetDisposable(m_table.Rows->GetObjectID(), 1);
    delete first;
}

TEST_F(Table, RowsAreDeletedWhenAColumnIsAdded)
{
    QZDataRow* first = m_table.Rows->NewRow();
    m_table.Rows->NewRow();
    QZString text(QZ_W("5"));
    first->SetElement(0, &text);
    QZSetLastError(0);
    {
        qztest::AssertWatch watch;
        EXPECT_EQ(m_table.Columns->Add("late", QZDataType::INT8), 1);
        EXPECT_EQ(watch.Count(), 2) << "one failed assertion for each row";
    }
    EXPECT_EQ(QZLastError, 1280);
    EXPECT_EQ(m_table.Rows->Count(), 2) << "the collection still counts the deleted rows";
    EXPECT_EQ(m_table.Columns->Count(), 4);
    QZDataRow* late = m_table.Rows->NewRow();
    EXPECT_EQ(late->GetElement(3), nullptr);
}

TEST_F(Table, RowsAreDeletedBeforeTheNewColumnNameIsChecked)
{
    m_table.Rows->NewRow();
    qztest::AssertWatch watch;
    EXPECT_QZ_THROW(m_table.Columns->Add("text", QZDataType::INT8), 2304);
    EXPECT_EQ(watch.Count(), 1);
    EXPECT_EQ(m_table.Columns->Count(), 3);
}

TEST_F(Table, RecycleOfNullFailsAnAssertion)
{
    qztest::AssertWatch watch;
    QZDataRow* row = nullptr;
    m_table.Rows->Recycle(&row);
    EXPECT_EQ(watch.Count(), 1);
}

TEST_F(Table, ValuesAreRecycledWithTheTable)
{
    QZDataFactory::Collect(0);
    const QZInt64 before = QZDataFactory::GetMemorySize();
    {
        QZDataTable table;
        table.Columns->Add("a", QZDataType::INT64);
        QZString text(QZ_W("5"));
        table.Rows->NewRow()->SetElement(0, &text);
        table.Rows->NewRow();
        table.Rows->NewRow()->SetElement(0, &text);
        QZDataFactory::Collect(0);
        EXPECT_EQ(QZDataFactory::GetMemorySize(), before);
    }
    QZDataInt64 one;
    EXPECT_EQ(QZDataFactory::GetMemorySize(), before + 2 * one.GetMemorySize());
}

TEST_F(Table, CopySharesColumnsAndRows)
{
    auto table = std::make_unique<QZDataTable>();
    table->Columns->Add("a", QZDataType::INT8);
    QZDataTable copy(*table);
    table->Rows->NewRow();
    table.reset();
    EXPECT_EQ(copy.Rows->Count(), 1);
    copy.Rows->NewRow();
    EXPECT_EQ(copy.Rows->Count(), 2);
    EXPECT_QZ_TEXT(copy.Columns->GetColumn(0), "a");
}

QZInt64 g_moved;
void (*g_copy)(void*, void*, QZInt64);
void (*g_move)(void*, void*, QZInt64);

TEST_F(Table, BytesMovedAreProportionalToTheRows)
{
    g_moved = 0;
    g_copy = g_qzMemCopy;
    g_move = g_qzMemMove;
    QZLibSetFunctionMemCopy([](void* to, void* from, QZInt64 size) {
        g_moved += size;
        g_copy(to, from, size);
    });
    QZLibSetFunctionMemMove([](void* to, void* from, QZInt64 size) {
        g_moved += size;
        g_move(to, from, size);
    });
    const int kRows = 20000;
    {
        QZDataTable table;
        for (int i = 0; i < kRows; ++i) table.Rows->NewRow();
        EXPECT_EQ(table.Rows->Count(), kRows);
    }
    QZLibSetFunctionMemCopy(g_copy);
    QZLibSetFunctionMemMove(g_move);
    // Removing each row at the front of the list would move 10000 words per row on average.
    EXPECT_LT(g_moved, kRows * 8 * 4);
}

}  // namespace
