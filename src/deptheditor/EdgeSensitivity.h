#pragma once

// How the window's integer sensitivity sliders become edge detection thresholds. Turning a slider up
// always finds more edges: a larger normal threshold, a smaller colour or silhouette one.

// Normals: an edge where the dot product of neighbouring normals is below this.
inline float NormalEdgeThreshold(int slider)
{
    return static_cast<float>(slider) * 0.05f;
}

// Diffuse colour: an edge where the premultiplied colours differ by more than this (0..3 summed over
// red, green and blue), from 3 at slider 0 to 0 at slider 255.
inline float DiffuseEdgeThreshold(int slider)
{
    return 3.0f - static_cast<float>(slider) * (3.0f / 255.0f);
}

// Silhouette: an edge where the red channels differ by more than this, from 1 at 0 to 0 at 255.
inline float SilhouetteEdgeThreshold(int slider)
{
    return 1.0f - static_cast<float>(slider) / 255.0f;
}
