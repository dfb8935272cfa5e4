#include "deptheditor/DepthEditor.h"

DepthEditor::DepthEditor(int, int, ImageProcessor*) {}
