#include "support/qz_test.h"

#include <atomic>
#include <cstdio>
#include <fstream>
#include <iterator>
#include <random>

#include "fw/fw_library.h"

namespace qztest
{

namespace
{

void AppendUtf8(std::string& out, char32_t c)
{
    auto put = [&out](char32_t byte) { out.push_back(static_cast<char>(static_cast<unsigned char>(byte))); };
    if (c < 0x80)
    {
        put(c);
    }
    else if (c < 0x800)
    {
        put(0xC0 | (c >> 6));
        put(0x80 | (c & 0x3F));
    }
    else if (c < 0x10000)
    {
        put(0xE0 | (c >> 12));
        put(0x80 | ((c >> 6) & 0x3F));
        put(0x80 | (c & 0x3F));
    }
    else
    {
        put(0xF0 | (c >> 18));
        put(0x80 | ((c >> 12) & 0x3F));
        put(0x80 | ((c >> 6) & 0x3F));
        put(0x80 | (c & 0x3F));
    }
}

std::atomic<int> g_failedAssertions{0};

int HexDigit(char c)
{
    if (c >= '0' && c <= '9') return c - '0';
    if (c >= 'a' && c <= 'f') return c - 'a' + 10;
    if (c >= 'A' && c <= 'F') return c - 'A' + 10;
    return -1;
}

}  // namespace

std::string Utf8(TextView text)
{
    std::string out;
    for (std::size_t i = 0; i < text.size(); ++i)
    {
        char32_t c = static_cast<char16_t>(text[i]);
        const bool high = c >= 0xD800 && c < 0xDC00;
        if (high && i + 1 < text.size())
        {
            const char32_t low = static_cast<char16_t>(text[i + 1]);
            if (low >= 0xDC00 && low < 0xE000)
            {
                AppendUtf8(out, 0x10000 + ((c - 0xD800) << 10) + (low - 0xDC00));
                ++i;
                continue;
            }
        }
        if (c >= 0xD800 && c < 0xE000) c = 0xFFFD;
        AppendUtf8(out, c);
    }
    return out;
}

std::string Utf8(const QZWChar* text) { return text != nullptr ? Utf8(TextView(text)) : "<null>"; }

std::string Utf8(QZString* text)
{
    if (text == nullptr) return "<null>";
    const auto* units = static_cast<const QZWChar*>(static_cast<const void*>(text->GetPointer()));
    return Utf8(TextView(units, static_cast<std::size_t>(text->GetLength())));
}

Text Wide(std::string_view utf8)
{
    Text out;
    for (std::size_t i = 0; i < utf8.size();)
    {
        const auto lead = static_cast<unsigned char>(utf8[i++]);
        const int more = lead < 0x80 ? 0 : lead < 0xE0 ? 1 : lead < 0xF0 ? 2 : 3;
        char32_t c = more == 0 ? lead : lead & (0x3Fu >> more);
        for (int k = 0; k < more && i < utf8.size(); ++k)
            c = (c << 6) | (static_cast<unsigned char>(utf8[i++]) & 0x3Fu);
        if (c >= 0x10000)
        {
            out.push_back(static_cast<QZWChar>(0xD800 + ((c - 0x10000) >> 10)));
            c = 0xDC00 + ((c - 0x10000) & 0x3FF);
        }
        out.push_back(static_cast<QZWChar>(c));
    }
    return out;
}

std::string Hex(const void* data, std::size_t size)
{
    static const char digits[] = "0123456789ABCDEF";
    const auto* bytes = static_cast<const unsigned char*>(data);
    std::string out;
    for (std::size_t i = 0; i < size; ++i)
    {
        if (i) out.push_back(' ');
        out.push_back(digits[bytes[i] >> 4]);
        out.push_back(digits[bytes[i] & 15]);
    }
    return out;
}

std::string Bytes(std::string_view hex)
{
    std::string out;
    int high = -1;
    for (const char c : hex)
    {
        const int digit = HexDigit(c);
        if (digit < 0) continue;
        if (high < 0)
        {
            high = digit;
        }
        else
        {
            out.push_back(static_cast<char>(high * 16 + digit));
            high = -1;
        }
    }
    return out;
}

std::filesystem::path DataFile(std::string_view relative)
{
    return std::filesystem::path(QZ_TEST_DATA_DIR) / std::filesystem::path(relative);
}

TempDir::TempDir()
{
    std::random_device random;
    do {
        char name[32];
        std::snprintf(name, sizeof name, "qzlib-%08x%08x", random(), random());
        m_path = std::filesystem::temp_directory_path() / name;
    } while (!std::filesystem::create_directory(m_path));
}

TempDir::~TempDir()
{
    std::error_code ignored;
    std::filesystem::remove_all(m_path, ignored);
}

Text TempDir::Name(std::string_view name) const
{
    const std::filesystem::path path = name.empty() ? m_path : m_path / std::filesystem::path(name);
    const std::u16string text = path.u16string();
    return Text(text.begin(), text.end());
}

std::string TempDir::NarrowName(std::string_view name) const
{
    return (name.empty() ? m_path : m_path / std::filesystem::path(name)).string();
}

void TempDir::Write(std::string_view name, std::string_view bytes) const
{
    std::ofstream file(Path(name), std::ios::binary | std::ios::trunc);
    file.write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
    file.close();
    if (!file) ADD_FAILURE() << "cannot write " << Path(name);
}

std::string TempDir::Read(std::string_view name) const
{
    std::ifstream file(Path(name), std::ios::binary);
    if (!file) ADD_FAILURE() << "cannot read " << Path(name);
    std::string bytes;
    std::string piece(1 << 20, '\0');
    while (file.read(piece.data(), static_cast<std::streamsize>(piece.size())) || file.gcount() > 0)
        bytes.append(piece, 0, static_cast<std::size_t>(file.gcount()));
    return bytes;
}

bool TempDir::Exists(std::string_view name) const { return std::filesystem::exists(Path(name)); }

void FailOnFailedAssertion(QZBool condition)
{
    if (condition) return;
    ++g_failedAssertions;
    ADD_FAILURE() << "an assertion of the library failed";
}

int FailedAssertionCount() { return g_failedAssertions; }

void SetStandardHooks()
{
    SetStandardMemoryHooks();
    QZLibSetFunctionAssert(&FailOnFailedAssertion);
}

Thrown TakeException(QZException* exception)
{
    Thrown thrown;
    thrown.thrown = true;
    thrown.code = static_cast<QZInt64>(exception->GetCode());
    thrown.type = exception->GetType();
    thrown.message = Utf8(exception->GetMsg());
    thrown.stackTrace = Utf8(exception->GetStackTrace());
    thrown.argumentTrace = Utf8(exception->GetArgumentTrace());
    QZExceptionFactory::Recycle(&exception);
    return thrown;
}

::testing::AssertionResult ThrewCode(const char* expression, const Thrown& thrown, QZInt64 code)
{
    if (!thrown.thrown)
        return ::testing::AssertionFailure() << expression << " threw nothing, expected code " << code;
    if (thrown.code != code)
        return ::testing::AssertionFailure() << expression << " threw code " << thrown.code << " (\""
                                             << thrown.message << "\"), expected code " << code;
    return ::testing::AssertionSuccess();
}

::testing::AssertionResult ThrewMessage(const char* expression, const Thrown& thrown, QZInt64 code,
                                        std::string_view message)
{
    ::testing::AssertionResult result = ThrewCode(expression, thrown, code);
    if (!result || thrown.message == message) return result;
    return ::testing::AssertionFailure()
           << expression << " threw the message \"" << thrown.message << "\", expected \"" << message << "\"";
}

::testing::AssertionResult ThrewNothing(const char* expression, const Thrown& thrown)
{
    if (!thrown.thrown) return ::testing::AssertionSuccess();
    return ::testing::AssertionFailure() << expression << " threw code " << thrown.code << " (\""
                                         << thrown.message << "\") from " << thrown.stackTrace;
}

}  // namespace qztest
