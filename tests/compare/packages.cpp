// QZPackage and QZPackage32: elements, the byte string, and byte strings that are damaged.

#include "compare.h"

namespace compare
{
namespace
{
/// The target's storage is fresh, so that words which nobody writes are 0.
template <typename Package>
void Bytes(Case& c, Package* package)
{
    QZData bytes;
    c.Do("Serialize", [&] {
        Package::Serialize(package, &bytes);
        return &bytes;
    });
    if (bytes.GetSize() > 0 && c.random.Chance(40))
    {
        for (QZInt64 i = c.random.Range(1, 3); i > 0; --i)
            bytes.SetValueByte(
                c.random.Below(bytes.GetSize()),
                static_cast<QZByte>(c.random.Chance(50) ? c.random.Below(8) : c.random.Next()));
        if (c.random.Chance(30)) bytes.NewSize(c.random.Below(bytes.GetSize() + 1));
        c.Value("damaged", &bytes);
    }
    c.Do("Deserialize", [&] {
        Package* read = Package::Deserialize(&bytes);
        std::string text = std::to_string(read->Count());
        for (QZInt64 i = 0; i < read->Count() && i < 20; ++i) text += " " + c.Show(Own(read->GetElement(i)));
        Package::Recycle(&read);
        return text;
    });
}

template <typename Package>
void Run(Case& c)
{
    Random& r = c.random;
    Package* made = nullptr;
    c.Do("make", [&] { made = r.Chance(50) ? new Package() : new Package(r.Range(-1, 9)); });
    if (made == nullptr) return;
    for (QZInt64 steps = r.Range(3, 24); steps > 0; --steps)
    {
        const std::string content = r.Bytes(r.Chance(5) ? 900 : r.Below(30));
        QZData data(content.data(), static_cast<QZInt64>(content.size()));
        QZData* given = r.Chance(3) ? nullptr : &data;
        const auto id = static_cast<QZUInt64>(r.Chance(90) ? r.Below(12) : r.Number());
        const QZInt64 index = r.Range(-1, made->Count());
        switch (r.Below(9))
        {
            case 0:
            case 1:
            case 2:
                c.Do("Add", [&] { return made->Add(id, given, static_cast<QZUInt64>(r.Number())); });
                break;
            case 3: c.Do("GetElementByID", [&] { return Own(made->GetElementByID(id)); }); break;
            case 4: c.Do("GetElement", [&] { return Own(made->GetElement(index)); }); break;
            case 5: c.Do("SetElementByID", [&] { made->SetElementByID(id, given); }); break;
            case 6: c.Do("SetElement", [&] { made->SetElement(index, given); }); break;
            case 7: c.Do("GetElementTypeByID", [&] { return made->GetElementTypeByID(id); }); break;
            default: Bytes(c, made); break;
        }
        c.Value("count", made->Count());
    }
    Package copy(*made);
    Bytes(c, &copy);
    Package::Recycle(&made);
    const std::string any = r.Bytes(r.Below(60));
    QZData bytes(any.data(), static_cast<QZInt64>(any.size()));
    c.Do("Deserialize any", [&] { made = Package::Deserialize(&bytes); });
    if (made != nullptr) Package::Recycle(&made);
}
}  // namespace

void RunPackages(Case& c)
{
    QZException::IsStackTrace = static_cast<QZBool>(c.random.Chance(80));
    c.random.Chance(50) ? Run<QZPackage>(c) : Run<QZPackage32>(c);
}

}  // namespace compare
