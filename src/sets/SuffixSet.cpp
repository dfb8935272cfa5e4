#include "sets/SuffixSet.h"

SuffixSet::SuffixSet()
    : suffixes{"_Top",      "_Bottom",      "_Left",          "_Right", "_Front",   "_Diffuse",
               "_Specular", "_Emissive",    "_Silhouette",    "_Flow",  "_Palette", "_Normal",
               "_Depth",    "_NormalDepth", "_NormalOpacity", "_AO",    "_Aniso",   "_Index"}
{}
