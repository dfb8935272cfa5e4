#include "core/PngReader.h"

#include "core/Parallel.h"

#include <QFile>
#include <QFileInfo>
#include <QImageReader>

#include <isa-l/crc.h>
#include <isa-l/igzip_lib.h>

#include <algorithm>
#include <array>
#include <condition_variable>
#include <cstring>
#include <deque>
#include <memory>
#include <mutex>
#include <system_error>
#include <thread>
#include <type_traits>
#include <vector>

#if defined(__SSE2__)
#include <emmintrin.h>
#endif

namespace {
constexpr std::uint8_t kSignature[8] = {0x89, 'P', 'N', 'G', '\r', '\n', 0x1A, '\n'};

// The general reader refuses sides above a million pixels; larger files are left to it.
constexpr std::uint32_t kLargestSide = 1000000;
// It also refuses chunks other than image data above a few megabytes. Real files carry a profile or
// some text of a few kilobytes; bigger ones are left to it rather than tracking its exact limit.
constexpr std::uint32_t kLargestOtherChunk = 1u << 20;
// The file is read through one buffer of this size, and the image data is inflated into bands of rows
// of about this size: small enough to stay in the cache between inflating and unfiltering.
constexpr std::size_t kReadBytes = 1u << 20;
constexpr std::size_t kBandBytes = 256u << 10;

constexpr std::uint32_t Tag(const char (&name)[5])
{
    return static_cast<std::uint32_t>(static_cast<std::uint8_t>(name[0])) << 24 |
           static_cast<std::uint32_t>(static_cast<std::uint8_t>(name[1])) << 16 |
           static_cast<std::uint32_t>(static_cast<std::uint8_t>(name[2])) << 8 |
           static_cast<std::uint32_t>(static_cast<std::uint8_t>(name[3]));
}

std::uint32_t BigEndian32(const std::uint8_t* p)
{
    return static_cast<std::uint32_t>(p[0]) << 24 | static_cast<std::uint32_t>(p[1]) << 16 |
           static_cast<std::uint32_t>(p[2]) << 8 | static_cast<std::uint32_t>(p[3]);
}

// The chunk checksum is the gzip one, which ISA-L computes many bytes at a time.
std::uint32_t Crc(std::uint32_t crc, const std::uint8_t* data, std::size_t size)
{
    return crc32_gzip_refl(crc, data, size);
}

bool IsLetter(std::uint8_t c)
{
    return (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z');
}

// The file, read front to back in large pieces through one buffer.
class FileBytes
{
public:
    FileBytes(QFile& source, std::size_t bufferBytes) : file(source), buffer(bufferBytes) {}

    // Makes at least `count` bytes (at most the buffer's size) available at Data(); false when the
    // file ends or fails first.
    bool Fill(std::size_t count)
    {
        if (end - begin >= count)
            return true;
        std::memmove(buffer.data(), buffer.data() + begin, end - begin);
        end -= begin;
        begin = 0;
        while (end < count)
        {
            const qint64 got = file.read(reinterpret_cast<char*>(buffer.data() + end),
                                         static_cast<qint64>(buffer.size() - end));
            if (got <= 0)
                return false;
            end += static_cast<std::size_t>(got);
        }
        return true;
    }
    const std::uint8_t* Data() const { return buffer.data() + begin; }
    std::size_t Available() const { return end - begin; }
    void Consume(std::size_t count) { begin += count; }
    bool AtEnd() { return !Fill(1); }

private:
    QFile& file;
    std::vector<std::uint8_t> buffer;
    std::size_t begin = 0;
    std::size_t end = 0;
};

struct ChunkHeader
{
    std::uint32_t length = 0;
    std::uint32_t type = 0;
    std::uint32_t crc = 0; // running checksum, over the type so far
};

bool ReadChunkHeader(FileBytes& in, ChunkHeader& chunk)
{
    if (!in.Fill(8))
        return false;
    const std::uint8_t* p = in.Data();
    chunk.length = BigEndian32(p);
    chunk.type = BigEndian32(p + 4);
    chunk.crc = Crc(0, p + 4, 4);
    const bool named = IsLetter(p[4]) && IsLetter(p[5]) && IsLetter(p[6]) && IsLetter(p[7]);
    in.Consume(8);
    return named && chunk.length <= 0x7FFFFFFFu;
}

bool IsCritical(std::uint32_t type)
{
    return (type & 0x20000000u) == 0; // an upper-case first letter
}

// Ancillary chunks the reader skips. Their contents never change the general reader's pixels, except
// the transparency, which is read, and the frames of animated PNG, which some builds of its PNG
// library check and may refuse.
bool IsSkippable(const ChunkHeader& chunk)
{
    return !IsCritical(chunk.type) && chunk.type != Tag("tRNS") && chunk.type != Tag("acTL") &&
           chunk.type != Tag("fcTL") && chunk.type != Tag("fdAT") && chunk.length <= kLargestOtherChunk;
}

// Passes the chunk's data to `piece` as it arrives, then checks the stored checksum.
template <typename Piece> bool ReadChunkData(FileBytes& in, ChunkHeader& chunk, Piece&& piece)
{
    std::uint32_t left = chunk.length;
    while (left > 0)
    {
        if (!in.Fill(1))
            return false;
        const std::size_t size = std::min<std::size_t>(left, in.Available());
        chunk.crc = Crc(chunk.crc, in.Data(), size);
        if (!piece(in.Data(), size))
            return false;
        in.Consume(size);
        left -= static_cast<std::uint32_t>(size);
    }
    if (!in.Fill(4))
        return false;
    const bool intact = BigEndian32(in.Data()) == chunk.crc;
    in.Consume(4);
    return intact;
}

enum ColourType
{
    kGrey = 0,
    kRgb = 2,
    kPalette = 3,
    kGreyAlpha = 4,
    kRgba = 6,
};

struct Header
{
    int width = 0;
    int height = 0;
    int depth = 0;
    int colourType = 0;
    std::size_t rowBytes = 0;    // filtered bytes of a row, without its filter type
    int filterStep = 0;          // bytes between a byte and the one its filter refers to
    std::uint32_t idatLimit = 0; // the largest image data chunk the general reader accepts
};

// Fills the header from the IHDR data; false for layouts left to the general reader.
bool ParseHeader(const std::uint8_t* p, Header& header)
{
    const std::uint32_t width = BigEndian32(p);
    const std::uint32_t height = BigEndian32(p + 4);
    const int depth = p[8];
    const int colourType = p[9];
    if (width == 0 || height == 0 || width > kLargestSide || height > kLargestSide)
        return false;
    if (p[10] != 0 || p[11] != 0 || p[12] != 0) // compression, filter method, interlacing
        return false;
    int channels = 0;
    switch (colourType)
    {
    case kGrey:
        channels = 1;
        break;
    case kRgb:
        channels = 3;
        break;
    case kGreyAlpha:
        channels = 2;
        break;
    case kRgba:
        channels = 4;
        break;
    case kPalette:
        channels = 1;
        if (depth != 1 && depth != 2 && depth != 4 && depth != 8)
            return false;
        break;
    default:
        return false;
    }
    if (colourType != kPalette && depth != 8)
        return false;
    // The general reader asks for a 32-bit image (or a smaller one) against its allocation limit.
    const int limitMiB = QImageReader::allocationLimit();
    const std::uint64_t biggest = 4ull * width * height;
    if (limitMiB > 0 && biggest > static_cast<std::uint64_t>(limitMiB) << 20)
        return false;

    header.width = static_cast<int>(width);
    header.height = static_cast<int>(height);
    header.depth = depth;
    header.colourType = colourType;
    header.rowBytes = (static_cast<std::size_t>(width) * channels * depth + 7) / 8;
    header.filterStep = std::max(1, channels * depth / 8);

    // The general reader's bound on one image data chunk: the unfiltered size plus deflate's overhead.
    std::uint64_t rowFactor = static_cast<std::uint64_t>(width) * channels + 1;
    std::uint64_t limit = height * rowFactor;
    rowFactor = std::min<std::uint64_t>(rowFactor, 32566);
    limit += 6 + 5 * (limit / rowFactor + 1);
    header.idatLimit = static_cast<std::uint32_t>(std::min<std::uint64_t>(limit, 0x7FFFFFFFu));
    return true;
}

// --- unfiltering

// The Paeth predictor: of a (left), b (above) and c (above left), the one nearest a + b - c, ties
// going to a, then b. This equivalent form compares t = 3c - a - b with the smaller and the larger of
// a and b and has a short dependency on a, which is the previous pixel's result: c when t lies
// strictly between them, else the larger when t is at or below the smaller, else the smaller.
inline int PaethPredict(int a, int b, int c)
{
    const int t = 3 * c - a - b;
    const int lo = std::min(a, b);
    const int hi = std::max(a, b);
    const int inside = hi <= t ? lo : c;
    return t <= lo ? hi : inside;
}

// Undoes one row's filter byte by byte. `prev` is the row above after unfiltering (zeros above the
// first row); `dst` overlaps neither input.
template <int Step>
void UnfilterBytes(int filter, const std::uint8_t* __restrict src, const std::uint8_t* __restrict prev,
                   std::uint8_t* __restrict dst, std::size_t n)
{
    const std::size_t lead = std::min<std::size_t>(Step, n);
    switch (filter)
    {
    case 0:
        std::memcpy(dst, src, n);
        break;
    case 1:
        std::memcpy(dst, src, lead);
        for (std::size_t i = Step; i < n; ++i)
            dst[i] = static_cast<std::uint8_t>(src[i] + dst[i - Step]);
        break;
    case 2:
        for (std::size_t i = 0; i < n; ++i)
            dst[i] = static_cast<std::uint8_t>(src[i] + prev[i]);
        break;
    case 3:
        for (std::size_t i = 0; i < lead; ++i)
            dst[i] = static_cast<std::uint8_t>(src[i] + (prev[i] >> 1));
        for (std::size_t i = Step; i < n; ++i)
            dst[i] = static_cast<std::uint8_t>(src[i] + ((dst[i - Step] + prev[i]) >> 1));
        break;
    default:
        for (std::size_t i = 0; i < lead; ++i)
            dst[i] = static_cast<std::uint8_t>(src[i] + prev[i]);
        for (std::size_t i = Step; i < n; ++i)
            dst[i] = static_cast<std::uint8_t>(src[i] + PaethPredict(dst[i - Step], prev[i], prev[i - Step]));
        break;
    }
}

#if defined(__SSE2__)
// Sub, Average and Paeth chain each pixel to the one before it, so for 3 and 4 bytes a pixel the work
// runs across the channels of one pixel at a time: one dependent add for Sub instead of three or
// four, and a handful of vector steps for Paeth instead of a scalar predictor per byte. Pixels are
// loaded and stored with exactly their own bytes, so nothing is read or written past a row.
// A 3-byte pixel is put together from a 2-byte and a 1-byte access: copying 3 bytes into a 4-byte
// word goes through the stack, and the word's load then waits for the two stores to retire.
template <int Step> inline __m128i LoadPixel(const std::uint8_t* p)
{
    std::uint32_t v;
    if constexpr (Step == 4)
        std::memcpy(&v, p, 4);
    else
    {
        std::uint16_t low;
        std::memcpy(&low, p, 2);
        v = low | static_cast<std::uint32_t>(p[2]) << 16;
    }
    return _mm_cvtsi32_si128(static_cast<int>(v));
}

template <int Step> inline void StorePixel(std::uint8_t* p, __m128i bytes)
{
    const std::uint32_t v = static_cast<std::uint32_t>(_mm_cvtsi128_si32(bytes));
    if constexpr (Step == 4)
        std::memcpy(p, &v, 4);
    else
    {
        const std::uint16_t low = static_cast<std::uint16_t>(v);
        std::memcpy(p, &low, 2);
        p[2] = static_cast<std::uint8_t>(v >> 16);
    }
}

// A pixel's bytes in 16-bit lanes, and back.
inline __m128i Widen(__m128i bytes)
{
    return _mm_unpacklo_epi8(bytes, _mm_setzero_si128());
}

inline __m128i Narrow(__m128i lanes)
{
    return _mm_packus_epi16(lanes, lanes);
}

inline __m128i Select(__m128i mask, __m128i ifSet, __m128i otherwise)
{
    return _mm_or_si128(_mm_and_si128(mask, ifSet), _mm_andnot_si128(mask, otherwise));
}

// One Paeth pixel in 16-bit lanes, where 3c - a - b cannot overflow. Only the last subtraction of t
// waits for a. The final add works on bytes, so it wraps as the filter requires and leaves each
// lane's high byte zero, ready to be the next pixel's a.
inline __m128i PaethPixel(__m128i a, __m128i b, __m128i c, __m128i x)
{
    const __m128i t = _mm_sub_epi16(_mm_sub_epi16(_mm_add_epi16(c, _mm_add_epi16(c, c)), b), a);
    const __m128i lo = _mm_min_epi16(a, b);
    const __m128i hi = _mm_max_epi16(a, b);
    const __m128i inside = Select(_mm_cmpgt_epi16(hi, t), c, lo);
    return _mm_add_epi8(x, Select(_mm_cmpgt_epi16(t, lo), inside, hi));
}

template <int Step>
void UnfilterPixels(int filter, const std::uint8_t* __restrict src, const std::uint8_t* __restrict prev,
                    std::uint8_t* __restrict dst, std::size_t n)
{
    __m128i a = _mm_setzero_si128();
    switch (filter)
    {
    case 1:
        for (std::size_t i = 0; i < n; i += Step)
        {
            a = _mm_add_epi8(a, LoadPixel<Step>(src + i));
            StorePixel<Step>(dst + i, a);
        }
        break;
    case 3:
        for (std::size_t i = 0; i < n; i += Step)
        {
            const __m128i sum = _mm_add_epi16(a, Widen(LoadPixel<Step>(prev + i)));
            a = _mm_add_epi8(Widen(LoadPixel<Step>(src + i)), _mm_srli_epi16(sum, 1));
            StorePixel<Step>(dst + i, Narrow(a));
        }
        break;
    case 4:
    {
        __m128i c = _mm_setzero_si128();
        for (std::size_t i = 0; i < n; i += Step)
        {
            const __m128i b = Widen(LoadPixel<Step>(prev + i));
            a = PaethPixel(a, b, c, Widen(LoadPixel<Step>(src + i)));
            StorePixel<Step>(dst + i, Narrow(a));
            c = b;
        }
        break;
    }
    default:
        UnfilterBytes<Step>(filter, src, prev, dst, n);
        break;
    }
}

// Two Paeth rows at once, the second one pixel behind the first, in one register: the low half holds
// a pixel of the first row, the high half the pixel of the second row below its left neighbour. That
// pixel's above and above-left neighbours are the first row's results of the last two steps, already
// in registers, so each step does two pixels for little more than the cost of one; most rows of our
// maps are Paeth rows.
template <int Step>
void PaethTwoRows(const std::uint8_t* __restrict src0, const std::uint8_t* __restrict src1,
                  const std::uint8_t* __restrict prev, std::uint8_t* __restrict dst0,
                  std::uint8_t* __restrict dst1, std::size_t n)
{
    const __m128i zero = _mm_setzero_si128();
    __m128i a = zero; // left neighbours
    __m128i c = zero; // above-left neighbours
    const auto step = [&](__m128i above0, __m128i x) {
        // The second row's above neighbour is the first row's previous result, a's low half.
        const __m128i b = _mm_unpacklo_epi64(above0, a);
        a = PaethPixel(a, b, c, Widen(x));
        c = b;
        return Narrow(a);
    };
    // The first row's first pixel; the second row has not started, and its lanes stay zero.
    StorePixel<Step>(dst0, step(Widen(LoadPixel<Step>(prev)), LoadPixel<Step>(src0)));
    for (std::size_t i = Step; i < n; i += Step)
    {
        const __m128i x = _mm_unpacklo_epi32(LoadPixel<Step>(src0 + i), LoadPixel<Step>(src1 + i - Step));
        const __m128i bytes = step(Widen(LoadPixel<Step>(prev + i)), x);
        StorePixel<Step>(dst0 + i, bytes);
        StorePixel<Step>(dst1 + i - Step, _mm_srli_epi64(bytes, 32));
    }
    // The second row's last pixel; the first row's lanes compute nothing of use.
    const __m128i last = step(zero, _mm_unpacklo_epi32(zero, LoadPixel<Step>(src1 + n - Step)));
    StorePixel<Step>(dst1 + n - Step, _mm_srli_epi64(last, 32));
}

// Four Paeth rows at once: two register pairs as above, the second pair two pixels behind the first.
// The third row's above neighbour is the second row's result of the step before, so the two pairs'
// dependency chains are independent within a step and run side by side.
template <int Step>
void PaethFourRows(const std::uint8_t* const* src, const std::uint8_t* prev, std::uint8_t* const* dst,
                   std::size_t n)
{
    const std::ptrdiff_t count = static_cast<std::ptrdiff_t>(n / Step);
    const __m128i zero = _mm_setzero_si128();
    __m128i a01 = zero; // left neighbours of rows 0 and 1
    __m128i c01 = zero;
    __m128i a23 = zero; // of rows 2 and 3
    __m128i c23 = zero;
    // Step k does row r at column k - r. Near the ends of the rows some of those columns do not
    // exist: they read zeros, which keeps the left neighbours of a row's first pixel zero, and their
    // results are not stored.
    const auto iterate = [&](std::ptrdiff_t k, auto edge) {
        constexpr bool checked = decltype(edge)::value;
        const auto load = [&](const std::uint8_t* row, std::ptrdiff_t column) {
            if (checked && (column < 0 || column >= count))
                return zero;
            return LoadPixel<Step>(row + column * Step);
        };
        const auto store = [&](std::uint8_t* row, std::ptrdiff_t column, __m128i bytes) {
            if (!checked || (column >= 0 && column < count))
                StorePixel<Step>(row + column * Step, bytes);
        };
        const __m128i b01 = _mm_unpacklo_epi64(Widen(load(prev, k)), a01);
        const __m128i b23 = _mm_unpacklo_epi64(_mm_srli_si128(a01, 8), a23);
        a01 = PaethPixel(a01, b01, c01, Widen(_mm_unpacklo_epi32(load(src[0], k), load(src[1], k - 1))));
        a23 = PaethPixel(a23, b23, c23, Widen(_mm_unpacklo_epi32(load(src[2], k - 2), load(src[3], k - 3))));
        c01 = b01;
        c23 = b23;
        const __m128i bytes01 = Narrow(a01);
        const __m128i bytes23 = Narrow(a23);
        store(dst[0], k, bytes01);
        store(dst[1], k - 1, _mm_srli_epi64(bytes01, 32));
        store(dst[2], k - 2, bytes23);
        store(dst[3], k - 3, _mm_srli_epi64(bytes23, 32));
    };
    const std::ptrdiff_t lead = std::min<std::ptrdiff_t>(3, count);
    std::ptrdiff_t k = 0;
    for (; k < lead; ++k)
        iterate(k, std::true_type{});
    for (; k < count; ++k)
        iterate(k, std::false_type{});
    for (; k < count + 3; ++k)
        iterate(k, std::true_type{});
}

// RGBA to RGB and alpha, four pixels at a time. Each 64-bit half holds two pixels, squeezed to six
// bytes and stored 8 bytes wide, the two spare bytes overwritten by the next store; the last pixel is
// copied on its own so no store passes the end of the row.
void SplitRgba(const std::uint8_t* raw, std::uint8_t* rgb, std::uint8_t* a, int width)
{
    const __m128i first = _mm_set1_epi64x(0x0000000000FFFFFF);
    const __m128i second = _mm_set1_epi64x(0x0000FFFFFF000000);
    int x = 0;
    for (; x + 4 < width; x += 4)
    {
        const __m128i v = _mm_loadu_si128(reinterpret_cast<const __m128i*>(raw + 4 * x));
        const __m128i packed =
            _mm_or_si128(_mm_and_si128(v, first), _mm_and_si128(_mm_srli_epi64(v, 8), second));
        _mm_storel_epi64(reinterpret_cast<__m128i*>(rgb + 3 * x), packed);
        _mm_storel_epi64(reinterpret_cast<__m128i*>(rgb + 3 * x + 6), _mm_unpackhi_epi64(packed, packed));
        const __m128i alphas = _mm_srli_epi32(v, 24);
        const __m128i bytes = _mm_packus_epi16(_mm_packs_epi32(alphas, alphas), alphas);
        const std::uint32_t four = static_cast<std::uint32_t>(_mm_cvtsi128_si32(bytes));
        std::memcpy(a + x, &four, 4);
    }
    for (; x < width; ++x)
    {
        std::memcpy(rgb + 3 * x, raw + 4 * x, 3);
        a[x] = raw[4 * x + 3];
    }
}
#else
void SplitRgba(const std::uint8_t* raw, std::uint8_t* rgb, std::uint8_t* a, int width)
{
    for (int x = 0; x < width; ++x)
    {
        std::memcpy(rgb + 3 * x, raw + 4 * x, 3);
        a[x] = raw[4 * x + 3];
    }
}
#endif

template <int Step>
void UnfilterRow(int filter, const std::uint8_t* src, const std::uint8_t* prev, std::uint8_t* dst,
                 std::size_t n)
{
#if defined(__SSE2__)
    if constexpr (Step >= 3)
    {
        UnfilterPixels<Step>(filter, src, prev, dst, n);
        return;
    }
#endif
    UnfilterBytes<Step>(filter, src, prev, dst, n);
}

void Unfilter(int step, int filter, const std::uint8_t* src, const std::uint8_t* prev, std::uint8_t* dst,
              std::size_t n)
{
    switch (step)
    {
    case 1:
        UnfilterRow<1>(filter, src, prev, dst, n);
        break;
    case 2:
        UnfilterRow<2>(filter, src, prev, dst, n);
        break;
    case 3:
        UnfilterRow<3>(filter, src, prev, dst, n);
        break;
    default:
        UnfilterRow<4>(filter, src, prev, dst, n);
        break;
    }
}

// Unfilters the first rows of a run of `rows` consecutive Paeth rows together where that is faster:
// four or two of them for 3 and 4 bytes a pixel. Returns how many it did, 0 when none.
int UnfilterPaethRun(int step, int rows, const std::uint8_t* const* src, const std::uint8_t* prev,
                     std::uint8_t* const* dst, std::size_t n)
{
#if defined(__SSE2__)
    if (step < 3 || rows < 2)
        return 0;
    if (rows >= 4)
    {
        if (step == 3)
            PaethFourRows<3>(src, prev, dst, n);
        else
            PaethFourRows<4>(src, prev, dst, n);
        return 4;
    }
    if (step == 3)
        PaethTwoRows<3>(src[0], src[1], prev, dst[0], dst[1], n);
    else
        PaethTwoRows<4>(src[0], src[1], prev, dst[0], dst[1], n);
    return 2;
#else
    return 0;
#endif
}

// --- rows into planes

// Rows inflated and unfiltered together.
int BandRows(const Header& header)
{
    return static_cast<int>(
        std::min<std::size_t>(std::max<std::size_t>(1, kBandBytes / (header.rowBytes + 1)),
                              static_cast<std::size_t>(header.height)));
}

// Unfilters bands of rows in order and writes their pixels into the planes. RGB rows are unfiltered
// straight into the colour plane, which holds them as they are; other layouts go through a band of
// unfiltered rows first. With `redOnly` the colour plane holds one byte a pixel, the red sample, and
// there is no alpha plane.
class RowWriter
{
public:
    RowWriter(const Header& format, int largestBand, const PlaneView<std::uint8_t>& colourPlane,
              const PlaneView<std::uint8_t>& alphaPlane, bool onlyRed)
        : header(format), colour(colourPlane), alpha(alphaPlane), redOnly(onlyRed),
          direct(format.colourType == kRgb && !onlyRed), zeros(format.rowBytes, 0), above(format.rowBytes, 0),
          raw(direct ? 0 : format.rowBytes * static_cast<std::size_t>(largestBand))
    {}

    void SetPalette(const std::uint8_t* rgb, int count, const std::uint8_t* transparency, int transparent)
    {
        paletteSize = count;
        for (int i = 0; i < count; ++i)
        {
            std::memcpy(paletteRgb.data() + 3 * i, rgb + 3 * i, 3);
            paletteAlpha[i] = i < transparent ? transparency[i] : 255;
        }
    }

    // `rows` rows from `first` on, as inflated: each its filter type, then its filtered bytes, `stride`
    // bytes apart. False for an unknown filter type.
    bool Write(int first, int rows, const std::uint8_t* band, std::size_t stride)
    {
        for (int r = 0; r < rows; ++r)
            if (band[stride * r] > 4)
                return false;
        const std::size_t n = header.rowBytes;
        const auto rawRow = [&](int r) {
            return direct ? colour.Row(first + r) : raw.data() + n * static_cast<std::size_t>(r);
        };
        const auto rowAbove = [&](int r) -> const std::uint8_t* {
            if (r > 0)
                return rawRow(r - 1);
            if (first == 0)
                return zeros.data();
            return direct ? colour.Row(first - 1) : above.data();
        };
        for (int r = 0; r < rows;)
        {
            const std::uint8_t* src = band + stride * r;
            int paethRun = 0;
            const std::uint8_t* runSrc[4];
            std::uint8_t* runDst[4];
            while (paethRun < 4 && r + paethRun < rows && src[stride * paethRun] == 4)
            {
                runSrc[paethRun] = src + stride * paethRun + 1;
                runDst[paethRun] = rawRow(r + paethRun);
                ++paethRun;
            }
            const int done = UnfilterPaethRun(header.filterStep, paethRun, runSrc, rowAbove(r), runDst, n);
            if (done > 0)
            {
                r += done;
                continue;
            }
            Unfilter(header.filterStep, src[0], src + 1, rowAbove(r), rawRow(r), n);
            ++r;
        }
        for (int r = 0; r < rows; ++r)
            if (redOnly)
                WriteRed(rawRow(r), colour.Row(first + r));
            else
                WritePixels(rawRow(r), colour.Row(first + r), alpha.Row(first + r));
        if (!direct)
            std::memcpy(above.data(), rawRow(rows - 1), n);
        return true;
    }

    // True when no pixel named an entry beyond the palette.
    bool IndicesInPalette() const { return header.colourType != kPalette || largestIndex < paletteSize; }

private:
    void WritePixels(const std::uint8_t* row, std::uint8_t* rgb, std::uint8_t* a)
    {
        const int width = header.width;
        switch (header.colourType)
        {
        case kRgb:
            std::memset(a, 255, static_cast<std::size_t>(width));
            break;
        case kRgba:
            SplitRgba(row, rgb, a, width);
            break;
        case kGrey:
            for (int x = 0; x < width; ++x)
                rgb[3 * x] = rgb[3 * x + 1] = rgb[3 * x + 2] = row[x];
            std::memset(a, 255, static_cast<std::size_t>(width));
            break;
        case kGreyAlpha:
            for (int x = 0; x < width; ++x)
            {
                rgb[3 * x] = rgb[3 * x + 1] = rgb[3 * x + 2] = row[2 * x];
                a[x] = row[2 * x + 1];
            }
            break;
        default:
            WritePaletteRow(row, rgb, a);
            break;
        }
    }

    void WriteRed(const std::uint8_t* row, std::uint8_t* red)
    {
        if (header.colourType == kPalette)
        {
            int largest = 0;
            ForEachPaletteIndex(row, [&](int x, int index) {
                largest = std::max(largest, index);
                red[x] = paletteRgb[3 * static_cast<std::size_t>(index)];
            });
            largestIndex = std::max(largestIndex, largest);
            return;
        }
        // Every other layout has 8-bit samples, red (or grey) first in each pixel.
        const int step = header.filterStep;
        for (int x = 0; x < header.width; ++x)
            red[x] = row[step * x];
    }

    // Calls visit(x, index) for each pixel of a row of packed palette indices, which fill each byte from
    // its most significant bits down.
    template <typename Visit> void ForEachPaletteIndex(const std::uint8_t* row, Visit visit) const
    {
        const int depth = header.depth;
        const int perByte = 8 / depth;
        const int mask = (1 << depth) - 1;
        for (int x = 0; x < header.width; ++x)
            visit(x, (row[x / perByte] >> (8 - depth * (x % perByte + 1))) & mask);
    }

    void WritePaletteRow(const std::uint8_t* row, std::uint8_t* rgb, std::uint8_t* a)
    {
        int largest = 0;
        ForEachPaletteIndex(row, [&](int x, int index) {
            largest = std::max(largest, index);
            std::memcpy(rgb + 3 * x, paletteRgb.data() + 3 * index, 3);
            a[x] = paletteAlpha[static_cast<std::size_t>(index)];
        });
        largestIndex = std::max(largestIndex, largest);
    }

    const Header& header;
    PlaneView<std::uint8_t> colour;
    PlaneView<std::uint8_t> alpha;
    bool redOnly;
    bool direct;                     // rows unfilter straight into the colour plane
    std::vector<std::uint8_t> zeros; // the row above the first
    std::vector<std::uint8_t> above; // the last unfiltered row of the previous band
    std::vector<std::uint8_t> raw;   // the band's unfiltered rows, when they cannot go to the planes
    std::array<std::uint8_t, 256 * 3> paletteRgb{};
    std::array<std::uint8_t, 256> paletteAlpha{};
    int paletteSize = 0;
    int largestIndex = 0;
};

// --- inflating

// Carries bands of inflated rows to the row writer. With more than one worker thread a helper thread
// unfilters and writes one band while the caller reads and inflates the next ones, which takes the
// slower of the two stages instead of their sum; bands are written in order either way, so the
// pixels do not depend on it.
class BandQueue
{
public:
    BandQueue(RowWriter& rows, std::size_t bandBytes, bool pipelined) : writer(rows)
    {
        buffers.resize(pipelined ? kBuffers : 1);
        for (std::vector<std::uint8_t>& buffer : buffers)
            buffer.resize(bandBytes);
        if (!pipelined)
            return;
        try
        {
            helper = std::thread([this] { Run(); });
        }
        catch (const std::system_error&)
        {
            buffers.resize(1); // no thread to be had: bands are written as they arrive
        }
    }
    BandQueue(const BandQueue&) = delete;
    BandQueue& operator=(const BandQueue&) = delete;
    ~BandQueue() { Finish(); }

    // The buffer the next band is to be inflated into; waits while every buffer is still queued.
    std::uint8_t* Next()
    {
        if (helper.joinable())
        {
            std::unique_lock<std::mutex> lock(mutex);
            changed.wait(lock, [this] { return queued.size() < buffers.size() || failed; });
        }
        return buffers[pushed % buffers.size()].data();
    }

    // Hands over the band inflated into Next(); false once a band has turned out unreadable.
    bool Push(int first, int rows, std::size_t stride)
    {
        if (!helper.joinable())
        {
            failed = failed || !writer.Write(first, rows, buffers[0].data(), stride);
            return !failed;
        }
        std::lock_guard<std::mutex> lock(mutex);
        queued.push_back({pushed % buffers.size(), first, rows, stride});
        ++pushed;
        changed.notify_all();
        return !failed;
    }

    // Waits until every band handed over has been written; true when all were readable.
    bool Finish()
    {
        if (helper.joinable())
        {
            {
                std::lock_guard<std::mutex> lock(mutex);
                closing = true;
                changed.notify_all();
            }
            helper.join();
        }
        return !failed;
    }

private:
    static constexpr std::size_t kBuffers = 4;

    struct Band
    {
        std::size_t buffer;
        int first;
        int rows;
        std::size_t stride;
    };

    void Run()
    {
        for (;;)
        {
            Band band{};
            {
                std::unique_lock<std::mutex> lock(mutex);
                changed.wait(lock, [this] { return !queued.empty() || closing; });
                if (queued.empty() || failed)
                    return;
                band = queued.front();
            }
            const bool written =
                writer.Write(band.first, band.rows, buffers[band.buffer].data(), band.stride);
            std::lock_guard<std::mutex> lock(mutex);
            queued.pop_front();
            failed = failed || !written;
            changed.notify_all();
        }
    }

    RowWriter& writer;
    std::vector<std::vector<std::uint8_t>> buffers;
    std::thread helper;
    std::mutex mutex;
    std::condition_variable changed;
    std::deque<Band> queued; // handed over, not yet written
    std::size_t pushed = 0;
    bool closing = false;
    bool failed = false;
};

// Inflates the zlib stream split over the image data chunks into bands of whole rows and hands each
// band on as soon as it is full.
class RowInflater
{
public:
    RowInflater(const Header& format, BandQueue& bands)
        : header(format), queue(bands), stride(format.rowBytes + 1), bandRows(BandRows(format)),
          state(std::make_unique<inflate_state>())
    {
        isal_inflate_init(state.get());
        state->crc_flag = ISAL_ZLIB;
    }

    // Inflates the next piece of the stream; false when the data is damaged or does not fit the image.
    bool Feed(const std::uint8_t* data, std::size_t size)
    {
        if (size > 0 && finished)
            return false; // compressed data after the end of the stream
        RememberStreamHeader(data, size);
        state->next_in = const_cast<std::uint8_t*>(data);
        state->avail_in = static_cast<std::uint32_t>(size);
        for (;;)
        {
            if (rowsDone == header.height)
                return FeedPastLastRow();
            if (band == nullptr)
                band = queue.Next();
            const int rows = std::min(bandRows, header.height - rowsDone);
            const std::size_t wanted = stride * static_cast<std::size_t>(rows);
            state->next_out = band + filled;
            state->avail_out = static_cast<std::uint32_t>(wanted - filled);
            const std::uint32_t space = state->avail_out;
            if (isal_inflate(state.get()) != ISAL_DECOMP_OK)
                return false;
            filled += space - state->avail_out;
            if (filled == wanted)
            {
                if (!queue.Push(rowsDone, rows, stride))
                    return false;
                rowsDone += rows;
                filled = 0;
                band = nullptr;
                continue;
            }
            if (state->block_state == ISAL_BLOCK_FINISH)
                return false; // the stream ended before the image did
            if (state->avail_in == 0)
                return true;
            if (space == state->avail_out)
                return false; // no progress with input and room left: never expected
        }
    }

    // True when every row has arrived and the stream ended, its checksum matching, with nothing after.
    bool Complete() const
    {
        if (!finished || rowsDone != header.height)
            return false;
        // zlib's header: deflate, no preset dictionary, a valid check value. A window smaller than
        // 32 KiB is honoured by zlib and not by ISA-L, so it is accepted only when the whole image fits
        // in it and no distance could reach past it.
        const int method = streamHeader[0] & 0x0F;
        const int windowBits = (streamHeader[0] >> 4) + 8;
        if (method != 8 || windowBits > 15 || (streamHeader[1] & 0x20) != 0 ||
            (streamHeader[0] * 256 + streamHeader[1]) % 31 != 0)
            return false;
        const std::uint64_t total = static_cast<std::uint64_t>(stride) * header.height;
        return windowBits == 15 || total <= (1ull << windowBits);
    }

private:
    // After the last row only the end of the stream may follow: a final block marker and the checksum.
    bool FeedPastLastRow()
    {
        while (!finished)
        {
            std::uint8_t spare[16];
            state->next_out = spare;
            state->avail_out = sizeof spare;
            if (isal_inflate(state.get()) != ISAL_DECOMP_OK || state->avail_out != sizeof spare)
                return false;
            finished = state->block_state == ISAL_BLOCK_FINISH;
            if (!finished && state->avail_in == 0)
                return true;
            if (!finished)
                return false; // input left and no progress
        }
        return state->avail_in == 0;
    }

    void RememberStreamHeader(const std::uint8_t* data, std::size_t size)
    {
        for (std::size_t i = 0; i < size && headerBytes < 2; ++i)
            streamHeader[headerBytes++] = data[i];
    }

    const Header& header;
    BandQueue& queue;
    const std::size_t stride;
    const int bandRows;
    std::unique_ptr<inflate_state> state;
    std::uint8_t* band = nullptr; // being filled
    std::size_t filled = 0;
    int rowsDone = 0;
    bool finished = false;
    std::uint8_t streamHeader[2] = {0, 0};
    int headerBytes = 0;
};

bool HasPngSuffix(const QString& path)
{
    return QFileInfo(path).suffix().compare(QLatin1String("png"), Qt::CaseInsensitive) == 0;
}

// Reads the signature and the header chunk.
bool ReadSignatureAndHeader(FileBytes& in, std::uint8_t (&fields)[13])
{
    if (!in.Fill(8) || std::memcmp(in.Data(), kSignature, 8) != 0)
        return false;
    in.Consume(8);
    ChunkHeader chunk;
    if (!ReadChunkHeader(in, chunk) || chunk.type != Tag("IHDR") || chunk.length != 13)
        return false;
    std::size_t at = 0;
    return ReadChunkData(in, chunk, [&](const std::uint8_t* data, std::size_t size) {
        std::memcpy(fields + at, data, size);
        at += size;
        return true;
    });
}

PngReadResult Decode(QFile& file, const PngPlaneRequest& request, bool redOnly)
{
    FileBytes in(file, static_cast<std::size_t>(std::clamp<qint64>(file.size(), 64, kReadBytes)));
    std::uint8_t fields[13];
    Header header;
    if (!ReadSignatureAndHeader(in, fields) || !ParseHeader(fields, header))
        return PngReadResult::NotHandled;
    const bool indexed = header.colourType == kPalette;

    // Chunks before the image data: the palette and its transparency matter; gamma, colour profiles,
    // significant bits, text and the like leave the general reader's pixels as they are stored.
    std::vector<std::uint8_t> palette;
    std::vector<std::uint8_t> transparency;
    bool hasPalette = false;
    bool hasTransparency = false;
    ChunkHeader chunk;
    const auto collect = [](std::vector<std::uint8_t>& into) {
        return [&into](const std::uint8_t* data, std::size_t size) {
            into.insert(into.end(), data, data + size);
            return true;
        };
    };
    const auto skip = [](const std::uint8_t*, std::size_t) { return true; };
    for (;;)
    {
        if (!ReadChunkHeader(in, chunk))
            return PngReadResult::NotHandled;
        if (chunk.type == Tag("IDAT"))
            break;
        if (chunk.type == Tag("PLTE"))
        {
            // Only palette images, one palette, before its transparency, no more entries than the
            // bit depth can name.
            const std::uint32_t entries = chunk.length / 3;
            if (!indexed || hasPalette || hasTransparency || chunk.length % 3 != 0 || entries == 0 ||
                entries > (1u << header.depth) || !ReadChunkData(in, chunk, collect(palette)))
                return PngReadResult::NotHandled;
            hasPalette = true;
        }
        else if (chunk.type == Tag("tRNS"))
        {
            // Grey and RGB colour keys are left to the general reader.
            if (!indexed || !hasPalette || hasTransparency || chunk.length == 0 ||
                chunk.length > palette.size() / 3 || !ReadChunkData(in, chunk, collect(transparency)))
                return PngReadResult::NotHandled;
            hasTransparency = true;
        }
        else if (!IsSkippable(chunk) || !ReadChunkData(in, chunk, skip))
            return PngReadResult::NotHandled;
    }
    if (indexed && !hasPalette)
        return PngReadResult::NotHandled;

    PlaneView<std::uint8_t> colour;
    PlaneView<std::uint8_t> alpha;
    if (!request(header.width, header.height, colour, alpha) || colour.width != header.width ||
        colour.height != header.height ||
        (!redOnly && (alpha.width != header.width || alpha.height != header.height)))
        return PngReadResult::NotHandled;
    RowWriter writer(header, BandRows(header), colour, alpha, redOnly);
    if (indexed)
        writer.SetPalette(palette.data(), static_cast<int>(palette.size() / 3), transparency.data(),
                          static_cast<int>(transparency.size()));

    // The image data chunks, one after the other; empty ones are allowed anywhere among them.
    BandQueue bands(writer, (header.rowBytes + 1) * static_cast<std::size_t>(BandRows(header)),
                    GetWorkerThreadCount() > 1 && header.height > BandRows(header));
    RowInflater inflater(header, bands);
    const auto inflate = [&inflater](const std::uint8_t* data, std::size_t size) {
        return inflater.Feed(data, size);
    };
    while (chunk.type == Tag("IDAT"))
    {
        if (chunk.length > header.idatLimit || !ReadChunkData(in, chunk, inflate) ||
            !ReadChunkHeader(in, chunk))
            return PngReadResult::NotHandled;
    }
    const std::uint8_t none = 0;
    if (!inflater.Feed(&none, 0) || !bands.Finish() || !inflater.Complete() || !writer.IndicesInPalette())
        return PngReadResult::NotHandled;

    // After the image data only ancillary chunks, then the end chunk and the end of the file.
    while (chunk.type != Tag("IEND"))
    {
        if (!IsSkippable(chunk) || !ReadChunkData(in, chunk, skip) || !ReadChunkHeader(in, chunk))
            return PngReadResult::NotHandled;
    }
    if (chunk.length != 0 || !ReadChunkData(in, chunk, skip) || !in.AtEnd())
        return PngReadResult::NotHandled;
    return PngReadResult::Decoded;
}

PngReadResult ReadPngFile(const std::string& path, const PngPlaneRequest& planes, bool redOnly)
{
    const QString name = QString::fromUtf8(path.c_str());
    // The general reader picks its decoder by suffix first; only files it surely reads as PNG are
    // taken here.
    if (!HasPngSuffix(name))
        return PngReadResult::NotHandled;
    QFile file(name);
    if (!file.open(QIODevice::ReadOnly | QIODevice::Unbuffered))
        return PngReadResult::NotHandled;
    return Decode(file, planes, redOnly);
}
} // namespace

PngReadResult ReadPng(const std::string& path, const PngPlaneRequest& planes)
{
    return ReadPngFile(path, planes, false);
}

PngReadResult ReadPngRed(const std::string& path, const PngRedRequest& red)
{
    return ReadPngFile(
        path,
        [&red](int width, int height, PlaneView<std::uint8_t>& colour, PlaneView<std::uint8_t>&) {
            return red(width, height, colour);
        },
        true);
}

QSize ReadPngSize(const std::string& path)
{
    QFile file(QString::fromUtf8(path.c_str()));
    if (!file.open(QIODevice::ReadOnly))
        return {};
    FileBytes in(file, 64);
    std::uint8_t fields[13];
    if (!ReadSignatureAndHeader(in, fields))
        return {};
    const std::uint32_t width = BigEndian32(fields);
    const std::uint32_t height = BigEndian32(fields + 4);
    if (width == 0 || height == 0 || width > 0x7FFFFFFFu || height > 0x7FFFFFFFu)
        return {};
    return {static_cast<int>(width), static_cast<int>(height)};
}

QSize ProbeImageSize(const std::string& path)
{
    const QSize png = ReadPngSize(path);
    if (png.isValid())
        return png;
    return QImageReader(QString::fromUtf8(path.c_str())).size();
}
