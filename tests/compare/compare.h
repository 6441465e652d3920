#ifndef QZLIB_TESTS_COMPARE_COMPARE_H
#define QZLIB_TESTS_COMPARE_COMPARE_H

/// What all subjects of the driver share: the seeded generator, the transcript of a case, and the texts of
/// results.
///
/// The driver is compiled against two revisions of the library and uses only what the public header of both
/// has. A transcript holds results, exceptions and hashes of long bytes. It never holds a pointer, an object
/// id or the time.

#include <qzlib.h>

#include <string>
#include <string_view>
#include <type_traits>
#include <utility>
#include <vector>

namespace compare
{
using Wide = std::basic_string<QZWChar>;

/// FNV-1a, 64 bits.
QZUInt64 Hash(const void* bytes, std::size_t size);

/// A generator with the same sequence on every machine.
class Random
{
public:
    explicit Random(QZUInt64 seed) : m_state(seed) {}

    QZUInt64 Next();
    /// 0 to limit - 1; 0 for a limit below 1.
    QZInt64 Below(QZInt64 limit);
    /// Both bounds are reached.
    QZInt64 Range(QZInt64 lowest, QZInt64 highest) { return lowest + Below(highest - lowest + 1); }
    int Int(int lowest, int highest) { return static_cast<int>(Range(lowest, highest)); }
    bool Chance(int percent) { return Below(100) < percent; }
    /// Small numbers, bounds of the widths, and any pattern of bits.
    QZInt64 Number();
    double Real();
    template <typename T>
    const T& Pick(const std::vector<T>& items)
    {
        return items[static_cast<std::size_t>(Below(static_cast<QZInt64>(items.size())))];
    }
    template <typename T, std::size_t N>
    const T& Pick(const T (&items)[N])
    {
        return items[Below(static_cast<QZInt64>(N))];
    }

    std::string Bytes(QZInt64 size);
    /// Bytes of few values, so that searches find something.
    std::string FewBytes(QZInt64 size);
    /// Text: of few letters, of mixed letters, or of units from all of UTF-16.
    Wide Text(QZInt64 longest);
    /// The same without units above 127.
    Wide Ascii(QZInt64 longest);
    /// A name: a letter and then letters and digits.
    Wide Name(QZInt64 longest);

private:
    QZUInt64 m_state;
};

std::string Utf8(std::basic_string_view<QZWChar> text);
Wide ToWide(std::string_view ascii);

/// Marks a result that the library made for the caller: it is shown and then given back.
template <typename T>
struct Owned
{
    T* object;
};
template <typename T>
Owned<T> Own(T* object)
{
    return {object};
}

void Release(QZString* text);
void Release(QZStringCollection* texts);
void Release(QZData* data);
void Release(QZDataCollection* list);
void Release(QZCollection* words);
void Release(QZDateTime* time);

/// One case: its generator and what it has printed.
class Case
{
public:
    Case(QZUInt64 seed, bool full) : random(seed), m_full(full) {}

    Random random;

    const std::string& Transcript() const { return m_text; }

    void Line(std::string_view text);
    /// A name and a value.
    template <typename T>
    void Value(std::string_view name, T&& value)
    {
        Line(std::string(name) + " = " + Show(std::forward<T>(value)));
    }

    /// Calls, and prints the result or what was raised. False when something was raised.
    template <typename Call>
    bool Do(std::string_view name, Call call)
    {
        try
        {
            if constexpr (std::is_void_v<std::invoke_result_t<Call>>)
            {
                call();
                Done(name, "ok");
            }
            else
            {
                Done(name, Show(call()));
            }
            return true;
        }
        catch (QZException* exception)
        {
            Raised(name, exception);
        }
        return false;
    }

    /// Length and hash; the bytes themselves when they are few. A transcript in full has all of them.
    std::string Bytes(const void* bytes, QZInt64 size);
    std::string Text(std::basic_string_view<QZWChar> text);

    template <typename T>
    std::string Show(const T& value)
    {
        if constexpr (std::is_floating_point_v<T>)
            return Number(static_cast<double>(value));
        else if constexpr (std::is_enum_v<T>)
            return std::to_string(static_cast<QZInt64>(value));
        else
            return std::to_string(value);
    }
    std::string Show(const std::string& text) { return text; }
    std::string Show(const char* text) { return text != nullptr ? text : "<null>"; }
    std::string Show(const QZWChar* text) { return text != nullptr ? Text(text) : "<null>"; }
    std::string Show(QZString* text);
    std::string Show(QZStringCollection* texts);
    std::string Show(QZData* data);
    std::string Show(QZDataCollection* list);
    std::string Show(QZCollection* words);
    std::string Show(QZDateTime* time);
    template <typename T>
    std::string Show(const Owned<T>& owned)
    {
        std::string text = Show(owned.object);
        if (owned.object != nullptr) Release(owned.object);
        return text;
    }

    /// Length and hash of a file.
    void File(std::string_view name, const std::string& path);

private:
    friend void NoteAssert(QZBool condition);

    static std::string Number(double value);
    void Done(std::string_view name, const std::string& result);
    void Raised(std::string_view name, QZException* exception);
    void Dump(const unsigned char* bytes, std::size_t size);

    std::string m_text;
    std::string m_dump;
    QZInt64 m_asserts = 0;
    bool m_full;
};

/// Calls with the text in one of the three forms that overloads take: narrow, wide or a string object.
template <typename Call>
auto InAnyForm(Case& c, const Wide& text, Call call)
{
    switch (c.random.Below(3))
    {
        case 0: return call(Utf8(text).c_str());
        case 1: return call(text.c_str());
        default:
        {
            QZString object(text.c_str());
            return call(&object);
        }
    }
}

/// The same, and sometimes with a null of the form.
template <typename Call>
auto InAnyFormOrNull(Case& c, const Wide& text, Call call)
{
    if (!c.random.Chance(4)) return InAnyForm(c, text, call);
    switch (c.random.Below(3))
    {
        case 0: return call(static_cast<const char*>(nullptr));
        case 1: return call(static_cast<const QZWChar*>(nullptr));
        default: return call(static_cast<QZString*>(nullptr));
    }
}

/// Files of a case lie in the working folder. Missing ones read as empty.
std::string ReadFile(const std::string& path);
void WriteFile(const std::string& path, std::string_view bytes);
void DeleteFile(const std::string& path);

/// The clock of the library stands still from here on. False when it cannot be held.
bool HoldClock();
/// What the library's clock shows then, in milliseconds from the start of year 1: 2024-05-06 07:08:09.123.
constexpr QZInt64 kHeldTime = 63850576089123;

/// Files cannot grow beyond so many bytes, a negative number for any size. False where the platform has no
/// such limit.
bool LimitFileSize(QZInt64 bytes);

struct Subject
{
    const char* name;
    void (*run)(Case& c);
    int shortCases;
    int longCases;
};

void RunBytes(Case& c);
void RunText(Case& c);
void RunNumbers(Case& c);
void RunLists(Case& c);
void RunPackages(Case& c);
void RunExceptions(Case& c);
void RunEngine(Case& c);
void RunNodes(Case& c);
void RunTables(Case& c);
void RunHttp(Case& c);
void RunJson(Case& c);
void RunPixels(Case& c);
void RunShapes(Case& c);
void RunCodec(Case& c);
void RunFiles(Case& c);

}  // namespace compare

#endif
