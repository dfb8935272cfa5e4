#pragma once

// The 18 kinds of image in a set. The number indexes the suffix table and every per-kind array,
// so the order is fixed: 0-4 lighting profiles, 5-10 drawn inputs, 11-17 generated maps.
// The kinds are named ImageType::Normal and so on: their short names (Left, Index, Depth) would clash
// with everything else in the program if they sat in the global namespace, but they stay an unscoped
// enum so a kind indexes the per-kind arrays directly.
namespace ImageTypes {
enum ImageType : int
{
    Top,
    Bottom,
    Left,
    Right,
    Front,
    Diffuse,
    Specular,
    Emissive,
    Silhouette,
    Flow,
    Palette,
    Normal,
    Depth,
    NormalDepth,
    NormalOpacity,
    AO,
    Aniso,
    Index
};
} // namespace ImageTypes
using ImageTypes::ImageType;

inline constexpr int kImageTypeCount = 18;
