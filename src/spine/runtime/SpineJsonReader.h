#pragma once
#include "spine/runtime/SpineFileReader.h"
#include "spine/runtime/SpineSkeletonData.h"

#include <QJsonArray>
#include <QJsonObject>

#include <functional>
#include <memory>
#include <set>
#include <string>
#include <vector>

class SpineAtlas;

// Reads a skeleton JSON export of any editor version from 3.0 to 4.2 into SpineSkeletonData, by key,
// on top of Qt's JSON parser. Damaged parts are skipped with a line in `warnings`; a file that cannot
// be used at all gives null and a line in `error`. Features this runtime does not animate (path
// constraints, physics, two-colour tint, sequences, clipping) load with a warning and are ignored.
class SpineJsonReader
{
public:
    explicit SpineJsonReader(std::shared_ptr<const SpineAtlas> atlasPages = nullptr)
        : atlas(std::move(atlasPages))
    {}

    float scale = 1.0f;
    SpineFileReader fileReader = ReadSpineFileFromDisk;
    std::string error;
    std::vector<std::string> warnings;

    std::unique_ptr<SpineSkeletonData> ReadFile(const std::string& path);
    std::unique_ptr<SpineSkeletonData> Read(const QByteArray& json);

private:
    struct PendingLink
    {
        SpineAttachment* mesh;
        SpineSkin* owner;
        int slot;
        std::string key;
        std::string parentKey;
        std::string skin;
    };

    std::shared_ptr<const SpineAtlas> atlas;
    int version = 0; // major * 100 + minor, e.g. 308 or 402
    std::set<std::string> warnedOnce;
    std::vector<PendingLink> links;

    void Warn(const std::string& text);
    void WarnOnce(const std::string& text);
    float Number(const QJsonObject& object, const char* key, float fallback);
    bool Numbers(const QJsonValue& value, std::vector<float>& out, float factor);
    SpineColour Colour(const QJsonValue& value, const SpineColour& fallback);
    int DetectVersion(const QJsonObject& root) const;

    bool ReadBones(const QJsonObject& root, SpineSkeletonData& data);
    void ReadSlots(const QJsonObject& root, SpineSkeletonData& data);
    void ReadConstraints(const QJsonObject& root, SpineSkeletonData& data);
    void ReadSkins(const QJsonObject& root, SpineSkeletonData& data);
    void ReadSkin(const std::string& name, const QJsonObject& slotList, SpineSkeletonData& data,
                  SpineSkin& skin);
    std::unique_ptr<SpineAttachment> ReadAttachment(const QJsonObject& object, const std::string& key,
                                                    const std::string& where, int boneCount);
    bool ReadVertices(const QJsonObject& object, SpineAttachment& attachment, int vertexCount, bool weighted,
                      int boneCount);
    void ResolveLinkedMeshes(SpineSkeletonData& data);
    void ReadAnimation(const std::string& name, const QJsonObject& object, SpineSkeletonData& data);
    void ReadCurve(const QJsonObject& key, SpineCurves& curves, int valueCount, float t0, float t1,
                   const float* from, const float* to, float curveScale);
    bool ReadTimeline(const QJsonArray& keys, SpineTimeline& timeline, float curveScale,
                      const std::function<void(const QJsonObject&, float*, int&)>& readKey,
                      bool wrapRotation);
    void ReadDeform(const QJsonArray& keys, const std::string& skinName, const std::string& slotName,
                    const std::string& key, SpineSkeletonData& data, SpineAnimation& animation);
    void ReadDrawOrder(const QJsonArray& keys, SpineSkeletonData& data, SpineAnimation& animation);
};
