// The codec in all stages, Base64, byte substitution, random numbers, unique codes, mathematics.

#include <algorithm>

#include "compare.h"

namespace compare
{
namespace
{
/// Data as pictures have it: runs, slopes, noise.
std::string Picture(Random& r, QZInt64 size)
{
    std::string bytes;
    while (static_cast<QZInt64>(bytes.size()) < size)
    {
        const QZInt64 run = r.Range(1, r.Chance(20) ? 300 : 30);
        const QZInt64 kind = r.Below(4);
        QZInt64 value = r.Below(256);
        for (QZInt64 i = 0; i < run; ++i)
        {
            if (kind == 1) value += r.Range(-1, 1);
            if (kind == 2) value += r.Range(-7, 7);
            if (kind == 3) value = r.Below(256);
            bytes += static_cast<char>(value);
        }
    }
    bytes.resize(static_cast<std::size_t>(size));
    return bytes;
}

void Codec(Case& c)
{
    Random& r = c.random;
    QZCompression codec;
    const QZInt64 size = r.Chance(5) ? 0 : r.Below(r.Chance(10) ? 20000 : 900);
    const std::string source = Picture(r, size);
    const auto length = static_cast<QZULong>(size);
    const auto stage = [&](const char* name, const std::string& input, QZULong have, auto call) {
        std::string buffer = input;
        // Room for every stage, whose results are never longer than this.
        buffer.resize(input.size() * 2 + 70000, 0);
        c.Do(name, [&] {
            const QZULong result = call(reinterpret_cast<unsigned char*>(buffer.data()), have);
            buffer.resize(std::min<std::size_t>(result, buffer.size()));
            return std::to_string(result) + " " + c.Bytes(buffer.data(), static_cast<QZInt64>(buffer.size()));
        });
        return buffer;
    };
    const auto packed =
        stage("Compress", source, length, [&](auto* p, QZULong n) { return codec.Compress(p, n); });
    const auto packedLength = static_cast<QZULong>(packed.size());
    c.Do("Check", [&] { return QZCompression::Check(packed.data(), packedLength); });
    c.Do("DecompressGetSourceLength",
         [&] { return codec.DecompressGetSourceLength(packed.data(), packedLength); });
    stage("Decompress", packed, packedLength, [&](auto* p, QZULong n) { return codec.Decompress(p, n); });
    std::string damaged = packed;
    if (!damaged.empty())
        damaged[static_cast<std::size_t>(r.Below(static_cast<QZInt64>(damaged.size())))] =
            static_cast<char>(r.Next());
    QZBool sound = 0;
    c.Do("Check damaged", [&] { return sound = QZCompression::Check(damaged.data(), packedLength); });
    // Only what passes the check ends for certain, and in bounded room.
    if (sound != 0 && codec.DecompressGetSourceLength(damaged.data(), packedLength) < 60000)
        stage("Decompress damaged", damaged, packedLength,
              [&](auto* p, QZULong n) { return codec.Decompress(p, n); });
    const auto planes = static_cast<QZULong>(r.Range(1, 8));
    const auto divided =
        stage("Divide", source, length, [&](auto* p, QZULong n) { return codec.Divide(p, n, planes); });
    stage("UnDivide", divided, static_cast<QZULong>(divided.size()),
          [&](auto* p, QZULong n) { return codec.UnDivide(p, n); });
    stage("UnDivide foreign", source, length, [&](auto* p, QZULong n) { return codec.UnDivide(p, n); });
    const auto width = static_cast<QZLong>(r.Range(1, 40));
    const auto height = static_cast<QZLong>(r.Range(1, 40));
    const std::string pixels = Picture(r, QZInt64{4} * width * height);
    const auto lined = stage("RectToLine", pixels, 0, [&](auto* p, QZULong) {
        return codec.RectToLine(p, width, height, static_cast<QZULong>(r.Range(0, 9)));
    });
    if (lined.size() < pixels.size() + 100)
        stage("LineToRect", lined, static_cast<QZULong>(lined.size()),
              [&](auto* p, QZULong n) { return codec.LineToRect(p, n); });
    const bool tiled = r.Chance(50);
    const auto image = stage("BitmapBitsCompress32", pixels, 0, [&](auto* p, QZULong) {
        return codec.BitmapBitsCompress32(width, height, p, tiled);
    });
    stage("BitmapBitsDecompress32", image, static_cast<QZULong>(image.size()),
          [&](auto* p, QZULong n) { return codec.BitmapBitsDecompress32(p, n); });
}

void Base64(Case& c)
{
    Random& r = c.random;
    const std::string bytes = r.Bytes(r.Below(60));
    QZData data(bytes.data(), static_cast<QZInt64>(bytes.size()));
    QZString text(r.Text(12).c_str());
    QZString* coded = QZBase64::EnCode(&data);
    c.Value("EnCode", coded);
    c.Do("EnCode text", [&] { return Own(QZBase64::EnCode(r.Chance(3) ? nullptr : &text)); });
    if (r.Chance(40) && coded->GetLength() > 0)
    {
        QZString* piece = coded->SubString(0, r.Below(coded->GetLength()));
        QZStringFactory::Recycle(&coded);
        coded = piece;
        if (r.Chance(50)) coded->Append(r.Pick({"=", "==", "===", "*", "A"}));
    }
    c.Do("IsBase64", [&] { return QZBase64::IsBase64(coded); });
    c.Do("IsBase64 units",
         [&] { return QZBase64::IsBase64(coded->GetPointer(), r.Below(coded->GetSize() + 1)); });
    c.Do("DeCode", [&] { return Own(QZBase64::DeCode(coded)); });
    c.Do("DeCodeToString", [&] { return Own(QZBase64::DeCodeToString(coded)); });
    QZStringFactory::Recycle(&coded);
}

void Substitution(Case& c)
{
    Random& r = c.random;
    const std::string key = r.Bytes(r.Below(r.Chance(20) ? 400 : 20));
    std::string map(256, 0);
    std::string back(512, 0);
    QZEncryption::CreateEncryptionMapByChar(map.data(), key.data(), static_cast<QZInt64>(key.size()));
    QZEncryption::CreateDecryptionMapByChar(back.data(), key.data(), static_cast<QZInt64>(key.size()));
    c.Line("maps " + c.Bytes(map.data(), 256) + " " + c.Bytes(back.data(), 512));
    std::string data = r.Bytes(r.Below(70));
    QZEncryption::Encryption(map.data(), data.data(), static_cast<QZInt64>(data.size()));
    c.Line("hidden " + c.Bytes(data.data(), static_cast<QZInt64>(data.size())));
    QZEncryption::Decryption(back.data(), data.data(), static_cast<QZInt64>(data.size()));
    c.Line("back " + c.Bytes(data.data(), static_cast<QZInt64>(data.size())));
}

void Numbers(Case& c)
{
    Random& r = c.random;
    QZRandom numbers(r.Chance(50) ? r.Below(5000) : r.Number());
    std::string all;
    for (int i = 0; i < 30; ++i)
    {
        switch (r.Below(4))
        {
            case 0: all += std::to_string(numbers.NextQZInt32()) + " "; break;
            case 1: all += std::to_string(numbers.NextQZInt16()) + " "; break;
            case 2: all += std::to_string(numbers.NextQZInt32(r.Int(-9, 0), r.Int(1, 900))) + " "; break;
            default:
                all += std::to_string(numbers.NextQZInt16(static_cast<short>(r.Int(-9, 0)),
                                                          static_cast<short>(r.Int(1, 900)))) +
                       " ";
                break;
        }
    }
    c.Line(all);
    c.Do("same bounds", [&] { return numbers.NextQZInt32(3, 3); });
    QZUniqueCode code;
    for (QZInt64 i = r.Below(6); i >= 0; --i)
    {
        const Wide words = r.Text(9);
        const std::string bytes = r.Bytes(r.Below(30));
        QZString text(words.c_str());
        QZData data(bytes.data(), static_cast<QZInt64>(bytes.size()));
        QZDateTime time(r.Below(70000000000000));
        switch (r.Below(6))
        {
            case 0: c.Do("Append text", [&] { code.Append(&text); }); break;
            case 1: c.Do("Append data", [&] { code.Append(r.Chance(5) ? nullptr : &data); }); break;
            case 2: c.Do("Append time", [&] { code.Append(&time); }); break;
            case 3: c.Do("Append number", [&] { code.Append(r.Number()); }); break;
            case 4:
                c.Do("Append bytes", [&] {
                    code.Append(bytes.data(), r.Chance(5) ? -1 : static_cast<QZInt64>(bytes.size()));
                });
                break;
            default:
                if (r.Chance(30)) code.Clear();
                break;
        }
        QZUniqueCode copy(code);
        c.Do("GetCode", [&] { return Own(copy.GetCode(r.Range(2, 40))); });
        c.Do("GetCode salt", [&] { return Own(copy.GetCode(r.Range(4, 40), r.Number() >> 34)); });
        c.Do("GetCode buffer", [&] {
            char room[40] = {};
            copy.GetCode(room, r.Range(4, 40));
            return c.Bytes(room, 40);
        });
    }
}

void Mathematics(Case& c)
{
    Random& r = c.random;
    for (int i = 0; i < 10; ++i)
    {
        const auto v = static_cast<float>(r.Chance(70) ? static_cast<double>(r.Range(-100000, 100000)) / 1000
                                                       : r.Real());
        c.Line("v " + c.Show(v));
        c.Line("  " + c.Show(QZMath::Sqrt(v)) + c.Show(QZMath::InvSqrt(v)) + c.Show(QZMath::Sin(v)) +
               c.Show(QZMath::Cos(v)));
        c.Line("  " + c.Show(QZMath::Log(v)) + c.Show(QZMath::Exp(v / 100)) +
               c.Show(QZMath::Pow(v < 0 ? -v : v, 1.5F)) + c.Show(QZMath::Tan(v)));
        c.Line("  " + c.Show(QZMath::ArcSin(v / 200)) + c.Show(QZMath::ArcCos(v / 200)) +
               c.Show(QZMath::ArcTan(v)));
        const auto n = [&] { return r.Int(-300, 300); };
        const int a = n();
        const int b = n();
        const int x = n();
        const int y = n();
        c.Line("  " + c.Show(QZMath::GetDistanceFromPointToPoint(a, b, x, y)) +
               c.Show(QZMath::GetDistanceFromPointToLine(n(), n(), a, b, x, y)));
        QZPoint point(n(), n());
        QZLine line(a, b, x, y);
        c.Line("  " + c.Show(QZMath::GetDistanceFromPointToLine(&point, &line)));
        const auto big = static_cast<QZUInt64>(r.Number());
        const auto step = static_cast<QZUInt64>(r.Range(1, 5000));
        c.Line("  " + c.Show(QZMath::RoundDown(big, step)) + " " + c.Show(QZMath::RoundUp(big, step)));
    }
    QZCollection words;
    for (QZInt64 i = r.Below(9); i > 0; --i) words.Push(static_cast<QZUInt64>(r.Below(1 << 20)));
    c.Value("average", QZMath::Average(&words));
}
}  // namespace

void RunCodec(Case& c)
{
    QZException::IsStackTrace = static_cast<QZBool>(c.random.Chance(80));
    switch (c.random.Below(6))
    {
        case 0: Base64(c); break;
        case 1: Substitution(c); break;
        case 2: Numbers(c); break;
        case 3: Mathematics(c); break;
        default: Codec(c); break;
    }
}

}  // namespace compare
