#pragma once
#include "core/Image.h"

#include <QSize>

#include <cstdint>
#include <functional>
#include <string>

// Reads the PNG layouts sprite sheets are nearly always stored in (8-bit grey, grey + alpha, RGB and
// RGBA, and 1-, 2-, 4- and 8-bit palettes with or without transparency) straight into Brondel's planes:
// the image data is inflated a band of rows at a time and unfiltered into the planes, several times
// faster than the general-purpose reader followed by a format conversion and a split into planes.
//
// Anything else, and anything the general reader might treat in its own way (16-bit samples,
// interlacing, a colour key on grey or RGB, unknown critical chunks, damaged or truncated files,
// trailing bytes, palette indices beyond the palette), is not decoded here: the caller then loads the
// file the general way, so such files keep behaving exactly as before, error messages included.
enum class PngReadResult
{
    Decoded,
    NotHandled,
};

// Asked once the header and palette have been read and checked: provides an RGB plane (3 bytes a
// pixel) and an alpha plane (1 byte a pixel) of the given size, or returns false when they cannot be
// had. The reader writes every pixel; bytes past the end of a row are left as they are.
using PngPlaneRequest = std::function<bool(int width, int height, PlaneView<std::uint8_t>& colour,
                                           PlaneView<std::uint8_t>& alpha)>;

// Decodes the file when it has a .png suffix, is a PNG the reader handles and would load in the general
// reader with exactly the same pixels. On NotHandled the planes may hold anything and should be
// dropped.
PngReadResult ReadPng(const std::string& path, const PngPlaneRequest& planes);

// The same for the red channel alone, for callers that read nothing else: the plane provided holds one
// byte a pixel, and no row of the other channels is kept anywhere.
using PngRedRequest = std::function<bool(int width, int height, PlaneView<std::uint8_t>& red)>;
PngReadResult ReadPngRed(const std::string& path, const PngRedRequest& red);

// Width and height from the header of a PNG file, without decoding anything; an invalid size when the
// file is not a PNG or its header is damaged.
QSize ReadPngSize(const std::string& path);

// Width and height of any image file Brondel reads: PNG headers directly, other formats through the
// general reader's header probe. An invalid size when the file cannot be read.
QSize ProbeImageSize(const std::string& path);
