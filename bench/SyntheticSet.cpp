#include "SyntheticSet.h"

#include "core/Image.h"
#include "core/Parallel.h"

#include <algorithm>
#include <cmath>
#include <stdexcept>

namespace {
// Height of the dome field: domes on a jittered grid, each the largest at its pixel.
struct Dome
{
    float cx, cy, radius;
};

std::vector<Dome> MakeDomes(int size)
{
    std::vector<Dome> domes;
    std::uint32_t state = 12345u;
    const auto next = [&state] {
        state = state * 1664525u + 1013904223u;
        return (state >> 8) / 16777216.0f;
    };
    const int cell = 64;
    for (int gy = 0; gy < size / cell; ++gy)
        for (int gx = 0; gx < size / cell; ++gx)
            domes.push_back({(gx + 0.5f + (next() - 0.5f) * 0.4f) * cell,
                             (gy + 0.5f + (next() - 0.5f) * 0.4f) * cell, cell * (0.25f + 0.25f * next())});
    return domes;
}

void Fill(Image& image, int size,
          const std::function<void(int x, int y, std::uint8_t* rgb, std::uint8_t& a)>& pixel)
{
    PlaneView<std::uint8_t> colour = image.ColourView();
    PlaneView<std::uint8_t> alpha = image.AlphaView();
    ParallelFor(0, size, [&](int from, int to) {
        for (int y = from; y < to; ++y)
            for (int x = 0; x < size; ++x)
                pixel(x, y, colour.Row(y) + 3 * x, alpha.Row(y)[x]);
    });
    image.MarkChanged();
}
} // namespace

SyntheticSet MakeSyntheticSet(int size)
{
    const std::vector<Dome> domes = MakeDomes(size);
    const int cell = 64;
    const int perRow = size / cell;
    // The dome under a pixel and its unit normal (x right, y up, z out); z is 0 outside every dome.
    const auto normalAt = [&](int x, int y, int& index) {
        index = std::min(y / cell, perRow - 1) * perRow + std::min(x / cell, perRow - 1);
        const Dome& d = domes[static_cast<std::size_t>(index)];
        const float dx = (x + 0.5f - d.cx) / d.radius;
        const float dy = (d.cy - y - 0.5f) / d.radius;
        const float r2 = dx * dx + dy * dy;
        if (r2 >= 1.0f)
            return std::array<float, 3>{0.0f, 0.0f, 0.0f};
        return std::array<float, 3>{dx, dy, std::sqrt(1.0f - r2)};
    };
    const auto lit = [&](float lx, float ly, float lz) {
        auto image = std::make_unique<Image>(size, size);
        Fill(*image, size, [&](int x, int y, std::uint8_t* rgb, std::uint8_t& a) {
            int index = 0;
            const auto n = normalAt(x, y, index);
            const float v =
                n[2] == 0.0f ? 0.0f : std::max(0.0f, n[0] * lx + n[1] * ly + n[2] * lz) * 0.95f + 0.05f;
            rgb[0] = rgb[1] = rgb[2] = Image::ChannelToByte(v);
            a = 255;
        });
        return image;
    };
    SyntheticSet set;
    set.left = lit(-1, 0, 0);
    set.right = lit(1, 0, 0);
    set.top = lit(0, 1, 0);
    set.bottom = lit(0, -1, 0);
    set.front = lit(0, 0, 1);
    set.diffuse = std::make_unique<Image>(size, size);
    Fill(*set.diffuse, size, [&](int x, int y, std::uint8_t* rgb, std::uint8_t& a) {
        int index = 0;
        const auto n = normalAt(x, y, index);
        const int band = n[2] > 0.7f ? 2 : n[2] > 0.35f ? 1 : 0;
        const int hue = index % 16;
        rgb[0] = static_cast<std::uint8_t>(40 + hue * 13);
        rgb[1] = static_cast<std::uint8_t>(60 + band * 60);
        rgb[2] = static_cast<std::uint8_t>(200 - hue * 9);
        a = n[2] == 0.0f ? 0 : 255;
    });
    set.flow = std::make_unique<Image>(size, size);
    Fill(*set.flow, size, [&](int x, int y, std::uint8_t* rgb, std::uint8_t& a) {
        const float dx = x - size * 0.5f;
        const float dy = y - size * 0.5f;
        const float v = 0.5f + 0.5f * std::sin(std::sqrt(dx * dx + dy * dy) * 0.2f);
        rgb[0] = rgb[1] = rgb[2] = Image::ChannelToByte(v);
        a = 255;
    });
    return set;
}

std::string SaveSyntheticSet(const SyntheticSet& set, const std::string& folder)
{
    const std::pair<const char*, const Image*> members[] = {
        {"Left", set.left.get()},     {"Right", set.right.get()}, {"Top", set.top.get()},
        {"Bottom", set.bottom.get()}, {"Front", set.front.get()}, {"Diffuse", set.diffuse.get()},
        {"Flow", set.flow.get()}};
    for (const auto& [kind, image] : members)
    {
        std::string error;
        if (!image->SaveToDisk(folder + "/Sheet_" + kind + ".png", &error))
            throw std::runtime_error("cannot write the benchmark set: " + error);
    }
    return folder + "/Sheet_Left.png";
}
