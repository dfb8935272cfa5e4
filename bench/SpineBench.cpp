// Posing cost of a Spine skeleton the size of a typical character: 70 bones in seven chains of ten,
// each chain skinned by a weighted mesh of 60 vertices with two or three influences each, and an
// animation with Bezier-curved rotate and translate keys on every bone plus deform keys on one mesh.
// One iteration is one preview frame: advance the track, reset and apply the animation, update the
// world transforms (two IK constraints included) and compute every world vertex.

#include "spine/runtime/SpineAnimationState.h"
#include "spine/runtime/SpineJsonReader.h"
#include "spine/runtime/SpineSkeleton.h"

#include <benchmark/benchmark.h>

#include <memory>
#include <sstream>
#include <string>

namespace {
constexpr int Chains = 7;
constexpr int BonesPerChain = 10;
constexpr int MeshVertices = 60;

std::string Bone(int chain, int link)
{
    std::ostringstream name;
    name << 'c' << chain << 'b' << link;
    return name.str();
}

std::string CharacterJson()
{
    // Built with a stream: chains of std::string temporaries trip a false -Wrestrict in GCC 12.
    std::ostringstream bones, slotList, skin, animation, ik;
    bones << R"({"name":"root"})";
    for (int chain = 0; chain < Chains; ++chain)
    {
        for (int link = 0; link < BonesPerChain; ++link)
        {
            bones << R"(,{"name":")" << Bone(chain, link) << R"(","parent":")"
                  << (link == 0 ? std::string("root") : Bone(chain, link - 1)) << R"(","length":20,"x":)"
                  << (link == 0 ? chain * 10 : 20) << R"(,"rotation":)" << (link == 0 ? chain * 50 : 5)
                  << "}";
            animation << (chain + link == 0 ? "" : ",") << '"' << Bone(chain, link)
                      << R"(":{"rotate":[{"value":0,"curve":[0.3,0,0.6,15]},{"time":0.5,"value":15,)"
                      << R"("curve":[0.8,15,0.9,-10]},{"time":1,"value":-10}],"translate":[{"x":0,"y":0,)"
                      << R"("curve":[0.2,0,0.4,2,0.2,0,0.4,3]},{"time":1,"x":2,"y":3}]})";
        }
        // Weighted mesh along the chain: each vertex hangs on its bone and the next (every third one
        // on the root too).
        std::ostringstream uvs, triangles, vertices;
        for (int v = 0; v < MeshVertices; ++v)
        {
            const int link = v % BonesPerChain;
            const int first = 1 + chain * BonesPerChain + link;
            const int second = 1 + chain * BonesPerChain + (link + 1) % BonesPerChain;
            const char* sep = v == 0 ? "" : ",";
            uvs << sep << (v % 10) / 10.0 << "," << (v / 10) / 6.0;
            if (v % 3 == 0)
                vertices << sep << "3," << first << ",4,5,0.5," << second << ",-3,2,0.3,0,1,1,0.2";
            else
                vertices << sep << "2," << first << ",4,5,0.6," << second << ",-3,2,0.4";
            if (v + 2 < MeshVertices)
                triangles << sep << v << "," << v + 1 << "," << v + 2;
        }
        slotList << (chain == 0 ? "" : ",") << R"({"name":"s)" << chain << R"(","bone":")" << Bone(chain, 0)
                 << R"(","attachment":"m"})";
        skin << (chain == 0 ? "" : ",") << R"("s)" << chain << R"(":{"m":{"type":"mesh","uvs":[)" << uvs.str()
             << R"(],"triangles":[)" << triangles.str() << R"(],"vertices":[)" << vertices.str() << "]}}";
        if (chain < 2)
            ik << (chain == 0 ? "" : ",") << R"({"name":"ik)" << chain << R"(","bones":[")" << Bone(chain, 7)
               << R"(",")" << Bone(chain, 8) << R"("],"target":")" << Bone(chain + 2, 9) << R"("})";
    }
    std::ostringstream deform;
    deform << R"([{"vertices":[)";
    const int influences = 3 * (MeshVertices / 3) + 2 * (MeshVertices - MeshVertices / 3);
    for (int i = 0; i < 2 * influences; ++i)
        deform << (i == 0 ? "" : ",") << "1";
    deform << R"(],"curve":[0.2,0,0.6,1]},{"time":1}])";
    std::ostringstream json;
    json << R"({"skeleton":{"spine":"4.1.20"},"bones":[)" << bones.str() << R"(],"slots":[)" << slotList.str()
         << R"(],"ik":[)" << ik.str() << R"(],"skins":[{"name":"default","attachments":{)" << skin.str()
         << R"(}}],"animations":{"idle":{"bones":{)" << animation.str()
         << R"(},"attachments":{"default":{"s0":{"m":{"deform":)" << deform.str() << "}}}}}}}";
    return json.str();
}

void SpinePoseFrame(benchmark::State& state)
{
    SpineJsonReader reader;
    const std::unique_ptr<SpineSkeletonData> data = reader.Read(QByteArray::fromStdString(CharacterJson()));
    if (!data || !reader.warnings.empty())
    {
        state.SkipWithError(data ? reader.warnings.front().c_str() : reader.error.c_str());
        return;
    }
    SpineSkeleton skeleton(*data);
    SpineAnimationState track(*data);
    track.SetAnimation("idle", true);
    std::vector<float> vertices;
    std::size_t floats = 0;
    for (auto _ : state)
    {
        track.Update(1.0f / 60.0f);
        track.Apply(skeleton);
        skeleton.UpdateWorldTransform();
        floats = 0;
        for (const SpineSlot& slot : skeleton.slotList)
        {
            skeleton.ComputeWorldVertices(slot, vertices);
            floats += vertices.size();
            benchmark::DoNotOptimize(vertices.data());
        }
    }
    state.counters["bones"] = static_cast<double>(skeleton.bones.size());
    state.counters["vertices"] = static_cast<double>(floats / 2);
}
} // namespace

BENCHMARK(SpinePoseFrame)->Unit(benchmark::kMicrosecond);
