#pragma once
#include <memory>
#include <string>

class Image;

// A sprite sheet made in code for the benchmarks: a field of plaster domes of many sizes lit from
// the five directions, a diffuse map with 48 colours and transparent gaps, and a flow map of rings.
struct SyntheticSet
{
    std::unique_ptr<Image> left, right, top, bottom, front, diffuse, flow;
};

SyntheticSet MakeSyntheticSet(int size);

// Writes the set as <folder>/Sheet_<Kind>.png and returns the Left profile's path.
std::string SaveSyntheticSet(const SyntheticSet& set, const std::string& folder);
