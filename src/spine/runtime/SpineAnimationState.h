#pragma once
#include <string>

class SpineAnimation;
class SpineSkeleton;
class SpineSkeletonData;

// Plays one animation on track 0 (no cross-fading): time runs forwards or backwards and, when
// looping, wraps around the animation's duration.
class SpineAnimationState
{
public:
    explicit SpineAnimationState(const SpineSkeletonData& skeletonData) : data(skeletonData) {}

    // False (and the current animation keeps playing) when there is no animation of that name.
    bool SetAnimation(const std::string& name, bool loop);
    void SetAnimation(const SpineAnimation* animation, bool loop);
    void ClearTrack() { current = nullptr; }
    void Update(float delta);
    // Resets the skeleton to its setup pose and poses it at the track's time.
    void Apply(SpineSkeleton& skeleton) const;

    const SpineAnimation* Current() const { return current; }
    float TrackTime() const { return trackTime; }
    // The time within the animation that Apply uses.
    float AnimationTime() const;

private:
    const SpineSkeletonData& data;
    const SpineAnimation* current = nullptr;
    bool looping = true;
    float trackTime = 0.0f;
};
