#pragma once
#include <array>
#include <string>
#include <vector>

class SpineAtlas;
struct SpineAtlasRegion;

struct SpineColour
{
    float r = 1.0f;
    float g = 1.0f;
    float b = 1.0f;
    float a = 1.0f;
};

enum class SpineAttachmentType
{
    Region,
    Mesh,
    BoundingBox,
    Point,
    Path,
    Clipping
};

// One attachment of a skin: a textured quad, a mesh (weighted or not, possibly linked to another
// mesh whose geometry it shares), or one of the kinds that are loaded but never drawn.
struct SpineAttachment
{
    SpineAttachmentType type = SpineAttachmentType::Region;
    std::string name;
    std::string path; // atlas region name
    SpineColour colour;
    const SpineAtlasRegion* region = nullptr; // null when the atlas lacks it: drawn with 0..1 UVs
    int page = -1;

    // Region: placement relative to the bone, and the four corners (bottom-left, bottom-right,
    // top-right, top-left) in the bone's space with their page UVs.
    float x = 0.0f, y = 0.0f, rotation = 0.0f, scaleX = 1.0f, scaleY = 1.0f, width = 0.0f, height = 0.0f;
    std::array<float, 8> corners{};
    std::array<float, 8> cornerUVs{};

    // Vertex attachments. Unweighted: `vertices` holds x, y per vertex and `bones` is empty.
    // Weighted: `bones` holds, per vertex, an influence count followed by that many bone indices, and
    // `vertices` holds bindX, bindY, weight per influence.
    std::vector<int> bones;
    std::vector<float> vertices;
    int vertexCount = 0;
    std::vector<float> regionUVs; // 0..1 over the original image, v from the top
    std::vector<float> uvs;       // page UVs
    std::vector<int> triangles;
    int hull = 0;

    // Linked meshes share the geometry of `parentMesh`; with inheritDeform they also follow its
    // deform keys.
    const SpineAttachment* parentMesh = nullptr;
    bool inheritDeform = true;

    bool IsWeighted() const { return !bones.empty(); }
    // Floats in a full deform frame: 2 per vertex unweighted, 2 per influence weighted.
    int DeformLength() const;
    // The mesh whose deform keys drive this one.
    const SpineAttachment* DeformSource() const { return parentMesh && inheritDeform ? parentMesh : this; }

    // Fills corners/cornerUVs (regions) or uvs (meshes) from the atlas region, or from the whole
    // 0..1 square when there is none.
    void UpdateRegion(const SpineAtlas* atlas);
};
