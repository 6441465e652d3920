#include "nodes.h"

#include <cstring>

#include "text.h"

namespace qzdb
{

namespace
{

constexpr QZInt64 kFormatField = 2;
constexpr std::size_t kKindIndex = 1;

/// The fields that every kind of node has, by their numbers in each kind.
struct Plan
{
    QZInt64 kind;
    const char* text;
    QZInt64 name;
    QZInt64 state;
    QZInt64 created;
    QZInt64 changed;
};

const Plan kPlans[] = {
    {LDTYPE::TLDTYPE, "text list", TLDTYPE::NAME, TLDTYPE::STATE, TLDTYPE::CREATEDATE, TLDTYPE::CHANGEDATE},
    {LDTYPE::FLDTYPE, "data list", FLDTYPE::NAME, FLDTYPE::STATE, FLDTYPE::CREATEDATE, FLDTYPE::CHANGEDATE},
    {LDTYPE::BLDTYPE, "bitmap", BLDTYPE::NAME, BLDTYPE::STATE, BLDTYPE::CREATEDATE, BLDTYPE::CHANGEDATE},
    {LDTYPE::WLDTYPE, "wave", WLDTYPE::NAME, WLDTYPE::STATE, WLDTYPE::CREATEDATE, WLDTYPE::CHANGEDATE},
};

const Plan* FindPlan(QZInt64 kind)
{
    for (const Plan& plan : kPlans)
    {
        if (plan.kind == kind) return &plan;
    }
    return nullptr;
}

void AppendUtf8(std::string* text, unsigned point)
{
    if (point < 0x80)
    {
        text->push_back(static_cast<char>(point));
        return;
    }
    if (point < 0x800)
    {
        text->push_back(static_cast<char>(0xC0 | point >> 6));
    }
    else
    {
        if (point < 0x10000)
        {
            text->push_back(static_cast<char>(0xE0 | point >> 12));
        }
        else
        {
            text->push_back(static_cast<char>(0xF0 | point >> 18));
            text->push_back(static_cast<char>(0x80 | (point >> 12 & 0x3F)));
        }
        text->push_back(static_cast<char>(0x80 | (point >> 6 & 0x3F)));
    }
    text->push_back(static_cast<char>(0x80 | (point & 0x3F)));
}

}  // namespace

std::string Utf8FromUtf16(const void* bytes, std::size_t size)
{
    // A pair of surrogates becomes one character here. The library's own conversion writes some pairs as two.
    const auto* units = static_cast<const unsigned char*>(bytes);
    const auto unit = [units](std::size_t i) {
        return units[2 * i] | static_cast<unsigned>(units[2 * i + 1]) << 8;
    };
    std::string text;
    const std::size_t count = size / 2;
    for (std::size_t i = 0; i < count; ++i)
    {
        unsigned point = unit(i);
        if (point >= 0xD800 && point < 0xE000)
        {
            const unsigned low = i + 1 < count ? unit(i + 1) : 0;
            const bool pair = point < 0xDC00 && low >= 0xDC00 && low < 0xE000;
            point = pair ? 0x10000 + ((point - 0xD800) << 10) + (low - 0xDC00) : 0xFFFD;
            if (pair) ++i;
        }
        AppendUtf8(&text, point);
    }
    return text;
}

std::vector<QZInt64> Int32Array(const std::string& bytes)
{
    std::vector<QZInt64> values(bytes.size() / 4);
    for (std::size_t i = 0; i < values.size(); ++i)
    {
        QZInt32 value = 0;
        std::memcpy(&value, bytes.data() + 4 * i, 4);
        values[i] = value;
    }
    return values;
}

Node ReadNode(Database& database, QZInt64 pd)
{
    Node node;
    node.pd = pd;
    if (database.Kind(pd) != QZDatabaseInfo::DATA_PD) return node;
    node.ld = database.Field(pd, QZDatabaseInfo::PD_LD_A);
    if (database.Kind(node.ld) != QZDatabaseInfo::DATA_LD) return node;
    node.format = Int32Array(database.Content(node.ld, kFormatField));
    const Plan* plan = node.format.size() > kKindIndex ? FindPlan(node.format[kKindIndex]) : nullptr;
    if (plan == nullptr) return node;
    node.kind = plan->kind;
    const std::string name = database.Content(node.ld, plan->name);
    node.name = Utf8FromUtf16(name.data(), name.size());
    return node;
}

const char* NodeKindName(QZInt64 kind)
{
    const Plan* plan = FindPlan(kind);
    return plan != nullptr ? plan->text : "?";
}

QZInt64 ChildList(Database& database, QZInt64 pd)
{
    if (pd == 0) return database.Root(QZDatabaseInfo::TREESSN);
    const QZInt64 hd = database.Field(pd, QZDatabaseInfo::PD_HD_A);
    return database.Kind(hd) == QZDatabaseInfo::TABLE_HD ? hd : 0;
}

void EachNode(Database& database, QZInt64 list, const std::function<bool(const Node& node)>& visit)
{
    if (list == 0) return;
    database.Walk(list, [&](QZInt64 record, QZInt64 kind) {
        if (kind != QZDatabaseInfo::DATA_PD) return true;
        const Node node = ReadNode(database, record);
        return node.kind == 0 || visit(node);
    });
}

QZInt64 FindChild(Database& database, QZInt64 pd, const std::string& name)
{
    QZInt64 found = 0;
    EachNode(database, ChildList(database, pd), [&](const Node& node) {
        if (node.name == name) found = node.pd;
        return found == 0;
    });
    return found;
}

std::vector<std::string> SplitPath(const std::string& path)
{
    std::vector<std::string> names;
    const std::string text = Utf8FromNarrow(path);
    std::size_t from = 0;
    while (from <= text.size())
    {
        const std::size_t end = std::min(text.find_first_of("/\\", from), text.size());
        if (end > from) names.push_back(text.substr(from, end - from));
        from = end + 1;
    }
    if (names.empty()) throw Failure{kExitUsage, "\"" + Visible(path) + "\" names no table"};
    return names;
}

std::string NodeDate(Database& database, const Node& node, bool changed)
{
    const Plan* plan = FindPlan(node.kind);
    const std::vector<QZInt64> parts =
        Int32Array(database.Content(node.ld, changed ? plan->changed : plan->created));
    if (parts.size() < 8 || parts[0] != 7) return {};
    char text[96];
    std::snprintf(text, sizeof text, "%04lld-%02lld-%02lldT%02lld:%02lld:%02lld", parts[1], parts[2],
                  parts[3], parts[4], parts[5], parts[6]);
    return text;
}

std::string NodeState(Database& database, const Node& node)
{
    const Plan* plan = FindPlan(node.kind);
    const std::size_t field = static_cast<std::size_t>(plan->state);
    if (node.format.size() <= field || node.format[field] != QZDataType::ARRAYINT32) return {};
    const std::vector<QZInt64> values = Int32Array(database.Content(node.ld, plan->state));
    std::string text;
    for (std::size_t i = 1; i < values.size() && i <= 16; ++i)
        text += (i > 1 ? "," : "") + std::to_string(values[i]);
    return text;
}

bool IsTable(Database& database, const Node& node)
{
    if (node.kind != LDTYPE::TLDTYPE) return false;
    const QZInt64 list = ChildList(database, node.pd);
    const QZInt64 first = list == 0 ? 0 : database.Field(list, QZDatabaseInfo::HD_FIRSTDATA);
    if (first == 0) return false;
    const Node types = ReadNode(database, first);
    return types.kind == LDTYPE::FLDTYPE && types.name == "TYPES";
}

}  // namespace qzdb
