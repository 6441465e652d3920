// Node objects, semantic nodes and the directory of tables over a channel, and the file's bytes.

#include <memory>

#include "compare.h"

namespace compare
{
namespace
{
using Info = QZDatabaseInfo;

const char* const kPath = "nodes.db";
const QZInt64 kKinds[] = {LDTYPE::TLDTYPE, LDTYPE::BLDTYPE, LDTYPE::FLDTYPE, 0};
const QZInt64 kTypes[] = {QZDataType::TEXTUTF16LE, QZDataType::TEXTGB2312, QZDataType::INT32,
                          QZDataType::INT64,       QZDataType::DOUBLE,     QZDataType::ARRAYINT32,
                          QZDataType::ANY,         QZDataType::BOOL};

class Nodes
{
public:
    explicit Nodes(Case& c) : m_case(c), m_random(c.random) {}
    ~Nodes() { DeleteFile(kPath); }
    Nodes(const Nodes&) = delete;
    Nodes& operator=(const Nodes&) = delete;
    void Run();

private:
    void Make();
    void Plain();
    void Records();
    void Heads();
    void Semantic();
    void TextList();
    void DataList();
    void Bitmap();
    void Directory();
    void Paths();
    void Note(QZInt64 pd)
    {
        if (pd > 0) m_pds.push_back(pd);
    }
    QZInt64 Pd() { return m_random.Chance(3) ? m_random.Below(3000) : m_random.Pick(m_pds); }
    QZInt64 Hd()
    {
        const QZInt64 root = m_channel->G_TA(Info::TREESSN);
        if (m_random.Chance(50)) return root;
        // A PD of another record's address has no list.
        const QZInt64 hd = QZNodePD::GetHD(m_channel, m_random.Pick(m_pds));
        return hd > 0 && m_channel->G_T(Info::ADDRESS_MARK_THIS, hd) == Info::TABLE_HD ? hd : root;
    }
    QZInt64 Item() { return m_random.Range(m_random.Chance(5) ? -1 : 1, 5); }

    Case& m_case;
    Random& m_random;
    QZChannel* m_channel = nullptr;
    std::vector<QZInt64> m_pds;
};

void Nodes::Make()
{
    const QZInt64 hd = Hd();
    switch (m_random.Below(7))
    {
        case 0:
            m_case.Do("TLD", [&] {
                const QZInt64 pd = QZNodeTLD::Create(m_channel, hd);
                Note(pd);
                return pd;
            });
            break;
        case 1:
            m_case.Do("FLD", [&] {
                const QZInt64 pd = QZNodeFLD::Create(m_channel, hd);
                Note(pd);
                return pd;
            });
            break;
        case 2:
            m_case.Do("BLD", [&] {
                const QZInt64 pd = QZNodeBLD::Create(m_channel, hd);
                Note(pd);
                return pd;
            });
            break;
        case 3:
            m_case.Do("kind", [&] {
                const QZInt64 pd = QZSNode::Create(m_channel, m_random.Pick(kKinds), hd);
                Note(pd);
                return pd;
            });
            break;
        case 4:
            if (m_random.Chance(10)) m_case.Do("WLD", [&] { return QZNodeWLD::Create(m_channel, hd); });
            break;
        case 5:
            m_case.Do("PD", [&] {
                const QZInt64 ld = QZNodeLD::Create(m_channel);
                const QZInt64 pd = m_random.Chance(50) ? QZNodePD::Create(m_channel, hd, ld)
                                                       : QZNodePD::Create(m_channel, hd, ld, "abcd", 4);
                Note(pd);
                return pd * 100000 + ld;
            });
            break;
        default: m_case.Do("HD", [&] { return QZNodeHD::Create(m_channel, Pd()); }); break;
    }
}

void Nodes::Plain()
{
    const QZInt64 at = Pd();
    const std::string name = " " + std::to_string(at);
    QZNodePD node(m_channel, at);
    const std::string bytes = m_random.Bytes(m_random.Below(20));
    QZData data(bytes.data(), static_cast<QZInt64>(bytes.size()));
    const QZInt64 steps = m_random.Range(-3, 3);
    switch (m_random.Below(14))
    {
        case 0: m_case.Do("GetPrev" + name, [&] { return node.GetPrev(); }); break;
        case 1: m_case.Do("GetNext" + name, [&] { return node.GetNext(); }); break;
        case 2: m_case.Do("GetHDA" + name, [&] { return node.GetHDA(); }); break;
        case 3: m_case.Do("GetSN" + name, [&] { return QZNode::GetSN(m_channel, at); }); break;
        case 4: m_case.Do("GetNodeType" + name, [&] { return QZNode::GetNodeType(m_channel, at); }); break;
        case 5:
            m_case.Do("Move" + name,
                      [&] { return m_random.Chance(50) ? node.MoveUp(steps) : node.MoveDown(steps); });
            break;
        case 6:
            m_case.Do("MoveLast" + name,
                      [&] { return m_random.Chance(50) ? node.MoveFirst() : node.MoveLast(); });
            break;
        case 7: m_case.Do("GetLD" + name, [&] { return node.GetLD() * 100000 + node.GetHD(); }); break;
        case 8: m_case.Do("GetMark" + name, [&] { return Own(node.GetMark()); }); break;
        case 9:
            m_case.Do("PutMark" + name, [&] {
                return m_random.Chance(50) ? node.PutMark(&data)
                                           : node.PutMark(&data, static_cast<QZInt32>(m_random.Pick(kTypes)));
            });
            break;
        case 10:
            m_case.Do("GetMarkType" + name, [&] { return node.GetMarkType() + node.GetMarkSize(); });
            break;
        case 11:
            m_case.Do("PutMarkType" + name,
                      [&] { return node.PutMarkType(static_cast<QZInt32>(m_random.Pick(kTypes))); });
            break;
        case 12: m_case.Do("Check" + name, [&] { return node.Check() + 2 * node.IsPD(); }); break;
        default: m_case.Do("GetPrevLayer" + name, [&] { return node.GetPrevLayer(); }); break;
    }
}

void Nodes::Records()
{
    QZInt64 ld = 0;
    if (!m_case.Do("LD of", [&] { return ld = QZNodePD::GetLD(m_channel, Pd()); }) || ld <= 0) return;
    QZNodeLD node(m_channel, ld);
    // Fields of the plan keep their values: only later ones are written.
    const QZInt64 field = m_random.Range(14, 18);
    const std::string bytes = m_random.Bytes(m_random.Below(40));
    const auto size = static_cast<QZInt64>(bytes.size());
    QZData data(bytes.data(), size);
    switch (m_random.Below(13))
    {
        case 0: m_case.Do("FieldCount", [&] { return node.FieldCount(); }); break;
        case 1: m_case.Do("FieldDelete", [&] { return node.FieldDelete(field); }); break;
        case 2: m_case.Do("FieldMove", [&] { return node.FieldMove(field, m_random.Range(-2, 2)); }); break;
        case 3: m_case.Do("PutData", [&] { return node.PutData(field, &data); }); break;
        case 4:
            m_case.Do("PutData bytes",
                      [&] { return QZNodeLD::PutData(m_channel, ld, field, bytes.data(), size); });
            break;
        case 5: m_case.Do("GetData", [&] { return Own(node.GetData(field)); }); break;
        case 6:
            m_case.Do("GetData into", [&] {
                const QZInt64 n = node.GetData(field, &data);
                return std::to_string(n) + m_case.Show(&data);
            });
            break;
        case 7: m_case.Do("GetSize", [&] { return node.GetSize(field); }); break;
        case 8: m_case.Do("Check", [&] { return node.Check() + 2 * node.IsLD(); }); break;
        case 9: m_case.Do("Erase", [&] { return node.Erase(field); }); break;
        case 10: m_case.Do("NEW_ARRAYINT32", [&] { return node.NEW_ARRAYINT32(field); }); break;
        case 11:
            m_case.Do("PUT_ARRAYINT32", [&] {
                QZNodeLD::PUT_ARRAYINT32(&data, m_random.Range(-1, 9),
                                         static_cast<QZInt32>(m_random.Number()));
                return &data;
            });
            break;
        default:
            m_case.Do("GET_ARRAYINT32", [&] {
                return node.GET_ARRAYINT32(m_random.Chance(60) ? 2 : field, m_random.Range(0, 9));
            });
            break;
    }
}

void Nodes::Heads()
{
    QZNodeHD head(m_channel, Hd());
    switch (m_random.Below(7))
    {
        case 0: m_case.Do("GetFirst", [&] { return head.GetFirst(); }); break;
        case 1: m_case.Do("GetLast", [&] { return head.GetLast() * 100000 + head.GetPrev(); }); break;
        case 2: m_case.Do("Get", [&] { return head.Get(m_random.Range(-1, 9)); }); break;
        case 3:
            m_case.Do("Count", [&] { return head.Count(static_cast<QZBool>(m_random.Chance(20))); });
            break;
        case 4:
            m_case.Do("GetAddrCollection",
                      [&] { return Own(head.GetAddrCollection(static_cast<QZBool>(m_random.Chance(20)))); });
            break;
        case 5: m_case.Do("Check", [&] { return head.Check() + 2 * head.IsHD(); }); break;
        default:
            m_case.Do("Clear", [&] {
                head.Clear();
                return head.Count(0);
            });
            break;
    }
}

void Nodes::Semantic()
{
    const QZInt64 at = Pd();
    std::unique_ptr<QZSNode> node;
    m_case.Do("QZSNode " + std::to_string(at), [&] {
        node = std::make_unique<QZSNode>(m_channel, at);
        return node->GetNodeType();
    });
    if (node == nullptr) return;
    QZString text(m_random.Text(9).c_str());
    QZString into;
    const std::string bytes = m_random.Bytes(m_random.Below(20));
    QZData data(bytes.data(), static_cast<QZInt64>(bytes.size()));
    const QZInt64 field = m_random.Range(m_random.Chance(5) ? -1 : 1, 13);
    const auto value = static_cast<QZInt32>(m_random.Number());
    const QZInt64 index = m_random.Range(0, 3);
    switch (m_random.Below(14))
    {
        case 0:
            m_case.Do("PutText", [&] {
                node->PutText(&text);
                return node->GetText();
            });
            break;
        case 1:
            m_case.Do("PutName", [&] {
                node->PutName(&text);
                return node->GetName();
            });
            break;
        case 2:
            m_case.Do("GetText", [&] {
                QZSNode::GetText(m_channel, at, &into);
                return &into;
            });
            break;
        case 3:
            m_case.Do("GetName", [&] {
                QZSNode::GetName(m_channel, at, &into);
                return &into;
            });
            break;
        case 4: m_case.Do("GetDataType", [&] { return node->GetDataType(field); }); break;
        case 5:
            m_case.Do("SetDataType", [&] { node->SetDataType(field + 13, m_random.Pick(kTypes)); });
            break;
        case 6: m_case.Do("GetString", [&] { return Own(node->GetString(field)); }); break;
        case 7: m_case.Do("GetStringLength", [&] { return node->GetStringLength(field); }); break;
        case 8:
            m_case.Do("PutString",
                      [&] { node->PutString(m_random.Range(3, 16), &text, m_random.Pick(kTypes)); });
            break;
        case 9: m_case.Do("PutData", [&] { return node->PutData(m_random.Range(13, 16), &data); }); break;
        case 10: m_case.Do("GetData", [&] { return Own(node->GetData(field)); }); break;
        case 11: m_case.Do("GetDate", [&] { return Own(node->GetDate(field)); }); break;
        case 12:
            m_case.Do("NewState", [&] { node->NewState(m_random.Range(14, 15), value); });
            m_case.Do("SetState", [&] { node->SetState(m_random.Range(14, 15), value, index); });
            break;
        default:
            m_case.Do("GetState", [&] {
                return m_random.Chance(50) ? node->GetState(field) : node->GetState(14, index);
            });
            break;
    }
}

void Nodes::TextList()
{
    const QZInt64 at = Pd();
    QZString text(m_random.Text(9).c_str());
    const QZInt64 item = Item();
    QZNodeTLD* node = nullptr;
    m_case.Do("QZNodeTLD " + std::to_string(at), [&] {
        if (QZSNode::GetNodeType(m_channel, at) == LDTYPE::TLDTYPE) node = new QZNodeTLD(m_channel, at);
        return node != nullptr;
    });
    if (node == nullptr) return;
    const std::unique_ptr<QZNodeTLD> owner(node);
    switch (m_random.Below(8))
    {
        case 0:
        case 1: m_case.Do("AddString", [&] { return node->AddString(&text); }); break;
        case 2: m_case.Do("GetString", [&] { return Own(node->GetString(item)); }); break;
        case 3: m_case.Do("PutString", [&] { node->PutString(item, &text); }); break;
        case 4: m_case.Do("MoveString", [&] { return node->MoveString(item, m_random.Range(-2, 2)); }); break;
        case 5: m_case.Do("DeleteString", [&] { return node->DeleteString(item); }); break;
        case 6:
            m_case.Do("dates", [&] { return Own(node->GetCreateDate()); });
            m_case.Do("changed", [&] { return Own(node->GetChangeDate()); });
            break;
        default:
            m_case.Do("SetState", [&] {
                node->SetState(5);
                return node->GetState();
            });
            break;
    }
    m_case.Do("Count", [&] { return node->Count(); });
}

void Nodes::DataList()
{
    const QZInt64 at = Pd();
    QZString text(m_random.Chance(50) ? m_random.Text(9).c_str()
                                      : ToWide(std::to_string(m_random.Number())).c_str());
    const std::string bytes = m_random.Bytes(m_random.Below(20));
    QZData data(bytes.data(), static_cast<QZInt64>(bytes.size()));
    const QZInt64 item = Item();
    const QZInt64 type = m_random.Pick(kTypes);
    QZNodeFLD* node = nullptr;
    m_case.Do("QZNodeFLD " + std::to_string(at), [&] {
        if (QZSNode::GetNodeType(m_channel, at) == LDTYPE::FLDTYPE) node = new QZNodeFLD(m_channel, at);
        return node != nullptr;
    });
    if (node == nullptr) return;
    const std::unique_ptr<QZNodeFLD> owner(node);
    switch (m_random.Below(13))
    {
        case 0:
        case 1: m_case.Do("AddData", [&] { return node->AddData(&data, type); }); break;
        case 2: m_case.Do("AddData type", [&] { return node->AddData(type); }); break;
        case 3: m_case.Do("GetData", [&] { return Own(node->GetData(item)); }); break;
        case 4: m_case.Do("GetDataSize", [&] { return node->GetDataSize(item); }); break;
        case 5: m_case.Do("GetDataType", [&] { return node->GetDataType(item); }); break;
        case 6: m_case.Do("PutData type", [&] { node->PutData(item, &data, type); }); break;
        case 7: m_case.Do("PutData", [&] { node->PutData(item, &data); }); break;
        case 8: m_case.Do("GetString", [&] { return Own(node->GetString(item)); }); break;
        case 9: m_case.Do("ValuesConvert", [&] { return Own(node->ValuesConvert(item, &text)); }); break;
        case 10:
            m_case.Do("ValuesConvert back", [&] { return Own(node->ValuesConvert(item, &data)); });
            break;
        case 11: m_case.Do("MoveData", [&] { return node->MoveData(item, m_random.Range(-2, 2)); }); break;
        default: m_case.Do("DeleteData", [&] { return node->DeleteData(item); }); break;
    }
    m_case.Do("DataCount", [&] { return node->DataCount() * 100 + node->GetState(); });
}

void Nodes::Bitmap()
{
    const QZInt64 at = Pd();
    QZNodeBLD* node = nullptr;
    m_case.Do("QZNodeBLD " + std::to_string(at), [&] {
        if (QZSNode::GetNodeType(m_channel, at) == LDTYPE::BLDTYPE) node = new QZNodeBLD(m_channel, at);
        return node != nullptr;
    });
    if (node == nullptr) return;
    const std::unique_ptr<QZNodeBLD> owner(node);
    m_case.Do("sizes", [&] {
        return node->GetWidth() + node->GetHeight() + node->GetBitmapDataSize() + node->GetBitmapDataType();
    });
    QZPackage32 package;
    QZData element("ab", 2);
    package.Add(1, &element, 2);
    QZData info;
    QZPackage32::Serialize(&package, &info);
    m_case.Do("PutInfo", [&] { node->PutInfo(&info); });
    m_case.Do("GetInfo", [&] { return Own(node->GetInfo()); });
    m_case.Do("state", [&] {
        node->SetState(static_cast<QZInt32>(m_random.Number()));
        return node->GetState();
    });
    m_case.Do("date", [&] { return Own(node->GetCreateDate()); });
}

void Nodes::Directory()
{
    const QZInt64 at = Pd();
    QZString name(m_random.Name(2).c_str());
    std::unique_ptr<QZTable> table;
    m_case.Do("QZTable " + std::to_string(at), [&] {
        table = std::make_unique<QZTable>(m_channel, at);
        return table->GetName();
    });
    if (table == nullptr) return;
    for (int i = 0; i < 3; ++i)
    {
        switch (m_random.Below(10))
        {
            case 0:
                m_case.Do("CreateFLD", [&] {
                    const QZInt64 pd = table->CreateFLD(&name);
                    Note(pd);
                    return pd;
                });
                break;
            case 1:
                m_case.Do("CreateTLD", [&] {
                    const QZInt64 pd = table->CreateTLD(&name);
                    Note(pd);
                    return pd;
                });
                break;
            case 2:
                m_case.Do("CreateBLD", [&] {
                    const QZInt64 pd = table->CreateBLD(&name);
                    Note(pd);
                    return pd;
                });
                break;
            case 3: m_case.Do("Count", [&] { return table->Count(); }); break;
            case 4: m_case.Do("GetHandles", [&] { return Own(table->GetHandles()); }); break;
            case 5: m_case.Do("ends", [&] { return table->GetFirst() * 100000 + table->GetLast(); }); break;
            case 6:
                m_case.Do("neighbours", [&] { return table->GetPrev(0) * 100000 + table->GetNext(0); });
                break;
            case 7: m_case.Do("Find", [&] { return table->Find(&name); }); break;
            case 8:
                m_case.Do("Refersh", [&] {
                    table->Refersh();
                    return table->GetHandle();
                });
                break;
            default: m_case.Do("Clear", [&] { table->Clear(); }); break;
        }
    }
}

void Nodes::Paths()
{
    std::string path;
    for (QZInt64 i = m_random.Below(4); i > 0; --i)
        path += std::string(1, static_cast<char>('a' + m_random.Below(3))) + m_random.Pick({"/", "\\", "//"});
    path += static_cast<char>('a' + m_random.Below(3));
    QZString text(path.c_str());
    const QZInt64 kind = m_random.Pick(kKinds);
    switch (m_random.Below(4))
    {
        case 0: m_case.Do("Access " + path, [&] { return QZTable::Access(m_channel, &text); }); break;
        case 1:
            m_case.Do("Access or make " + path, [&] {
                const QZInt64 pd = QZTable::Access(m_channel, &text, 1, kind);
                Note(pd);
                return pd;
            });
            break;
        case 2:
            m_case.Do("Create " + path, [&] {
                const QZInt64 pd = QZTable::Create(m_channel, &text, kind);
                Note(pd);
                return pd;
            });
            break;
        default:
            m_case.Do("GetTablesFromRoot", [&] {
                QZObjectCollection* tables = QZTable::GetTablesFromRoot(m_channel);
                const QZInt64 count = tables->Count();
                QZTable::Recycle(&tables);
                return count;
            });
            break;
    }
}

void Nodes::Run()
{
    DeleteFile(kPath);
    QZChannel::Create(kPath, 5, m_random.Range(1, 3), m_random.Below(2));
    m_channel = QZChannel::Open(QZChannel::MODE_FILE, kPath);
    Note(QZNodeTLD::Create(m_channel, m_channel->G_TA(Info::TREESSN)));
    Note(QZNodeFLD::Create(m_channel, m_channel->G_TA(Info::TREESSN)));
    void (Nodes::*const steps[])() = {&Nodes::Make,     &Nodes::Make,     &Nodes::Plain,    &Nodes::Records,
                                      &Nodes::Heads,    &Nodes::Semantic, &Nodes::Semantic, &Nodes::TextList,
                                      &Nodes::DataList, &Nodes::DataList, &Nodes::Bitmap,   &Nodes::Directory,
                                      &Nodes::Paths};
    for (QZInt64 count = m_random.Range(8, 40); count > 0; --count)
    {
        (this->*m_random.Pick(steps))();
        m_case.Value("errors", m_channel->G_EN());
    }
    if (m_random.Chance(30))
        m_case.Do("RemoveAll", [&] { return QZNodePD::RemoveAll(m_channel, m_random.Pick(m_pds)); });
    if (m_random.Chance(20)) m_case.Do("ClearAll", [&] { QZNodeHD::ClearAll(m_channel, Hd()); });
    m_case.Do("Close", [&] { QZChannel::Close(&m_channel); });
    m_case.File("file", kPath);
}
}  // namespace

void RunNodes(Case& c)
{
    QZException::IsStackTrace = static_cast<QZBool>(c.random.Chance(80));
    Nodes(c).Run();
}

}  // namespace compare
