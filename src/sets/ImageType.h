#pragma once

// The 18 kinds of image in a set. The number indexes the suffix table and every per-kind array,
// so the order is fixed: 0-4 lighting profiles, 5-10 drawn inputs, 11-17 generated maps.
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

inline constexpr int kImageTypeCount = 18;
