#include "GLTestSupport.h"

#include "core/Image.h"
#include "deptheditor/DepthEditor.h"
#include "processing/ImageProcessor.h"
#include "sets/BrondelCore.h"
#include "support/TestImages.h"
#include "ui/BDPreviewWindow.h"

#include <QImageReader>
#include <QTest>
#include <QWheelEvent>
#include <gtest/gtest.h>

namespace {
class PreviewWindow : public ::testing::Test
{
protected:
    void SetUp() override
    {
        ASSERT_TRUE(MakeTestContextCurrent()) << "the GL tests need a display (run them under xvfb-run)";
        window = std::make_unique<BDPreviewWindow>();
        ImageProcessor& processor = *core.GetCurrentProcessor();
        const auto flat = [](int w, int h, Colour c) {
            return MakeImage(w, h, [c](int, int) { return c; }).release();
        };
        processor.SetImage(flat(16, 32, Colour(0.5f, 0.5f, 1.0f, 1.0f)), ImageType::Normal);
        processor.SetImage(flat(16, 32, Colour(1.0f, 1.0f, 1.0f, 1.0f)), ImageType::Diffuse);
        for (ImageType black : {ImageType::Depth, ImageType::Specular, ImageType::Emissive})
            processor.SetImage(flat(16, 32, Colour(0.0f, 0.0f, 0.0f, 1.0f)), black);
        processor.SetImage(flat(16, 32, Colour(1.0f, 1.0f, 1.0f, 1.0f)), ImageType::AO);
        core.SetBackgroundColour(Colour(0.0f, 0.0f, 0.0f));
        core.SetDirectLightColour(Colour(0.0f, 0.0f, 0.0f));
        core.SetUpperAmbientColour(Colour(1.0f, 1.0f, 1.0f));
        core.SetLowerAmbientColour(Colour(1.0f, 1.0f, 1.0f));
        core.SetLightIconVisibility(false);

        window->SetRenderer(core.GetLightingPreviewPointer());
        window->SetCore(&core);
        window->resize(64, 64);
        window->show();
        ASSERT_TRUE(QTest::qWaitForWindowExposed(window.get()));
        QTest::qWait(2 * BDPreviewWindow::kRepaintMilliseconds);
    }

    LightingPreview& Preview() { return *core.GetLightingPreviewPointer(); }
    // Renders happen at the next repaint; on a busy machine that can take a while.
    bool WaitForRender()
    {
        return QTest::qWaitFor([this] { return !Preview().IsRenderPending(); }, 10000);
    }

    BrondelCore core{BRONDEL_RESOURCE_DIR};
    std::unique_ptr<BDPreviewWindow> window; // made once the application object exists
};

void SendWheel(QWidget& widget, QPoint angleDelta)
{
    QWheelEvent event(QPointF(10, 10), widget.mapToGlobal(QPointF(10, 10)), QPoint(), angleDelta,
                      Qt::NoButton, Qt::NoModifier, Qt::NoScrollPhase, false);
    QApplication::sendEvent(&widget, &event);
    EXPECT_TRUE(event.isAccepted());
}
} // namespace

TEST_F(PreviewWindow, RepaintsOnItsOwnAndAnimatesByElapsedTime)
{
    // A 1:2 sprite two units tall in a square view two units tall: the middle half is the sprite.
    const QImage frame = window->grabFramebuffer();
    EXPECT_EQ(frame.pixel(32, 32), qRgb(255, 255, 255));
    EXPECT_EQ(frame.pixel(2, 32), qRgb(0, 0, 0));
    EXPECT_FLOAT_EQ(Preview().GetCamera().GetHeight(), 2.0f);
    EXPECT_EQ(Preview().GetCamera().GetPixelWidth(), window->width() * window->devicePixelRatio());

    core.SetLightZPosition(0.25f);
    core.SetLightAnimation(AnimationTypes::VerticalOrbit);
    const Vector3D before = Preview().GetLightPosition();
    EXPECT_TRUE(QTest::qWaitFor([&] { return Preview().GetLightPosition().z == 0.25f; }, 10000));
    QTest::qWait(2 * BDPreviewWindow::kRepaintMilliseconds);
    const Vector3D after = Preview().GetLightPosition();
    EXPECT_NE(before.x, after.x);
    EXPECT_FLOAT_EQ(after.z, 0.25f);
    EXPECT_NEAR(after.x * after.x + after.y * after.y, 1.5f * 1.5f, 1e-3f);

    // Paused (while a generation rewrites the maps), nothing is drawn and the light stands still.
    window->SetPaused(true);
    const Vector3D paused = Preview().GetLightPosition();
    window->update();
    QTest::qWait(3 * BDPreviewWindow::kRepaintMilliseconds);
    EXPECT_EQ(Preview().GetLightPosition().x, paused.x);
    window->SetPaused(false);
    EXPECT_TRUE(QTest::qWaitFor([&] { return Preview().GetLightPosition().x != paused.x; }, 10000));
}

TEST_F(PreviewWindow, MouseButtonsMoveTheLightAndTheWheelZoomsByWholeNotches)
{
    core.SetLightZPosition(0.5f);
    QTest::mousePress(window.get(), Qt::LeftButton, Qt::NoModifier, QPoint(1, 1));
    Vector3D light = Preview().GetLightPosition();
    EXPECT_LT(light.x, -0.9f);
    EXPECT_GT(light.y, 0.9f);
    EXPECT_FLOAT_EQ(light.z, 0.5f);
    QTest::mouseRelease(window.get(), Qt::LeftButton, Qt::NoModifier, QPoint(1, 1));
    EXPECT_FALSE(Preview().IsLeftHeld());

    QTest::mousePress(window.get(), Qt::MiddleButton, Qt::NoModifier, QPoint(60, 60));
    EXPECT_FALSE(Preview().IsLeftHeld());
    EXPECT_FALSE(Preview().IsRightHeld());
    EXPECT_EQ(Preview().GetLightPosition().x, light.x);
    QTest::mouseRelease(window.get(), Qt::MiddleButton, Qt::NoModifier, QPoint(60, 60));

    SendWheel(*window, QPoint(0, 60)); // half a notch
    EXPECT_FLOAT_EQ(Preview().GetCamera().GetHeight(), 2.0f);
    SendWheel(*window, QPoint(120, 0)); // sideways
    EXPECT_FLOAT_EQ(Preview().GetCamera().GetHeight(), 2.0f);
    SendWheel(*window, QPoint(0, 120)); // one notch away from the user zooms in
    EXPECT_FLOAT_EQ(Preview().GetCamera().GetHeight(), 1.25f);
    SendWheel(*window, QPoint(0, -240));
    EXPECT_FLOAT_EQ(Preview().GetCamera().GetHeight(), 2.75f);
    core.ResetCamera();
    EXPECT_FLOAT_EQ(Preview().GetCamera().GetHeight(), 2.0f);
}

TEST_F(PreviewWindow, StillRendersAreWrittenAtTheNextFrameAtNativeOrViewportSize)
{
    TempFolder folder;
    Preview().GrabScreenshot(folder.File("native.png"), true);
    EXPECT_TRUE(Preview().IsRenderPending());
    ASSERT_TRUE(WaitForRender());
    const QImage native(QString::fromStdString(folder.File("native.png")));
    ASSERT_FALSE(native.isNull());
    EXPECT_EQ(native.size(), QSize(16, 32));
    EXPECT_EQ(native.pixel(0, 0), qRgb(255, 255, 255)); // the sprite fills a native render exactly

    Preview().GrabScreenshot(folder.File("viewport.jpg"), false);
    ASSERT_TRUE(WaitForRender());
    QImageReader reader(QString::fromStdString(folder.File("viewport.jpg")));
    EXPECT_EQ(reader.format(), "jpeg");
    EXPECT_EQ(reader.size(), window->size() * window->devicePixelRatio());

    // A cancelled file dialog asks with an empty name: nothing is written, nothing breaks.
    Preview().GrabScreenshot("", true);
    EXPECT_TRUE(WaitForRender());
}

TEST_F(PreviewWindow, LightAnimationsAreRecordedAsOneOrbitOfThirtyFrames)
{
    // A sphere lit by a directional light, so each frame of the orbit looks different.
    ImageProcessor& processor = *core.GetCurrentProcessor();
    processor.SetImage(
        MakeImage(16, 32, [](int x, int y) { return SphereNormal(x, y * 16 / 32, 16); }).release(),
        ImageType::Normal);
    core.SetUpperAmbientColour(Colour(0.1f, 0.1f, 0.1f));
    core.SetLowerAmbientColour(Colour(0.1f, 0.1f, 0.1f));
    core.SetDirectLightColour(Colour(0.9f, 0.9f, 0.9f));
    Preview().SetLightPosition(Vector3D(0.3f, 0.2f, 0.7f));

    TempFolder folder;
    const std::string path = folder.File("orbit.gif");
    Preview().StartRecordingGif(path, true);
    ASSERT_TRUE(WaitForRender());
    EXPECT_FLOAT_EQ(Preview().GetLightPosition().x, 0.3f) << "the light goes back where it was";

    QImageReader reader(QString::fromStdString(path));
    ASSERT_TRUE(reader.canRead()) << reader.errorString().toStdString();
    EXPECT_EQ(reader.size(), QSize(16, 32));
    EXPECT_EQ(reader.imageCount(), LightingPreview::kAnimationFrames);
    std::vector<QImage> frames;
    while (reader.canRead())
        frames.push_back(reader.read().convertToFormat(QImage::Format_RGB32));
    ASSERT_EQ(static_cast<int>(frames.size()), LightingPreview::kAnimationFrames);
    // Frame 0 has the light straight above the sprite, frame 15 straight below: the top of the
    // sphere is lit first, its bottom halfway round.
    EXPECT_GT(qRed(frames[0].pixel(8, 4)), qRed(frames[0].pixel(8, 27)) + 40);
    EXPECT_GT(qRed(frames[15].pixel(8, 27)), qRed(frames[15].pixel(8, 4)) + 40);

    // An unwritable place leaves no file behind.
    Preview().StartRecordingGif(folder.File("missing/folder/orbit.gif"), true);
    ASSERT_TRUE(WaitForRender());
    EXPECT_FALSE(FileExists(folder.File("missing/folder/orbit.gif")));
}

// With depth editing on, the left button paints the selection under the cursor instead of moving the
// light, one event behind the cursor, and the stroke is one step to undo.
TEST_F(PreviewWindow, TheLeftButtonPaintsTheSelectionWhileEditingDepth)
{
    ImageProcessor& processor = *core.GetCurrentProcessor();
    processor.InitialiseDepthEditor();
    core.SetDepthEditingState(true);
    core.SetSolidPaintingRadius(2);
    core.SetPaintingIntensity(1.0f);
    const DepthEditor& editor = *processor.GetDepthEditor();
    const float before = editor.GetSelection()[16 * 16 + 8];
    const Vector3D light = Preview().GetLightPosition();

    // The 16 x 32 sprite fills the middle of the 64 x 64 view: its centre pixel is under (32, 32).
    const auto move = [this](QPoint at, Qt::MouseButtons held) {
        QMouseEvent event(QEvent::MouseMove, at, window->mapToGlobal(at), Qt::NoButton, held, Qt::NoModifier);
        QApplication::sendEvent(window.get(), &event);
    };
    const auto drag = [&](QPoint at) { move(at, Qt::LeftButton); };
    move(QPoint(32, 32), Qt::NoButton); // the cursor arrives before the click, as a hand's does
    QTest::mousePress(window.get(), Qt::LeftButton, {}, QPoint(32, 32));
    drag(QPoint(32, 33));
    drag(QPoint(32, 34));
    QTest::mouseRelease(window.get(), Qt::LeftButton, {}, QPoint(32, 34));
    EXPECT_NE(editor.GetSelection()[16 * 16 + 8], before);
    EXPECT_EQ(editor.GetSelection()[0], before); // far from the brush
    EXPECT_TRUE(core.HasDepthBeenEdited());
    EXPECT_EQ(Preview().GetLightPosition().x, light.x);
    EXPECT_EQ(Preview().GetLightPosition().y, light.y);

    core.UndoDepthCommand();
    EXPECT_EQ(editor.GetSelection()[16 * 16 + 8], before);
    core.SetDepthEditingState(false);
    EXPECT_FALSE(Preview().IsDepthEditMode());
}
