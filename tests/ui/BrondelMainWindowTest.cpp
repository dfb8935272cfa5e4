#include "ui/BrondelMainWindow.h"
#include "core/Image.h"
#include "preview/LightingPreview.h"
#include "processing/GenerationGuard.h"
#include "sets/BrondelCore.h"
#include "spine/SpineData.h"
#include "support/TestImages.h"
#include "ui/BrondelLogWindow.h"
#include "ui/CLIParamsHelper.h"
#include "ui/HelpWindow.h"
#include "ui/InspectionWindow.h"
#include "ui/UITestSupport.h"
#include "ui_BrondelMainWindow.h"

#include <QApplication>
#include <QCheckBox>
#include <QDir>
#include <QFile>
#include <QMimeData>
#include <QPlainTextEdit>
#include <QProcess>
#include <QProgressDialog>
#include <QPushButton>
#include <QTemporaryDir>
#include <QTest>
#include <QTextBrowser>
#include <QTimer>
#include <QUrl>

#include <gtest/gtest.h>

#include <thread>

namespace {
QByteArray MapBytes(const BrondelCore& core, ImageType type)
{
    const Image* image = core.GetCurrentBitmapByType(type);
    if (image == nullptr || image->GetColourPlane() == nullptr)
        return {};
    const QImage& plane = *image->GetColourPlane();
    return QByteArray(reinterpret_cast<const char*>(plane.constBits()), plane.sizeInBytes());
}

QStringList ComboEntries(const QComboBox* combo)
{
    QStringList entries;
    for (int i = 0; i < combo->count(); ++i)
        entries << combo->itemText(i);
    return entries;
}

class MainWindowTest : public testing::Test
{
protected:
    void SetUp() override
    {
        warningsBefore = SlotWarningCount();
        window = std::make_unique<BrondelMainWindow>();
        ui = window->GetUi();
        core = window->GetCore();
        // No person sits at the test: questions get "yes", messages are collected.
        window->questionAnswer = [this](const QString& text) {
            questions << text;
            return answer;
        };
        window->messageShown = [this](const QString& text, const QString&) { messages << text; };
        window->show();
    }

    void TearDown() override
    {
        window.reset();
        EXPECT_EQ(SlotWarningCount(), warningsBefore) << "a form object named by a slot is missing";
    }

    // Opens a private copy of the example set in place of the one loaded at start-up.
    void OpenExampleCopy()
    {
        core->ClearImageSets();
        window->LoadImageSets({example.File(QStringLiteral("Left"))});
        ASSERT_EQ(core->GetImageSetCount(), 1);
    }

    // Drops the files with the cursor over the widget, through the window's own drop handler.
    void DropOn(QWidget* target, const QStringList& files)
    {
        QList<QUrl> urls;
        for (const QString& file : files)
            urls << QUrl::fromLocalFile(file);
        QMimeData data;
        data.setUrls(urls);
        QCursor::setPos(target->mapToGlobal(target->rect().center()));
        QTest::qWait(20);
        const QPoint at = window->mapFromGlobal(QCursor::pos());
        // Qt delivers a drop only to the widget that accepted the drag's entry.
        QDragEnterEvent enter(at, Qt::MoveAction, &data, Qt::LeftButton, Qt::NoModifier);
        QApplication::sendEvent(window.get(), &enter);
        QDropEvent drop(QPointF(at), Qt::MoveAction, &data, Qt::LeftButton, Qt::NoModifier);
        QApplication::sendEvent(window.get(), &drop);
        EXPECT_EQ(QApplication::widgetAt(QCursor::pos()), target)
            << "the cursor could not be put on the target";
    }

    int warningsBefore = 0;
    ExampleCopy example;
    std::unique_ptr<BrondelMainWindow> window;
    Ui::BrondelMainWindow* ui = nullptr;
    BrondelCore* core = nullptr;
    bool answer = true;
    QStringList questions;
    QStringList messages;
};
} // namespace

TEST_F(MainWindowTest, StartsWithTheExampleSetAndTheFormAsDesigned)
{
    EXPECT_EQ(window->windowTitle(), QStringLiteral("Brondel"));
    QStringList tabs;
    for (int i = 0; i < ui->tabWidget->count(); ++i)
        tabs << ui->tabWidget->tabText(i);
    EXPECT_EQ(tabs,
              QStringList({QStringLiteral("Images"), QStringLiteral("Map Generation"),
                           QStringLiteral("Preview"), QStringLiteral("Palettes"), QStringLiteral("Spine"),
                           QStringLiteral("Depth editing"), QStringLiteral("Anisotropy")}));
    EXPECT_EQ(ComboEntries(ui->normalAlphaChooser),
              QStringList({QStringLiteral("Empty"), QStringLiteral("Opacity"), QStringLiteral("Depth")}));
    EXPECT_EQ(ComboEntries(ui->animationStyleChooser),
              QStringList({QStringLiteral("None (follow cursor)"), QStringLiteral("Vertical orbit"),
                           QStringLiteral("Horizontal orbit")}));
    EXPECT_EQ(ComboEntries(ui->shaderChooser),
              QStringList({QStringLiteral("Standard Phong"), QStringLiteral("Cel/palette shader"),
                           QStringLiteral("Phong/Ward anisotropic")}));
    EXPECT_EQ(
        ComboEntries(ui->anisotropyFormatChooser),
        QStringList({QStringLiteral("Standard vector format"), QStringLiteral("Angle-doubled vector format"),
                     QStringLiteral("Orientation angle format")}));
    EXPECT_FALSE(ui->normalCLIParams->isVisible());

    // The example head is open and shown on every label of its kinds; the arrows found their pictures.
    EXPECT_EQ(ui->imageSetList->count(), 1);
    EXPECT_FALSE(PreviewPicture(ui->diffuseMapPreview).isNull());
    EXPECT_FALSE(PreviewPicture(ui->diffuseMapPreviewPaletteTab).isNull());
    EXPECT_FALSE(PreviewPicture(ui->leftLightPreviewMapGen).isNull());
    EXPECT_FALSE(ui->dragDropArrow->pixmap().isNull());
    EXPECT_FALSE(ui->anisotropyDownArrow->pixmap().isNull());

    // Every label of a kind looks the kind up; anything else is "no kind".
    for (int type = 0; type < kImageTypeCount; ++type)
        for (QLabel* label : window->GetPreviewLabels(static_cast<ImageType>(type)))
            EXPECT_EQ(window->GetImageTypeFromWidget(label), type) << label->objectName().toStdString();
    EXPECT_EQ(window->GetImageTypeFromWidget(ui->loadImageSetButton), BrondelMainWindow::kNoImageType);
    EXPECT_EQ(window->GetImageTypeFromWidget(ui->depthMapPreviewDepthEditor), ImageType::Depth);
}

TEST_F(MainWindowTest, ControlsStartAtTheParameterTableDefaultsAndScaleIntoTheCore)
{
    const GenerationParameters defaults = InteractiveDefaults();
    EXPECT_EQ(ui->refinementStepsPicker->value(), defaults.depth.refinementSteps);
    EXPECT_EQ(ui->boxSizePicker->value(), defaults.ao.boxSize);
    EXPECT_DOUBLE_EQ(ui->bendNormalsPicker->value(), defaults.normals.bend);
    EXPECT_EQ(ui->lowFrequencyEmphasisSlider->value(), qRound(defaults.depth.lowFrequencyEmphasis * 20));

    ui->lowFrequencyEmphasisSlider->setSliderDown(true);
    ui->lowFrequencyEmphasisSlider->setSliderPosition(30);
    ui->lowFrequencyEmphasisSlider->setSliderDown(false);
    EXPECT_FLOAT_EQ(core->GetLowFrequencyEmphasis(), 1.5f);
    ui->aoFlatnessSlider->setValue(7);
    EXPECT_FLOAT_EQ(core->GetAOLightFlatness(), 0.7f);
    ui->anisotropyFormatChooser->setCurrentIndex(2);
    EXPECT_EQ(core->GetAnisotropyOutputType(), 2);
}

TEST_F(MainWindowTest, DialAndDirectionPickerFollowEachOther)
{
    auto moveDial = [this](int value) {
        ui->rotateNormalsDial->setSliderDown(true);
        ui->rotateNormalsDial->setSliderPosition(value);
        ui->rotateNormalsDial->setSliderDown(false);
    };
    moveDial(300);
    EXPECT_EQ(ui->rotateNormalsDirectionPicker->value(), 330);
    EXPECT_FLOAT_EQ(core->GetNormalRotationDirection(), 330.0f);
    moveDial(200);
    EXPECT_EQ(ui->rotateNormalsDirectionPicker->value(), 70);

    ui->rotateNormalsDirectionPicker->setValue(0);
    EXPECT_EQ(ui->rotateNormalsDial->value(), 270);
    ui->rotateNormalsDirectionPicker->setValue(300);
    EXPECT_EQ(ui->rotateNormalsDial->value(), 330);
}

TEST_F(MainWindowTest, FrameRatePickersDriveEachOther)
{
    ui->framesPerSecondPicker->setValue(3);
    EXPECT_EQ(ui->millisPerFramePicker->value(), 333);
    EXPECT_EQ(ui->framesPerSecondPicker->value(), 3);
    ui->millisPerFramePicker->setValue(50);
    EXPECT_EQ(ui->framesPerSecondPicker->value(), 20);
}

TEST_F(MainWindowTest, GeneratingThroughTheButtonsChangesThePreviews)
{
    OpenExampleCopy();
    const QImage normalBefore = PreviewPicture(ui->normalMapPreviewMapGen);
    const QImage depthBefore = PreviewPicture(ui->depthMapPreview);
    const QImage aoBefore = PreviewPicture(ui->aoMapPreviewMapGen);

    ui->generateNormalsButton->click();
    EXPECT_FALSE(window->IsGenerating());
    EXPECT_NE(PreviewPicture(ui->normalMapPreviewMapGen), normalBefore);
    EXPECT_TRUE(core->HasNonDefaultImageOfType(ImageType::Normal));
    ui->generateDepthButton->click();
    EXPECT_NE(PreviewPicture(ui->depthMapPreview), depthBefore);
    EXPECT_EQ(PreviewPicture(ui->depthMapPreview), PreviewPicture(ui->depthMapPreviewDepthEditor));
    ui->generateAoButton->click();
    EXPECT_NE(PreviewPicture(ui->aoMapPreviewMapGen), aoBefore);
    EXPECT_EQ(ui->imageSetList->currentRow(), 0);
    // The generators' progress lines reached the log window.
    EXPECT_TRUE(window->GetLogWindow()->GetText().contains(QStringLiteral("finished")));
    EXPECT_TRUE(messages.isEmpty()) << messages.join(QStringLiteral("\n")).toStdString();
}

TEST_F(MainWindowTest, CancellingALongDepthRunKeepsTheOldDepthMap)
{
    OpenExampleCopy();
    ui->generateNormalsButton->click();
    ui->generateDepthButton->click();
    const QByteArray depthBefore = MapBytes(*core, ImageType::Depth);
    const QImage previewBefore = PreviewPicture(ui->depthMapPreview);
    ASSERT_FALSE(depthBefore.isEmpty());

    ui->refinementStepsPicker->setValue(ui->refinementStepsPicker->maximum());
    bool sawDialog = false;
    QTimer poll;
    QObject::connect(&poll, &QTimer::timeout, [&] {
        auto* dialog = qobject_cast<QProgressDialog*>(QApplication::activeModalWidget());
        if (dialog == nullptr || !dialog->isVisible())
            return;
        sawDialog = true;
        if (QPushButton* cancel = dialog->findChild<QPushButton*>())
            cancel->click();
        poll.stop();
    });
    poll.start(50);
    ui->generateDepthButton->click();

    EXPECT_TRUE(sawDialog);
    EXPECT_EQ(questions.size(), 1) << "a run this long asks first";
    EXPECT_EQ(core->GetLastGenerationOutcome(), GenerationOutcome::Cancelled);
    EXPECT_EQ(MapBytes(*core, ImageType::Depth), depthBefore);
    EXPECT_EQ(PreviewPicture(ui->depthMapPreview), previewBefore);
    EXPECT_TRUE(ui->centralWidget->isEnabled());
}

TEST_F(MainWindowTest, AnsweringNoToTheLongRunQuestionGeneratesNothing)
{
    OpenExampleCopy();
    ui->generateNormalsButton->click();
    ui->refinementStepsPicker->setValue(ui->refinementStepsPicker->maximum());
    answer = false;
    ui->generateDepthButton->click();
    EXPECT_EQ(questions.size(), 1);
    EXPECT_FALSE(core->HasNonDefaultImageOfType(ImageType::Depth));
}

TEST_F(MainWindowTest, DropsLoadASlotUnderTheCursorOrWholeSets)
{
    OpenExampleCopy();
    ui->tabWidget->setCurrentWidget(ui->imagesTab);
    QTest::qWait(50);
    const QString first = example.File(QStringLiteral("Top"));
    DropOn(ui->normalMapPreview,
           {first, example.File(QStringLiteral("Left")), example.File(QStringLiteral("Right"))});
    EXPECT_EQ(core->GetImageSetCount(), 1);
    const QImage topFile(first);
    EXPECT_EQ(PreviewPicture(ui->normalMapPreview).convertToFormat(QImage::Format_RGB32),
              topFile.convertToFormat(QImage::Format_RGB32));

    // Anywhere else every file opens its set, in place of the open ones.
    QTemporaryDir other;
    QFile::copy(example.File(QStringLiteral("Left")), other.filePath(QStringLiteral("Other_Left.png")));
    DropOn(ui->loadImageSetButton,
           {other.filePath(QStringLiteral("Other_Left.png")), example.File(QStringLiteral("Left"))});
    EXPECT_EQ(core->GetImageSetCount(), 2);
    EXPECT_EQ(ui->imageSetList->count(), 2);

    // A file that belongs to no set is refused with a message and leaves the sets alone.
    QFile notes(other.filePath(QStringLiteral("notes.txt")));
    ASSERT_TRUE(notes.open(QIODevice::WriteOnly));
    notes.close();
    DropOn(ui->loadImageSetButton, {notes.fileName()});
    EXPECT_EQ(core->GetImageSetCount(), 2);
    EXPECT_EQ(messages.size(), 1);
}

TEST_F(MainWindowTest, SaveOutputSetAsksFirstAndSavesOnlyOnYes)
{
    OpenExampleCopy();
    ui->generateNormalsButton->click();
    const QString normalFile = example.File(QStringLiteral("Normal"));

    answer = false;
    ui->saveOutputSetButton->click();
    EXPECT_FALSE(QFile::exists(normalFile));
    EXPECT_EQ(ui->saveOutputSetButton->text(), QStringLiteral("Save output set"));

    answer = true;
    ui->saveOutputSetButton->click();
    EXPECT_TRUE(QFile::exists(normalFile));
    EXPECT_EQ(ui->saveOutputSetButton->text(), QStringLiteral("Saved!"));
    EXPECT_FALSE(ui->saveOutputSetButton->isEnabled());
    QTest::qWait(2400);
    EXPECT_EQ(ui->saveOutputSetButton->text(), QStringLiteral("Save output set"));
    EXPECT_TRUE(ui->saveOutputSetButton->isEnabled());
}

TEST_F(MainWindowTest, SaveButtonsRefuseMapsNotYetMadeAndHonourACancelledDialog)
{
    OpenExampleCopy();
    ui->saveAoButton->click();
    ASSERT_EQ(messages.size(), 1);
    EXPECT_EQ(messages.first(), QStringLiteral("You haven't created an AO map to save!"));

    ui->generateNormalsButton->click();
    QString proposed;
    window->saveFileAnswer = [&proposed](const QString& name) {
        proposed = name;
        return QString();
    };
    ui->saveNormalsButton->click();
    EXPECT_EQ(proposed, example.File(QStringLiteral("Normal")));
    EXPECT_FALSE(QFile::exists(proposed));
}

TEST_F(MainWindowTest, ParametersHelperCommandMakesTheSameFilesAsTheWindow)
{
    OpenExampleCopy();
    CLIParamsHelper* helper = window->GetParamsHelper();
    auto tickOnly = [helper](const char* name) {
        for (QCheckBox* check : helper->findChildren<QCheckBox*>())
            check->setChecked(false);
        helper->findChild<QCheckBox*>(QString::fromUtf8(name))->click();
        return helper->GetFinalCommand();
    };
    const QString aoCommand = tickOnly("saveAoCheck");
    EXPECT_TRUE(aoCommand.startsWith(QStringLiteral("BrondelCLI -source \"") +
                                     example.File(QStringLiteral("Diffuse"))));
    EXPECT_TRUE(aoCommand.contains(QString::fromStdString(core->GetNormalCLIParams())));
    EXPECT_TRUE(aoCommand.contains(QString::fromStdString(core->GetDepthCLIParams())));
    EXPECT_TRUE(aoCommand.contains(QString::fromStdString(core->GetAOCLIParams())));
    EXPECT_TRUE(aoCommand.endsWith(QStringLiteral("-aoSave ")));
    const QString indexCommand = tickOnly("saveIndexCheck");
    EXPECT_TRUE(indexCommand.contains(QString::fromStdString(core->GetPaletteCLIParams())));
    EXPECT_FALSE(indexCommand.contains(QString::fromStdString(core->GetNormalCLIParams())));
    EXPECT_TRUE(indexCommand.endsWith(QStringLiteral("-iSave ")));

    // Settings away from the defaults, then the window's own maps, saved as the output set.
    ui->boxSizePicker->setValue(7);
    ui->refinementStepsPicker->setValue(30);
    ui->bendNormalsPicker->setValue(1.5);
    const QString command = tickOnly("saveAoCheck");
    ui->generateNormalsButton->click();
    ui->generateDepthButton->click();
    ui->generateAoButton->click();
    for (QCheckBox* check :
         {ui->saveNormalCheck, ui->saveDepthCheck, ui->savePaletteCheck, ui->saveIndexCheck,
          ui->saveAnisotropyCheck, ui->saveNormalOpacityCheck, ui->saveNormalDepthCheck})
        check->setChecked(false);
    ui->saveAoCheck->setChecked(true);
    ui->saveOutputSetButton->click();
    const QString aoFile = example.File(QStringLiteral("AO"));
    const QByteArray windowBytes = ReadBytes(aoFile);
    ASSERT_FALSE(windowBytes.isEmpty());
    QFile::remove(aoFile);

    // The command as an artist would paste it into a shell.
    QString shellCommand = command;
    shellCommand.replace(0, QStringLiteral("BrondelCLI").size(), QStringLiteral(BRONDEL_CLI_PATH));
    QProcess shell;
    shell.start(QStringLiteral("/bin/sh"), {QStringLiteral("-c"), shellCommand});
    ASSERT_TRUE(shell.waitForFinished(60000));
    EXPECT_EQ(shell.exitCode(), 0) << shell.readAllStandardError().toStdString();
    EXPECT_EQ(ReadBytes(aoFile), windowBytes);
}

TEST_F(MainWindowTest, HelpButtonsOpenTheManualAtTheirSection)
{
    const std::pair<QAbstractButton*, const char*> buttons[] = {
        {ui->imagesTabHelpButton, "imagesTab"},
        {ui->normalMapGenHelpButton, "normalMapParams"},
        {ui->depthMapGenHelpButton, "depthMapParams"},
        {ui->aoMapGenHelpButton, "aoMapParams"},
        {ui->lightSetttingsHelpButton, "lightingParameters"},
        {ui->shaderSettingsHelpButton, "shaderParameters"},
        {ui->geometrySettingsHelpButton, "geometryParameters"},
        {ui->paletteTabHelpButton, "paletteTab"},
        {ui->spineTabHelpButton, "spineTab"},
        {ui->depthEditHelpButton, "depthEditingTab"},
        {ui->anisotropyHelpButton, "anisotropyTab"},
        {ui->lightingPreviewHelpButton, "previewWindow"},
    };
    const QByteArray manual =
        ReadBytes(QStringLiteral(BRONDEL_BUILD_RESOURCE_DIR "HTMLHelp/BrondelManual.html"));
    HelpWindow* help = window->GetHelpWindow();
    for (const auto& [button, anchor] : buttons)
    {
        button->click();
        EXPECT_TRUE(help->isVisible());
        EXPECT_EQ(help->GetAnchor(), QString::fromUtf8(anchor));
        // The browser scrolls only to named anchors.
        EXPECT_TRUE(manual.contains(QByteArray("<a name=\"") + anchor + "\">")) << anchor;
    }
    EXPECT_TRUE(help->GetDisplay()->toPlainText().contains(QStringLiteral("Depth editing tab")));
    help->close();
}

TEST_F(MainWindowTest, LogLinesFromAnyThreadReachTheLogAndClearEmptiesIt)
{
    BrondelLogWindow* log = window->GetLogWindow();
    log->findChild<QPushButton*>(QStringLiteral("clearButton"))->click();
    EXPECT_TRUE(log->GetText().isEmpty());
    std::thread worker([&log] { log->AppendLine("from a worker"); });
    worker.join();
    log->AppendLine("from the window");
    QCoreApplication::processEvents();
    EXPECT_EQ(log->GetText(), QStringLiteral("from a worker\nfrom the window"));
}

TEST(InspectionWindowTest, WidthIsWholeWidthsPerHeight)
{
    EXPECT_EQ(InspectionWindow::WidthFor(300, 200), 500);
    EXPECT_EQ(InspectionWindow::WidthFor(1000, 200), 2500);
    EXPECT_EQ(InspectionWindow::WidthFor(100, 200), 0);
}

TEST_F(MainWindowTest, LightControlsScaleIntoTheRenderer)
{
    LightingPreview* preview = core->GetLightingPreviewPointer();
    ui->lightZPosSlider->setValue(0);
    EXPECT_FLOAT_EQ(preview->GetLightZPosition(), 1.0f);
    ui->lightZPosSlider->setValue(50);
    EXPECT_FLOAT_EQ(preview->GetLightZPosition(), 0.0f);
    ui->lightZPosSlider->setValue(100);
    EXPECT_FLOAT_EQ(preview->GetLightZPosition(), -1.0f);

    ui->animationStyleChooser->setCurrentIndex(2);
    emit ui->animationStyleChooser->activated(2);
    EXPECT_EQ(ui->lightZPosLabel->text(), QStringLiteral("Light Y position"));
    ui->lockAmbientLightingCheck->setChecked(true);
    EXPECT_FALSE(ui->lowerAmbientColourButton->isEnabled());
}

TEST_F(MainWindowTest, AnimatingOneSetKeepsSelectingIt)
{
    ui->imageSetAnimateCheckbox->setChecked(true);
    window->AdvanceFrame();
    window->AdvanceFrame();
    EXPECT_EQ(ui->imageSetList->currentRow(), 0);
    EXPECT_EQ(core->GetCurrentIndex(), 0);
}

TEST(BrondelExecutableTest, VersionAndHelpNeedNoDisplay)
{
    QProcess brondel;
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.remove(QStringLiteral("DISPLAY"));
    environment.remove(QStringLiteral("WAYLAND_DISPLAY"));
    brondel.setProcessEnvironment(environment);
    brondel.start(QStringLiteral(BRONDEL_GUI_PATH), {QStringLiteral("--version")});
    ASSERT_TRUE(brondel.waitForFinished(10000));
    EXPECT_EQ(brondel.exitCode(), 0);
    EXPECT_TRUE(brondel.readAllStandardOutput().startsWith("Brondel "));
    brondel.start(QStringLiteral(BRONDEL_GUI_PATH), {QStringLiteral("--help")});
    ASSERT_TRUE(brondel.waitForFinished(10000));
    EXPECT_EQ(brondel.exitCode(), 0);
    EXPECT_TRUE(brondel.readAllStandardOutput().contains("FILE..."));
}

// The Spine tab: a skeleton opened shows in the preview with its animations and skins in the
// selectors, the selectors and speed drive it, and clearing takes it away; a bad file says so.
TEST_F(MainWindowTest, TheSpineTabShowsPlaysAndClearsASkeleton)
{
    QTemporaryDir folder;
    const auto write = [&](const char* name, const char* text) {
        QFile file(folder.filePath(QString::fromUtf8(name)));
        ASSERT_TRUE(file.open(QIODevice::WriteOnly));
        file.write(text);
    };
    ASSERT_TRUE(
        QImage(16, 16, QImage::Format_ARGB32).save(folder.filePath(QStringLiteral("page_Diffuse.png"))));
    write("bar.atlas",
          "page.png\nsize: 16,16\nbar\n  xy: 0, 0\n  size: 16, 16\n  orig: 16, 16\n  offset: 0, 0\n"
          "  rotate: false\n");
    write("bar.json", R"({"skeleton":{"spine":"3.8.99"},"bones":[{"name":"root"}],
        "slots":[{"name":"bar","bone":"root","attachment":"bar"}],
        "skins":[{"name":"default","attachments":{"bar":{"bar":{"width":1000,"height":250}}}},
                 {"name":"armour","attachments":{}}],
        "animations":{"rest":{},"turn":{"bones":{"root":{"rotate":[{"angle":0},{"time":1,"angle":90}]}}}}})");

    window->OpenSpineFile(folder.filePath(QStringLiteral("bar.json")));
    LightingPreview& preview = *core->GetLightingPreviewPointer();
    ASSERT_NE(preview.GetSpineObject(), nullptr);
    EXPECT_TRUE(messages.isEmpty()) << messages.join(QStringLiteral("; ")).toStdString();
    ASSERT_EQ(ui->spineAnimationSelector->count(), 2);
    EXPECT_EQ(ui->spineAnimationSelector->itemText(1), QStringLiteral("turn"));
    ASSERT_EQ(ui->spineSkinSelector->count(), 2);
    EXPECT_EQ(ui->spineSkinSelector->itemText(1), QStringLiteral("armour"));

    ui->spineAnimationSpeedSlider->setValue(20);
    ui->spineAnimationBackwardsCheck->setChecked(true);
    EXPECT_TRUE(preview.GetSpineObject()->IsPlayingBackwards());
    // The slider's tenths, then the per-millisecond scale the frame clock needs.
    EXPECT_FLOAT_EQ(preview.GetSpineObject()->GetPlaybackSpeed(), 2.0f * 0.001f);

    ui->clearSpineFileButton->click();
    EXPECT_EQ(preview.GetSpineObject(), nullptr);
    EXPECT_EQ(ui->spineAnimationSelector->count(), 0);

    write("broken.json", "{\"bones\": [");
    window->OpenSpineFile(folder.filePath(QStringLiteral("broken.json")));
    ASSERT_EQ(messages.size(), 1);
    EXPECT_TRUE(messages[0].contains(QStringLiteral("broken.json")));
}

// Correcting a depth map by hand in the real window: a stroke painted in the viewport selects, moving
// the selection forward changes the depth preview, and Ctrl+Z puts the depth back.
TEST_F(MainWindowTest, AStrokeInTheViewportThenAShiftEditsTheDepthAndCtrlZUndoesIt)
{
    OpenExampleCopy();
    ui->refinementStepsPicker->setValue(10);
    ui->generateNormalsButton->click();
    ui->generateDepthButton->click();
    ASSERT_TRUE(core->HasDepthEditor());
    const Image depthBefore = *core->GetCurrentBitmapByType(ImageType::Depth);
    const QImage previewBefore = PreviewPicture(ui->depthMapPreviewDepthEditor);

    ui->editDepthCheck->setChecked(true);
    EXPECT_TRUE(core->IsDepthEditing());
    EXPECT_EQ(core->GetLightingPreviewPointer()->GetSelectedShader(), ShaderEnums::DepthEditing);
    ui->solidPaintingRadiusPicker->setValue(12);
    ui->addSelectionRadio->click();

    // A short stroke across the middle of the head, the cursor arriving first as a hand's does.
    QWidget* viewport = ui->lightingPreviewWindow;
    const QPoint middle(viewport->width() / 2, viewport->height() / 2);
    const auto move = [&](QPoint at, Qt::MouseButtons held) {
        QMouseEvent event(QEvent::MouseMove, at, viewport->mapToGlobal(at), Qt::NoButton, held,
                          Qt::NoModifier);
        QApplication::sendEvent(viewport, &event);
    };
    move(middle, Qt::NoButton);
    QTest::mousePress(viewport, Qt::LeftButton, {}, middle);
    for (int step = 1; step <= 4; ++step)
        move(middle + QPoint(4 * step, 0), Qt::LeftButton);
    QTest::mouseRelease(viewport, Qt::LeftButton, {}, middle + QPoint(16, 0));

    ui->depthMovementSlider->setValue(ui->depthMovementSlider->maximum());
    ui->moveSelectionForwardButton->click();
    EXPECT_FALSE(SameBytes(*core->GetCurrentBitmapByType(ImageType::Depth), depthBefore));
    EXPECT_NE(PreviewPicture(ui->depthMapPreviewDepthEditor), previewBefore);

    // Shortcuts reach only the active window.
    window->activateWindow();
    ASSERT_TRUE(QTest::qWaitForWindowActive(window.get()));
    QTest::keyClick(window.get(), Qt::Key_Z, Qt::ControlModifier);
    EXPECT_TRUE(SameBytes(*core->GetCurrentBitmapByType(ImageType::Depth), depthBefore));
    EXPECT_EQ(PreviewPicture(ui->depthMapPreviewDepthEditor), previewBefore);

    ui->editDepthCheck->setChecked(false);
    EXPECT_EQ(core->GetLightingPreviewPointer()->GetSelectedShader(), ui->shaderChooser->currentIndex());
    EXPECT_TRUE(messages.isEmpty()) << messages.join(QStringLiteral("\n")).toStdString();
}
