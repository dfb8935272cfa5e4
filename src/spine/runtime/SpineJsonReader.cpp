#include "spine/runtime/SpineJsonReader.h"

#include "spine/runtime/SpineAtlas.h"

#include <QJsonDocument>
#include <QJsonParseError>
#include <QRegularExpression>

#include <algorithm>
#include <cmath>
#include <string_view>

namespace {
// Anything beyond this is a damaged file, not a skeleton: larger values would overflow the float
// arithmetic of posing, and converting them to float at all is undefined.
constexpr double LargestNumber = 1.0e9;
// Influences per weighted vertex; real exports use a handful.
constexpr int MostInfluences = 64;

std::string Joined(std::initializer_list<std::string_view> parts)
{
    std::string joined;
    for (std::string_view part : parts)
        joined.append(part);
    return joined;
}

// Qt's JSON objects hand their keys back sorted, but the editor's order matters to the artist (the
// first animation plays on load, and the selectors list them). Each key's first appearance as a key
// after the section's own key gives the file order; names that cannot be found (escaped characters)
// keep their sorted place after the rest.
std::vector<std::size_t> FileOrder(const QByteArray& json, const char* section,
                                   const std::vector<std::string>& names)
{
    const QByteArray sectionKey = QByteArray("\"") + section + "\"";
    // Each name costs a search of the file; past a few hundred names the sorted order has to do.
    const qsizetype start = names.size() > 500 ? -1 : json.indexOf(sectionKey);
    std::vector<std::pair<qsizetype, std::size_t>> found;
    for (std::size_t i = 0; i < names.size(); ++i)
    {
        const QByteArray quoted = QByteArray("\"") + QByteArray::fromStdString(names[i]) + "\"";
        qsizetype at = start < 0 ? -1 : json.indexOf(quoted, start + sectionKey.size());
        while (at >= 0)
        {
            qsizetype after = at + quoted.size();
            while (after < json.size() && QChar::isSpace(static_cast<uchar>(json[after])))
                ++after;
            if (after < json.size() && json[after] == ':')
                break;
            at = json.indexOf(quoted, at + 1);
        }
        found.emplace_back(at < 0 ? json.size() : at, i);
    }
    std::stable_sort(found.begin(), found.end(),
                     [](const auto& l, const auto& r) { return l.first < r.first; });
    std::vector<std::size_t> order;
    order.reserve(found.size());
    for (const auto& entry : found)
        order.push_back(entry.second);
    return order;
}

QLatin1String Key(const char* key)
{
    return QLatin1String(key);
}

std::string Text(const QJsonValue& value, const std::string& fallback = {})
{
    return value.isString() ? value.toString().toStdString() : fallback;
}

bool Flag(const QJsonObject& object, const char* key, bool fallback)
{
    const QJsonValue value = object.value(Key(key));
    return value.isBool() ? value.toBool() : fallback;
}

// The first of several alternative key names that the object holds (names changed between versions).
QJsonValue FirstOf(const QJsonObject& object, std::initializer_list<const char*> keys)
{
    for (const char* key : keys)
    {
        QJsonValue value = object.value(Key(key));
        if (!value.isUndefined() && !value.isNull())
            return value;
    }
    return QJsonValue(QJsonValue::Undefined);
}

bool ParseInherit(const std::string& text, SpineInherit& inherit)
{
    static const std::pair<const char*, SpineInherit> names[] = {
        {"normal", SpineInherit::Normal},
        {"onlyTranslation", SpineInherit::OnlyTranslation},
        {"noRotationOrReflection", SpineInherit::NoRotationOrReflection},
        {"noScale", SpineInherit::NoScale},
        {"noScaleOrReflection", SpineInherit::NoScaleOrReflection}};
    for (const auto& [name, value] : names)
    {
        if (text == name)
        {
            inherit = value;
            return true;
        }
    }
    return false;
}

// Bone timelines from 4.0 on, keyed by name: kind, the value's default and whether it is a length.
struct SingleValueTimeline
{
    const char* name;
    SpineTimelineKind kind;
    float fallback;
    bool length;
};
const SingleValueTimeline SingleValueTimelines[] = {
    {"translatex", SpineTimelineKind::TranslateX, 0.0f, true},
    {"translatey", SpineTimelineKind::TranslateY, 0.0f, true},
    {"scalex", SpineTimelineKind::ScaleX, 1.0f, false},
    {"scaley", SpineTimelineKind::ScaleY, 1.0f, false},
    {"shearx", SpineTimelineKind::ShearX, 0.0f, false},
    {"sheary", SpineTimelineKind::ShearY, 0.0f, false},
};
} // namespace

void SpineJsonReader::Warn(const std::string& text)
{
    // A badly damaged file could name thousands of missing things; the first hundred say enough.
    if (warnings.size() < 100)
        warnings.push_back(text);
}

void SpineJsonReader::WarnOnce(const std::string& text)
{
    if (warnedOnce.insert(text).second)
        Warn(text);
}

float SpineJsonReader::Number(const QJsonObject& object, const char* key, float fallback)
{
    const QJsonValue value = object.value(Key(key));
    if (value.isUndefined() || value.isNull())
        return fallback;
    if (!value.isDouble())
    {
        Warn(std::string("A value of \"") + key + "\" is not a number; using its default");
        return fallback;
    }
    const double number = value.toDouble();
    if (!std::isfinite(number) || std::fabs(number) > LargestNumber)
    {
        Warn(std::string("A value of \"") + key + "\" is out of range; using its default");
        return fallback;
    }
    return static_cast<float>(number);
}

bool SpineJsonReader::Numbers(const QJsonValue& value, std::vector<float>& out, float factor)
{
    out.clear();
    if (value.isUndefined() || value.isNull())
        return true;
    if (!value.isArray())
        return false;
    const QJsonArray array = value.toArray();
    out.reserve(static_cast<std::size_t>(array.size()));
    for (const QJsonValue element : array)
    {
        const double number = element.toDouble(std::nan(""));
        if (!element.isDouble() || !std::isfinite(number) || std::fabs(number) > LargestNumber)
            return false;
        out.push_back(static_cast<float>(number) * factor);
    }
    return true;
}

SpineColour SpineJsonReader::Colour(const QJsonValue& value, const SpineColour& fallback)
{
    if (value.isUndefined() || value.isNull())
        return fallback;
    const QString text = value.toString();
    bool ok = text.size() == 8 || text.size() == 6;
    const uint bits = text.toUInt(&ok, 16);
    if (!ok || !(text.size() == 8 || text.size() == 6))
    {
        Warn("Colour \"" + text.toStdString() + "\" is not RRGGBBAA; using white");
        return fallback;
    }
    const uint rgba = text.size() == 6 ? (bits << 8) | 0xFFu : bits;
    return {static_cast<float>((rgba >> 24) & 0xFFu) / 255.0f,
            static_cast<float>((rgba >> 16) & 0xFFu) / 255.0f,
            static_cast<float>((rgba >> 8) & 0xFFu) / 255.0f, static_cast<float>(rgba & 0xFFu) / 255.0f};
}

std::unique_ptr<SpineSkeletonData> SpineJsonReader::ReadFile(const std::string& path)
{
    QByteArray bytes;
    if (!(fileReader ? fileReader : ReadSpineFileFromDisk)(path, bytes))
    {
        error = "Unable to read skeleton file: " + path;
        return nullptr;
    }
    return Read(bytes);
}

int SpineJsonReader::DetectVersion(const QJsonObject& root) const
{
    const QString text = root.value(Key("skeleton")).toObject().value(Key("spine")).toString();
    const QRegularExpressionMatch match =
        QRegularExpression(QStringLiteral(R"(^\s*(\d+)\.(\d+))")).match(text);
    if (match.hasMatch())
        return std::min(match.captured(1).toInt(), 99) * 100 + std::min(match.captured(2).toInt(), 99);

    // No usable version string ("Dev", or none): recognise the layout.
    const QJsonArray bones = root.value(Key("bones")).toArray();
    const QJsonObject animations = root.value(Key("animations")).toObject();
    bool boneInherit = false, boneTransform = false;
    for (const QJsonValue bone : bones)
    {
        boneInherit = boneInherit || bone.toObject().contains(Key("inherit"));
        boneTransform = boneTransform || bone.toObject().contains(Key("transform"));
    }
    if (boneInherit || root.contains(Key("physics")))
        return 402;
    bool attachmentsGroup = false, deformGroup = false, ffdGroup = false, fourZero = false;
    for (auto it = animations.begin(); it != animations.end(); ++it)
    {
        const QJsonObject animation = it.value().toObject();
        attachmentsGroup = attachmentsGroup || animation.contains(Key("attachments"));
        deformGroup = deformGroup || animation.contains(Key("deform"));
        ffdGroup = ffdGroup || animation.contains(Key("ffd"));
        const QJsonObject slotList = animation.value(Key("slots")).toObject();
        for (auto slot = slotList.begin(); slot != slotList.end(); ++slot)
        {
            const QJsonObject timelines = slot.value().toObject();
            fourZero = fourZero || timelines.contains(Key("rgba")) || timelines.contains(Key("rgb")) ||
                       timelines.contains(Key("alpha"));
        }
        const QJsonObject boneTimelines = animation.value(Key("bones")).toObject();
        for (auto bone = boneTimelines.begin(); bone != boneTimelines.end(); ++bone)
        {
            const QJsonObject timelines = bone.value().toObject();
            for (const SingleValueTimeline& single : SingleValueTimelines)
                fourZero = fourZero || timelines.contains(Key(single.name));
            const QJsonArray rotate = timelines.value(Key("rotate")).toArray();
            for (const QJsonValue key : rotate)
                fourZero = fourZero || key.toObject().contains(Key("value"));
        }
    }
    if (attachmentsGroup)
        return 401;
    if (root.value(Key("skins")).isArray())
        return fourZero ? 400 : 308;
    if (boneTransform)
        return 305;
    if (deformGroup)
        return 303;
    if (ffdGroup)
        return 300;
    return 307;
}

std::unique_ptr<SpineSkeletonData> SpineJsonReader::Read(const QByteArray& json)
{
    error.clear();
    warnings.clear();
    warnedOnce.clear();
    links.clear();
    if (!std::isfinite(scale) || scale == 0.0f)
        scale = 1.0f;

    QJsonParseError parseError;
    const QJsonDocument document = QJsonDocument::fromJson(json, &parseError);
    if (document.isNull() || !document.isObject())
    {
        const bool binary = !json.isEmpty() && json.trimmed().front() != '{';
        error = binary ? std::string("The skeleton file is not JSON (binary .skel exports are not supported)")
                       : "Invalid skeleton JSON: " + parseError.errorString().toStdString() + " at offset " +
                             std::to_string(parseError.offset);
        return nullptr;
    }
    const QJsonObject root = document.object();
    version = DetectVersion(root);

    auto data = std::make_unique<SpineSkeletonData>();
    data->atlas = atlas;
    data->version = root.value(Key("skeleton")).toObject().value(Key("spine")).toString().toStdString();
    if (!ReadBones(root, *data))
        return nullptr;
    ReadSlots(root, *data);
    ReadConstraints(root, *data);
    ReadSkins(root, *data);
    ResolveLinkedMeshes(*data);
    const QJsonObject animations = root.value(Key("animations")).toObject();
    for (auto it = animations.begin(); it != animations.end(); ++it)
        ReadAnimation(it.key().toStdString(), it.value().toObject(), *data);

    std::vector<std::string> names;
    for (const SpineAnimation& animation : data->animations)
        names.push_back(animation.name);
    std::vector<SpineAnimation> inFileOrder;
    for (std::size_t index : FileOrder(json, "animations", names))
        inFileOrder.push_back(std::move(data->animations[index]));
    data->animations = std::move(inFileOrder);
    if (!root.value(Key("skins")).isArray())
    {
        names.clear();
        for (const auto& skin : data->skins)
            names.push_back(skin->name);
        std::vector<std::unique_ptr<SpineSkin>> skins;
        for (std::size_t index : FileOrder(json, "skins", names))
            skins.push_back(std::move(data->skins[index]));
        data->skins = std::move(skins);
    }
    // The default skin is listed first, as the editor does.
    std::stable_partition(data->skins.begin(), data->skins.end(),
                          [](const std::unique_ptr<SpineSkin>& skin) { return skin->name == "default"; });
    return data;
}

bool SpineJsonReader::ReadBones(const QJsonObject& root, SpineSkeletonData& data)
{
    const QJsonArray bones = root.value(Key("bones")).toArray();
    if (bones.isEmpty())
    {
        error = "The skeleton has no bones";
        return false;
    }
    // Weighted vertices name bones by their position in this array, so a damaged bone cannot be skipped.
    for (const QJsonValue value : bones)
    {
        const QJsonObject object = value.toObject();
        SpineBoneData bone;
        bone.name = Text(object.value(Key("name")));
        if (bone.name.empty() || data.FindBone(bone.name) >= 0)
        {
            error = bone.name.empty() ? "A bone has no name" : "Bone name used twice: " + bone.name;
            return false;
        }
        if (object.contains(Key("parent")))
        {
            const std::string parent = Text(object.value(Key("parent")));
            bone.parent = data.FindBone(parent);
            if (bone.parent < 0)
            {
                error = "Parent bone not found: " + parent + " (of " + bone.name + ")";
                return false;
            }
        }
        bone.length = Number(object, "length", 0.0f) * scale;
        bone.x = Number(object, "x", 0.0f) * scale;
        bone.y = Number(object, "y", 0.0f) * scale;
        bone.rotation = Number(object, "rotation", 0.0f);
        bone.scaleX = Number(object, "scaleX", 1.0f);
        bone.scaleY = Number(object, "scaleY", 1.0f);
        bone.shearX = Number(object, "shearX", 0.0f);
        bone.shearY = Number(object, "shearY", 0.0f);
        const QJsonValue inherit = FirstOf(object, {"inherit", "transform"});
        if (inherit.isString())
        {
            if (!ParseInherit(inherit.toString().toStdString(), bone.inherit))
                Warn("Unknown inherit mode \"" + inherit.toString().toStdString() + "\" on bone " +
                     bone.name);
        }
        else
        {
            // Before 3.5 two booleans said what a bone takes from its parent.
            const bool rotation = Flag(object, "inheritRotation", true);
            const bool scaling = Flag(object, "inheritScale", true);
            if (!rotation && !scaling)
                bone.inherit = SpineInherit::OnlyTranslation;
            else if (!rotation)
                bone.inherit = SpineInherit::NoRotationOrReflection;
            else if (!scaling)
                bone.inherit = SpineInherit::NoScale;
        }
        bone.skinRequired = Flag(object, "skin", false);
        if (Flag(object, "flipX", false) || Flag(object, "flipY", false))
            WarnOnce("Bone flips (Spine 2.x) are not supported");
        data.AddBone(bone);
    }
    return true;
}

void SpineJsonReader::ReadSlots(const QJsonObject& root, SpineSkeletonData& data)
{
    for (const QJsonValue value : root.value(Key("slots")).toArray())
    {
        const QJsonObject object = value.toObject();
        SpineSlotData slot;
        slot.name = Text(object.value(Key("name")));
        const std::string bone = Text(object.value(Key("bone")));
        slot.bone = data.FindBone(bone);
        if (slot.name.empty() || slot.bone < 0 || data.FindSlot(slot.name) >= 0)
        {
            Warn("Skipping slot \"" + slot.name + "\": no name, a duplicate, or bone \"" + bone +
                 "\" not found");
            continue;
        }
        slot.colour = Colour(object.value(Key("color")), {});
        if (object.contains(Key("dark")))
            WarnOnce("Two-colour tint is not supported; slotList use their light colour only");
        slot.attachment = Text(object.value(Key("attachment")));
        const std::string blend = Text(object.value(Key("blend")), "normal");
        if (blend == "additive" || Flag(object, "additive", false))
            slot.blend = SpineBlendMode::Additive;
        else if (blend == "multiply")
            slot.blend = SpineBlendMode::Multiply;
        else if (blend == "screen")
            slot.blend = SpineBlendMode::Screen;
        data.AddSlot(slot);
    }
}

void SpineJsonReader::ReadConstraints(const QJsonObject& root, SpineSkeletonData& data)
{
    const auto boneList = [&](const QJsonObject& object, std::vector<int>& out) {
        QJsonArray names = object.value(Key("bones")).toArray();
        if (object.value(Key("bone")).isString())
            names.append(object.value(Key("bone")));
        for (const QJsonValue name : names)
        {
            const int bone = data.FindBone(Text(name));
            if (bone < 0)
                return false;
            out.push_back(bone);
        }
        return !out.empty();
    };
    for (const QJsonValue value : root.value(Key("ik")).toArray())
    {
        const QJsonObject object = value.toObject();
        SpineIkData ik;
        ik.name = Text(object.value(Key("name")));
        ik.order = static_cast<int>(Number(object, "order", 0.0f));
        ik.target = data.FindBone(Text(object.value(Key("target"))));
        const bool resolved = boneList(object, ik.bones) && ik.target >= 0;
        if (!resolved || ik.bones.size() > 2 ||
            (ik.bones.size() == 2 &&
             data.bones[static_cast<std::size_t>(ik.bones[1])].parent != ik.bones[0]) ||
            std::find(ik.bones.begin(), ik.bones.end(), ik.target) != ik.bones.end())
        {
            Warn("Skipping IK constraint \"" + ik.name + "\": its bones or target do not resolve");
            continue;
        }
        ik.mix = Number(object, "mix", 1.0f);
        ik.bendDirection = Flag(object, "bendPositive", true) ? 1 : -1;
        ik.skinRequired = Flag(object, "skin", false);
        if (Number(object, "softness", 0.0f) != 0.0f || Flag(object, "stretch", false) ||
            Flag(object, "compress", false))
            WarnOnce("IK softness, stretch and compress are not supported");
        data.ikConstraints.push_back(ik);
    }
    for (const QJsonValue value : root.value(Key("transform")).toArray())
    {
        const QJsonObject object = value.toObject();
        SpineTransformData t;
        t.name = Text(object.value(Key("name")));
        t.order = static_cast<int>(Number(object, "order", 0.0f));
        t.target = data.FindBone(Text(object.value(Key("target"))));
        if (!boneList(object, t.bones) || t.target < 0 ||
            std::find(t.bones.begin(), t.bones.end(), t.target) != t.bones.end())
        {
            Warn("Skipping transform constraint \"" + t.name + "\": its bones or target do not resolve");
            continue;
        }
        // 4.0 renamed the mixes; the older names stand for both axes.
        const auto mix = [&](std::initializer_list<const char*> keys, float fallback) {
            for (const char* key : keys)
            {
                if (object.contains(Key(key)))
                    return Number(object, key, fallback);
            }
            return fallback;
        };
        t.mixRotate = mix({"mixRotate", "rotateMix"}, 1.0f);
        t.mixX = mix({"mixX", "translateMix"}, 1.0f);
        t.mixY = mix({"mixY", "translateMix"}, t.mixX);
        t.mixScaleX = mix({"mixScaleX", "scaleMix"}, 1.0f);
        t.mixScaleY = mix({"mixScaleY", "scaleMix"}, t.mixScaleX);
        t.mixShearY = mix({"mixShearY", "shearMix"}, 1.0f);
        t.offsetRotation = Number(object, "rotation", 0.0f);
        t.offsetX = Number(object, "x", 0.0f) * scale;
        t.offsetY = Number(object, "y", 0.0f) * scale;
        t.offsetScaleX = Number(object, "scaleX", 0.0f);
        t.offsetScaleY = Number(object, "scaleY", 0.0f);
        t.offsetShearY = Number(object, "shearY", 0.0f);
        t.skinRequired = Flag(object, "skin", false);
        if (Flag(object, "local", false) || Flag(object, "relative", false))
            WarnOnce("Local and relative transform constraints are applied in world mode");
        data.transformConstraints.push_back(t);
    }
    if (version < 305)
    {
        // Files before 3.5 carry no order: IK constraints run first, shallowest first, then the
        // transform constraints, each kind otherwise in file order.
        const auto depth = [&](int bone) {
            int levels = 0;
            for (; data.bones[static_cast<std::size_t>(bone)].parent >= 0; ++levels)
                bone = data.bones[static_cast<std::size_t>(bone)].parent;
            return levels;
        };
        std::vector<std::size_t> ranks(data.ikConstraints.size());
        for (std::size_t i = 0; i < ranks.size(); ++i)
            ranks[i] = i;
        std::stable_sort(ranks.begin(), ranks.end(), [&](std::size_t l, std::size_t r) {
            return depth(data.ikConstraints[l].bones.front()) < depth(data.ikConstraints[r].bones.front());
        });
        for (std::size_t rank = 0; rank < ranks.size(); ++rank)
            data.ikConstraints[ranks[rank]].order = static_cast<int>(rank);
        for (std::size_t i = 0; i < data.transformConstraints.size(); ++i)
            data.transformConstraints[i].order = static_cast<int>(ranks.size() + i);
    }
    if (!root.value(Key("path")).toArray().isEmpty())
        WarnOnce("Path constraints are not supported and are ignored");
    if (!root.value(Key("physics")).toArray().isEmpty())
        WarnOnce("Physics constraints are not supported and are ignored");
}

void SpineJsonReader::ReadSkins(const QJsonObject& root, SpineSkeletonData& data)
{
    const QJsonValue skins = root.value(Key("skins"));
    if (skins.isArray())
    {
        for (const QJsonValue value : skins.toArray())
        {
            const QJsonObject object = value.toObject();
            auto skin = std::make_unique<SpineSkin>();
            skin->name = Text(object.value(Key("name")));
            for (const QJsonValue bone : object.value(Key("bones")).toArray())
            {
                const int index = data.FindBone(Text(bone));
                if (index >= 0)
                    skin->bones.push_back(index);
            }
            for (const QJsonValue name : object.value(Key("ik")).toArray())
            {
                for (std::size_t i = 0; i < data.ikConstraints.size(); ++i)
                {
                    if (data.ikConstraints[i].name == Text(name))
                        skin->ikConstraints.push_back(static_cast<int>(i));
                }
            }
            for (const QJsonValue name : object.value(Key("transform")).toArray())
            {
                for (std::size_t i = 0; i < data.transformConstraints.size(); ++i)
                {
                    if (data.transformConstraints[i].name == Text(name))
                        skin->transformConstraints.push_back(static_cast<int>(i));
                }
            }
            ReadSkin(skin->name, object.value(Key("attachments")).toObject(), data, *skin);
            data.skins.push_back(std::move(skin));
        }
    }
    else
    {
        const QJsonObject object = skins.toObject();
        for (auto it = object.begin(); it != object.end(); ++it)
        {
            auto skin = std::make_unique<SpineSkin>();
            skin->name = it.key().toStdString();
            ReadSkin(skin->name, it.value().toObject(), data, *skin);
            data.skins.push_back(std::move(skin));
        }
    }
    data.defaultSkin = data.FindSkin("default");
}

void SpineJsonReader::ReadSkin(const std::string& name, const QJsonObject& slotList, SpineSkeletonData& data,
                               SpineSkin& skin)
{
    skin.attachments.resize(data.slotList.size());
    for (auto slotIt = slotList.begin(); slotIt != slotList.end(); ++slotIt)
    {
        const std::string slotName = slotIt.key().toStdString();
        const int slot = data.FindSlot(slotName);
        if (slot < 0)
        {
            Warn(Joined({"Skin \"", name, "\" names slot \"", slotName, "\", which does not exist"}));
            continue;
        }
        const QJsonObject attachments = slotIt.value().toObject();
        for (auto it = attachments.begin(); it != attachments.end(); ++it)
        {
            const std::string key = it.key().toStdString();
            auto attachment =
                ReadAttachment(it.value().toObject(), key, Joined({name, "/", slotName, "/", key}),
                               static_cast<int>(data.bones.size()));
            if (!attachment)
                continue;
            if (attachment->type == SpineAttachmentType::Mesh && attachment->vertexCount == 0)
            {
                const QJsonObject object = it.value().toObject();
                links.push_back({attachment.get(), &skin, slot, key, Text(object.value(Key("parent"))),
                                 Text(object.value(Key("skin")), "default")});
            }
            skin.attachments[static_cast<std::size_t>(slot)][key] = std::move(attachment);
        }
    }
}

std::unique_ptr<SpineAttachment> SpineJsonReader::ReadAttachment(const QJsonObject& object,
                                                                 const std::string& key,
                                                                 const std::string& where, int boneCount)
{
    const std::string type = Text(object.value(Key("type")), "region");
    auto attachment = std::make_unique<SpineAttachment>();
    attachment->name = Text(object.value(Key("name")), key);
    attachment->path = Text(object.value(Key("path")), attachment->name);
    attachment->colour = Colour(object.value(Key("color")), {});
    if (object.value(Key("sequence")).isObject())
    {
        // Frame-by-frame images are not animated; the setup frame's region is shown throughout.
        WarnOnce("Sequences are not supported; each shows its setup frame");
        const QJsonObject sequence = object.value(Key("sequence")).toObject();
        const int frame = static_cast<int>(Number(sequence, "start", 1.0f) + Number(sequence, "setup", 0.0f));
        const int digits = std::clamp(static_cast<int>(Number(sequence, "digits", 0.0f)), 0, 9);
        const std::string number = std::to_string(frame);
        attachment->path +=
            std::string(static_cast<std::size_t>(std::max(0, digits - static_cast<int>(number.size()))),
                        '0') +
            number;
    }

    const bool drawn = type == "region" || type == "mesh" || type == "skinnedmesh" ||
                       type == "weightedmesh" || type == "linkedmesh" || type == "weightedlinkedmesh";
    if (drawn && atlas)
    {
        attachment->region = atlas->FindRegion(attachment->path);
        if (!attachment->region)
            Warn("Region not found in the atlas: " + attachment->path + " (" + where + ")");
        else
            attachment->page = attachment->region->page;
    }

    if (type == "region")
    {
        attachment->type = SpineAttachmentType::Region;
        attachment->x = Number(object, "x", 0.0f) * scale;
        attachment->y = Number(object, "y", 0.0f) * scale;
        attachment->rotation = Number(object, "rotation", 0.0f);
        attachment->scaleX = Number(object, "scaleX", 1.0f);
        attachment->scaleY = Number(object, "scaleY", 1.0f);
        attachment->width = Number(object, "width", 32.0f) * scale;
        attachment->height = Number(object, "height", 32.0f) * scale;
        attachment->UpdateRegion(atlas.get());
        return attachment;
    }
    if (type == "mesh" || type == "skinnedmesh" || type == "weightedmesh")
    {
        attachment->type = SpineAttachmentType::Mesh;
        std::vector<float> triangles;
        if (!Numbers(object.value(Key("uvs")), attachment->regionUVs, 1.0f) ||
            attachment->regionUVs.size() % 2 || attachment->regionUVs.empty() ||
            !Numbers(object.value(Key("triangles")), triangles, 1.0f) || triangles.size() % 3)
        {
            Warn("Skipping mesh " + where + ": its uvs or triangles are damaged");
            return nullptr;
        }
        const int vertexCount = static_cast<int>(attachment->regionUVs.size() / 2);
        for (float index : triangles)
        {
            if (!(index >= 0.0f && index < static_cast<float>(vertexCount)) || index != std::floor(index))
            {
                Warn("Skipping mesh " + where + ": a triangle names a vertex it does not have");
                return nullptr;
            }
            attachment->triangles.push_back(static_cast<int>(index));
        }
        // 3.0-3.2 name weighted meshes by type; later a mesh is weighted when its vertex list is not
        // simply two numbers per UV pair.
        const bool weighted = type != "mesh" || object.value(Key("vertices")).toArray().size() !=
                                                    static_cast<qsizetype>(attachment->regionUVs.size());
        if (!ReadVertices(object, *attachment, vertexCount, weighted, boneCount))
        {
            Warn("Skipping mesh " + where + ": its vertices are damaged");
            return nullptr;
        }
        attachment->hull = static_cast<int>(Number(object, "hull", 0.0f));
        attachment->width = Number(object, "width", 0.0f) * scale;
        attachment->height = Number(object, "height", 0.0f) * scale;
        attachment->UpdateRegion(atlas.get());
        return attachment;
    }
    if (type == "linkedmesh" || type == "weightedlinkedmesh")
    {
        // Geometry arrives from the parent mesh once every skin is read; vertexCount 0 marks it pending.
        attachment->type = SpineAttachmentType::Mesh;
        attachment->inheritDeform =
            Flag(object, "timelines", Flag(object, "deform", Flag(object, "ffd", true)));
        attachment->width = Number(object, "width", 0.0f) * scale;
        attachment->height = Number(object, "height", 0.0f) * scale;
        return attachment;
    }
    if (type == "boundingbox")
    {
        attachment->type = SpineAttachmentType::BoundingBox;
        const float count = Number(object, "vertexCount", 0.0f);
        const int vertexCount = count > 0.0f && count < 100000.0f ? static_cast<int>(count) : 0;
        const bool weighted =
            object.value(Key("vertices")).toArray().size() != static_cast<qsizetype>(vertexCount) * 2;
        if (vertexCount == 0 || !ReadVertices(object, *attachment, vertexCount, weighted, boneCount))
        {
            Warn("Skipping bounding box " + where + ": its vertices are damaged");
            return nullptr;
        }
        return attachment;
    }
    if (type == "point")
    {
        attachment->type = SpineAttachmentType::Point;
        attachment->x = Number(object, "x", 0.0f) * scale;
        attachment->y = Number(object, "y", 0.0f) * scale;
        attachment->rotation = Number(object, "rotation", 0.0f);
        return attachment;
    }
    if (type == "path")
    {
        attachment->type = SpineAttachmentType::Path;
        return attachment;
    }
    if (type == "clipping")
    {
        WarnOnce("Clipping attachments are not supported; clipped slotList are drawn whole");
        attachment->type = SpineAttachmentType::Clipping;
        return attachment;
    }
    Warn("Skipping attachment " + where + " of unknown type \"" + type + "\"");
    return nullptr;
}

bool SpineJsonReader::ReadVertices(const QJsonObject& object, SpineAttachment& attachment, int vertexCount,
                                   bool weighted, int boneCount)
{
    std::vector<float> numbers;
    if (!Numbers(object.value(Key("vertices")), numbers, 1.0f))
        return false;
    attachment.vertexCount = vertexCount;
    if (!weighted)
    {
        if (numbers.size() != static_cast<std::size_t>(vertexCount) * 2)
            return false;
        for (float& number : numbers)
            number *= scale;
        attachment.vertices = std::move(numbers);
        return true;
    }
    // Per vertex: influence count, then bone index, bind x, bind y, weight per influence.
    std::size_t i = 0;
    for (int vertex = 0; vertex < vertexCount; ++vertex)
    {
        if (i >= numbers.size())
            return false;
        const float count = numbers[i++];
        if (!(count >= 1.0f && count <= static_cast<float>(MostInfluences)) || count != std::floor(count))
            return false;
        const int influences = static_cast<int>(count);
        attachment.bones.push_back(influences);
        if (i + 4 * static_cast<std::size_t>(influences) > numbers.size())
            return false;
        for (int k = 0; k < influences; ++k, i += 4)
        {
            const float bone = numbers[i];
            if (!(bone >= 0.0f && bone < static_cast<float>(boneCount)) || bone != std::floor(bone))
                return false;
            attachment.bones.push_back(static_cast<int>(bone));
            attachment.vertices.push_back(numbers[i + 1] * scale);
            attachment.vertices.push_back(numbers[i + 2] * scale);
            attachment.vertices.push_back(numbers[i + 3]);
        }
    }
    return i == numbers.size();
}

void SpineJsonReader::ResolveLinkedMeshes(SpineSkeletonData& data)
{
    for (const PendingLink& link : links)
    {
        const SpineSkin* skin = data.FindSkin(link.skin);
        const SpineAttachment* parent = skin ? skin->Find(link.slot, link.parentKey) : nullptr;
        if (!parent || parent->type != SpineAttachmentType::Mesh || parent->vertexCount == 0)
        {
            Warn("Skipping linked mesh " + link.key + ": parent mesh \"" + link.parentKey + "\" in skin \"" +
                 link.skin + "\" not found");
            link.owner->attachments[static_cast<std::size_t>(link.slot)].erase(link.key);
            continue;
        }
        SpineAttachment& mesh = *link.mesh;
        mesh.parentMesh = parent;
        mesh.bones = parent->bones;
        mesh.vertices = parent->vertices;
        mesh.vertexCount = parent->vertexCount;
        mesh.regionUVs = parent->regionUVs;
        mesh.triangles = parent->triangles;
        mesh.hull = parent->hull;
        mesh.UpdateRegion(atlas.get());
    }
    links.clear();
}

void SpineJsonReader::ReadCurve(const QJsonObject& key, SpineCurves& curves, int valueCount, float t0,
                                float t1, const float* from, const float* to, float curveScale)
{
    const QJsonValue curve = key.value(Key("curve"));
    if (curve.isUndefined() || curve.isNull())
    {
        curves.AddLinear();
        return;
    }
    if (curve.isString())
    {
        curves.AddStepped();
        return;
    }
    std::vector<float> handles;
    bool normalised = false;
    if (curve.isDouble())
    {
        // 3.8: the four normalised handle numbers flattened into curve, c2, c3, c4.
        handles = {Number(key, "curve", 0.0f), Number(key, "c2", 0.0f), Number(key, "c3", 1.0f),
                   Number(key, "c4", 1.0f)};
        normalised = true;
    }
    else if (!Numbers(curve, handles, 1.0f))
    {
        Warn("A damaged curve is read as linear");
        curves.AddLinear();
        return;
    }
    else if (version < 400)
        normalised = true;

    std::vector<float> absolute(4 * static_cast<std::size_t>(valueCount));
    if (normalised)
    {
        // One curve in the unit square for every value, running from this key to the next.
        if (handles.size() != 4)
        {
            Warn("A damaged curve is read as linear");
            curves.AddLinear();
            return;
        }
        for (int j = 0; j < valueCount; ++j)
        {
            const float span = to[j] - from[j];
            absolute[4 * j] = t0 + handles[0] * (t1 - t0);
            absolute[4 * j + 1] = from[j] + handles[1] * span;
            absolute[4 * j + 2] = t0 + handles[2] * (t1 - t0);
            absolute[4 * j + 3] = from[j] + handles[3] * span;
        }
    }
    else
    {
        // 4.0+: absolute (time, value) handles, four numbers per animated value.
        if (handles.size() < absolute.size())
        {
            Warn("A curve has too few handles and is read as linear");
            curves.AddLinear();
            return;
        }
        for (std::size_t i = 0; i < absolute.size(); ++i)
            absolute[i] = handles[i] * (i % 2 ? curveScale : 1.0f);
    }
    curves.AddBezier(absolute, t0, t1, from, to, valueCount);
}

bool SpineJsonReader::ReadTimeline(const QJsonArray& keys, SpineTimeline& timeline, float curveScale,
                                   const std::function<void(const QJsonObject&, float*, int&)>& readKey,
                                   bool wrapRotation)
{
    const int count = timeline.valueCount;
    for (const QJsonValue value : keys)
    {
        const QJsonObject key = value.toObject();
        const float time = Number(key, "time", 0.0f);
        if (!timeline.times.empty() && time < timeline.times.back())
        {
            Warn("Skipping a key that goes back in time");
            continue;
        }
        float values[8] = {};
        int flag = 0;
        readKey(key, values, flag);
        if (wrapRotation && !timeline.values.empty())
        {
            // Up to 3.8 each step between rotation keys takes the short way round.
            const float previous = timeline.values.back();
            float step = std::fmod(values[0] - previous, 360.0f);
            if (step > 180.0f)
                step -= 360.0f;
            else if (step < -180.0f)
                step += 360.0f;
            values[0] = previous + step;
        }
        timeline.times.push_back(time);
        timeline.values.insert(timeline.values.end(), values, values + count);
        timeline.flags.push_back(flag);
    }
    const std::size_t keyCount = timeline.times.size();
    std::size_t index = 0;
    for (const QJsonValue value : keys)
    {
        if (index >= keyCount)
            break;
        if (index + 1 == keyCount)
        {
            timeline.curves.AddLinear();
            break;
        }
        ReadCurve(value.toObject(), timeline.curves, count, timeline.times[index], timeline.times[index + 1],
                  timeline.values.data() + index * static_cast<std::size_t>(count),
                  timeline.values.data() + (index + 1) * static_cast<std::size_t>(count), curveScale);
        ++index;
    }
    // Keys dropped for going back in time leave curves misaligned: fall back to linear ones.
    if (timeline.curves.kinds.size() != keyCount)
    {
        timeline.curves = {};
        for (std::size_t i = 0; i < keyCount; ++i)
            timeline.curves.AddLinear();
    }
    return keyCount > 0;
}

void SpineJsonReader::ReadAnimation(const std::string& name, const QJsonObject& object,
                                    SpineSkeletonData& data)
{
    SpineAnimation animation;
    animation.name = name;
    const bool wrapRotation = version < 400;

    const QJsonObject bones = object.value(Key("bones")).toObject();
    for (auto boneIt = bones.begin(); boneIt != bones.end(); ++boneIt)
    {
        const int bone = data.FindBone(boneIt.key().toStdString());
        if (bone < 0)
        {
            Warn("Animation " + name + " names bone \"" + boneIt.key().toStdString() +
                 "\", which does not exist");
            continue;
        }
        const QJsonObject timelines = boneIt.value().toObject();
        for (auto it = timelines.begin(); it != timelines.end(); ++it)
        {
            const std::string type = it.key().toStdString();
            const QJsonArray keys = it.value().toArray();
            SpineTimeline timeline;
            timeline.target = bone;
            bool read = false;
            if (type == "rotate")
            {
                timeline.kind = SpineTimelineKind::Rotate;
                read = ReadTimeline(
                    keys, timeline, 1.0f,
                    [&](const QJsonObject& key, float* v, int&) {
                        v[0] = key.contains(Key("value")) ? Number(key, "value", 0.0f)
                                                          : Number(key, "angle", 0.0f);
                    },
                    wrapRotation);
            }
            else if (type == "translate" || type == "scale" || type == "shear")
            {
                timeline.kind = type == "translate" ? SpineTimelineKind::Translate
                                : type == "scale"   ? SpineTimelineKind::Scale
                                                    : SpineTimelineKind::Shear;
                timeline.valueCount = 2;
                const float fallback = type == "scale" ? 1.0f : 0.0f;
                const float factor = type == "translate" ? scale : 1.0f;
                read = ReadTimeline(
                    keys, timeline, factor,
                    [&](const QJsonObject& key, float* v, int&) {
                        v[0] = Number(key, "x", fallback) * factor;
                        v[1] = Number(key, "y", fallback) * factor;
                    },
                    false);
            }
            else if (type == "inherit")
            {
                timeline.kind = SpineTimelineKind::Inherit;
                read = ReadTimeline(
                    keys, timeline, 1.0f,
                    [&](const QJsonObject& key, float*, int& flag) {
                        SpineInherit inherit = SpineInherit::Normal;
                        ParseInherit(Text(key.value(Key("inherit")), "normal"), inherit);
                        flag = static_cast<int>(inherit);
                    },
                    false);
            }
            else
            {
                const SingleValueTimeline* single = nullptr;
                for (const SingleValueTimeline& candidate : SingleValueTimelines)
                {
                    if (type == candidate.name)
                        single = &candidate;
                }
                if (!single)
                {
                    WarnOnce("Bone timeline \"" + type + "\" is not supported");
                    continue;
                }
                timeline.kind = single->kind;
                const float factor = single->length ? scale : 1.0f;
                read = ReadTimeline(
                    keys, timeline, factor,
                    [&](const QJsonObject& key, float* v, int&) {
                        v[0] = Number(key, "value", single->fallback) * factor;
                    },
                    false);
            }
            if (read)
                animation.timelines.push_back(std::move(timeline));
        }
    }

    const QJsonObject slotList = object.value(Key("slots")).toObject();
    for (auto slotIt = slotList.begin(); slotIt != slotList.end(); ++slotIt)
    {
        const int slot = data.FindSlot(slotIt.key().toStdString());
        if (slot < 0)
        {
            Warn("Animation " + name + " names slot \"" + slotIt.key().toStdString() +
                 "\", which does not exist");
            continue;
        }
        const QJsonObject timelines = slotIt.value().toObject();
        for (auto it = timelines.begin(); it != timelines.end(); ++it)
        {
            const std::string type = it.key().toStdString();
            const QJsonArray keys = it.value().toArray();
            if (type == "attachment")
            {
                SpineAttachmentTimeline timeline;
                timeline.slot = slot;
                for (const QJsonValue value : keys)
                {
                    const QJsonObject key = value.toObject();
                    const float time = Number(key, "time", 0.0f);
                    if (!timeline.times.empty() && time < timeline.times.back())
                        continue;
                    timeline.times.push_back(time);
                    timeline.hasName.push_back(key.value(Key("name")).isString());
                    timeline.names.push_back(Text(key.value(Key("name"))));
                }
                if (!timeline.times.empty())
                    animation.attachmentTimelines.push_back(std::move(timeline));
                continue;
            }
            SpineTimeline timeline;
            timeline.target = slot;
            if (type == "color" || type == "rgba" || type == "rgb")
            {
                timeline.kind = type == "rgb" ? SpineTimelineKind::Rgb : SpineTimelineKind::Rgba;
                timeline.valueCount = type == "rgb" ? 3 : 4;
            }
            else if (type == "alpha")
                timeline.kind = SpineTimelineKind::Alpha;
            else
            {
                WarnOnce("Slot timeline \"" + type + "\" is not supported");
                continue;
            }
            const bool read = ReadTimeline(
                keys, timeline, 1.0f,
                [&](const QJsonObject& key, float* v, int&) {
                    if (timeline.kind == SpineTimelineKind::Alpha)
                    {
                        v[0] = Number(key, "value", 1.0f);
                        return;
                    }
                    const SpineColour colour = Colour(key.value(Key("color")), {});
                    v[0] = colour.r;
                    v[1] = colour.g;
                    v[2] = colour.b;
                    v[3] = colour.a;
                },
                false);
            if (read)
                animation.timelines.push_back(std::move(timeline));
        }
    }

    const QJsonObject ik = object.value(Key("ik")).toObject();
    for (auto it = ik.begin(); it != ik.end(); ++it)
    {
        int index = -1;
        for (std::size_t i = 0; i < data.ikConstraints.size(); ++i)
        {
            if (data.ikConstraints[i].name == it.key().toStdString())
                index = static_cast<int>(i);
        }
        if (index < 0)
        {
            Warn("Animation " + name + " names IK constraint \"" + it.key().toStdString() +
                 "\", which does not exist");
            continue;
        }
        SpineTimeline timeline;
        timeline.kind = SpineTimelineKind::IkConstraint;
        timeline.target = index;
        timeline.valueCount = 2;
        const bool read = ReadTimeline(
            it.value().toArray(), timeline, scale,
            [&](const QJsonObject& key, float* v, int& flag) {
                v[0] = Number(key, "mix", 1.0f);
                v[1] = Number(key, "softness", 0.0f) * scale;
                flag = Flag(key, "bendPositive", true) ? 1 : -1;
            },
            false);
        if (read)
            animation.timelines.push_back(std::move(timeline));
    }

    const QJsonObject transform = object.value(Key("transform")).toObject();
    for (auto it = transform.begin(); it != transform.end(); ++it)
    {
        int index = -1;
        for (std::size_t i = 0; i < data.transformConstraints.size(); ++i)
        {
            if (data.transformConstraints[i].name == it.key().toStdString())
                index = static_cast<int>(i);
        }
        if (index < 0)
        {
            Warn("Animation " + name + " names transform constraint \"" + it.key().toStdString() +
                 "\", which does not exist");
            continue;
        }
        SpineTimeline timeline;
        timeline.kind = SpineTimelineKind::TransformConstraint;
        timeline.target = index;
        timeline.valueCount = 6;
        const bool read = ReadTimeline(
            it.value().toArray(), timeline, 1.0f,
            [&](const QJsonObject& key, float* v, int&) {
                const auto mix = [&](const char* now, const char* before, float fallback) {
                    return key.contains(Key(now)) ? Number(key, now, fallback)
                                                  : Number(key, before, fallback);
                };
                v[0] = mix("mixRotate", "rotateMix", 1.0f);
                v[1] = mix("mixX", "translateMix", 1.0f);
                v[2] = mix("mixY", "translateMix", v[1]);
                v[3] = mix("mixScaleX", "scaleMix", 1.0f);
                v[4] = mix("mixScaleY", "scaleMix", v[3]);
                v[5] = mix("mixShearY", "shearMix", 1.0f);
            },
            false);
        if (read)
            animation.timelines.push_back(std::move(timeline));
    }

    if (object.contains(Key("path")) || object.contains(Key("paths")))
        WarnOnce("Path constraint timelines are not supported and are ignored");
    if (object.contains(Key("physics")))
        WarnOnce("Physics timelines are not supported and are ignored");

    // Deform keys: under "ffd" (3.0-3.2) or "deform" (3.3-4.0) by skin, slot and attachment, or from 4.1
    // under "attachments" with one more level naming the kind of timeline.
    for (const char* group : {"ffd", "deform", "attachments"})
    {
        const QJsonObject skins = object.value(Key(group)).toObject();
        for (auto skinIt = skins.begin(); skinIt != skins.end(); ++skinIt)
        {
            const QJsonObject slotsInSkin = skinIt.value().toObject();
            for (auto slotIt = slotsInSkin.begin(); slotIt != slotsInSkin.end(); ++slotIt)
            {
                const QJsonObject attachments = slotIt.value().toObject();
                for (auto it = attachments.begin(); it != attachments.end(); ++it)
                {
                    QJsonArray keys = it.value().toArray();
                    if (std::string(group) == "attachments")
                    {
                        const QJsonObject kinds = it.value().toObject();
                        if (kinds.contains(Key("sequence")))
                            WarnOnce("Sequence timelines are not supported and are ignored");
                        keys = kinds.value(Key("deform")).toArray();
                        if (keys.isEmpty())
                            continue;
                    }
                    ReadDeform(keys, skinIt.key().toStdString(), slotIt.key().toStdString(),
                               it.key().toStdString(), data, animation);
                }
            }
        }
    }

    ReadDrawOrder(FirstOf(object, {"drawOrder", "draworder"}).toArray(), data, animation);

    float duration = 0.0f;
    for (const SpineTimeline& timeline : animation.timelines)
        duration = std::max(duration, timeline.times.back());
    for (const SpineAttachmentTimeline& timeline : animation.attachmentTimelines)
        duration = std::max(duration, timeline.times.back());
    for (const SpineDeformTimeline& timeline : animation.deformTimelines)
        duration = std::max(duration, timeline.times.back());
    if (!animation.drawOrder.times.empty())
        duration = std::max(duration, animation.drawOrder.times.back());
    for (const QJsonValue event : object.value(Key("events")).toArray())
        duration = std::max(duration, Number(event.toObject(), "time", 0.0f));
    animation.duration = duration;
    data.animations.push_back(std::move(animation));
}

void SpineJsonReader::ReadDeform(const QJsonArray& keys, const std::string& skinName,
                                 const std::string& slotName, const std::string& key, SpineSkeletonData& data,
                                 SpineAnimation& animation)
{
    const SpineSkin* skin = data.FindSkin(skinName);
    const int slot = data.FindSlot(slotName);
    const SpineAttachment* attachment = skin ? skin->Find(slot, key) : nullptr;
    if (!attachment || (attachment->type != SpineAttachmentType::Mesh &&
                        attachment->type != SpineAttachmentType::BoundingBox))
    {
        Warn("Deform keys for " + skinName + "/" + slotName + "/" + key + " name no mesh; ignored");
        return;
    }
    SpineDeformTimeline timeline;
    timeline.slot = slot;
    timeline.attachment = attachment;
    const std::size_t length = static_cast<std::size_t>(attachment->DeformLength());
    for (const QJsonValue value : keys)
    {
        const QJsonObject object = value.toObject();
        const float time = Number(object, "time", 0.0f);
        if (!timeline.times.empty() && time < timeline.times.back())
            continue;
        std::vector<float> frame(length, 0.0f);
        std::vector<float> run;
        const float offset = Number(object, "offset", 0.0f);
        if (!Numbers(object.value(Key("vertices")), run, scale) || offset < 0.0f ||
            offset != std::floor(offset) ||
            static_cast<double>(offset) + static_cast<double>(run.size()) > static_cast<double>(length))
        {
            Warn(Joined(
                {"Deform keys for ", skinName, "/", slotName, "/", key, " do not fit the mesh; ignored"}));
            return;
        }
        std::copy(run.begin(), run.end(), frame.begin() + static_cast<std::ptrdiff_t>(offset));
        timeline.times.push_back(time);
        timeline.frames.push_back(std::move(frame));
    }
    std::size_t index = 0;
    const float zero = 0.0f, one = 1.0f;
    for (const QJsonValue value : keys)
    {
        if (index >= timeline.times.size())
            break;
        if (index + 1 == timeline.times.size())
            timeline.curves.AddLinear();
        else
            ReadCurve(value.toObject(), timeline.curves, 1, timeline.times[index], timeline.times[index + 1],
                      &zero, &one, 1.0f);
        ++index;
    }
    if (timeline.curves.kinds.size() != timeline.times.size())
    {
        timeline.curves = {};
        for (std::size_t i = 0; i < timeline.times.size(); ++i)
            timeline.curves.AddLinear();
    }
    if (!timeline.times.empty())
        animation.deformTimelines.push_back(std::move(timeline));
}

void SpineJsonReader::ReadDrawOrder(const QJsonArray& keys, SpineSkeletonData& data,
                                    SpineAnimation& animation)
{
    const int slotCount = static_cast<int>(data.slotList.size());
    for (const QJsonValue value : keys)
    {
        const QJsonObject key = value.toObject();
        const float time = Number(key, "time", 0.0f);
        if (!animation.drawOrder.times.empty() && time < animation.drawOrder.times.back())
            continue;
        std::vector<int> order;
        const QJsonArray offsets = key.value(Key("offsets")).toArray();
        if (!offsets.isEmpty())
        {
            // Listed slotList move by their offset from their setup place; the rest fill the gaps in order.
            order.assign(static_cast<std::size_t>(slotCount), -1);
            std::vector<int> unchanged;
            int original = 0;
            bool valid = true;
            for (const QJsonValue entry : offsets)
            {
                const QJsonObject object = entry.toObject();
                const int slot = data.FindSlot(Text(object.value(Key("slot"))));
                const float offset = Number(object, "offset", 0.0f);
                if (slot < original || std::fabs(offset) > static_cast<float>(slotCount))
                {
                    valid = false;
                    break;
                }
                while (original != slot)
                    unchanged.push_back(original++);
                const int place = original + static_cast<int>(offset);
                if (place < 0 || place >= slotCount || order[static_cast<std::size_t>(place)] != -1)
                {
                    valid = false;
                    break;
                }
                order[static_cast<std::size_t>(place)] = original++;
            }
            while (valid && original < slotCount)
                unchanged.push_back(original++);
            std::size_t next = 0;
            for (int& entry : order)
            {
                if (entry == -1 && next < unchanged.size())
                    entry = unchanged[next++];
            }
            if (!valid || next != unchanged.size())
            {
                Warn("A draw order key names unknown slotList or impossible places; the setup order is used");
                order.clear();
            }
        }
        animation.drawOrder.times.push_back(time);
        animation.drawOrder.orders.push_back(std::move(order));
    }
}
