#pragma once
#include "core/Image.h"

#include <string>
#include <vector>

// Encodes 8-bit RGB or RGBA pixels as PNG. Rows are filtered and deflated on every worker thread in
// fixed-size pieces that do not depend on the thread count, so the bytes are the same everywhere;
// on big sprite sheets this is several times faster than the general-purpose image writer.
// `alpha` may have no data, which writes an RGB file.
std::vector<char> EncodePng(const PlaneView<const std::uint8_t>& colour,
                            const PlaneView<const std::uint8_t>& alpha);
