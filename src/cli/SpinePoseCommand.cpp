#include "cli/SpinePoseCommand.h"

#include "spine/SpineData.h"
#include "spine/runtime/SpineAnimationState.h"
#include "spine/runtime/SpineAtlas.h"
#include "spine/runtime/SpineJsonReader.h"
#include "spine/runtime/SpineSkeleton.h"

#include <QImageReader>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

#include <cmath>
#include <cstring>
#include <optional>
#include <string>

namespace {
// Page sizes from the real images, quietly: standard output carries only the pose.
class PageSizes : public SpinePageLoader
{
public:
    bool LoadPage(SpineAtlasPage& page, const std::string& path) override
    {
        const QSize size = QImageReader(QString::fromStdString(path)).size();
        if (!size.isValid() || size.isEmpty())
            return false;
        page.width = size.width();
        page.height = size.height();
        return true;
    }
};

// JSON has no not-a-number or infinity; a pose holding one prints null there.
QJsonValue Number(float value)
{
    return std::isfinite(value) ? QJsonValue(static_cast<double>(value)) : QJsonValue(QJsonValue::Null);
}

std::optional<std::string> Option(int argc, char** argv, const char* name, bool& malformed)
{
    for (int i = 1; i < argc; ++i)
    {
        if (std::strcmp(argv[i], name) != 0)
            continue;
        if (i + 1 >= argc)
        {
            malformed = true;
            return std::nullopt;
        }
        return std::string(argv[i + 1]);
    }
    return std::nullopt;
}
} // namespace

bool IsSpinePoseCommand(int argc, char** argv)
{
    for (int i = 1; i < argc; ++i)
    {
        if (std::strcmp(argv[i], "-spinePose") == 0)
            return true;
    }
    return false;
}

int RunSpinePoseCommand(int argc, char** argv, std::ostream& out, std::ostream& err)
{
    bool malformed = false;
    const auto file = Option(argc, argv, "-spinePose", malformed);
    const auto skinName = Option(argc, argv, "-spineSkin", malformed);
    const auto animationName = Option(argc, argv, "-spineAnimation", malformed);
    const auto timeText = Option(argc, argv, "-spineTime", malformed);
    float time = 0.0f;
    if (timeText)
    {
        bool ok = false;
        time = QString::fromStdString(*timeText).toFloat(&ok);
        malformed = malformed || !ok || !std::isfinite(time);
    }
    if (malformed || !file)
    {
        err << "Usage: -spinePose FILE.json [-spineSkin NAME] [-spineAnimation NAME] [-spineTime SECONDS]"
            << std::endl;
        return 2;
    }

    PageSizes pages;
    std::string atlasError;
    std::shared_ptr<const SpineAtlas> atlas =
        SpineAtlas::Load(SpineData::AtlasNameFor(*file), &pages, ReadSpineFileFromDisk, atlasError);
    if (!atlas)
        err << atlasError << "; attachments are posed without atlas regions." << std::endl;
    SpineJsonReader reader(atlas);
    const auto data = reader.ReadFile(*file);
    for (const std::string& warning : reader.warnings)
        err << warning << std::endl;
    if (!data)
    {
        err << reader.error << std::endl;
        return 1;
    }

    SpineSkeleton skeleton(*data);
    if (skinName)
    {
        if (!skeleton.SetSkin(*skinName))
        {
            err << "Skin not found: " << *skinName << std::endl;
            return 1;
        }
    }
    else if (!data->skins.empty())
        skeleton.SetSkin(data->skins.front()->name);
    SpineAnimationState state(*data);
    if (animationName && !state.SetAnimation(*animationName, true))
    {
        err << "Animation not found: " << *animationName << std::endl;
        return 1;
    }
    state.Update(time);
    state.Apply(skeleton);
    skeleton.UpdateWorldTransform();

    QJsonArray bones;
    for (const SpineBone& bone : skeleton.bones)
    {
        bones.append(QJsonObject{{QStringLiteral("name"), QString::fromStdString(bone.data->name)},
                                 {QStringLiteral("a"), Number(bone.a)},
                                 {QStringLiteral("b"), Number(bone.b)},
                                 {QStringLiteral("c"), Number(bone.c)},
                                 {QStringLiteral("d"), Number(bone.d)},
                                 {QStringLiteral("worldX"), Number(bone.worldX)},
                                 {QStringLiteral("worldY"), Number(bone.worldY)}});
    }
    QJsonArray slotArray;
    std::vector<float> vertices;
    for (int index : skeleton.drawOrder)
    {
        const SpineSlot& slot = skeleton.slotList[static_cast<std::size_t>(index)];
        skeleton.ComputeWorldVertices(slot, vertices);
        QJsonArray world;
        for (float v : vertices)
            world.append(Number(v));
        slotArray.append(
            QJsonObject{{QStringLiteral("name"), QString::fromStdString(slot.data->name)},
                        {QStringLiteral("attachment"),
                         slot.attachment ? QJsonValue(QString::fromStdString(slot.attachment->name))
                                         : QJsonValue(QJsonValue::Null)},
                        {QStringLiteral("color"), QJsonArray{Number(slot.colour.r), Number(slot.colour.g),
                                                             Number(slot.colour.b), Number(slot.colour.a)}},
                        {QStringLiteral("vertices"), world}});
    }
    const QJsonObject pose{
        {QStringLiteral("skin"), skeleton.skin ? QJsonValue(QString::fromStdString(skeleton.skin->name))
                                               : QJsonValue(QJsonValue::Null)},
        {QStringLiteral("animation"),
         animationName ? QJsonValue(QString::fromStdString(*animationName)) : QJsonValue(QJsonValue::Null)},
        {QStringLiteral("time"), Number(state.AnimationTime())},
        {QStringLiteral("bones"), bones},
        {QStringLiteral("slots"), slotArray}};
    out << QJsonDocument(pose).toJson(QJsonDocument::Indented).toStdString();
    out.flush();
    return 0;
}
