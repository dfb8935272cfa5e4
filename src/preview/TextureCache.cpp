#include "preview/TextureCache.h"

#include "core/Image.h"
#include "core/Parallel.h"

#include <QOpenGLFunctions_2_1>

#include <vector>

namespace {
// Images not bound for this many frames (about five seconds at the preview's rate) lose their texture.
constexpr std::uint64_t kIdleFramesBeforeDelete = 100;
} // namespace

void PackRGBA(const Image& image, int x, int y, int w, int h, std::uint8_t* out)
{
    const PlaneView<const std::uint8_t> colour = image.ColourView();
    const PlaneView<const std::uint8_t> alpha = image.AlphaView();
    ParallelFor(0, h, [&](int from, int to) {
        for (int row = from; row < to; ++row)
        {
            const std::uint8_t* c = colour.Row(y + row) + 3 * x;
            const std::uint8_t* a = alpha.Row(y + row) + x;
            std::uint8_t* o = out + static_cast<std::size_t>(row) * w * 4;
            for (int i = 0; i < w; ++i)
            {
                o[4 * i] = c[3 * i];
                o[4 * i + 1] = c[3 * i + 1];
                o[4 * i + 2] = c[3 * i + 2];
                o[4 * i + 3] = a[i];
            }
        }
    });
}

TextureCache::TextureCache() = default;
TextureCache::~TextureCache() = default;

unsigned TextureCache::Bind(QOpenGLFunctions_2_1* gl, const Image* image, int unit, bool smooth)
{
    gl->glActiveTexture(GL_TEXTURE0 + static_cast<GLenum>(unit));
    if (image == nullptr || !image->HasPlanes() || image->GetWidth() == 0 || image->GetHeight() == 0)
    {
        gl->glBindTexture(GL_TEXTURE_2D, 0);
        return 0;
    }
    auto found = entries.find(image);
    const bool fresh = found == entries.end();
    Entry& entry = fresh ? entries[image] : found->second;
    entry.lastUsedFrame = frame;
    if (fresh)
    {
        gl->glGenTextures(1, &entry.texture);
        gl->glBindTexture(GL_TEXTURE_2D, entry.texture);
        // Smaller copies for views where the sprite is shown smaller than its maps: a zoomed-out large
        // sheet then reads a few texels per pixel instead of striding across the whole map, which is
        // both faster and free of sparkle. Kept up to date by the driver on every upload.
        gl->glTexParameteri(GL_TEXTURE_2D, GL_GENERATE_MIPMAP, GL_TRUE);
    }
    else
        gl->glBindTexture(GL_TEXTURE_2D, entry.texture);
    if (fresh || entry.revision != image->GetRevision())
        Upload(gl, *image, entry,
               fresh || entry.width != image->GetWidth() || entry.height != image->GetHeight());

    // Cheap to set on every bind, and the image's filtering and wrap switches can change without a
    // new revision.
    smooth = smooth || image->GetFiltering();
    gl->glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_MIN_FILTER,
                        smooth ? GL_LINEAR_MIPMAP_LINEAR : GL_NEAREST_MIPMAP_NEAREST);
    gl->glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_MAG_FILTER, smooth ? GL_LINEAR : GL_NEAREST);
    gl->glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_WRAP_S, image->wrapX ? GL_REPEAT : GL_CLAMP_TO_EDGE);
    gl->glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_WRAP_T,
                        image->GetVerticalWrap() ? GL_REPEAT : GL_CLAMP_TO_EDGE);
    return entry.texture;
}

void TextureCache::Upload(QOpenGLFunctions_2_1* gl, const Image& image, Entry& entry, bool fresh)
{
    const int w = image.GetWidth();
    const int h = image.GetHeight();
    std::vector<std::uint8_t> rgba(static_cast<std::size_t>(w) * h * 4);
    PackRGBA(image, 0, 0, w, h, rgba.data());
    gl->glPixelStorei(GL_UNPACK_ALIGNMENT, 4);
    // Same size: replace the texels in place instead of reallocating the texture's storage.
    if (fresh)
        gl->glTexImage2D(GL_TEXTURE_2D, 0, GL_RGBA8, w, h, 0, GL_RGBA, GL_UNSIGNED_BYTE, rgba.data());
    else
        gl->glTexSubImage2D(GL_TEXTURE_2D, 0, 0, 0, w, h, GL_RGBA, GL_UNSIGNED_BYTE, rgba.data());
    entry.width = w;
    entry.height = h;
    entry.revision = image.GetRevision();
    ++uploads;
}

void TextureCache::UpdateRegion(QOpenGLFunctions_2_1* gl, const Image* image, int x, int y, int w, int h)
{
    if (image == nullptr || !image->HasPlanes())
        return;
    auto found = entries.find(image);
    if (found == entries.end() || found->second.width != image->GetWidth() ||
        found->second.height != image->GetHeight())
        return; // the next Bind uploads it whole
    const int x0 = std::max(0, x);
    const int y0 = std::max(0, y);
    const int x1 = std::min(image->GetWidth(), x + w);
    const int y1 = std::min(image->GetHeight(), y + h);
    if (x1 <= x0 || y1 <= y0)
        return;
    std::vector<std::uint8_t> rgba(static_cast<std::size_t>(x1 - x0) * (y1 - y0) * 4);
    PackRGBA(*image, x0, y0, x1 - x0, y1 - y0, rgba.data());
    gl->glBindTexture(GL_TEXTURE_2D, found->second.texture);
    gl->glPixelStorei(GL_UNPACK_ALIGNMENT, 4);
    gl->glTexSubImage2D(GL_TEXTURE_2D, 0, x0, y0, x1 - x0, y1 - y0, GL_RGBA, GL_UNSIGNED_BYTE, rgba.data());
    found->second.revision = image->GetRevision();
}

void TextureCache::EndFrame(QOpenGLFunctions_2_1* gl)
{
    ++frame;
    for (auto it = entries.begin(); it != entries.end();)
    {
        if (frame - it->second.lastUsedFrame > kIdleFramesBeforeDelete)
        {
            gl->glDeleteTextures(1, &it->second.texture);
            it = entries.erase(it);
        }
        else
            ++it;
    }
}

void TextureCache::Clear(QOpenGLFunctions_2_1* gl)
{
    for (auto& [image, entry] : entries)
        gl->glDeleteTextures(1, &entry.texture);
    entries.clear();
}
