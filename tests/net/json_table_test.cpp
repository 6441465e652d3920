// JSON to tables and back.

#include "fw/fw_convert.h"
#include "fw/fw_data.h"
#include "fw/fw_data_type.h"
#include "fw/fw_table.h"
#include "json_support.h"

using qztest::ParseAs;
using qztest::Taken;

namespace
{
std::string Cell(QZDataTable* table, QZInt64 row, QZInt64 column)
{
    QZData* data = table->Rows->GetRow(row)->GetElement(column);
    return data != nullptr ? Taken(QZConvert::DataToText(data, table->Columns->GetElementType(column)))
                           : "<null>";
}

TEST(JsonTable, ColumnsAreInOrderOfFirstAppearance)
{
    auto* list = ParseAs<QZJsonValueCollection>(
        R"([{"b":true,"n":7,"none":null},{"d":1.5,"t":"x y","B":false,"sub":{},"arr":[]},{"none":"late"}])");
    QZDataTable* table = QZJsonFactory::Json2DataTable(list);
    QZJsonFactory::Recycle(&list);
    ASSERT_EQ(table->Columns->Count(), 5);
    const char* names[] = {"b", "n", "d", "t", "none"};
    const QZInt64 types[] = {QZDataType::BOOL, QZDataType::INT64, QZDataType::DOUBLE, QZDataType::TEXTUTF16LE,
                             QZDataType::TEXTUTF16LE};
    for (int i = 0; i < 5; ++i)
    {
        EXPECT_QZ_TEXT(table->Columns->GetColumn(i), names[i]);
        EXPECT_EQ(table->Columns->GetElementType(i), types[i]) << i;
    }
    ASSERT_EQ(table->Rows->Count(), 3);
    const char* cells[3][5] = {{"True", "7", "<null>", "<null>", "<null>"},
                               {"False", "<null>", "1.5", "x y", "<null>"},
                               {"<null>", "<null>", "<null>", "<null>", "late"}};
    for (int r = 0; r < 3; ++r)
        for (int c = 0; c < 5; ++c) EXPECT_EQ(Cell(table, r, c), cells[r][c]) << r << " " << c;
    QZJsonFactory::Recycle(&table);
    EXPECT_EQ(table, nullptr);
}

TEST(JsonTable, AnythingButAnArrayOfObjectsIsAFormatError)
{
    auto* object = ParseAs<QZJsonObject>("{}");
    // A caller passes a pointer to an object as a pointer to an array.
    void* any = object;
    EXPECT_QZ_THROW_MESSAGE(QZJsonFactory::Json2DataTable(static_cast<QZJsonValueCollection*>(any)), 512,
                            " JsonFormatException Argument is not QZJsonValueCollection");
    EXPECT_QZ_THROW_MESSAGE(QZJsonFactory::Json2DataTable(nullptr), 512,
                            " JsonFormatException Argument is not QZJsonValueCollection");
    QZJsonFactory::Recycle(&object);
    auto* list = ParseAs<QZJsonValueCollection>(R"([{"a":1},5])");
    EXPECT_QZ_THROW_MESSAGE(QZJsonFactory::Json2DataTable(list), 512,
                            " JsonFormatException Item is not QZJsonObject at row index 1");
    QZJsonFactory::Recycle(&list);
}

TEST(JsonTable, TableWithColumnsIsFilledByTheirTypes)
{
    QZDataTable table;
    table.Columns->Add("Count", QZDataType::INT32);
    table.Columns->Add("Text", QZDataType::TEXTUTF8);
    auto* list = ParseAs<QZJsonValueCollection>(R"([{"count":3,"other":1,"text":"a"},7,{"text":null}])");
    QZJsonFactory::Json2DataTable(&table, list);
    QZJsonFactory::Recycle(&list);
    ASSERT_EQ(table.Rows->Count(), 3);
    EXPECT_EQ(table.Columns->Count(), 2);
    EXPECT_EQ(Cell(&table, 0, 0), "3");
    EXPECT_EQ(table.Rows->GetRow(0)->GetElement(0)->GetSize(), 4);
    EXPECT_EQ(Cell(&table, 0, 1), "a");
    for (int row : {1, 2})
        for (int column : {0, 1}) EXPECT_EQ(Cell(&table, row, column), "<null>");
}

TEST(JsonTable, TableBecomesAnArrayOfObjects)
{
    QZDataTable table;
    const struct
    {
        const char* name;
        QZInt64 type;
        const char* text;
    } columns[] = {{"bool", QZDataType::BOOL, "True"},
                   {"int8", QZDataType::INT8, "-5"},
                   {"int16", QZDataType::INT16, "300"},
                   {"int32", QZDataType::INT32, "70000"},
                   {"int64", QZDataType::INT64, "5000000000"},
                   {"stamp", QZDataType::TIMESTAMP, "1000"},
                   {"byte", QZDataType::BYTE, "200"},
                   {"double", QZDataType::DOUBLE, "2.25"},
                   {"float", QZDataType::FLOAT, "0.5"},
                   {"text", QZDataType::TEXTUTF16LE, "a\"b"},
                   {"date", QZDataType::DATETIME, "2024-03-05 06:07:08"}};
    for (const auto& column : columns) table.Columns->Add(column.name, column.type);
    QZDataRow* row = table.Rows->NewRow();
    for (int i = 0; i < 11; ++i)
    {
        QZString text(columns[i].text);
        row->SetElement(i, &text);
    }
    table.Rows->NewRow();
    QZJsonValueCollection* list = QZJsonFactory::DataTable2Json(&table);
    EXPECT_EQ(
        Taken(list->ToString()),
        "[{\"bool\":true,\"int8\":-5,\"int16\":300,\"int32\":70000,\"int64\":5000000000,\"stamp\":1000,"
        "\"byte\":200,\"double\":2.25,\"float\":0.5,\"text\":\"a\"b\",\"date\":\"2024-03-05 06:07:08\"},"
        "{\"bool\":null,\"int8\":null,\"int16\":null,\"int32\":null,\"int64\":null,\"stamp\":null,"
        "\"byte\":null,\"double\":null,\"float\":null,\"text\":null,\"date\":null}]");
    QZJsonFactory::Recycle(&list);
    QZDataTable empty;
    list = QZJsonFactory::DataTable2Json(&empty);
    EXPECT_EQ(Taken(list->ToString()), "[]");
    QZJsonFactory::Recycle(&list);
}

TEST(JsonTable, EmptyTextInANumberColumnThrows)
{
    auto* list = ParseAs<QZJsonValueCollection>(R"([{"a":1},{"a":""}])");
    EXPECT_QZ_THROW(QZJsonFactory::Json2DataTable(list), 256);
    QZJsonFactory::Recycle(&list);
}
}  // namespace
