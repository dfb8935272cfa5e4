#include "core/PngWriter.h"

#include "core/Parallel.h"

#include <zlib.h>

#include <algorithm>
#include <cstdlib>
#include <cstring>

namespace {
// Deflate level 2 keeps files within a few percent of the default level at a third of the time.
constexpr int kDeflateLevel = 2;
// Rows are compressed in pieces of about this many bytes, each with a fresh dictionary.
constexpr std::size_t kPieceBytes = 1u << 20;

void PutU32(std::vector<char>& out, std::uint32_t v)
{
    out.push_back(static_cast<char>(v >> 24));
    out.push_back(static_cast<char>(v >> 16));
    out.push_back(static_cast<char>(v >> 8));
    out.push_back(static_cast<char>(v));
}

void PutChunk(std::vector<char>& out, const char* type, const char* data, std::size_t size)
{
    PutU32(out, static_cast<std::uint32_t>(size));
    const std::size_t start = out.size();
    out.insert(out.end(), type, type + 4);
    out.insert(out.end(), data, data + size);
    const uLong crc =
        crc32(0L, reinterpret_cast<const Bytef*>(out.data() + start), static_cast<uInt>(size + 4));
    PutU32(out, static_cast<std::uint32_t>(crc));
}

inline int Paeth(int a, int b, int c)
{
    const int p = a + b - c;
    const int pa = std::abs(p - a);
    const int pb = std::abs(p - b);
    const int pc = std::abs(p - c);
    if (pa <= pb && pa <= pc)
        return a;
    return pb <= pc ? b : c;
}

// Filters one row (raw, with the previous raw row or null) into out[0] = filter type, out[1..] the
// filtered bytes, choosing the filter with the smallest sum of absolute signed values, the usual
// heuristic for good compression.
void FilterRow(const std::uint8_t* row, const std::uint8_t* previous, int bytes, int bpp, std::uint8_t* out,
               std::vector<std::uint8_t>& scratch)
{
    scratch.resize(static_cast<std::size_t>(bytes) * 3);
    std::uint8_t* sub = scratch.data();
    std::uint8_t* up = sub + bytes;
    std::uint8_t* paeth = up + bytes;
    long costNone = 0, costSub = 0, costUp = 0, costPaeth = 0;
    for (int i = 0; i < bytes; ++i)
    {
        const int x = row[i];
        const int a = i >= bpp ? row[i - bpp] : 0;
        const int b = previous ? previous[i] : 0;
        const int c = previous && i >= bpp ? previous[i - bpp] : 0;
        sub[i] = static_cast<std::uint8_t>(x - a);
        up[i] = static_cast<std::uint8_t>(x - b);
        paeth[i] = static_cast<std::uint8_t>(x - Paeth(a, b, c));
        costNone += std::abs(static_cast<std::int8_t>(x));
        costSub += std::abs(static_cast<std::int8_t>(sub[i]));
        costUp += std::abs(static_cast<std::int8_t>(up[i]));
        costPaeth += std::abs(static_cast<std::int8_t>(paeth[i]));
    }
    std::uint8_t type = 0;
    const std::uint8_t* chosen = row;
    long best = costNone;
    if (costSub < best)
    {
        best = costSub;
        type = 1;
        chosen = sub;
    }
    if (costUp < best)
    {
        best = costUp;
        type = 2;
        chosen = up;
    }
    if (costPaeth < best)
    {
        type = 4;
        chosen = paeth;
    }
    out[0] = type;
    std::memcpy(out + 1, chosen, static_cast<std::size_t>(bytes));
}

// One piece of the image data stream: raw deflate ending on a byte boundary, so pieces concatenate.
bool DeflatePiece(const std::uint8_t* data, std::size_t size, bool last, std::vector<char>& out)
{
    z_stream stream{};
    if (deflateInit2(&stream, kDeflateLevel, Z_DEFLATED, -15, 8, Z_FILTERED) != Z_OK)
        return false;
    out.resize(deflateBound(&stream, static_cast<uLong>(size)) + 16);
    stream.next_in = const_cast<Bytef*>(data);
    stream.avail_in = static_cast<uInt>(size);
    stream.next_out = reinterpret_cast<Bytef*>(out.data());
    stream.avail_out = static_cast<uInt>(out.size());
    const int result = deflate(&stream, last ? Z_FINISH : Z_SYNC_FLUSH);
    const bool ok = last ? result == Z_STREAM_END : result == Z_OK;
    out.resize(out.size() - stream.avail_out);
    deflateEnd(&stream);
    return ok && stream.avail_in == 0;
}
} // namespace

std::vector<char> EncodePng(const PlaneView<const std::uint8_t>& colour,
                            const PlaneView<const std::uint8_t>& alpha)
{
    const int width = colour.width;
    const int height = colour.height;
    const bool hasAlpha = alpha.data != nullptr;
    const int bpp = hasAlpha ? 4 : 3;
    const int rowBytes = width * bpp;
    const std::size_t stride = static_cast<std::size_t>(rowBytes) + 1;

    // Interleave and filter every row.
    std::vector<std::uint8_t> filtered(stride * height);
    std::vector<std::uint8_t> raw(hasAlpha ? static_cast<std::size_t>(rowBytes) * height : 0);
    const auto rawRow = [&](int y) -> const std::uint8_t* {
        return hasAlpha ? raw.data() + static_cast<std::size_t>(y) * rowBytes : colour.Row(y);
    };
    if (hasAlpha)
        ParallelFor(0, height, [&](int from, int to) {
            for (int y = from; y < to; ++y)
            {
                const std::uint8_t* rgb = colour.Row(y);
                const std::uint8_t* a = alpha.Row(y);
                std::uint8_t* dst = raw.data() + static_cast<std::size_t>(y) * rowBytes;
                for (int x = 0; x < width; ++x)
                {
                    dst[4 * x] = rgb[3 * x];
                    dst[4 * x + 1] = rgb[3 * x + 1];
                    dst[4 * x + 2] = rgb[3 * x + 2];
                    dst[4 * x + 3] = a[x];
                }
            }
        });
    ParallelFor(0, height, [&](int from, int to) {
        std::vector<std::uint8_t> scratch;
        for (int y = from; y < to; ++y)
            FilterRow(rawRow(y), y > 0 ? rawRow(y - 1) : nullptr, rowBytes, bpp, filtered.data() + stride * y,
                      scratch);
    });

    // Compress whole rows in pieces of a size fixed by the image alone.
    const int rowsPerPiece = static_cast<int>(std::max<std::size_t>(1, kPieceBytes / stride));
    const int pieces = (height + rowsPerPiece - 1) / rowsPerPiece;
    std::vector<std::vector<char>> compressed(static_cast<std::size_t>(pieces));
    std::vector<uLong> checksums(static_cast<std::size_t>(pieces));
    std::vector<char> failed(static_cast<std::size_t>(pieces), 0);
    ParallelFor(0, pieces, [&](int from, int to) {
        for (int p = from; p < to; ++p)
        {
            const int firstRow = p * rowsPerPiece;
            const int rows = std::min(rowsPerPiece, height - firstRow);
            const std::uint8_t* data = filtered.data() + stride * firstRow;
            const std::size_t size = stride * rows;
            checksums[p] = adler32(1L, data, static_cast<uInt>(size));
            failed[p] = !DeflatePiece(data, size, p == pieces - 1, compressed[p]);
        }
    });
    if (std::find(failed.begin(), failed.end(), 1) != failed.end())
        return {};

    std::vector<char> stream = {0x78, 0x5E}; // zlib header: deflate, 32K window
    uLong checksum = 1L;
    for (int p = 0; p < pieces; ++p)
    {
        stream.insert(stream.end(), compressed[p].begin(), compressed[p].end());
        const int rows = std::min(rowsPerPiece, height - p * rowsPerPiece);
        checksum = adler32_combine(checksum, checksums[p], static_cast<z_off_t>(stride * rows));
    }
    PutU32(stream, static_cast<std::uint32_t>(checksum));

    std::vector<char> png = {'\x89', 'P', 'N', 'G', '\r', '\n', '\x1a', '\n'};
    std::vector<char> header;
    PutU32(header, static_cast<std::uint32_t>(width));
    PutU32(header, static_cast<std::uint32_t>(height));
    header.insert(header.end(), {8, static_cast<char>(hasAlpha ? 6 : 2), 0, 0, 0});
    PutChunk(png, "IHDR", header.data(), header.size());
    // Image data in chunks of at most 1 MiB, as readers expect moderate chunk sizes.
    for (std::size_t at = 0; at < stream.size(); at += kPieceBytes)
        PutChunk(png, "IDAT", stream.data() + at, std::min(kPieceBytes, stream.size() - at));
    PutChunk(png, "IEND", nullptr, 0);
    return png;
}
