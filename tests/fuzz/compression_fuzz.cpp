// Any bytes as input of the codec: each stage round-trips, a stream that Check accepts decodes within its
// stated length, and damaged containers cause no access outside the buffer.

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <vector>

#include "codec/cod_compression.h"
#include "fw/fw_exception_factory.h"
#include "fw/fw_library.h"
#include "qzlib.h"

namespace
{
using Bytes = std::vector<unsigned char>;

constexpr std::size_t kRoom = 0x20000;

void Require(bool condition)
{
    if (!condition) std::abort();
}

QZULong Size(const Bytes& bytes) { return static_cast<QZULong>(bytes.size()); }

void Mark(Bytes* bytes, std::uint32_t marker)
{
    for (int shift = 0; shift < 32; shift += 8) bytes->push_back(static_cast<unsigned char>(marker >> shift));
}

std::int32_t WordAt(const Bytes& bytes, std::size_t offset)
{
    std::int32_t word = 0;
    if (offset + 4 <= bytes.size()) std::memcpy(&word, bytes.data() + offset, 4);
    return word;
}

/// Decodes a stream from an unknown source with exactly the room that it states.
void CheckUnknownStream(Bytes bytes)
{
    QZCompression codec;
    if (!QZCompression::Check(bytes.data(), Size(bytes))) return;
    const QZULong length = Size(bytes);
    const std::size_t stated = codec.DecompressGetSourceLength(bytes.data(), length);
    if (stated > kRoom) return;
    bytes.resize(std::max(bytes.size(), stated));
    Require(codec.Decompress(bytes.data(), length) <= stated);
}

/// Reads an image from an unknown source in a buffer of exactly its room.
void CheckUnknownImage(Bytes bytes)
{
    const QZULong length = Size(bytes);
    bytes.resize(bytes.size() + 0x1000);
    QZCompression codec;
    QZULong result = 0;
    if (codec.TryBitmapBitsDecompress32(bytes.data(), length, Size(bytes), &result))
        Require(result <= Size(bytes));
}

void CheckDamaged(const Bytes& input)
{
    QZCompression codec;
    Bytes divided = input;
    Mark(&divided, 0x5010200);
    Require(codec.UnDivide(divided.data(), Size(divided)) < divided.size());

    // An image that lost columns is larger than its stream: such images are only tried with room for them.
    Bytes tiled = input;
    Mark(&tiled, 0x5010100);
    Mark(&tiled, 0x5010400);
    const long long width = WordAt(tiled, 0);
    const long long height = WordAt(tiled, 4);
    const QZULong length = Size(tiled);
    const bool fits = width <= 0 || height <= 0 || (width <= 0x200 && height <= 0x200);
    // Larger sides count as damage, because no row is complete; but all columns may be lost.
    const std::uint32_t tile = static_cast<std::uint32_t>(WordAt(tiled, 8));
    if (!fits && tile != 0 && height % tile == 0) return;
    if (fits && width > 0 && height > 0)
        tiled.resize(std::max(tiled.size(), static_cast<std::size_t>(width * height * 4)));
    Require(codec.LineToRect(tiled.data(), length) == length - 4);
}

void CheckOwnStages(const Bytes& input, unsigned parameter)
{
    QZCompression codec;
    const QZULong planes = parameter % 16 + 1;
    Bytes bytes = input;
    bytes.resize(input.size() * 2 + 8 * planes + 64);
    QZULong length = codec.Divide(bytes.data(), Size(input), planes);
    Require(length == input.size() + 8 * planes + 8);
    Require(codec.UnDivide(bytes.data(), length) == input.size());
    Require(std::equal(input.begin(), input.end(), bytes.begin()));

    length = codec.Compress(bytes.data(), Size(input));
    Require(length <= 2 * input.size() + 64 && QZCompression::Check(bytes.data(), length));
    Require(codec.Decompress(bytes.data(), length) == input.size());
    for (std::size_t i = 0; i < input.size(); ++i)
        Require(static_cast<unsigned char>(bytes[i] - input[i] + 3) <= 6);

    const int pixels = static_cast<int>(input.size() / 4);
    const int width = static_cast<int>(parameter % 40) + 1;
    const int height = pixels / width;
    const unsigned tile = parameter % 9 + 1;
    Bytes image = input;
    image.resize(input.size() + 64);
    length = codec.RectToLine(image.data(), width, height, tile);
    codec.LineToRect(image.data(), length);
    const int kept = height % static_cast<int>(tile) ? width : width - width % static_cast<int>(tile);
    for (int y = 0; y < height; ++y)
        Require(std::memcmp(image.data() + y * width * 4, input.data() + y * width * 4,
                            static_cast<std::size_t>(kept) * 4) == 0);
}
}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    static const bool started = QZLibInit() != 0;
    Require(started);
    if (size < 1 || size > 0x4000) return 0;
    const Bytes input(data + 1, data + size);
    CheckOwnStages(input, data[0]);
    CheckDamaged(input);
    CheckUnknownStream(input);
    CheckUnknownImage(input);
    for (const std::uint32_t marker : {0x5010200u, 0x5010400u})
    {
        Bytes image = input;
        if (marker == 0x5010400u) Mark(&image, 0x5010100);
        Mark(&image, marker);
        CheckUnknownImage(image);
    }
    Bytes stream = input;
    stream.insert(stream.end(), {0, data[0], 1, 0, 0, 0, 0, 0, 0});
    Mark(&stream, 0x5010300);
    CheckUnknownStream(stream);
    CheckUnknownImage(stream);
    return 0;
}
