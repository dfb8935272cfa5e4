#include "processing/ImageProcessor.h"

void ImageProcessor::GenerateAnisotropyMap(int, int) {}
void ImageProcessor::PopulateAnisotropyArray() {}
void ImageProcessor::ExpandAnisotropyArray(Vector2D*, int, int) {}
