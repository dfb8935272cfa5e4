#include "GLTestSupport.h"

#include "support/TestImages.h"

#include <QDir>
#include <QFile>
#include <gtest/gtest.h>

namespace {
class ShaderLoading : public ::testing::Test
{
protected:
    void SetUp() override
    {
        ASSERT_TRUE(MakeTestContextCurrent()) << "the GL tests need a display (run them under xvfb-run)";
        // A resource folder of our own, so shader files can be broken without touching the real ones.
        QDir().mkpath(QString::fromStdString(folder.File("Shaders")));
        const QDir shipped(QString::fromUtf8(BRONDEL_RESOURCE_DIR "Shaders"));
        for (const QString& name : shipped.entryList({QStringLiteral("*.vsd"), QStringLiteral("*.fsd")}))
            ASSERT_TRUE(QFile::copy(shipped.filePath(name),
                                    QString::fromStdString(folder.File("Shaders/" + name.toStdString()))));
    }

    void WriteShader(const std::string& name, const std::string& text)
    {
        QFile file(QString::fromStdString(folder.File("Shaders/" + name)));
        ASSERT_TRUE(file.open(QIODevice::WriteOnly | QIODevice::Truncate));
        file.write(text.data(), static_cast<qint64>(text.size()));
    }

    std::vector<std::string> LoadingLines() const
    {
        std::vector<std::string> lines;
        for (const std::string& line : fixture.log.lines)
            if (line.rfind("Loading", 0) == 0)
                lines.push_back(line);
        return lines;
    }

    TempFolder folder;
    PreviewGLFixture fixture;
};
} // namespace

TEST_F(ShaderLoading, CompilesEveryFileInItsOrderAndLogsEachOne)
{
    LightingPreview preview(&fixture.processor, folder.Path() + "/", &fixture.log.output);
    preview.LoadShaders();
    EXPECT_EQ(LoadingLines(),
              (std::vector<std::string>{"Loading passthrough shader.", "Loading Phong shader.",
                                        "Loading Phong/Ward shader.", "Loading cel shader.",
                                        "Loading depth editor shader.", "Loading Phong spine shader.",
                                        "Loading simple fragment shader."}));
    for (int shader = 0; shader < kShaderProgramCount; ++shader)
        EXPECT_TRUE(preview.IsShaderUsable(static_cast<ShaderEnum>(shader))) << shader;
    preview.ClearShaders();
}

TEST_F(ShaderLoading, ABrokenShaderIsLoggedAndThePreviousProgramStaysInUse)
{
    LightingPreview preview(&fixture.processor, folder.Path() + "/", &fixture.log.output);
    preview.SetDirectLightColour(Colour(1.0f, 1.0f, 1.0f));
    preview.SetBackgroundColour(Colour(0.0f, 0.0f, 0.0f));
    preview.SetLightIconVisibility(false);
    preview.SetDirectionalLight(true);
    preview.SetLightPosition(Vector3D(0.0f, 0.0f, 1.0f));
    const std::string good = [] {
        QFile file(QString::fromUtf8(BRONDEL_RESOURCE_DIR "Shaders/StandardPhong.fsd"));
        return file.open(QIODevice::ReadOnly) ? file.readAll().toStdString() : std::string();
    }();
    const std::string broken = "#version 120\nvoid main() { gl_FragColor = vec4(undeclaredThing); }\n";

    // Broken from the start: that program is missing, the others work, and nothing is drawn with it.
    WriteShader("StandardPhong.fsd", broken);
    preview.LoadShaders();
    EXPECT_FALSE(preview.IsShaderUsable(ShaderEnums::StandardPhong));
    EXPECT_TRUE(preview.IsShaderUsable(ShaderEnums::CelPalette));
    const auto failure =
        std::find_if(fixture.log.lines.begin(), fixture.log.lines.end(), [](const std::string& l) {
            return l.rfind("StandardPhong.fsd failed to compile: ", 0) == 0;
        });
    ASSERT_NE(failure, fixture.log.lines.end());
    EXPECT_NE(failure->find("undeclaredThing"), std::string::npos) << "the compiler's log is passed on";
    EXPECT_EQ(RenderPreview(preview, 16, 16).pixel(8, 8), qRgb(0, 0, 0));

    // Fixed and reloaded at the next frame: the sprite is lit.
    WriteShader("StandardPhong.fsd", good);
    preview.ReloadShaders();
    EXPECT_EQ(RenderPreview(preview, 16, 16).pixel(8, 8), qRgb(255, 255, 255));

    // Broken again while in use: the last good program carries on.
    WriteShader("StandardPhong.fsd", broken);
    fixture.log.lines.clear();
    preview.LoadShaders();
    EXPECT_TRUE(fixture.log.Contains("Keeping the previous program for StandardPhong.fsd."));
    EXPECT_TRUE(preview.IsShaderUsable(ShaderEnums::StandardPhong));
    EXPECT_EQ(RenderPreview(preview, 16, 16).pixel(8, 8), qRgb(255, 255, 255));

    // A missing file is reported the same way and does not stop the others loading.
    QFile::remove(QString::fromStdString(folder.File("Shaders/PhongWard.fsd")));
    preview.LoadShaders();
    EXPECT_TRUE(fixture.log.Contains("Could not read " + folder.Path() + "/Shaders/PhongWard.fsd"));
    EXPECT_TRUE(preview.IsShaderUsable(ShaderEnums::DepthEditing));
    preview.ClearShaders();
}
