#pragma once
#include "spine/runtime/SpineAtlas.h"
#include "spine/runtime/SpineJsonReader.h"
#include "spine/runtime/SpineSkeleton.h"

#include <gtest/gtest.h>

#include <memory>
#include <string>

// Reads a skeleton written in a test; fails the test (and returns null) when the reader refuses it.
inline std::unique_ptr<SpineSkeletonData> ReadSkeleton(const std::string& json,
                                                       std::shared_ptr<const SpineAtlas> atlas = nullptr,
                                                       std::vector<std::string>* warnings = nullptr)
{
    SpineJsonReader reader(std::move(atlas));
    auto data = reader.Read(QByteArray::fromStdString(json));
    EXPECT_TRUE(data) << reader.error;
    if (warnings)
        *warnings = reader.warnings;
    return data;
}

// World position of a point given in a bone's own space.
inline std::pair<float, float> BonePoint(const SpineBone& bone, float x, float y)
{
    return {bone.a * x + bone.b * y + bone.worldX, bone.c * x + bone.d * y + bone.worldY};
}
