#include "deptheditor/EdgeArray.h"

EdgeArray::EdgeArray() = default;
EdgeArray::EdgeArray(int, int) {}
EdgeArray::~EdgeArray() = default;
void EdgeArray::Resize(int, int) {}
void EdgeArray::ClearEdges() {}
void EdgeArray::UpdateImage() {}
void EdgeArray::CreateFromNormalMap(Image*, float, float*) {}
void EdgeArray::CreateFromDiffuseMap(Image*, float, float*) {}
void EdgeArray::CreateFromDiffuseMapAlpha(Image*, float*) {}
void EdgeArray::CreateFromSilhouette(Image*, float, float*) {}
void EdgeArray::AddOtherEdgeArray(EdgeArray*) {}
void EdgeArray::RemoveSpecks(DepthEditorEdgeSelect*) {}
