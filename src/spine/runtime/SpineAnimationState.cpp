#include "spine/runtime/SpineAnimationState.h"

#include "spine/runtime/SpineSkeleton.h"

#include <cmath>

bool SpineAnimationState::SetAnimation(const std::string& name, bool loop)
{
    const SpineAnimation* animation = data.FindAnimation(name);
    if (!animation)
        return false;
    SetAnimation(animation, loop);
    return true;
}

void SpineAnimationState::SetAnimation(const SpineAnimation* animation, bool loop)
{
    current = animation;
    looping = loop;
    trackTime = 0.0f;
}

void SpineAnimationState::Update(float delta)
{
    if (!std::isfinite(delta))
        return;
    trackTime += delta;
    // Keep the clock inside one period so it never loses precision over a long session.
    if (current && looping && current->duration > 0.0f)
        trackTime = AnimationTime();
}

float SpineAnimationState::AnimationTime() const
{
    if (!current || !(current->duration > 0.0f))
        return 0.0f;
    if (!looping)
        return std::fmin(std::fmax(trackTime, 0.0f), current->duration);
    float time = std::fmod(trackTime, current->duration);
    if (time < 0.0f)
        time += current->duration;
    return time;
}

void SpineAnimationState::Apply(SpineSkeleton& skeleton) const
{
    skeleton.SetToSetupPose();
    if (current)
        current->Apply(skeleton, AnimationTime());
}
