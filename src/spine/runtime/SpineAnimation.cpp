#include "spine/runtime/SpineAnimation.h"

#include "spine/runtime/SpineSkeleton.h"

#include <algorithm>
#include <cmath>

namespace {
float Interpolate(float x0, float y0, float x1, float y1, float x)
{
    const float span = x1 - x0;
    if (!(span > 0.0f))
        return y1;
    return y0 + (y1 - y0) * (x - x0) / span;
}

float Clamp01(float v)
{
    return v < 0.0f ? 0.0f : (v > 1.0f ? 1.0f : v);
}
} // namespace

void SpineCurves::AddLinear()
{
    kinds.push_back(Linear);
    sampleStart.push_back(-1);
}

void SpineCurves::AddStepped()
{
    kinds.push_back(Stepped);
    sampleStart.push_back(-1);
}

void SpineCurves::AddBezier(const std::vector<float>& handles, float t0, float t1, const float* from,
                            const float* to, int valueCount)
{
    kinds.push_back(Bezier);
    sampleStart.push_back(static_cast<int>(samples.size()));
    for (int j = 0; j < valueCount; ++j)
    {
        const float cx1 = handles[4 * static_cast<std::size_t>(j)];
        const float cy1 = handles[4 * static_cast<std::size_t>(j) + 1];
        const float cx2 = handles[4 * static_cast<std::size_t>(j) + 2];
        const float cy2 = handles[4 * static_cast<std::size_t>(j) + 3];
        float xs[9];
        float ys[9];
        for (int i = 0; i < 9; ++i)
        {
            const float u = 0.1f * static_cast<float>(i + 1);
            const float v = 1.0f - u;
            const float w0 = v * v * v, w1 = 3.0f * v * v * u, w2 = 3.0f * v * u * u, w3 = u * u * u;
            xs[i] = w0 * t0 + w1 * cx1 + w2 * cx2 + w3 * t1;
            ys[i] = w0 * from[j] + w1 * cy1 + w2 * cy2 + w3 * to[j];
        }
        samples.insert(samples.end(), xs, xs + 9);
        samples.insert(samples.end(), ys, ys + 9);
    }
}

float SpineCurves::Value(int key, int value, float t, float t0, float t1, float v0, float v1) const
{
    const std::size_t k = static_cast<std::size_t>(key);
    const Kind kind = k < kinds.size() ? static_cast<Kind>(kinds[k]) : Linear;
    if (kind == Stepped)
        return v0;
    if (kind == Linear)
        return Interpolate(t0, v0, t1, v1, t);
    // Along the polyline key, nine samples, next key (10 segments), by time.
    const float* points = samples.data() + sampleStart[k] + 18 * value;
    float previousX = t0;
    float previousY = v0;
    for (int i = 0; i < 9; ++i)
    {
        if (t < points[i])
            return Interpolate(previousX, previousY, points[i], points[9 + i], t);
        previousX = points[i];
        previousY = points[9 + i];
    }
    return Interpolate(previousX, previousY, t1, v1, t);
}

int FindSpineKey(const std::vector<float>& times, float t)
{
    const auto after = std::upper_bound(times.begin(), times.end(), t);
    return static_cast<int>(after - times.begin()) - 1;
}

void SpineAnimation::Apply(SpineSkeleton& skeleton, float time) const
{
    float values[8];
    for (const SpineTimeline& timeline : timelines)
    {
        const int key = FindSpineKey(timeline.times, time);
        if (key < 0)
            continue;
        const int count = timeline.valueCount;
        const std::size_t k = static_cast<std::size_t>(key);
        const bool last = k + 1 >= timeline.times.size();
        for (int j = 0; j < count; ++j)
        {
            const float v0 =
                timeline.values[k * static_cast<std::size_t>(count) + static_cast<std::size_t>(j)];
            values[j] =
                last ? v0
                     : timeline.curves.Value(key, j, time, timeline.times[k], timeline.times[k + 1], v0,
                                             timeline.values[(k + 1) * static_cast<std::size_t>(count) +
                                                             static_cast<std::size_t>(j)]);
        }
        const std::size_t target = static_cast<std::size_t>(timeline.target);
        switch (timeline.kind)
        {
        case SpineTimelineKind::Rotate:
            skeleton.bones[target].rotation = skeleton.bones[target].data->rotation + values[0];
            break;
        case SpineTimelineKind::Translate:
            skeleton.bones[target].x = skeleton.bones[target].data->x + values[0];
            skeleton.bones[target].y = skeleton.bones[target].data->y + values[1];
            break;
        case SpineTimelineKind::TranslateX:
            skeleton.bones[target].x = skeleton.bones[target].data->x + values[0];
            break;
        case SpineTimelineKind::TranslateY:
            skeleton.bones[target].y = skeleton.bones[target].data->y + values[0];
            break;
        case SpineTimelineKind::Scale:
            skeleton.bones[target].scaleX = skeleton.bones[target].data->scaleX * values[0];
            skeleton.bones[target].scaleY = skeleton.bones[target].data->scaleY * values[1];
            break;
        case SpineTimelineKind::ScaleX:
            skeleton.bones[target].scaleX = skeleton.bones[target].data->scaleX * values[0];
            break;
        case SpineTimelineKind::ScaleY:
            skeleton.bones[target].scaleY = skeleton.bones[target].data->scaleY * values[0];
            break;
        case SpineTimelineKind::Shear:
            skeleton.bones[target].shearX = skeleton.bones[target].data->shearX + values[0];
            skeleton.bones[target].shearY = skeleton.bones[target].data->shearY + values[1];
            break;
        case SpineTimelineKind::ShearX:
            skeleton.bones[target].shearX = skeleton.bones[target].data->shearX + values[0];
            break;
        case SpineTimelineKind::ShearY:
            skeleton.bones[target].shearY = skeleton.bones[target].data->shearY + values[0];
            break;
        case SpineTimelineKind::Rgba:
            skeleton.slotList[target].colour = {Clamp01(values[0]), Clamp01(values[1]), Clamp01(values[2]),
                                                Clamp01(values[3])};
            break;
        case SpineTimelineKind::Rgb:
            skeleton.slotList[target].colour.r = Clamp01(values[0]);
            skeleton.slotList[target].colour.g = Clamp01(values[1]);
            skeleton.slotList[target].colour.b = Clamp01(values[2]);
            break;
        case SpineTimelineKind::Alpha:
            skeleton.slotList[target].colour.a = Clamp01(values[0]);
            break;
        case SpineTimelineKind::IkConstraint:
            skeleton.ikConstraints[target].mix = values[0];
            skeleton.ikConstraints[target].bendDirection = timeline.flags[k];
            break;
        case SpineTimelineKind::TransformConstraint:
        {
            SpineTransformConstraint& constraint = skeleton.transformConstraints[target];
            constraint.mixRotate = values[0];
            constraint.mixX = values[1];
            constraint.mixY = values[2];
            constraint.mixScaleX = values[3];
            constraint.mixScaleY = values[4];
            constraint.mixShearY = values[5];
            break;
        }
        case SpineTimelineKind::Inherit:
            skeleton.bones[target].inherit = static_cast<SpineInherit>(timeline.flags[k]);
            break;
        }
    }

    for (const SpineAttachmentTimeline& timeline : attachmentTimelines)
    {
        const int key = FindSpineKey(timeline.times, time);
        if (key < 0)
            continue;
        const std::size_t k = static_cast<std::size_t>(key);
        SpineSlot& slot = skeleton.slotList[static_cast<std::size_t>(timeline.slot)];
        slot.attachment =
            timeline.hasName[k] ? skeleton.FindAttachment(timeline.slot, timeline.names[k]) : nullptr;
    }

    // After the attachment keys, so a deform only lands on the mesh the slot now shows.
    for (const SpineDeformTimeline& timeline : deformTimelines)
    {
        SpineSlot& slot = skeleton.slotList[static_cast<std::size_t>(timeline.slot)];
        if (!slot.attachment || slot.attachment->DeformSource() != timeline.attachment)
            continue;
        const int key = FindSpineKey(timeline.times, time);
        if (key < 0)
            continue;
        const std::size_t k = static_cast<std::size_t>(key);
        const std::vector<float>& from = timeline.frames[k];
        if (k + 1 >= timeline.times.size())
        {
            slot.deform = from;
            continue;
        }
        const std::vector<float>& to = timeline.frames[k + 1];
        const float fraction =
            timeline.curves.Value(key, 0, time, timeline.times[k], timeline.times[k + 1], 0.0f, 1.0f);
        slot.deform.resize(from.size());
        for (std::size_t i = 0; i < from.size(); ++i)
            slot.deform[i] = from[i] + (to[i] - from[i]) * fraction;
    }

    const int key = FindSpineKey(drawOrder.times, time);
    if (key >= 0)
    {
        const std::vector<int>& order = drawOrder.orders[static_cast<std::size_t>(key)];
        if (order.empty())
        {
            for (std::size_t i = 0; i < skeleton.drawOrder.size(); ++i)
                skeleton.drawOrder[i] = static_cast<int>(i);
        }
        else
            skeleton.drawOrder = order;
    }
}
