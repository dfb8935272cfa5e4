#include "spine/runtime/SpineSkeleton.h"

#include <algorithm>
#include <cmath>
#include <numbers>

namespace {
constexpr float DegRad = std::numbers::pi_v<float> / 180.0f;
constexpr float RadDeg = 180.0f / std::numbers::pi_v<float>;

float WrapDegrees(float degrees)
{
    degrees = std::fmod(degrees, 360.0f);
    if (degrees > 180.0f)
        return degrees - 360.0f;
    if (degrees < -180.0f)
        return degrees + 360.0f;
    return degrees;
}

float WrapRadians(float radians)
{
    constexpr float Pi = std::numbers::pi_v<float>;
    radians = std::fmod(radians, 2.0f * Pi);
    if (radians > Pi)
        return radians - 2.0f * Pi;
    if (radians < -Pi)
        return radians + 2.0f * Pi;
    return radians;
}
} // namespace

SpineSkeleton::SpineSkeleton(const SpineSkeletonData& skeletonData) : data(skeletonData)
{
    bones.resize(data.bones.size());
    for (std::size_t i = 0; i < bones.size(); ++i)
    {
        bones[i].data = &data.bones[i];
        bones[i].parent = data.bones[i].parent;
    }
    slotList.resize(data.slotList.size());
    for (std::size_t i = 0; i < slotList.size(); ++i)
        slotList[i].data = &data.slotList[i];
    for (const SpineIkData& ik : data.ikConstraints)
        ikConstraints.push_back({&ik, ik.mix, ik.bendDirection, true});
    for (const SpineTransformData& t : data.transformConstraints)
        transformConstraints.push_back(
            {&t, t.mixRotate, t.mixX, t.mixY, t.mixScaleX, t.mixScaleY, t.mixShearY, true});
    SetSkin(static_cast<const SpineSkin*>(nullptr));
    BuildUpdateCache();
    SetToSetupPose();
}

void SpineSkeleton::SetToSetupPose()
{
    SetBonesToSetupPose();
    SetSlotsToSetupPose();
}

void SpineSkeleton::SetBonesToSetupPose()
{
    for (SpineBone& bone : bones)
    {
        const SpineBoneData& d = *bone.data;
        bone.x = d.x;
        bone.y = d.y;
        bone.rotation = d.rotation;
        bone.scaleX = d.scaleX;
        bone.scaleY = d.scaleY;
        bone.shearX = d.shearX;
        bone.shearY = d.shearY;
        bone.inherit = d.inherit;
    }
    for (SpineIkConstraint& ik : ikConstraints)
    {
        ik.mix = ik.data->mix;
        ik.bendDirection = ik.data->bendDirection;
    }
    for (SpineTransformConstraint& t : transformConstraints)
    {
        const SpineTransformData& d = *t.data;
        t.mixRotate = d.mixRotate;
        t.mixX = d.mixX;
        t.mixY = d.mixY;
        t.mixScaleX = d.mixScaleX;
        t.mixScaleY = d.mixScaleY;
        t.mixShearY = d.mixShearY;
    }
}

void SpineSkeleton::SetSlotsToSetupPose()
{
    drawOrder.resize(slotList.size());
    for (std::size_t i = 0; i < slotList.size(); ++i)
    {
        SpineSlot& slot = slotList[i];
        drawOrder[i] = static_cast<int>(i);
        slot.colour = slot.data->colour;
        slot.deform.clear();
        slot.attachment = slot.data->attachment.empty()
                              ? nullptr
                              : FindAttachment(static_cast<int>(i), slot.data->attachment);
    }
}

bool SpineSkeleton::SetSkin(const std::string& name)
{
    const SpineSkin* found = data.FindSkin(name);
    if (!found)
        return false;
    SetSkin(found);
    SetSlotsToSetupPose();
    return true;
}

void SpineSkeleton::SetSkin(const SpineSkin* newSkin)
{
    skin = newSkin;
    // Skin-only bones are active while the current skin lists them (and their parent is active).
    std::vector<bool> listed(bones.size(), false);
    if (skin)
    {
        for (int bone : skin->bones)
        {
            if (bone >= 0 && static_cast<std::size_t>(bone) < bones.size())
                listed[static_cast<std::size_t>(bone)] = true;
        }
    }
    for (std::size_t i = 0; i < bones.size(); ++i)
    {
        SpineBone& bone = bones[i];
        const bool parentActive = bone.parent < 0 || bones[static_cast<std::size_t>(bone.parent)].active;
        bone.active = parentActive && (!bone.data->skinRequired || listed[i]);
    }
    // Likewise skin-only constraints, which also rest while any of their bones does.
    const auto listedBy = [&](const std::vector<int> SpineSkin::*list, std::size_t index) {
        return skin && std::find((skin->*list).begin(), (skin->*list).end(), static_cast<int>(index)) !=
                           (skin->*list).end();
    };
    const auto bonesActive = [&](const std::vector<int>& constrained, int target) {
        bool active = bones[static_cast<std::size_t>(target)].active;
        for (int bone : constrained)
            active = active && bones[static_cast<std::size_t>(bone)].active;
        return active;
    };
    for (std::size_t i = 0; i < ikConstraints.size(); ++i)
    {
        const SpineIkData& ik = *ikConstraints[i].data;
        ikConstraints[i].active =
            (!ik.skinRequired || listedBy(&SpineSkin::ikConstraints, i)) && bonesActive(ik.bones, ik.target);
    }
    for (std::size_t i = 0; i < transformConstraints.size(); ++i)
    {
        const SpineTransformData& t = *transformConstraints[i].data;
        transformConstraints[i].active = (!t.skinRequired || listedBy(&SpineSkin::transformConstraints, i)) &&
                                         bonesActive(t.bones, t.target);
    }
}

const SpineAttachment* SpineSkeleton::FindAttachment(int slot, const std::string& key) const
{
    if (skin)
    {
        if (const SpineAttachment* attachment = skin->Find(slot, key))
            return attachment;
    }
    return data.defaultSkin ? data.defaultSkin->Find(slot, key) : nullptr;
}

void SpineSkeleton::BuildUpdateCache()
{
    updateCache.clear();
    std::vector<bool> sorted(bones.size(), false);
    std::vector<std::vector<int>> children(bones.size());
    for (std::size_t i = 0; i < bones.size(); ++i)
    {
        if (bones[i].parent >= 0)
            children[static_cast<std::size_t>(bones[i].parent)].push_back(static_cast<int>(i));
    }
    // Both walks are iterative: a damaged file may chain thousands of bones, deeper than the stack.
    std::vector<int> pending;
    const auto sortBone = [&](int index) {
        pending.clear();
        for (int bone = index; bone >= 0 && !sorted[static_cast<std::size_t>(bone)];
             bone = bones[static_cast<std::size_t>(bone)].parent)
            pending.push_back(bone);
        for (auto bone = pending.rbegin(); bone != pending.rend(); ++bone)
        {
            updateCache.push_back({CacheEntry::Bone, *bone});
            sorted[static_cast<std::size_t>(*bone)] = true;
        }
    };
    // Bones below a constrained bone were possibly computed before the constraint moved it: mark them
    // for recomputation after it.
    std::vector<int> stack;
    const auto sortReset = [&](int index) {
        stack.assign(1, index);
        while (!stack.empty())
        {
            const int bone = stack.back();
            stack.pop_back();
            for (int child : children[static_cast<std::size_t>(bone)])
            {
                if (sorted[static_cast<std::size_t>(child)])
                    stack.push_back(child);
                sorted[static_cast<std::size_t>(child)] = false;
            }
        }
    };

    struct Constraint
    {
        int order;
        CacheEntry::Kind kind;
        int index;
    };
    std::vector<Constraint> constraints;
    for (std::size_t i = 0; i < ikConstraints.size(); ++i)
        constraints.push_back({ikConstraints[i].data->order, CacheEntry::Ik, static_cast<int>(i)});
    for (std::size_t i = 0; i < transformConstraints.size(); ++i)
        constraints.push_back(
            {transformConstraints[i].data->order, CacheEntry::Transform, static_cast<int>(i)});
    // Files without an order run IK before transform constraints, each kind in file order.
    std::stable_sort(constraints.begin(), constraints.end(),
                     [](const Constraint& l, const Constraint& r) { return l.order < r.order; });

    for (const Constraint& constraint : constraints)
    {
        if (constraint.kind == CacheEntry::Ik)
        {
            const SpineIkData& ik = *ikConstraints[static_cast<std::size_t>(constraint.index)].data;
            sortBone(ik.target);
            // Every constrained bone gets its unconstrained pose first: a mix of 0 leaves it as it is.
            for (int bone : ik.bones)
                sortBone(bone);
            updateCache.push_back({CacheEntry::Ik, constraint.index});
            sortReset(ik.bones.front());
            for (int bone : ik.bones)
                sorted[static_cast<std::size_t>(bone)] = true;
        }
        else
        {
            const SpineTransformData& t =
                *transformConstraints[static_cast<std::size_t>(constraint.index)].data;
            sortBone(t.target);
            for (int bone : t.bones)
                sortBone(bone);
            updateCache.push_back({CacheEntry::Transform, constraint.index});
            for (int bone : t.bones)
                sortReset(bone);
            for (int bone : t.bones)
                sorted[static_cast<std::size_t>(bone)] = true;
        }
    }
    for (std::size_t i = 0; i < bones.size(); ++i)
        sortBone(static_cast<int>(i));
}

void SpineSkeleton::UpdateWorldTransform()
{
    for (SpineBone& bone : bones)
    {
        bone.ax = bone.x;
        bone.ay = bone.y;
        bone.arotation = bone.rotation;
        bone.ascaleX = bone.scaleX;
        bone.ascaleY = bone.scaleY;
        bone.ashearX = bone.shearX;
        bone.ashearY = bone.shearY;
    }
    for (const CacheEntry& entry : updateCache)
    {
        switch (entry.kind)
        {
        case CacheEntry::Bone:
        {
            SpineBone& bone = bones[static_cast<std::size_t>(entry.index)];
            UpdateBoneWorldTransform(bone, bone.x, bone.y, bone.rotation, bone.scaleX, bone.scaleY,
                                     bone.shearX, bone.shearY);
            break;
        }
        case CacheEntry::Ik:
            ApplyIk(ikConstraints[static_cast<std::size_t>(entry.index)]);
            break;
        case CacheEntry::Transform:
            ApplyTransform(transformConstraints[static_cast<std::size_t>(entry.index)]);
            break;
        }
    }
}

void SpineSkeleton::UpdateBoneWorldTransform(SpineBone& bone, float lx, float ly, float lrotation,
                                             float lscaleX, float lscaleY, float lshearX, float lshearY)
{
    bone.ax = lx;
    bone.ay = ly;
    bone.arotation = lrotation;
    bone.ascaleX = lscaleX;
    bone.ascaleY = lscaleY;
    bone.ashearX = lshearX;
    bone.ashearY = lshearY;

    const float rx = (lrotation + lshearX) * DegRad;
    const float ry = (lrotation + 90.0f + lshearY) * DegRad;
    float la = std::cos(rx) * lscaleX;
    float lb = std::cos(ry) * lscaleY;
    float lc = std::sin(rx) * lscaleX;
    float ld = std::sin(ry) * lscaleY;

    if (bone.parent < 0)
    {
        bone.a = la * scaleX;
        bone.b = lb * scaleX;
        bone.c = lc * scaleY;
        bone.d = ld * scaleY;
        bone.worldX = lx * scaleX + x;
        bone.worldY = ly * scaleY + y;
        return;
    }
    const SpineBone& parentBone = bones[static_cast<std::size_t>(bone.parent)];
    float pa = parentBone.a, pb = parentBone.b, pc = parentBone.c, pd = parentBone.d;
    bone.worldX = pa * lx + pb * ly + parentBone.worldX;
    bone.worldY = pc * lx + pd * ly + parentBone.worldY;

    switch (bone.inherit)
    {
    case SpineInherit::Normal:
        bone.a = pa * la + pb * lc;
        bone.b = pa * lb + pb * ld;
        bone.c = pc * la + pd * lc;
        bone.d = pc * lb + pd * ld;
        return;
    case SpineInherit::OnlyTranslation:
        bone.a = la;
        bone.b = lb;
        bone.c = lc;
        bone.d = ld;
        break;
    case SpineInherit::NoRotationOrReflection:
    {
        // Rebuild the parent basis un-rotated, keeping the magnitude of its determinant.
        float s = pa * pa + pc * pc;
        float parentRotation = 0.0f;
        if (s > 0.0001f)
        {
            s = std::fabs(pa * pd - pb * pc) / s;
            pa /= scaleX;
            pc /= scaleY;
            pb = pc * s;
            pd = pa * s;
            parentRotation = std::atan2(pc, pa) * RadDeg;
        }
        else
        {
            pa = 0.0f;
            pc = 0.0f;
            parentRotation = 90.0f - std::atan2(pd, pb) * RadDeg;
        }
        const float rxr = (lrotation + lshearX - parentRotation) * DegRad;
        const float ryr = (lrotation + lshearY - parentRotation + 90.0f) * DegRad;
        la = std::cos(rxr) * lscaleX;
        lb = std::cos(ryr) * lscaleY;
        lc = std::sin(rxr) * lscaleX;
        ld = std::sin(ryr) * lscaleY;
        bone.a = pa * la - pb * lc;
        bone.b = pa * lb - pb * ld;
        bone.c = pc * la + pd * lc;
        bone.d = pc * lb + pd * ld;
        break;
    }
    case SpineInherit::NoScale:
    case SpineInherit::NoScaleOrReflection:
    {
        // The parent's rotation applied to the local rotation, normalised to unit length.
        const float r = lrotation * DegRad;
        const float cosine = std::cos(r);
        const float sine = std::sin(r);
        float za = (pa * cosine + pb * sine) / scaleX;
        float zc = (pc * cosine + pd * sine) / scaleY;
        float s = std::sqrt(za * za + zc * zc);
        if (s > 0.00001f)
            s = 1.0f / s;
        za *= s;
        zc *= s;
        s = std::sqrt(za * za + zc * zc);
        if (bone.inherit == SpineInherit::NoScale &&
            ((pa * pd - pb * pc < 0.0f) != ((scaleX < 0.0f) != (scaleY < 0.0f))))
            s = -s;
        const float zr = std::numbers::pi_v<float> / 2.0f + std::atan2(zc, za);
        const float zb = std::cos(zr) * s;
        const float zd = std::sin(zr) * s;
        la = std::cos(lshearX * DegRad) * lscaleX;
        lb = std::cos((90.0f + lshearY) * DegRad) * lscaleY;
        lc = std::sin(lshearX * DegRad) * lscaleX;
        ld = std::sin((90.0f + lshearY) * DegRad) * lscaleY;
        bone.a = za * la + zb * lc;
        bone.b = za * lb + zb * ld;
        bone.c = zc * la + zd * lc;
        bone.d = zc * lb + zd * ld;
        break;
    }
    }
    bone.a *= scaleX;
    bone.b *= scaleX;
    bone.c *= scaleY;
    bone.d *= scaleY;
}

void SpineSkeleton::UpdateAppliedTransform(SpineBone& bone)
{
    float ra = bone.a, rb = bone.b, rc = bone.c, rd = bone.d;
    if (bone.parent < 0)
    {
        bone.ax = bone.worldX - x;
        bone.ay = bone.worldY - y;
    }
    else
    {
        const SpineBone& parentBone = bones[static_cast<std::size_t>(bone.parent)];
        const float pa = parentBone.a, pb = parentBone.b, pc = parentBone.c, pd = parentBone.d;
        const float inverse = 1.0f / (pa * pd - pb * pc);
        const float ia = pd * inverse, ib = pb * inverse, ic = pc * inverse, id = pa * inverse;
        const float dx = bone.worldX - parentBone.worldX;
        const float dy = bone.worldY - parentBone.worldY;
        bone.ax = dx * ia - dy * ib;
        bone.ay = dy * id - dx * ic;
        if (bone.inherit != SpineInherit::OnlyTranslation)
        {
            ra = ia * bone.a - ib * bone.c;
            rb = ia * bone.b - ib * bone.d;
            rc = id * bone.c - ic * bone.a;
            rd = id * bone.d - ic * bone.b;
        }
    }
    bone.ashearX = 0.0f;
    bone.ascaleX = std::sqrt(ra * ra + rc * rc);
    if (bone.ascaleX > 0.0001f)
    {
        const float determinant = ra * rd - rb * rc;
        bone.ascaleY = determinant / bone.ascaleX;
        bone.ashearY = -std::atan2(ra * rb + rc * rd, determinant) * RadDeg;
        bone.arotation = std::atan2(rc, ra) * RadDeg;
    }
    else
    {
        bone.ascaleX = 0.0f;
        bone.ascaleY = std::sqrt(rb * rb + rd * rd);
        bone.ashearY = 0.0f;
        bone.arotation = 90.0f - std::atan2(rd, rb) * RadDeg;
    }
}

void SpineSkeleton::ApplyIk(const SpineIkConstraint& constraint)
{
    if (!constraint.active || constraint.mix == 0.0f)
        return;
    const SpineIkData& ik = *constraint.data;
    const SpineBone& target = bones[static_cast<std::size_t>(ik.target)];
    if (ik.bones.size() == 1)
        ApplyIkOneBone(bones[static_cast<std::size_t>(ik.bones[0])], target.worldX, target.worldY,
                       constraint.mix);
    else
        ApplyIkTwoBones(bones[static_cast<std::size_t>(ik.bones[0])],
                        bones[static_cast<std::size_t>(ik.bones[1])], target.worldX, target.worldY,
                        constraint.bendDirection, constraint.mix);
}

void SpineSkeleton::ApplyIkOneBone(SpineBone& bone, float targetX, float targetY, float mix)
{
    float pa = scaleX, pb = 0.0f, pc = 0.0f, pd = scaleY, parentX = x, parentY = y;
    if (bone.parent >= 0)
    {
        const SpineBone& p = bones[static_cast<std::size_t>(bone.parent)];
        pa = p.a;
        pb = p.b;
        pc = p.c;
        pd = p.d;
        parentX = p.worldX;
        parentY = p.worldY;
    }
    float rotationIk = -bone.ashearX - bone.arotation;
    float tx = 0.0f;
    float ty = 0.0f;
    if (bone.inherit == SpineInherit::OnlyTranslation)
    {
        tx = targetX - bone.worldX;
        ty = targetY - bone.worldY;
    }
    else
    {
        const float dx = targetX - parentX;
        const float dy = targetY - parentY;
        const float determinant = pa * pd - pb * pc;
        if (std::fabs(determinant) <= 0.0001f)
        {
            tx = 0.0f;
            ty = 0.0f;
        }
        else
        {
            tx = (dx * pd - dy * pb) / determinant - bone.ax;
            ty = (dy * pa - dx * pc) / determinant - bone.ay;
        }
    }
    rotationIk += std::atan2(ty, tx) * RadDeg;
    if (bone.ascaleX < 0.0f)
        rotationIk += 180.0f;
    rotationIk = WrapDegrees(rotationIk);
    UpdateBoneWorldTransform(bone, bone.ax, bone.ay, bone.arotation + rotationIk * mix, bone.ascaleX,
                             bone.ascaleY, bone.ashearX, bone.ashearY);
}

// The analytic two-bone solve: the parent's length is the child's distance from it, the child's is
// its bone length; bendDirection picks which side of the parent-target line the elbow goes.
void SpineSkeleton::ApplyIkTwoBones(SpineBone& parent, SpineBone& child, float targetX, float targetY,
                                    int bendDirection, float mix)
{
    const float px = parent.ax, py = parent.ay;
    float psx = parent.ascaleX, psy = parent.ascaleY, csx = child.ascaleX;
    float os1 = 0.0f, os2 = 0.0f;
    int s2 = 1;
    if (psx < 0.0f)
    {
        psx = -psx;
        os1 = 180.0f;
        s2 = -1;
    }
    if (psy < 0.0f)
    {
        psy = -psy;
        s2 = -s2;
    }
    if (csx < 0.0f)
    {
        csx = -csx;
        os2 = 180.0f;
    }
    const float cx = child.ax;
    float cy = 0.0f, cwx = 0.0f, cwy = 0.0f;
    const bool uniform = std::fabs(psx - psy) <= 0.0001f;
    if (!uniform)
    {
        cwx = parent.a * cx + parent.worldX;
        cwy = parent.c * cx + parent.worldY;
    }
    else
    {
        cy = child.ay;
        cwx = parent.a * cx + parent.b * cy + parent.worldX;
        cwy = parent.c * cx + parent.d * cy + parent.worldY;
    }
    float ga = scaleX, gb = 0.0f, gc = 0.0f, gd = scaleY, gx = x, gy = y;
    if (parent.parent >= 0)
    {
        const SpineBone& g = bones[static_cast<std::size_t>(parent.parent)];
        ga = g.a;
        gb = g.b;
        gc = g.c;
        gd = g.d;
        gx = g.worldX;
        gy = g.worldY;
    }
    const float determinant = ga * gd - gb * gc;
    const float id = std::fabs(determinant) <= 0.0001f ? 0.0f : 1.0f / determinant;
    float wx = cwx - gx, wy = cwy - gy;
    const float dx = (wx * gd - wy * gb) * id - px;
    const float dy = (wy * ga - wx * gc) * id - py;
    const float l1 = std::sqrt(dx * dx + dy * dy);
    float l2 = child.data->length * csx;
    if (l1 < 0.0001f)
    {
        ApplyIkOneBone(parent, targetX, targetY, mix);
        UpdateBoneWorldTransform(child, cx, cy, 0.0f, child.ascaleX, child.ascaleY, child.ashearX,
                                 child.ashearY);
        return;
    }
    wx = targetX - gx;
    wy = targetY - gy;
    const float tx = (wx * gd - wy * gb) * id - px;
    const float ty = (wy * ga - wx * gc) * id - py;
    const float dd = tx * tx + ty * ty;
    float a1 = 0.0f, a2 = 0.0f;
    const float bend = static_cast<float>(bendDirection);
    if (uniform)
    {
        l2 *= psx;
        float cosine = (dd - l1 * l1 - l2 * l2) / (2.0f * l1 * l2);
        cosine = std::clamp(cosine, -1.0f, 1.0f);
        if (std::isnan(cosine))
            cosine = 1.0f;
        a2 = std::acos(cosine) * bend;
        const float a = l1 + l2 * cosine;
        const float b = l2 * std::sin(a2);
        a1 = std::atan2(ty * a - tx * b, tx * a + ty * b);
    }
    else
    {
        // Non-uniform parent scale: the child's reach is an ellipse; take the nearest point on it.
        const float a = psx * l2, b = psy * l2;
        const float aa = a * a, bb = b * b, ta = std::atan2(ty, tx);
        float c = bb * l1 * l1 + aa * dd - aa * bb;
        const float c1 = -2.0f * bb * l1, c2 = bb - aa;
        const float discriminant = c1 * c1 - 4.0f * c2 * c;
        bool solved = false;
        if (discriminant >= 0.0f && c2 != 0.0f)
        {
            float q = std::sqrt(discriminant);
            if (c1 < 0.0f)
                q = -q;
            q = -(c1 + q) / 2.0f;
            const float r0 = q / c2, r1 = q != 0.0f ? c / q : r0;
            const float r = std::fabs(r0) < std::fabs(r1) ? r0 : r1;
            if (r * r <= dd)
            {
                const float yy = std::sqrt(dd - r * r) * bend;
                a1 = ta - std::atan2(yy, r);
                a2 = std::atan2(yy / psy, (r - l1) / psx);
                solved = true;
            }
        }
        if (!solved)
        {
            float minAngle = std::numbers::pi_v<float>, minX = l1 - a, minDist = minX * minX, minY = 0.0f;
            float maxAngle = 0.0f, maxX = l1 + a, maxDist = maxX * maxX, maxY = 0.0f;
            c = aa != bb ? -a * l1 / (aa - bb) : 2.0f;
            if (c >= -1.0f && c <= 1.0f)
            {
                c = std::acos(c);
                const float ex = a * std::cos(c) + l1, ey = b * std::sin(c);
                const float d = ex * ex + ey * ey;
                if (d < minDist)
                {
                    minAngle = c;
                    minDist = d;
                    minX = ex;
                    minY = ey;
                }
                if (d > maxDist)
                {
                    maxAngle = c;
                    maxDist = d;
                    maxX = ex;
                    maxY = ey;
                }
            }
            if (dd <= (minDist + maxDist) / 2.0f)
            {
                a1 = ta - std::atan2(minY * bend, minX);
                a2 = minAngle * bend;
            }
            else
            {
                a1 = ta - std::atan2(maxY * bend, maxX);
                a2 = maxAngle * bend;
            }
        }
    }
    const float os = std::atan2(cy, cx) * static_cast<float>(s2);
    float rotation = parent.arotation;
    a1 = WrapDegrees((a1 - os) * RadDeg + os1 - rotation);
    UpdateBoneWorldTransform(parent, px, py, rotation + a1 * mix, parent.ascaleX, parent.ascaleY, 0.0f, 0.0f);
    rotation = child.arotation;
    a2 = WrapDegrees(((a2 + os) * RadDeg - child.ashearX) * static_cast<float>(s2) + os2 - rotation);
    UpdateBoneWorldTransform(child, cx, cy, rotation + a2 * mix, child.ascaleX, child.ascaleY, child.ashearX,
                             child.ashearY);
}

// World mode: each constrained bone's world rotation, position, scale and shear move toward the
// target's (plus the offsets), each by its own mix.
void SpineSkeleton::ApplyTransform(const SpineTransformConstraint& constraint)
{
    if (!constraint.active)
        return;
    const SpineTransformData& t = *constraint.data;
    const SpineBone& target = bones[static_cast<std::size_t>(t.target)];
    const float ta = target.a, tb = target.b, tc = target.c, td = target.d;
    const float reflect = ta * td - tb * tc > 0.0f ? DegRad : -DegRad;
    const float offsetRotation = t.offsetRotation * reflect;
    const float offsetShearY = t.offsetShearY * reflect;
    for (int index : t.bones)
    {
        SpineBone& bone = bones[static_cast<std::size_t>(index)];
        if (constraint.mixRotate != 0.0f)
        {
            const float a = bone.a, b = bone.b, c = bone.c, d = bone.d;
            const float r =
                WrapRadians(std::atan2(tc, ta) - std::atan2(c, a) + offsetRotation) * constraint.mixRotate;
            const float cosine = std::cos(r), sine = std::sin(r);
            bone.a = cosine * a - sine * c;
            bone.b = cosine * b - sine * d;
            bone.c = sine * a + cosine * c;
            bone.d = sine * b + cosine * d;
        }
        if (constraint.mixX != 0.0f || constraint.mixY != 0.0f)
        {
            const float wx = ta * t.offsetX + tb * t.offsetY + target.worldX;
            const float wy = tc * t.offsetX + td * t.offsetY + target.worldY;
            bone.worldX += (wx - bone.worldX) * constraint.mixX;
            bone.worldY += (wy - bone.worldY) * constraint.mixY;
        }
        if (constraint.mixScaleX != 0.0f)
        {
            float s = std::sqrt(bone.a * bone.a + bone.c * bone.c);
            if (s != 0.0f)
            {
                s = (s + (std::sqrt(ta * ta + tc * tc) - s + t.offsetScaleX) * constraint.mixScaleX) / s;
                bone.a *= s;
                bone.c *= s;
            }
        }
        if (constraint.mixScaleY != 0.0f)
        {
            float s = std::sqrt(bone.b * bone.b + bone.d * bone.d);
            if (s != 0.0f)
            {
                s = (s + (std::sqrt(tb * tb + td * td) - s + t.offsetScaleY) * constraint.mixScaleY) / s;
                bone.b *= s;
                bone.d *= s;
            }
        }
        if (constraint.mixShearY != 0.0f)
        {
            const float b = bone.b, d = bone.d;
            const float by = std::atan2(d, b);
            float r = std::atan2(td, tb) - std::atan2(tc, ta) - (by - std::atan2(bone.c, bone.a));
            r = by + (WrapRadians(r) + offsetShearY) * constraint.mixShearY;
            const float s = std::sqrt(b * b + d * d);
            bone.b = std::cos(r) * s;
            bone.d = std::sin(r) * s;
        }
        UpdateAppliedTransform(bone);
    }
}

void SpineSkeleton::ComputeWorldVertices(const SpineSlot& slot, std::vector<float>& out) const
{
    out.clear();
    const SpineAttachment* attachment = slot.attachment;
    if (!attachment)
        return;
    const SpineBone& bone = bones[static_cast<std::size_t>(slot.data->bone)];
    if (attachment->type == SpineAttachmentType::Region)
    {
        out.resize(8);
        for (int i = 0; i < 4; ++i)
        {
            const float lx = attachment->corners[2 * i];
            const float ly = attachment->corners[2 * i + 1];
            out[2 * i] = bone.a * lx + bone.b * ly + bone.worldX;
            out[2 * i + 1] = bone.c * lx + bone.d * ly + bone.worldY;
        }
        return;
    }
    if (attachment->type != SpineAttachmentType::Mesh && attachment->type != SpineAttachmentType::BoundingBox)
        return;
    const bool deformed = static_cast<int>(slot.deform.size()) == attachment->DeformLength();
    const float* deform = deformed ? slot.deform.data() : nullptr;
    out.resize(static_cast<std::size_t>(attachment->vertexCount) * 2);
    if (!attachment->IsWeighted())
    {
        const float* local = attachment->vertices.data();
        for (int i = 0; i < attachment->vertexCount * 2; i += 2)
        {
            const float lx = local[i] + (deform ? deform[i] : 0.0f);
            const float ly = local[i + 1] + (deform ? deform[i + 1] : 0.0f);
            out[static_cast<std::size_t>(i)] = bone.a * lx + bone.b * ly + bone.worldX;
            out[static_cast<std::size_t>(i) + 1] = bone.c * lx + bone.d * ly + bone.worldY;
        }
        return;
    }
    const int* influences = attachment->bones.data();
    const float* bind = attachment->vertices.data();
    std::size_t b = 0, v = 0, f = 0;
    for (int i = 0; i < attachment->vertexCount; ++i)
    {
        float wx = 0.0f, wy = 0.0f;
        const int count = influences[b++];
        for (int k = 0; k < count; ++k, ++b, v += 3, f += 2)
        {
            const SpineBone& influence = bones[static_cast<std::size_t>(influences[b])];
            const float bx = bind[v] + (deform ? deform[f] : 0.0f);
            const float by = bind[v + 1] + (deform ? deform[f + 1] : 0.0f);
            const float weight = bind[v + 2];
            wx += (influence.a * bx + influence.b * by + influence.worldX) * weight;
            wy += (influence.c * bx + influence.d * by + influence.worldY) * weight;
        }
        out[2 * static_cast<std::size_t>(i)] = wx;
        out[2 * static_cast<std::size_t>(i) + 1] = wy;
    }
}
