#pragma once
#include <string>
#include <vector>

class SpineSkeleton;
struct SpineAttachment;

// How each key of a timeline runs to the next one. Bezier keys keep, per animated value, the nine
// interior points of the curve (time, value) sampled at curve parameters 0.1 .. 0.9; values between
// keys are read off that polyline, which is what the editor shows the artist.
struct SpineCurves
{
    enum Kind : unsigned char
    {
        Linear,
        Stepped,
        Bezier
    };
    std::vector<unsigned char> kinds; // one per key
    std::vector<int> sampleStart;     // per key: index of its samples in `samples`, or -1
    std::vector<float> samples;       // 18 floats (9 times, 9 values) per value of a Bezier key

    // Value number `value` at time t between key `key` at (t0, v0) and the next key at (t1, v1).
    float Value(int key, int value, float t, float t0, float t1, float v0, float v1) const;
    // Appends one key's curve. `handles` are absolute Bezier control points (cx1, cy1, cx2, cy2 per value)
    // between the key at (t0, from[j]) and the next at (t1, to[j]).
    void AddLinear();
    void AddStepped();
    void AddBezier(const std::vector<float>& handles, float t0, float t1, const float* from, const float* to,
                   int valueCount);
};

enum class SpineTimelineKind
{
    Rotate,
    Translate,
    TranslateX,
    TranslateY,
    Scale,
    ScaleX,
    ScaleY,
    Shear,
    ShearX,
    ShearY,
    Rgba,
    Rgb,
    Alpha,
    IkConstraint,        // mix, softness; `flags` holds the bend direction
    TransformConstraint, // rotate, x, y, scaleX, scaleY, shearY mixes
    Inherit              // stepped; `flags` holds the inherit mode
};

// A timeline of numbers: `valueCount` values per key, curved between keys.
struct SpineTimeline
{
    SpineTimelineKind kind = SpineTimelineKind::Rotate;
    int target = 0; // bone, slot or constraint index
    int valueCount = 1;
    std::vector<float> times;
    std::vector<float> values; // valueCount per key
    std::vector<int> flags;    // per key, for the kinds that carry one
    SpineCurves curves;
};

struct SpineAttachmentTimeline
{
    int slot = 0;
    std::vector<float> times;
    std::vector<std::string> names; // empty string clears the slot
    std::vector<bool> hasName;
};

// Per-key vertex offsets of one mesh: deltas on the setup positions (unweighted) or on each
// influence's bind position (weighted). The curve gives the fraction between keys.
struct SpineDeformTimeline
{
    int slot = 0;
    const SpineAttachment* attachment = nullptr;
    std::vector<float> times;
    std::vector<std::vector<float>> frames;
    SpineCurves curves;
};

struct SpineDrawOrderTimeline
{
    std::vector<float> times;
    std::vector<std::vector<int>> orders; // empty: the setup order
};

class SpineAnimation
{
public:
    std::string name;
    float duration = 0.0f;
    std::vector<SpineTimeline> timelines;
    std::vector<SpineAttachmentTimeline> attachmentTimelines;
    std::vector<SpineDeformTimeline> deformTimelines;
    SpineDrawOrderTimeline drawOrder;

    // Poses the skeleton at `time` on top of whatever it holds (normally the setup pose): before a
    // timeline's first key it leaves the value alone, after its last key it holds the last value.
    void Apply(SpineSkeleton& skeleton, float time) const;
};

// Index of the last key at or before t, or -1 before the first key.
int FindSpineKey(const std::vector<float>& times, float t);
