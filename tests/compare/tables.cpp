// QZDbTable: fields, rows, values of all types, order, selection, and the file's bytes.

#include "compare.h"

namespace compare
{
namespace
{
const char* const kPath = "table.db";
const QZInt64 kTypes[] = {QZDataType::TEXTUTF16LE, QZDataType::TEXTGB2312, QZDataType::INT8,
                          QZDataType::INT16,       QZDataType::INT32,      QZDataType::INT64,
                          QZDataType::DOUBLE,      QZDataType::FLOAT,      QZDataType::BOOL,
                          QZDataType::BYTE,        QZDataType::TIMESTAMP,  QZDataType::DATETIME,
                          QZDataType::ARRAYINT32,  QZDataType::ARRAYINT64, QZDataType::ANY};

class Table
{
public:
    explicit Table(Case& c) : m_case(c), m_random(c.random) {}
    ~Table() { DeleteFile(kPath); }
    Table(const Table&) = delete;
    Table& operator=(const Table&) = delete;
    void Run();

private:
    bool Open();
    void Fields();
    void Keys();
    void Rows();
    void Values();
    void Order();
    void Memory();
    void Whole();
    void Show(QZDataTable* table);
    void Fill(QZDataTable* table);

    QZInt64 Row()
    {
        return m_rows.empty() || m_random.Chance(3) ? m_random.Below(4000) : m_random.Pick(m_rows);
    }
    /// A row that is one for certain: the wrong ones are left to reading.
    QZInt64 GoodRow() { return m_rows.empty() ? 0 : m_random.Pick(m_rows); }
    QZInt64 Field() { return m_random.Range(m_random.Chance(5) ? -1 : 1, m_random.Chance(90) ? 4 : 9); }
    Wide Name() { return ToWide(std::string(1, static_cast<char>('a' + m_random.Below(6)))); }
    /// Text of a value of the type, or any.
    Wide ValueText(QZInt64 type);

    Case& m_case;
    Random& m_random;
    QZChannel* m_channel = nullptr;
    QZDbTable* m_table = nullptr;
    std::vector<QZInt64> m_rows;
};

Wide Table::ValueText(QZInt64 type)
{
    switch (type)
    {
        case QZDataType::DATETIME:
            return ToWide("2024-0" + std::to_string(m_random.Range(1, 9)) + "-11 10:20:3" +
                          std::to_string(m_random.Below(10)));
        case QZDataType::BOOL: return ToWide(m_random.Pick({"True", "False", "x"}));
        case QZDataType::ARRAYINT32:
        case QZDataType::ARRAYINT64:
            return ToWide(std::to_string(m_random.Range(-9, 99)) + "," +
                          std::to_string(m_random.Range(-9, 99)));
        case QZDataType::DOUBLE:
        case QZDataType::FLOAT: return ToWide(std::to_string(m_random.Real()));
        case QZDataType::TEXTUTF16LE:
        case QZDataType::TEXTGB2312: return m_random.Text(8);
        default: return ToWide(std::to_string(m_random.Number()));
    }
}

bool Table::Open()
{
    QZInt64 handle = 0;
    const Wide path = ToWide(m_random.Pick({"people", "a/b/people", "x\\y", ""}));
    m_case.Do("Create " + Utf8(path), [&] {
        return handle = InAnyForm(m_case, path, [&](auto* p) { return QZDbTable::Create(m_channel, p); });
    });
    if (handle == 0)
    {
        handle = QZDbTable::Create(m_channel, "other");
        m_case.Value("handle", handle);
    }
    m_case.Do("Create again", [&] { return QZDbTable::Create(m_channel, "people/more"); });
    m_case.Do("IsDatatable", [&] {
        return QZDbTable::IsDatatable(m_channel, handle) +
               2 * QZDbTable::IsDatatable(m_channel, m_random.Below(2000));
    });
    m_case.Do("Open bad", [&] {
        QZDbTable* t = QZDbTable::Open(m_channel, m_random.Below(900));
        QZDbTable::Close(&t);
    });
    m_case.Do("Open", [&] {
        m_table = m_random.Chance(50) || path.empty()
                      ? QZDbTable::Open(m_channel, handle)
                      : InAnyForm(m_case, path, [&](auto* p) { return QZDbTable::Open(m_channel, p); });
        return m_table->GetHandle();
    });
    if (m_table == nullptr) m_case.Do("Open handle", [&] { m_table = QZDbTable::Open(m_channel, handle); });
    return m_table != nullptr;
}

void Table::Fields()
{
    QZString name(Name().c_str());
    const QZInt64 field = Field();
    switch (m_random.Below(9))
    {
        case 0:
        case 1:
            if (m_rows.empty() || m_random.Chance(20))
                m_case.Do("FieldAdd", [&] { return m_table->FieldAdd(&name, m_random.Pick(kTypes)); });
            break;
        case 2:
            m_case.Do("SetFieldName", [&] {
                return m_table->SetFieldName(m_random.Range(1, m_table->FieldCount() + 1), &name);
            });
            break;
        case 3: m_case.Do("GetFieldsName", [&] { return Own(m_table->GetFieldsName()); }); break;
        case 4: m_case.Do("GetFieldName", [&] { return Own(m_table->GetFieldName(field)); }); break;
        case 5:
            m_case.Do("GetFieldType", [&] {
                return m_random.Chance(50) ? m_table->GetFieldType(field) : m_table->GetFieldType(&name);
            });
            break;
        case 6:
            if (m_random.Chance(40))
                m_case.Do("FieldMove", [&] { return m_table->FieldMove(&name, m_random.Range(-2, 2)); });
            break;
        case 7:
            if (m_random.Chance(25)) m_case.Do("FieldDelete", [&] { return m_table->FieldDelete(&name); });
            break;
        default: m_case.Do("FieldCount", [&] { return m_table->FieldCount(); }); break;
    }
}

void Table::Keys()
{
    QZString name(Name().c_str());
    switch (m_random.Below(6))
    {
        case 0:
            m_case.Do("SetKey", [&] { return m_table->SetKey(m_random.Chance(50) ? nullptr : &name); });
            break;
        case 1: m_case.Do("GetKey", [&] { return Own(m_table->GetKey()); }); break;
        case 2: m_case.Do("GetKeyIndex", [&] { return m_table->GetKeyIndex(); }); break;
        case 3: m_case.Do("SetKeyToName", [&] { return m_table->SetKeyToName(); }); break;
        case 4: m_case.Do("SetValueToName", [&] { return m_table->SetValueToName(Field()); }); break;
        default: m_case.Do("SetValueToName name", [&] { return m_table->SetValueToName(&name); }); break;
    }
}

void Table::Rows()
{
    const QZInt64 type = QZDataType::INT64;
    QZString text(ValueText(type).c_str());
    QZData data("12345678", 8);
    const auto note = [&](QZInt64 row) {
        if (row > 0) m_rows.push_back(row);
        return row;
    };
    switch (m_random.Below(10))
    {
        case 0:
        case 1:
        case 2: m_case.Do("DataAdd", [&] { return note(m_table->DataAdd()); }); break;
        case 3: m_case.Do("DataAdd data", [&] { return note(m_table->DataAdd(&data)); }); break;
        case 4: m_case.Do("DataAdd text", [&] { return note(m_table->DataAdd(&text)); }); break;
        case 5: m_case.Do("DataCount", [&] { return m_table->DataCount(); }); break;
        case 6: m_case.Do("GetHandles", [&] { return Own(m_table->GetHandles()); }); break;
        case 7:
            m_case.Do("DataGet", [&] {
                return m_table->DataGet(m_random.Range(-1, 6)) * 100000 + m_table->DataGetFirst() +
                       m_table->DataGetLast() * 3;
            });
            break;
        case 8:
            m_case.Do("neighbours", [&] {
                const QZInt64 row = Row();
                return m_table->DataGetNext(row) * 100000 + m_table->DataGetPrev(row) +
                       m_table->DataGetSN(row) * 7;
            });
            break;
        default:
            if (m_random.Chance(40) && !m_rows.empty())
            {
                const auto at = static_cast<std::size_t>(m_random.Below(static_cast<QZInt64>(m_rows.size())));
                m_case.Do("DataRemove", [&] { return m_table->DataRemove(m_rows[at]); });
                m_rows.erase(m_rows.begin() + static_cast<std::ptrdiff_t>(at));
            }
            break;
    }
}

void Table::Values()
{
    if (m_rows.empty()) return;
    const QZInt64 field = Field();
    QZInt64 type = QZDataType::INT64;
    m_case.Do("type of", [&] { return type = m_table->GetFieldType(field); });
    QZString text(ValueText(m_random.Chance(90) ? type : m_random.Pick(kTypes)).c_str());
    const std::string bytes = m_random.Bytes(m_random.Below(24));
    QZData data(bytes.data(), static_cast<QZInt64>(bytes.size()));
    const QZInt64 row = GoodRow();
    QZString name(Name().c_str());
    switch (m_random.Below(10))
    {
        case 0:
        case 1:
        case 2:
            m_case.Do("DataSetValue text", [&] { return m_table->DataSetValue(row, field, &text); });
            break;
        case 3: m_case.Do("DataSetValue", [&] { return m_table->DataSetValue(row, field, &data); }); break;
        case 4: m_case.Do("DataGetValue", [&] { return Own(m_table->DataGetValue(Row(), field)); }); break;
        case 5: m_case.Do("DataGetValueInt32", [&] { return m_table->DataGetValueInt32(row, field); }); break;
        case 6:
            m_case.Do("DataGetValueString", [&] { return Own(m_table->DataGetValueString(Row(), field)); });
            break;
        case 7:
            m_case.Do("ValuesConvert", [&] {
                return m_random.Chance(50) ? Own(m_table->ValuesConvert(field, &data))
                                           : Own(m_table->ValuesConvert(&name, &data));
            });
            break;
        case 8:
            m_case.Do("ValuesConvert text", [&] {
                return m_random.Chance(50) ? Own(m_table->ValuesConvert(field, &text))
                                           : Own(m_table->ValuesConvert(&name, &text));
            });
            break;
        default: m_case.Do("dates", [&] { return Own(m_table->DataGetCreateDate(row)); }); break;
    }
}

void Table::Order()
{
    QZString name(Name().c_str());
    QZString value("5");
    switch (m_random.Below(8))
    {
        case 0:
            m_case.Do("ArrangementByLetters", [&] { return m_table->ArrangementByLetters(&name); });
            break;
        case 1:
            if (m_random.Chance(20))
                m_case.Do("ArrangementByTime", [&] { return m_table->ArrangementByTime(&name); });
            break;
        case 2:
            if (!m_rows.empty())
                m_case.Do("DataMove", [&] { return m_table->DataMove(GoodRow(), m_random.Range(-3, 3)); });
            break;
        case 3:
            if (!m_rows.empty())
                m_case.Do("DataSetSN", [&] { return m_table->DataSetSN(GoodRow(), m_random.Range(1, 5)); });
            break;
        case 4: m_case.Do("Sum", [&] { return m_table->Sum(&name); }); break;
        case 5:
            m_case.Do("targets", [&] { return Own(m_table->GetTargetsAddrCollection(Field(), &value)); });
            break;
        case 6:
            m_case.Do("targets name", [&] { return Own(m_table->GetTargetsAddrCollection(&name, 5)); });
            break;
        default:
        {
            const std::string a = m_random.FewBytes(m_random.Below(5));
            const std::string b = m_random.FewBytes(m_random.Below(5));
            QZData first(a.data(), static_cast<QZInt64>(a.size()));
            QZData second(b.data(), static_cast<QZInt64>(b.size()));
            m_case.Do("com_biger", [&] { return QZDbTable::com_biger(&first, &second); });
            break;
        }
    }
}

void Table::Show(QZDataTable* table)
{
    for (QZInt64 i = 0; i < table->Columns->Count(); ++i)
        m_case.Line("  column " + m_case.Show(table->Columns->GetColumn(i)) + " " +
                    std::to_string(table->Columns->GetElementType(i)));
    for (QZInt64 row = 0; row < table->Rows->Count(); ++row)
    {
        QZDataRow* values = table->Rows->GetRow(row);
        std::string line = "  row " + std::to_string(values->Handle);
        for (QZInt64 i = 0; i < table->Columns->Count(); ++i)
            line += " " + m_case.Show(values->GetElement(i));
        m_case.Line(line);
    }
}

void Table::Fill(QZDataTable* table)
{
    for (QZInt64 rows = m_random.Below(3); rows > 0; --rows)
    {
        QZDataRow* row = table->Rows->NewRow();
        for (QZInt64 i = 0; i < table->Columns->Count(); ++i)
        {
            QZString text(ValueText(table->Columns->GetElementType(i)).c_str());
            if (m_random.Chance(80)) m_case.Do("SetElement", [&] { return row->SetElement(i, &text); });
        }
    }
}

void Table::Memory()
{
    QZDataTable* table = nullptr;
    m_case.Do("Select", [&] {
        table = m_random.Chance(40) ? m_table->Select() : m_table->Select(m_random.Range(-3, 4));
    });
    if (table == nullptr) return;
    Show(table);
    if (m_random.Chance(50))
    {
        Fill(table);
        m_case.Do("write",
                  [&] { return m_random.Chance(50) ? m_table->Insert(table) : m_table->Update(table); });
        Show(table);
    }
    QZDbTable::Recycle(&table);
}

void Table::Whole()
{
    QZString text(m_random.Name(5).c_str());
    switch (m_random.Below(6))
    {
        case 0:
            m_case.Do("SetName", [&] {
                m_table->SetName(&text);
                return m_table->GetName();
            });
            break;
        case 1:
            m_case.Do("SetText", [&] {
                m_table->SetText(&text);
                return m_table->GetText();
            });
            break;
        case 2: m_case.Do("GetNext", [&] { return m_table->GetNext() * 100000 + m_table->GetPrev(); }); break;
        case 3: m_case.Do("GetCreateDate", [&] { return Own(m_table->GetCreateDate()); }); break;
        case 4: m_case.Do("Move", [&] { return m_table->Move(m_random.Range(-2, 2)); }); break;
        default:
            m_case.Do("names", [&] { return Own(QZDbTable::GetDatatableNamesFromRoot(m_channel)); });
            break;
    }
}

void Table::Run()
{
    DeleteFile(kPath);
    QZChannel::Create(kPath, 5, m_random.Range(2, 3), m_random.Below(2));
    m_channel = QZChannel::Open(QZChannel::MODE_FILE, kPath);
    if (Open())
    {
        for (QZInt64 i = m_random.Range(1, 4); i > 0; --i)
        {
            QZString name(std::string(1, static_cast<char>('a' + i)).c_str());
            m_case.Do("FieldAdd", [&] { return m_table->FieldAdd(&name, m_random.Pick(kTypes)); });
        }
        for (QZInt64 i = m_random.Range(1, 5); i > 0; --i)
        {
            const QZInt64 row = m_table->DataAdd();
            m_rows.push_back(row);
            for (QZInt64 field = 1; field <= m_table->FieldCount(); ++field)
            {
                QZString text(ValueText(m_table->GetFieldType(field)).c_str());
                m_case.Do("DataSetValue", [&] { return m_table->DataSetValue(row, field, &text); });
            }
        }
        void (Table::*const steps[])() = {&Table::Fields, &Table::Keys,   &Table::Rows,   &Table::Rows,
                                          &Table::Values, &Table::Values, &Table::Values, &Table::Order,
                                          &Table::Memory, &Table::Whole};
        for (QZInt64 count = m_random.Range(10, 45); count > 0; --count)
        {
            (this->*m_random.Pick(steps))();
            m_case.Value("errors", m_channel->G_EN());
        }
        if (m_random.Chance(10)) m_case.Do("Remove", [&] { return m_table->Remove(); });
        QZDbTable::Close(&m_table);
    }
    m_case.Do("Close", [&] { QZChannel::Close(&m_channel); });
    m_case.File("file", kPath);
}
}  // namespace

void RunTables(Case& c)
{
    QZException::IsStackTrace = static_cast<QZBool>(c.random.Chance(80));
    Table(c).Run();
}

}  // namespace compare
