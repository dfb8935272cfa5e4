#include "processing/ImageProcessor.h"

void ImageProcessor::GenerateDepthMapFromNormals(int, bool, float) {}
void ImageProcessor::RefineDepthFromNormal(int, int, EdgeArray*, bool) {}
void ImageProcessor::InflateDepthMip(int, float) {}
Vector2D ImageProcessor::GetRise(int, int, int) { return {}; }
void ImageProcessor::PopulateDepthMapFromArray() {}
void ImageProcessor::PopulateDepthArrayFromMap() {}
float ImageProcessor::GetDepthAt(float, float) { return 0.0f; }
