// A Spine skeleton in the viewport: its atlas page arrives as an image set with its maps, and the
// character is drawn lit and moves from frame to frame.
#include "GLTestSupport.h"

#include "core/Image.h"
#include "preview/LightingPreview.h"
#include "processing/ImageProcessor.h"
#include "sets/BrondelCore.h"
#include "spine/SpineData.h"
#include "support/TestImages.h"
#include "ui/BDPreviewWindow.h"

#include <QFile>
#include <QTest>
#include <gtest/gtest.h>

namespace {
void Write(const std::string& path, const char* text)
{
    QFile file(QString::fromStdString(path));
    ASSERT_TRUE(file.open(QIODevice::WriteOnly));
    file.write(text);
}

int Brightness(const QImage& frame, int x, int y)
{
    const QRgb p = frame.pixel(x, y);
    return qRed(p) + qGreen(p) + qBlue(p);
}
} // namespace

TEST(SpinePreview, ASkeletonIsDrawnLitWithItsPageMapsAndMoves)
{
    ASSERT_TRUE(MakeTestContextCurrent()) << "the GL tests need a display (run them under xvfb-run)";
    TempFolder folder;
    // One page with a white diffuse map and a normal map facing the viewer, and a bar of 1 x 0.25 units
    // that rests (the first animation plays on loading) until it is told to turn a quarter turn a second.
    MakeImage(32, 32, [](int, int) {
        return Colour(1.0f, 1.0f, 1.0f, 1.0f);
    })->SaveToDisk(folder.File("page_Diffuse.png"));
    MakeImage(32, 32, [](int, int) {
        return Colour(0.5f, 0.5f, 1.0f, 1.0f);
    })->SaveToDisk(folder.File("page_Normal.png"));
    Write(folder.File("bar.atlas"), "page.png\nsize: 32,32\nfilter: Linear,Linear\nbar\n  xy: 0, 0\n"
                                    "  size: 32, 32\n  orig: 32, 32\n  offset: 0, 0\n  rotate: false\n");
    Write(folder.File("bar.json"), R"({"skeleton":{"spine":"3.8.99"},"bones":[{"name":"root"}],
        "slots":[{"name":"bar","bone":"root","attachment":"bar"}],
        "skins":[{"name":"default","attachments":{"bar":{"bar":{"width":1000,"height":250}}}}],
        "animations":{"rest":{},"turn":{"bones":{"root":{"rotate":[{"angle":0},{"time":1,"angle":90}]}}}}})");

    BrondelCore core(BRONDEL_RESOURCE_DIR);
    core.LoadSpineFile(folder.File("bar.json"));
    ASSERT_NE(core.GetLightingPreviewPointer()->GetSpineObject(), nullptr);
    ASSERT_TRUE(core.GetLightingPreviewPointer()->GetSpineObject()->IsLoaded());
    // The page's set is now the current one, so its normal map lights the skeleton.
    ASSERT_NE(core.GetCurrentImageSet(), nullptr);
    EXPECT_TRUE(core.HasNonDefaultImageOfType(ImageType::Normal));
    core.SetBackgroundColour(Colour(0.0f, 0.0f, 0.0f));
    core.SetDirectLightColour(Colour(0.0f, 0.0f, 0.0f));
    core.SetUpperAmbientColour(Colour(1.0f, 1.0f, 1.0f));
    core.SetLowerAmbientColour(Colour(1.0f, 1.0f, 1.0f));
    core.SetLightIconVisibility(false);

    BDPreviewWindow window;
    window.SetRenderer(core.GetLightingPreviewPointer());
    window.SetCore(&core);
    window.resize(64, 64);
    window.show();
    ASSERT_TRUE(QTest::qWaitForWindowExposed(&window));
    QTest::qWait(2 * BDPreviewWindow::kRepaintMilliseconds);

    // Lying flat: lit across the middle, dark above it.
    const QImage flat = window.grabFramebuffer();
    EXPECT_GT(Brightness(flat, 32, 32), 600);
    EXPECT_GT(Brightness(flat, 20, 32), 600);
    EXPECT_LT(Brightness(flat, 32, 18), 30);

    core.PlaySpineAnimation("turn");
    QTest::qWait(400);
    const QImage turned = window.grabFramebuffer();
    EXPECT_NE(turned, flat);
    core.ClearSpineObject();
    EXPECT_EQ(core.GetLightingPreviewPointer()->GetSpineObject(), nullptr);
}
