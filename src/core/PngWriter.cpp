#include "core/PngWriter.h"

#include "core/KernelTargets.h"
#include "core/Parallel.h"

#include <isa-l/igzip_lib.h>
#include <zlib.h>

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <utility>

namespace {
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

// Sum of the bytes read as signed values, the usual estimate of how well a filtered row compresses.
unsigned SignedCost(const std::uint8_t* values, int count)
{
    unsigned cost = 0;
    for (int i = 0; i < count; ++i)
    {
        // The byte as a two's-complement value: 0..127 as they are, 128..255 as -128..-1.
        const int v = values[i];
        cost += static_cast<unsigned>(v < 128 ? v : 256 - v);
    }
    return cost;
}

// The Paeth predictor of a byte from its left (a), upper (b) and upper-left (c) neighbours, written
// branch-free over 16-bit values, with p - a = b - c, p - b = a - c and p - c = (a - c) + (b - c), so
// the compiler runs it many bytes at a time.
inline std::uint8_t PaethPredictor(std::int16_t a, std::int16_t b, std::int16_t c)
{
    const std::int16_t toA = static_cast<std::int16_t>(b - c);
    const std::int16_t toB = static_cast<std::int16_t>(a - c);
    const std::int16_t toC = static_cast<std::int16_t>(toA + toB);
    const std::int16_t da = toA < 0 ? static_cast<std::int16_t>(-toA) : toA;
    const std::int16_t db = toB < 0 ? static_cast<std::int16_t>(-toB) : toB;
    const std::int16_t dc = toC < 0 ? static_cast<std::int16_t>(-toC) : toC;
    return static_cast<std::uint8_t>(da <= db && da <= dc ? a : db <= dc ? b : c);
}

// Bytes [from, to) of a row under each filter, or under the one given by `only` (1 Sub, 2 Up, 4 Paeth)
// into the matching output. The first bpp bytes have no left neighbour: a = c = 0.
void FilterSpan(const std::uint8_t* __restrict row, const std::uint8_t* __restrict previous, int from, int to,
                int bpp, std::uint8_t* __restrict sub, std::uint8_t* __restrict up,
                std::uint8_t* __restrict paeth)
{
    const int lead = std::min(std::max(bpp, from), to);
    for (int i = from; i < lead; ++i)
    {
        sub[i] = row[i];
        up[i] = static_cast<std::uint8_t>(row[i] - previous[i]);
        paeth[i] = up[i]; // with a = c = 0 the predictor is b
    }
    for (int i = lead; i < to; ++i)
    {
        sub[i] = static_cast<std::uint8_t>(row[i] - row[i - bpp]);
        up[i] = static_cast<std::uint8_t>(row[i] - previous[i]);
        paeth[i] =
            static_cast<std::uint8_t>(row[i] - PaethPredictor(row[i - bpp], previous[i], previous[i - bpp]));
    }
}

// The filter is chosen on spans spread evenly over a long row, a quarter of its bytes, which picks the
// same filter as the whole row nearly always at a quarter of the cost; short rows are looked at whole.
constexpr int kSampleSpan = 64;
constexpr int kSampleEvery = 256;

// Filters one row (raw, with the previous raw row, all zero for the first row) into out[0] = filter
// type, out[1..] the filtered bytes, choosing the filter with the smallest signed cost.
BRONDEL_WIDE_CLONES
void FilterRow(const std::uint8_t* __restrict row, const std::uint8_t* __restrict previous, int bytes,
               int bpp, std::uint8_t* __restrict out, std::vector<std::uint8_t>& scratch)
{
    scratch.resize(static_cast<std::size_t>(bytes) * 3);
    std::uint8_t* __restrict sub = scratch.data();
    std::uint8_t* __restrict up = sub + bytes;
    std::uint8_t* __restrict paeth = up + bytes;
    const bool sampled = bytes > 4 * kSampleEvery;
    const int span = sampled ? kSampleSpan : bytes;
    const int every = sampled ? kSampleEvery : std::max(bytes, 1);
    unsigned costs[4] = {0, 0, 0, 0};
    for (int start = 0; start < bytes; start += every)
    {
        const int end = std::min(bytes, start + span);
        FilterSpan(row, previous, start, end, bpp, sub, up, paeth);
        costs[0] += SignedCost(row + start, end - start);
        costs[1] += SignedCost(sub + start, end - start);
        costs[2] += SignedCost(up + start, end - start);
        costs[3] += SignedCost(paeth + start, end - start);
    }
    std::size_t chosen = 0;
    for (std::size_t k = 1; k < 4; ++k)
        if (costs[k] < costs[chosen])
            chosen = k;
    const std::uint8_t types[] = {0, 1, 2, 4};
    out[0] = types[chosen];
    if (chosen == 0)
    {
        std::memcpy(out + 1, row, static_cast<std::size_t>(bytes));
        return;
    }
    if (!sampled)
    {
        const std::uint8_t* candidates[] = {row, sub, up, paeth};
        std::memcpy(out + 1, candidates[chosen], static_cast<std::size_t>(bytes));
        return;
    }
    // Only the chosen filter is run over the whole row.
    std::uint8_t* __restrict filtered = out + 1;
    const int lead = std::min(bpp, bytes);
    if (chosen == 1)
    {
        std::memcpy(filtered, row, static_cast<std::size_t>(lead));
        for (int i = lead; i < bytes; ++i)
            filtered[i] = static_cast<std::uint8_t>(row[i] - row[i - bpp]);
    }
    else if (chosen == 2)
        for (int i = 0; i < bytes; ++i)
            filtered[i] = static_cast<std::uint8_t>(row[i] - previous[i]);
    else
    {
        for (int i = 0; i < lead; ++i)
            filtered[i] = static_cast<std::uint8_t>(row[i] - previous[i]);
        for (int i = lead; i < bytes; ++i)
            filtered[i] = static_cast<std::uint8_t>(
                row[i] - PaethPredictor(row[i - bpp], previous[i], previous[i - bpp]));
    }
}

// One piece of the image data stream: raw deflate ending on a byte boundary, so pieces concatenate.
// ISA-L's level 2 compresses about five times faster than zlib's level 2 and to slightly smaller
// files on generated maps; its work buffer is kept by the caller for every piece it compresses.
bool DeflatePiece(const std::uint8_t* data, std::size_t size, bool last, std::vector<std::uint8_t>& work,
                  std::vector<char>& buffer, std::vector<char>& out)
{
    isal_zstream stream;
    isal_deflate_init(&stream);
    work.resize(ISAL_DEF_LVL2_DEFAULT);
    stream.level = 2;
    stream.level_buf = work.data();
    stream.level_buf_size = static_cast<std::uint32_t>(work.size());
    stream.gzip_flag = IGZIP_DEFLATE;
    // Stored blocks bound the worst case: a little over the input, plus the flush marker. The bound is
    // reserved once per thread and only what the piece came to is kept.
    buffer.resize(std::max(buffer.size(), size + size / 16 + 1024));
    stream.next_in = const_cast<std::uint8_t*>(data);
    stream.avail_in = static_cast<std::uint32_t>(size);
    stream.next_out = reinterpret_cast<std::uint8_t*>(buffer.data());
    stream.avail_out = static_cast<std::uint32_t>(buffer.size());
    stream.end_of_stream = last ? 1 : 0;
    stream.flush = last ? NO_FLUSH : SYNC_FLUSH;
    const int result = isal_deflate(&stream);
    out.assign(buffer.begin(),
               buffer.begin() + static_cast<std::ptrdiff_t>(buffer.size() - stream.avail_out));
    const bool finished = last ? stream.internal_state.state == ZSTATE_END : true;
    return result == COMP_OK && stream.avail_in == 0 && finished;
}
// One row of RGB and alpha planes as RGBA.
BRONDEL_WIDE_CLONES
void InterleaveRow(const std::uint8_t* __restrict rgb, const std::uint8_t* __restrict a, int width,
                   std::uint8_t* __restrict out)
{
    for (int x = 0; x < width; ++x)
    {
        const std::uint32_t pixel =
            static_cast<std::uint32_t>(rgb[3 * x]) | static_cast<std::uint32_t>(rgb[3 * x + 1]) << 8 |
            static_cast<std::uint32_t>(rgb[3 * x + 2]) << 16 | static_cast<std::uint32_t>(a[x]) << 24;
        std::memcpy(out + 4 * static_cast<std::size_t>(x), &pixel, 4);
    }
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

    // Each piece of whole rows is interleaved, filtered and compressed by one thread in buffers of its
    // own, about a megabyte each, so a sheet needs no sheet-sized copies. The pieces' size depends on the
    // image alone, which keeps the bytes the same at any thread count.
    const int rowsPerPiece = static_cast<int>(std::max<std::size_t>(1, kPieceBytes / stride));
    const int pieces = (height + rowsPerPiece - 1) / rowsPerPiece;
    std::vector<std::vector<char>> compressed(static_cast<std::size_t>(pieces));
    std::vector<uLong> checksums(static_cast<std::size_t>(pieces));
    std::vector<char> failed(static_cast<std::size_t>(pieces), 0);
    ParallelFor(0, pieces, [&](int from, int to) {
        std::vector<std::uint8_t> raw;
        std::vector<std::uint8_t> filtered;
        std::vector<std::uint8_t> scratch;
        std::vector<std::uint8_t> work;
        std::vector<char> deflated;
        for (int p = from; p < to; ++p)
        {
            const int firstRow = p * rowsPerPiece;
            const int rows = std::min(rowsPerPiece, height - firstRow);
            // Raw rows from the one above the piece (zeros above the first row) to its last.
            raw.assign(static_cast<std::size_t>(rows + 1) * rowBytes, 0);
            for (int y = std::max(firstRow - 1, 0); y < firstRow + rows; ++y)
            {
                std::uint8_t* dst = raw.data() + static_cast<std::size_t>(y - firstRow + 1) * rowBytes;
                const std::uint8_t* rgb = colour.Row(y);
                if (hasAlpha)
                    InterleaveRow(rgb, alpha.Row(y), width, dst);
                else
                    std::memcpy(dst, rgb, static_cast<std::size_t>(rowBytes));
            }
            filtered.resize(stride * rows);
            for (int r = 0; r < rows; ++r)
                FilterRow(raw.data() + static_cast<std::size_t>(r + 1) * rowBytes,
                          raw.data() + static_cast<std::size_t>(r) * rowBytes, rowBytes, bpp,
                          filtered.data() + stride * r, scratch);
            checksums[p] = isal_adler32(1, filtered.data(), filtered.size());
            failed[p] = !DeflatePiece(filtered.data(), filtered.size(), p == pieces - 1, work, deflated,
                                      compressed[p]);
        }
    });
    if (std::find(failed.begin(), failed.end(), 1) != failed.end())
        return {};

    // The zlib stream is the header, the pieces and the checksum of all rows; it is cut into IDAT
    // chunks of at most 1 MiB, as readers expect moderate chunk sizes, without first being copied whole.
    uLong checksum = 1L;
    std::size_t streamBytes = 2 + 4;
    for (int p = 0; p < pieces; ++p)
    {
        const int rows = std::min(rowsPerPiece, height - p * rowsPerPiece);
        checksum = adler32_combine(checksum, checksums[p], static_cast<z_off_t>(stride * rows));
        streamBytes += compressed[p].size();
    }
    const char zlibHeader[2] = {0x78, 0x5E}; // deflate, 32K window
    std::vector<char> trailer;
    PutU32(trailer, static_cast<std::uint32_t>(checksum));
    std::vector<std::pair<const char*, std::size_t>> segments = {{zlibHeader, 2}};
    for (const std::vector<char>& piece : compressed)
        segments.emplace_back(piece.data(), piece.size());
    segments.emplace_back(trailer.data(), trailer.size());

    const std::size_t chunkCount = (streamBytes + kPieceBytes - 1) / kPieceBytes;
    std::vector<char> png;
    png.reserve(8 + 25 + streamBytes + 12 * chunkCount + 12);
    png.insert(png.end(), {'\x89', 'P', 'N', 'G', '\r', '\n', '\x1a', '\n'});
    std::vector<char> header;
    PutU32(header, static_cast<std::uint32_t>(width));
    PutU32(header, static_cast<std::uint32_t>(height));
    header.insert(header.end(), {8, static_cast<char>(hasAlpha ? 6 : 2), 0, 0, 0});
    PutChunk(png, "IHDR", header.data(), header.size());
    std::size_t segment = 0;
    std::size_t offset = 0;
    for (std::size_t at = 0; at < streamBytes; at += kPieceBytes)
    {
        const std::size_t size = std::min(kPieceBytes, streamBytes - at);
        PutU32(png, static_cast<std::uint32_t>(size));
        const std::size_t start = png.size();
        png.insert(png.end(), {'I', 'D', 'A', 'T'});
        for (std::size_t left = size; left > 0;)
        {
            const auto& [data, length] = segments[segment];
            const std::size_t take = std::min(left, length - offset);
            png.insert(png.end(), data + offset, data + offset + take);
            left -= take;
            offset += take;
            if (offset == length)
            {
                ++segment;
                offset = 0;
            }
        }
        const uLong crc =
            crc32(0L, reinterpret_cast<const Bytef*>(png.data() + start), static_cast<uInt>(size + 4));
        PutU32(png, static_cast<std::uint32_t>(crc));
    }
    PutChunk(png, "IEND", nullptr, 0);
    return png;
}
