#include "spine/runtime/SpineAttachment.h"

#include "spine/runtime/SpineAtlas.h"

#include <cmath>
#include <numbers>

int SpineAttachment::DeformLength() const
{
    if (!IsWeighted())
        return vertexCount * 2;
    return static_cast<int>(vertices.size() / 3) * 2;
}

void SpineAttachment::UpdateRegion(const SpineAtlas* atlas)
{
    const bool mapped = atlas && region;
    const float originalWidth = mapped ? static_cast<float>(region->originalWidth) : 1.0f;
    const float originalHeight = mapped ? static_cast<float>(region->originalHeight) : 1.0f;
    const auto mapPoint = [&](float imageX, float imageY, float& u, float& v) {
        if (mapped)
            atlas->MapToPage(*region, imageX, imageY, u, v);
        else
        {
            u = imageX;
            v = imageY;
        }
    };
    if (type == SpineAttachmentType::Mesh)
    {
        uvs.resize(regionUVs.size());
        for (std::size_t i = 0; i + 1 < regionUVs.size(); i += 2)
            mapPoint(regionUVs[i] * originalWidth, regionUVs[i + 1] * originalHeight, uvs[i], uvs[i + 1]);
        return;
    }
    if (type != SpineAttachmentType::Region)
        return;

    // The quad covers only the packed pixels: stripped whitespace moves its edges inwards.
    float left = -0.5f * width;
    float bottom = -0.5f * height;
    float right = 0.5f * width;
    float top = 0.5f * height;
    float packedLeft = 0.0f, packedTop = 0.0f, packedRight = 1.0f, packedBottom = 1.0f;
    if (mapped && originalWidth > 0.0f && originalHeight > 0.0f)
    {
        const float offsetX = static_cast<float>(region->offsetX);
        const float offsetY = static_cast<float>(region->offsetY);
        const float packedWidth = static_cast<float>(region->width);
        const float packedHeight = static_cast<float>(region->height);
        left += offsetX / originalWidth * width;
        bottom += offsetY / originalHeight * height;
        right -= (originalWidth - offsetX - packedWidth) / originalWidth * width;
        top -= (originalHeight - offsetY - packedHeight) / originalHeight * height;
        packedLeft = offsetX;
        packedRight = offsetX + packedWidth;
        packedTop = originalHeight - offsetY - packedHeight;
        packedBottom = originalHeight - offsetY;
    }
    const float radians = rotation * std::numbers::pi_v<float> / 180.0f;
    const float cosine = std::cos(radians);
    const float sine = std::sin(radians);
    const std::array<float, 8> local = {left, bottom, right, bottom, right, top, left, top};
    for (int i = 0; i < 4; ++i)
    {
        const float lx = local[2 * i] * scaleX;
        const float ly = local[2 * i + 1] * scaleY;
        corners[2 * i] = lx * cosine - ly * sine + x;
        corners[2 * i + 1] = lx * sine + ly * cosine + y;
    }
    const std::array<float, 8> image = {packedLeft,  packedBottom, packedRight, packedBottom,
                                        packedRight, packedTop,    packedLeft,  packedTop};
    for (int i = 0; i < 4; ++i)
        mapPoint(image[2 * i], image[2 * i + 1], cornerUVs[2 * i], cornerUVs[2 * i + 1]);
}
