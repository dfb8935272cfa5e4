#pragma once

class ImageProcessor;

// Placeholder until the depth editor's data model lands.
class DepthEditor
{
public:
    DepthEditor(int width, int height, ImageProcessor* processor);
};
