#include "processing/ImageProcessor.h"

void ImageProcessor::GenerateAOFromDepth(float, int, int, float) {}
