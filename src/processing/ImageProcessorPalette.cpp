#include "processing/ImageProcessor.h"

bool ImageProcessor::CreatePaletteFromDiffuseMap(int, bool) { return false; }
void ImageProcessor::GeneratePaletteIndex() {}
