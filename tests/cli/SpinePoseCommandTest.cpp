// BrondelCLI -spinePose run as a real process with no display: the printed pose is the runtime's.
#include <QFile>
#include <QImage>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QProcess>
#include <QTemporaryDir>

#include <gtest/gtest.h>

#include <cmath>

namespace {
struct PoseRun
{
    int status = -1;
    QJsonObject pose;
    std::string err;
};

PoseRun RunPose(const QStringList& arguments)
{
    QProcess process;
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.remove(QStringLiteral("DISPLAY"));
    environment.remove(QStringLiteral("WAYLAND_DISPLAY"));
    process.setProcessEnvironment(environment);
    process.start(QStringLiteral(BRONDEL_CLI_PATH), arguments);
    if (!process.waitForFinished(60000) || process.exitStatus() != QProcess::NormalExit)
        return {};
    return {process.exitCode(), QJsonDocument::fromJson(process.readAllStandardOutput()).object(),
            process.readAllStandardError().toStdString()};
}

// An arm turning from 0 to 90 degrees over a second, holding a 20 x 10 region that the atlas packs
// with 2 pixels stripped at the left, and a skin that swaps the region for a bigger one.
class SpinePoseCommand : public ::testing::Test
{
protected:
    QTemporaryDir folder;
    QString json;

    void SetUp() override
    {
        ASSERT_TRUE(folder.isValid());
        json = folder.filePath(QStringLiteral("arm.json"));
        QFile skeleton(json);
        ASSERT_TRUE(skeleton.open(QIODevice::WriteOnly));
        skeleton.write(R"({"skeleton":{"spine":"4.2.01"},
            "bones":[{"name":"root"},{"name":"arm","parent":"root","x":10}],
            "slots":[{"name":"hand","bone":"arm","attachment":"hand","color":"ff8000ff"}],
            "skins":[{"name":"default","attachments":{"hand":{"hand":{"width":20,"height":10}}}},
                     {"name":"big","attachments":{"hand":{"hand":{"name":"bigHand","path":"hand","width":40,
                     "height":20}}}}],
            "animations":{"wave":{"bones":{"arm":{"rotate":[{"value":0},{"time":1,"value":90}]}}}}})");
        skeleton.close();
        QFile atlas(folder.filePath(QStringLiteral("arm.atlas")));
        ASSERT_TRUE(atlas.open(QIODevice::WriteOnly));
        atlas.write("page.png\n\tsize: 64, 64\nhand\n\tbounds: 0, 0, 18, 10\n\toffsets: 2, 0, 20, 10\n");
        atlas.close();
        ASSERT_TRUE(QImage(64, 64, QImage::Format_ARGB32).save(folder.filePath(QStringLiteral("page.png"))));
    }
};

std::vector<double> Numbers(const QJsonValue& value)
{
    std::vector<double> numbers;
    for (const QJsonValue& element : value.toArray())
        numbers.push_back(element.toDouble());
    return numbers;
}
} // namespace

TEST_F(SpinePoseCommand, PrintsTheSetupPoseAndThePoseAtATime)
{
    const PoseRun setup = RunPose({QStringLiteral("-spinePose"), json});
    ASSERT_EQ(setup.status, 0) << setup.err;
    EXPECT_EQ(setup.pose.value(QStringLiteral("skin")).toString(), QStringLiteral("default"));
    const QJsonArray bones = setup.pose.value(QStringLiteral("bones")).toArray();
    ASSERT_EQ(bones.size(), 2);
    EXPECT_EQ(bones[1].toObject().value(QStringLiteral("name")).toString(), QStringLiteral("arm"));
    EXPECT_DOUBLE_EQ(bones[1].toObject().value(QStringLiteral("worldX")).toDouble(), 10.0);
    const QJsonObject hand = setup.pose.value(QStringLiteral("slots")).toArray()[0].toObject();
    EXPECT_EQ(hand.value(QStringLiteral("attachment")).toString(), QStringLiteral("hand"));
    const std::vector<double> colour = Numbers(hand.value(QStringLiteral("color")));
    ASSERT_EQ(colour.size(), 4u);
    EXPECT_NEAR(colour[1], 128.0 / 255.0, 1e-6);
    // The stripped left column moves the quad's left edge in by 2 units: x from -8 to 10, y from -5 to 5.
    const std::vector<double> corners = {2, -5, 20, -5, 20, 5, 2, 5};
    const std::vector<double> vertices = Numbers(hand.value(QStringLiteral("vertices")));
    ASSERT_EQ(vertices.size(), 8u);
    for (std::size_t i = 0; i < 8; ++i)
        EXPECT_NEAR(vertices[i], corners[i], 1e-5) << i;

    const PoseRun turned =
        RunPose({QStringLiteral("-spinePose"), json, QStringLiteral("-spineAnimation"),
                 QStringLiteral("wave"), QStringLiteral("-spineTime"), QStringLiteral("0.5"),
                 QStringLiteral("-spineSkin"), QStringLiteral("big")});
    ASSERT_EQ(turned.status, 0) << turned.err;
    const QJsonObject arm = turned.pose.value(QStringLiteral("bones")).toArray()[1].toObject();
    EXPECT_NEAR(arm.value(QStringLiteral("a")).toDouble(), std::sqrt(0.5), 1e-6);
    EXPECT_NEAR(arm.value(QStringLiteral("c")).toDouble(), std::sqrt(0.5), 1e-6);
    const QJsonObject bigHand = turned.pose.value(QStringLiteral("slots")).toArray()[0].toObject();
    EXPECT_EQ(bigHand.value(QStringLiteral("attachment")).toString(), QStringLiteral("bigHand"));
}

TEST_F(SpinePoseCommand, UnreadableFilesAndUnknownNamesExitWithStatusOne)
{
    const PoseRun missing =
        RunPose({QStringLiteral("-spinePose"), folder.filePath(QStringLiteral("none.json"))});
    EXPECT_EQ(missing.status, 1);
    EXPECT_NE(missing.err.find("none.json"), std::string::npos);
    EXPECT_TRUE(missing.pose.isEmpty());

    QFile broken(folder.filePath(QStringLiteral("broken.json")));
    ASSERT_TRUE(broken.open(QIODevice::WriteOnly));
    broken.write(R"({"bones":[{"name":"root"},)");
    broken.close();
    EXPECT_EQ(RunPose({QStringLiteral("-spinePose"), broken.fileName()}).status, 1);

    EXPECT_EQ(
        RunPose({QStringLiteral("-spinePose"), json, QStringLiteral("-spineSkin"), QStringLiteral("tiny")})
            .status,
        1);
    EXPECT_EQ(RunPose({QStringLiteral("-spinePose"), json, QStringLiteral("-spineAnimation"),
                       QStringLiteral("jump")})
                  .status,
              1);
    EXPECT_EQ(
        RunPose({QStringLiteral("-spinePose"), json, QStringLiteral("-spineTime"), QStringLiteral("soon")})
            .status,
        2);
}
