// QZDatabase and QZChannel: sequences of operations over a file, with good and bad addresses, and the file's
// bytes.

#include <algorithm>

#include "compare.h"

namespace compare
{
namespace
{
using Info = QZDatabaseInfo;
using Addresses = std::vector<QZInt64>;

const char* const kPath = "case.db";

class Engine
{
public:
    explicit Engine(Case& c) : m_case(c), m_random(c.random) {}
    ~Engine() { DeleteFile(kPath); }
    Engine(const Engine&) = delete;
    Engine& operator=(const Engine&) = delete;

    void Run();

private:
    void Create();
    bool Open();
    void Close();
    void Step();
    void Append();
    void Write();
    void Read();
    void Look();
    void Move();
    void Delete();
    void Rollback();
    void Refuse();
    void Damage();

    /// Prints a result and what the engine recorded.
    template <typename Call>
    QZInt64 Record(const std::string& name, Call call)
    {
        QZInt64 result = 0;
        m_case.Do(name, [&] {
            result = static_cast<QZInt64>(call());
            return std::to_string(result) + " errors " + std::to_string(m_channel->G_EN()) + " " +
                   std::to_string(m_channel->G_LE());
        });
        return result;
    }

    void Note(Addresses& list, QZInt64 address)
    {
        if (address > 0) list.push_back(address);
    }
    /// A known address of the kind, or with argument tests on sometimes any other.
    QZInt64 From(const Addresses& list)
    {
        if (m_tests && m_random.Chance(8)) return Bad();
        return list.empty() ? 0 : m_random.Pick(list);
    }
    QZInt64 Bad()
    {
        switch (m_random.Below(5))
        {
            case 0: return m_random.Range(-2, 2000);
            case 1: return m_random.Number();
            case 2: return m_lds.empty() ? 0 : m_random.Pick(m_lds) + m_random.Range(-3, 9);
            case 3: return m_pds.empty() ? 0 : m_random.Pick(m_pds);
            default: return m_hds.empty() ? 0 : m_random.Pick(m_hds);
        }
    }
    QZInt64 Any() { return From(m_random.Chance(50) ? m_lds : m_random.Chance(50) ? m_pds : m_others); }
    static std::string At(const char* name, QZInt64 a) { return std::string(name) + " " + std::to_string(a); }
    static std::string At(const char* name, QZInt64 a, QZInt64 b)
    {
        return At(name, a) + " " + std::to_string(b);
    }

    Case& m_case;
    Random& m_random;
    QZChannel* m_channel = nullptr;
    bool m_tests = true;
    Addresses m_hds;
    Addresses m_lds;
    Addresses m_pds;
    Addresses m_others;
    Addresses m_marks;
};

void Engine::Create()
{
    const QZInt64 mode = m_random.Range(1, 3);
    const QZInt64 rollback = m_random.Below(2);
    DeleteFile(kPath);
    if (m_random.Chance(10))
        m_case.Do("Create", [&] {
            return InAnyForm(m_case, ToWide(kPath), [](auto* path) { return QZChannel::Create(path); });
        });
    else
        m_case.Do(At("Create", mode, rollback), [&] {
            return InAnyForm(m_case, ToWide(kPath),
                             [&](auto* path) { return QZChannel::Create(path, 5, mode, rollback); });
        });
    if (m_random.Chance(5))
        m_case.Do("Create again", [&] { return QZChannel::Create(kPath, m_random.Range(3, 6), mode, 0); });
}

bool Engine::Open()
{
    m_channel = nullptr;
    m_case.Do("Open", [&] {
        const QZInt64 mode = m_random.Chance(97)   ? QZChannel::MODE_FILE
                             : m_random.Chance(50) ? QZChannel::MODE_PROCESS
                                                   : 7;
        m_channel = InAnyForm(m_case, ToWide(kPath), [&](auto* path) { return QZChannel::Open(mode, path); });
        return m_channel->GetAddrLength();
    });
    if (m_channel == nullptr) return false;
    m_tests = !m_random.Chance(25);
    m_channel->CheckParam(m_tests ? 1 : 0);
    m_case.Value("tests", m_channel->CheckParam());
    m_case.Do("GetSysInfo", [&] {
        QZDbSysInfo* info = m_channel->GetSysInfo();
        if (info == nullptr) return std::string("<null>");
        const std::string text = std::to_string(info->Version) + " " + std::to_string(info->AddrMode) + " " +
                                 std::to_string(info->WriteProtect) + " " + std::to_string(info->Rollback) +
                                 " " + std::to_string(info->FileMode);
        if (m_channel->GetAddrLength() != 0) m_channel->Recycle(&info);
        return text;
    });
    for (QZInt64 tree = 0; tree < 7; ++tree)
    {
        QZInt64 root = Record(At("G_TA", tree), [&] { return m_channel->G_TA(tree); });
        if (tree == Info::TREESSN) Note(m_hds, root);
    }
    return true;
}

void Engine::Close()
{
    m_case.Value("write protection", m_channel->G_WS());
    m_case.Do("Close", [&] { QZChannel::Close(&m_channel); });
    m_channel = nullptr;
    m_case.File("file", kPath);
}

void Engine::Append()
{
    const QZInt64 hd = From(m_hds);
    switch (m_random.Below(7))
    {
        case 0:
        {
            const QZInt64 lds = m_channel->G_TA(Info::TREELSN);
            Note(m_lds, Record("P_D LD", [&] { return m_channel->P_D(lds, Info::DATA_LD); }));
            break;
        }
        case 1:
        case 2:
        {
            const QZInt64 pd = Record(At("P_D PD", hd), [&] { return m_channel->P_D(hd, Info::DATA_PD); });
            Note(m_pds, pd);
            const QZInt64 ld = From(m_lds);
            if (pd > 0 && !m_lds.empty())
                Record(At("P_A LD", pd, ld), [&] { return m_channel->P_A(pd, Info::PD_LD_A, ld); });
            break;
        }
        case 3:
        {
            static const QZInt64 kinds[] = {Info::DATA_AD, Info::DATA_CD, Info::DATA_RD};
            const QZInt64 kind = m_random.Pick(kinds);
            Note(m_others, Record(At("P_D", hd, kind), [&] { return m_channel->P_D(hd, kind); }));
            break;
        }
        case 4:
            if (m_tests)
                Record("P_D odd", [&] {
                    return m_channel->P_D(hd, m_random.Pick({Info::UNKNOWN, Info::TABLE_HD, QZInt64{3}}));
                });
            break;
        case 5:
        {
            if (m_pds.empty()) break;
            const QZInt64 pd = From(m_pds);
            Note(m_hds, Record(At("P_HD", pd), [&] { return m_channel->P_HD(pd); }));
            break;
        }
        default: Record("P_HD free", [&] { return m_channel->P_HD(); }); break;
    }
}

void Engine::Write()
{
    const QZInt64 size = m_random.Chance(10) ? m_random.Below(6000) : m_random.Below(24);
    const std::string bytes = m_random.Bytes(size);
    switch (m_random.Below(6))
    {
        case 0:
        case 1:
        {
            if (m_lds.empty()) break;
            const QZInt64 ld = From(m_lds);
            const QZInt64 field = m_random.Range(m_tests ? 0 : 1, 9);
            Record(At("P_C", ld, field), [&] { return m_channel->P_C(ld, field, bytes.data(), size); });
            break;
        }
        case 2:
        {
            if (m_pds.empty()) break;
            const QZInt64 pd = m_random.Pick(m_pds);
            Record(At("P_C PD", pd), [&] { return m_channel->P_C(pd, Info::PD_DATA, bytes.data(), size); });
            break;
        }
        case 3:
        {
            if (m_others.empty()) break;
            const QZInt64 cd = m_random.Pick(m_others);
            if (m_channel->G_T(Info::ADDRESS_MARK_THIS, cd) != Info::DATA_CD) break;
            Record(At("P_C CD", cd), [&] { return m_channel->P_C(cd, Info::CD_DATA, bytes.data(), size); });
            break;
        }
        case 4:
        {
            if (m_others.empty()) break;
            static const QZInt64 selectors[] = {Info::AD_FREE, Info::RD_P, Info::RD_O, Info::RD_N};
            const QZInt64 record = m_random.Pick(m_others);
            const QZInt64 selector = m_random.Pick(selectors);
            const QZInt64 kind = m_channel->G_T(Info::ADDRESS_MARK_THIS, record);
            if (kind != (selector == Info::AD_FREE ? Info::DATA_AD : Info::DATA_RD) && !m_tests) break;
            Record(At("P_A", record, selector),
                   [&] { return m_channel->P_A(record, selector, m_random.Below(1 << 20)); });
            break;
        }
        default:
        {
            if (m_lds.empty()) break;
            const QZInt64 ld = m_random.Pick(m_lds);
            const QZInt64 field = m_random.Range(1, 9);
            Record(At("E_C", ld, field), [&] { return m_channel->E_C(ld, field); });
            break;
        }
    }
}

void Engine::Read()
{
    const QZInt64 address = Any();
    const QZInt64 kind = m_channel->G_T(Info::ADDRESS_MARK_THIS, address);
    QZInt64 field = m_random.Range(1, 9);
    if (kind == Info::DATA_PD) field = Info::PD_DATA;
    if (kind == Info::DATA_CD) field = Info::CD_DATA;
    if (!m_tests && kind != Info::DATA_LD && kind != Info::DATA_PD && kind != Info::DATA_CD) return;
    const QZInt64 length =
        Record(At("G_C_L", address, field), [&] { return m_channel->G_C_L(address, field); });
    if (length < 0 || length > 1 << 20) return;
    std::string room(static_cast<std::size_t>(length) + 8, '.');
    Record(At("G_C", address, field), [&] { return m_channel->G_C(address, field, room.data()); });
    m_case.Line("content " + m_case.Bytes(room.data(), length + 8));
}

void Engine::Look()
{
    const QZInt64 address = Any();
    const QZInt64 hd = From(m_hds);
    switch (m_random.Below(8))
    {
        case 0:
            Record(At("G_T", address), [&] { return m_channel->G_T(m_random.Range(1, 2), address); });
            break;
        case 1:
        {
            // Without tests only fields that every record has.
            const QZInt64 group = m_tests ? m_random.Range(0, 5) * 0x100 : 0;
            const QZInt64 selector = Info::TYPE_DATA + group + m_random.Range(1, m_tests ? 0x13 : 3);
            Record(At("G_A", address, selector), [&] { return m_channel->G_A(address, selector); });
            break;
        }
        case 2:
            Record(At("G_HD_A", hd),
                   [&] { return m_channel->G_HD_A(1, hd, Info::TABLE_HD + m_random.Range(1, 6)); });
            break;
        case 3:
        {
            static const QZInt64 codes[] = {Info::HD_NODE_COUNT, Info::HD_NODE_COUNT_ALL,
                                            Info::HD_NODE_SN,    Info::SN_GET_DATA_FROM_HD,
                                            Info::LD_LDS_COUNT,  5};
            const QZInt64 code = m_random.Pick(codes);
            if (!m_tests) break;
            const QZInt64 of = m_random.Chance(60) ? hd : address;
            Record(At("G_CN", of, code), [&] { return m_channel->G_CN(of, code, m_random.Range(-1, 6)); });
            break;
        }
        case 4:
        {
            static const QZInt64 codes[] = {
                Info::ADDRESSARRAYCOPY_PD_FROM_HD, Info::ADDRESSARRAYCOPY_ALL_PD_FROM_HD,
                Info::ADDRESSARRAYCOPY_SHNAPSHOTS, Info::ADDRESSARRAYCOPY_ROLLBACKMARKS};
            const QZInt64 code = m_random.Pick(codes);
            QZCollection words;
            Record(At("G_AL", code, hd),
                   [&] { return m_channel->G_AL(code, hd, m_random.Chance(3) ? nullptr : &words); });
            m_case.Value("list", &words);
            break;
        }
        case 5:
            Record(At("CK", address), [&] { return m_channel->CK(Info::ADDRESS_MARK_THIS, address); });
            break;
        case 6: Record(At("CK HD", hd), [&] { return m_channel->CK(Info::ADDRESS_MARK_THIS, hd); }); break;
        default:
        {
            QZCollection words;
            Record(At("A_G", hd), [&] { return m_channel->A_G(hd, Info::PD_DATA, "ab", 2, &words); });
            break;
        }
    }
}

void Engine::Move()
{
    if (m_pds.empty()) return;
    const QZInt64 pd = m_random.Chance(80) || !m_tests ? m_random.Pick(m_pds) : Any();
    if (m_random.Chance(70))
    {
        const QZInt64 steps = m_random.Chance(10) ? m_random.Number() >> 20 : m_random.Range(-4, 4);
        Record(At("MV", pd, steps), [&] { return m_channel->MV(pd, steps); });
        return;
    }
    // The root list only, so that no record comes to stand below itself.
    const QZInt64 hd =
        m_tests && m_random.Chance(10) ? m_random.Range(0, 500) : m_channel->G_TA(Info::TREESSN);
    Record(At("MT", pd, hd), [&] { return m_channel->MT(pd, hd); });
}

void Engine::Delete()
{
    static const QZInt64 codes[] = {Info::DELETE_PD,     Info::DELETE_LD,     Info::DELETE_DATA,
                                    Info::DELETE_PD_ALL, Info::DELETE_HD,     Info::DELETE_HD_ALL,
                                    Info::HD_RESET,      Info::DELETE_TREE_A, 77};
    const QZInt64 code = m_random.Pick(codes);
    const bool head = code == Info::DELETE_HD || code == Info::DELETE_HD_ALL || code == Info::HD_RESET;
    Addresses& list = head ? m_hds : m_pds;
    if (list.empty()) return;
    // Without tests only what is what the code asks for.
    const QZInt64 address = m_tests ? From(list) : m_random.Pick(list);
    Record(At("D_DATA", address, code), [&] { return m_channel->D_DATA(address, code); });
}

void Engine::Rollback()
{
    switch (m_random.Below(6))
    {
        case 0: Record("RB_ON", [&] { return m_channel->RB_ON(); }); break;
        case 1: Record("RB_OFF", [&] { return m_channel->RB_OFF(); }); break;
        case 2:
        case 3: Note(m_marks, Record("AD_TS", [&] { return m_channel->AD_TS(); })); break;
        case 4: Record("G_WPS", [&] { return m_channel->G_WPS(); }); break;
        default:
        {
            if (m_marks.empty()) break;
            QZInt64 mark = m_random.Pick(m_marks);
            if (m_random.Chance(80))
                mark = Record(At("mark of", mark), [&] { return m_channel->G_A(mark, Info::RD_P); });
            Record(At("AB_CB", mark), [&] { return m_channel->AB_CB(mark); });
            break;
        }
    }
}

/// Writes that the system refuses: the file cannot grow for a while.
void Engine::Refuse()
{
    m_channel->SYNC();
    if (!LimitFileSize(static_cast<QZInt64>(ReadFile(kPath).size()) + m_random.Below(64))) return;
    for (int i = 0; i < 3; ++i) Append();
    Write();
    m_case.Do("SYNC refused", [&] { return m_channel->SYNC(); });
    m_case.Do("COLLECT refused", [&] { return m_channel->COLLECT(); });
    m_case.File("file", kPath);
    LimitFileSize(-1);
    m_case.Do("SYNC again", [&] { return m_channel->SYNC(); });
    m_case.File("file", kPath);
}

/// A byte of the head, or a length that has reached the limit of the addresses: writing is then refused.
void Engine::Damage()
{
    std::string file = ReadFile(kPath);
    if (file.size() < 64) return;
    if (m_random.Chance(50))
        file.replace(16, file[1] == 3 ? 8 : 4,
                     file[1] == 3 ? "\xFF\xFF\xFF\xFF\xFF\xFF\xFF\x7F" : "\xFF\xFF\xFF\xFF");
    else
        file[static_cast<std::size_t>(m_random.Pick({0, 1, 2, 31, 32}))] =
            static_cast<char>(m_random.Pick({0, 1, 2, 3, 4, 9}));
    WriteFile(kPath, file);
    m_case.Line("damaged");
}

void Engine::Step()
{
    const QZInt64 kind = m_random.Below(100);
    if (kind < 25) return Append();
    if (kind < 45) return Write();
    if (kind < 58) return Read();
    if (kind < 72) return Look();
    if (kind < 80) return Move();
    if (kind < 86) return Delete();
    if (kind < 95) return Rollback();
    if (kind < 96) return Refuse();
    if (kind < 98)
    {
        m_case.Do("SYNC", [&] { return m_channel->SYNC(); });
        m_case.File("file", kPath);
        return;
    }
    m_case.Do("COLLECT", [&] { return m_channel->COLLECT(); });
}

void Engine::Run()
{
    QZException::IsStackTrace = static_cast<QZBool>(m_random.Chance(80));
    Create();
    const QZInt64 rounds = m_random.Range(1, 3);
    for (QZInt64 round = 0; round < rounds; ++round)
    {
        if (!Open()) return;
        const bool file = m_channel->GetAddrLength() != 0;
        // Erasing where nothing is known is not undone: on the first bytes after the last record.
        for (QZInt64 steps = m_random.Range(5, 40); file && steps > 0; --steps) Step();
        Close();
        if (m_random.Chance(10))
        {
            Damage();
            if (!Open()) return;
            Append();
            Close();
            return;
        }
    }
}
}  // namespace

void RunEngine(Case& c) { Engine(c).Run(); }

}  // namespace compare
