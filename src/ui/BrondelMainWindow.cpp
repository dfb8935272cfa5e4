#include "ui/BrondelMainWindow.h"

#include "core/Image.h"
#include "core/ResourceFolder.h"
#include "preview/LightingPreview.h"
#include "sets/BrondelCore.h"
#include "spine/SpineData.h"
#include "ui/BrondelLogWindow.h"
#include "ui/CLIParamsHelper.h"
#include "ui/HelpWindow.h"
#include "ui/InspectionWindow.h"
#include "ui_BrondelMainWindow.h"

#include <QApplication>
#include <QCloseEvent>
#include <QCursor>
#include <QDragEnterEvent>
#include <QDropEvent>
#include <QFileDialog>
#include <QFileInfo>
#include <QMenu>
#include <QMessageBox>
#include <QMimeData>
#include <QSettings>
#include <QShortcut>
#include <QThread>
#include <QTimer>
#include <QUrl>

namespace {
QString ToQString(const std::string& text)
{
    return QString::fromStdString(text);
}

const QString kImageFilter = QStringLiteral("Image Files (*.png *.jpg *.bmp)");
// More than this many dropped files are ignored: a stray drop of a whole folder should not open
// hundreds of sets.
constexpr int kMaxDroppedFiles = 32;
constexpr int kSavedStateMilliseconds = 2000;
} // namespace

BrondelMainWindow::BrondelMainWindow(QWidget* parent)
    : QMainWindow(parent), core(std::make_unique<BrondelCore>(FindResourceFolder())),
      ui(new Ui::BrondelMainWindow)
{
    ui->setupUi(this);

    ui->normalAlphaChooser->addItems(
        {QStringLiteral("Empty"), QStringLiteral("Opacity"), QStringLiteral("Depth")});
    ui->animationStyleChooser->addItems({QStringLiteral("None (follow cursor)"),
                                         QStringLiteral("Vertical orbit"),
                                         QStringLiteral("Horizontal orbit")});
    ui->shaderChooser->addItems({QStringLiteral("Standard Phong"), QStringLiteral("Cel/palette shader"),
                                 QStringLiteral("Phong/Ward anisotropic")});
    // Filled while the core's defaults are not yet pushed, so the index change reaches nothing twice.
    {
        const QSignalBlocker block(ui->anisotropyFormatChooser);
        ui->anisotropyFormatChooser->addItems({QStringLiteral("Standard vector format"),
                                               QStringLiteral("Angle-doubled vector format"),
                                               QStringLiteral("Orientation angle format")});
    }

    // The per-set batch buttons are superseded by the parameters helper, which shows the whole command.
    for (QWidget* button :
         {static_cast<QWidget*>(ui->normalCLIParams), static_cast<QWidget*>(ui->depthCLIParams),
          static_cast<QWidget*>(ui->aoCLIParams), static_cast<QWidget*>(ui->paletteCLIParams),
          static_cast<QWidget*>(ui->anisotropyCLIParams)})
        button->hide();

    const QString root = ToQString(core->GetRootPath());
    downLeftArrow.load(root + QStringLiteral("UIArrows/DownLeftArrow.png"));
    leftUpArrow.load(root + QStringLiteral("UIArrows/LeftUpArrow.png"));
    rightArrow.load(root + QStringLiteral("UIArrows/RightArrow.png"));
    longRightArrow.load(root + QStringLiteral("UIArrows/LongRightArrow.png"));
    upArrow.load(root + QStringLiteral("UIArrows/UpArrow.png"));

    previewMenu = new QMenu(this);
    previewMenu->addAction(QStringLiteral("Load from file"));
    previewMenu->addAction(QStringLiteral("Examine image"));
    previewMenu->addAction(QStringLiteral("Clear image"));

    ui->lightingPreviewWindow->SetRenderer(core->GetLightingPreviewPointer());
    ui->lightingPreviewWindow->SetCore(core.get());

    InstallCoreCallbacks();
    BuildPreviewBoxes();
    InitialiseGenerationControls();

    // The log window exists before the first load, so the example set's lines are in it.
    helpWindow = new HelpWindow(this);
    logWindow = new BrondelLogWindow(this);
    core->SetLog(LogOutput(logWindow));
    paramsHelper = new CLIParamsHelper(this);
    paramsHelper->SetCore(core.get());

    InitialiseLightingSettings(false);
    core->LoadDefaultSet();
    paramsHelper->Refresh();

    // The depth editor's undo and redo are placed here; their behaviour arrives with the depth editor.
    auto* undo = new QShortcut(QKeySequence(QStringLiteral("Ctrl+Z")), this);
    auto* redo = new QShortcut(QKeySequence(QStringLiteral("Ctrl+Y")), this);
    connect(undo, &QShortcut::activated, ui->depthUndoButton, &QPushButton::click);
    connect(redo, &QShortcut::activated, ui->depthRedoButton, &QPushButton::click);

    frameTimer = new QTimer(this);
    frameTimer->setInterval(100);
    connect(frameTimer, &QTimer::timeout, this, &BrondelMainWindow::AdvanceFrame);
    saveButtonTimer = new QTimer(this);
    connect(saveButtonTimer, &QTimer::timeout, this, &BrondelMainWindow::ReenableSaveButton);

    PlaceArrows();

    QSettings settings;
    restoreGeometry(settings.value(QStringLiteral("window/geometry")).toByteArray());
}

BrondelMainWindow::~BrondelMainWindow()
{
    // The widgets go first: the preview widget frees its textures through the renderer the core owns.
    delete centralWidget();
    delete ui;
    ui = nullptr;
    core->SetLog(LogOutput());
    core.reset();
}

void BrondelMainWindow::closeEvent(QCloseEvent* event)
{
    if (generating)
    {
        event->ignore();
        return;
    }
    QSettings settings;
    settings.setValue(QStringLiteral("window/geometry"), saveGeometry());
    QMainWindow::closeEvent(event);
}

void BrondelMainWindow::OnGuiThread(const std::function<void()>& action)
{
    if (QThread::currentThread() == thread())
        action();
    else
        // The worker waits, so the message it raised is seen before it carries on, in its order.
        QMetaObject::invokeMethod(this, action, Qt::BlockingQueuedConnection);
}

void BrondelMainWindow::InstallCoreCallbacks()
{
    core->SetMessageCallback([this](std::string text, std::string caption) {
        OnGuiThread([&] { ShowMessageBox(text, caption); });
    });
    // During a generation the maps are half written: the previews are refreshed once it has ended.
    core->SetRefreshCallback([this] {
        if (QThread::currentThread() != thread())
            previewsStale = true;
        else
            UpdateAllImagePreviews();
    });
    core->SetImageChangedCallback([this](ImageType type) {
        if (QThread::currentThread() != thread())
            previewsStale = true;
        else
            UpdateImagePreviewByType(type);
    });
    core->SetSetListChangedCallback(
        [this](std::vector<std::string> names) { OnGuiThread([&] { UpdateImageSetSelectors(names); }); });
}

void BrondelMainWindow::BuildPreviewBoxes()
{
    const auto& u = *ui;
    previewBoxes = {
        {ImageType::Top, {u.topLightPreview, u.topLightPreviewMapGen}},
        {ImageType::Bottom, {u.bottomLightPreview, u.bottomLightPreviewMapGen}},
        {ImageType::Left, {u.leftLightPreview, u.leftLightPreviewMapGen}},
        {ImageType::Right, {u.rightLightPreview, u.rightLightPreviewMapGen}},
        {ImageType::Front, {u.frontLightPreview, u.frontLightPreviewMapGen}},
        {ImageType::Diffuse, {u.diffuseMapPreview, u.diffuseMapPreviewPaletteTab}},
        {ImageType::Specular, {u.specularMapPreview}},
        {ImageType::Emissive, {u.emissiveMapPreview}},
        {ImageType::Silhouette, {u.silhouetteMapPreview, u.silhouettePreviewDepthEditor}},
        {ImageType::Flow, {u.flowMapPreview, u.flowMapPreviewAnisotropyTab}},
        {ImageType::Palette, {u.paletteMapPreview, u.palettePreviewPalettesTab}},
        {ImageType::Normal, {u.normalMapPreview, u.normalMapPreviewMapGen}},
        {ImageType::Depth, {u.depthMapPreview, u.depthMapPreviewMapGen, u.depthMapPreviewDepthEditor}},
        {ImageType::NormalDepth, {}},
        {ImageType::NormalOpacity, {}},
        {ImageType::AO, {u.aoMapPreview, u.aoMapPreviewMapGen}},
        {ImageType::Aniso, {u.anisotropyMapPreview, u.anisotropyMapPreviewAnisotropyTab}},
        {ImageType::Index, {u.indexMapPreview, u.indexPreviewPalettesTab}},
    };
}

void BrondelMainWindow::PlaceArrows()
{
    const QPixmap right = QPixmap::fromImage(rightArrow);
    for (QLabel* label : {ui->lightProfilesToNormalsArrow, ui->normalPreviewToDepthArrow,
                          ui->paletteRightArrow1, ui->paletteRightArrow2, ui->paletteRightArrow3,
                          ui->anisotropyRightArrow1, ui->anisotropyRightArrow2, ui->dragDropArrow})
        label->setPixmap(right);
    ui->normalToPreviewArrow->setPixmap(QPixmap::fromImage(downLeftArrow));
    ui->depthToPreviewArrow->setPixmap(QPixmap::fromImage(rightArrow.mirrored(true, false)));
    ui->depthToAoArrow->setPixmap(QPixmap::fromImage(longRightArrow));
    ui->aoToPreviewArrow->setPixmap(QPixmap::fromImage(longRightArrow.mirrored(true, false)));
    const QPixmap down = QPixmap::fromImage(upArrow.mirrored(false, true));
    for (QLabel* label : {ui->paletteDownArrow1, ui->paletteDownArrow2, ui->paletteDownArrow3,
                          ui->paletteDownArrow4, ui->anisotropyDownArrow})
        label->setPixmap(down);
    ui->anisotropyUpArrow->setPixmap(QPixmap::fromImage(upArrow));
}

const std::vector<QLabel*>& BrondelMainWindow::GetPreviewLabels(ImageType type) const
{
    return previewBoxes.at(type);
}

int BrondelMainWindow::GetImageTypeFromWidget(const QWidget* widget) const
{
    for (const auto& [type, labels] : previewBoxes)
        for (const QLabel* label : labels)
            if (label == widget)
                return type;
    return kNoImageType;
}

// --- Previews and the set list

void BrondelMainWindow::UpdateImagePreviewByType(ImageType type)
{
    const Image* image = core->GetCurrentBitmapByType(type);
    if (image == nullptr || image->GetColourPlane() == nullptr)
        return;
    const auto& labels = previewBoxes[type];
    if (labels.empty())
        return;
    const QPixmap pixmap = QPixmap::fromImage(*image->GetColourPlane());
    for (QLabel* label : labels)
        label->setPixmap(pixmap);
}

void BrondelMainWindow::UpdateAllImagePreviews()
{
    for (int type = 0; type < kImageTypeCount; ++type)
        UpdateImagePreviewByType(static_cast<ImageType>(type));
}

void BrondelMainWindow::UpdateImageSetSelectors(const std::vector<std::string>& names)
{
    ui->imageSetList->clear();
    for (const std::string& name : names)
        ui->imageSetList->addItem(ToQString(name));
}

void BrondelMainWindow::UpdateSpineSelectors(const std::vector<std::string>& animations,
                                             const std::vector<std::string>& skins)
{
    ui->spineAnimationSelector->clear();
    ui->spineSkinSelector->clear();
    for (const std::string& name : animations)
        ui->spineAnimationSelector->addItem(ToQString(name));
    for (const std::string& name : skins)
        ui->spineSkinSelector->addItem(ToQString(name));
}

void BrondelMainWindow::ShowMessageBox(const std::string& text, const std::string& title)
{
    if (messageShown)
    {
        messageShown(ToQString(text), ToQString(title));
        return;
    }
    QMessageBox::information(this, ToQString(title), ToQString(text), QMessageBox::Ok);
}

bool BrondelMainWindow::MessageBoxYesNo(const std::string& text, const std::string& title)
{
    if (questionAnswer)
        return questionAnswer(ToQString(text));
    QMessageBox box(QMessageBox::Question, ToQString(title), ToQString(text),
                    QMessageBox::Yes | QMessageBox::No, this);
    box.setDefaultButton(QMessageBox::Yes);
    box.setEscapeButton(QMessageBox::No);
    return box.exec() == QMessageBox::Yes;
}

QString BrondelMainWindow::AskSaveFilename(const QString& title, const QString& filter,
                                           const QString& proposed)
{
    if (saveFileAnswer)
        return saveFileAnswer(proposed);
    return QFileDialog::getSaveFileName(this, title, proposed, filter);
}

void BrondelMainWindow::ReselectCurrentSet()
{
    const int row = ui->imageSetList->currentRow();
    core->SelectImageSet(row < 0 ? core->GetCurrentIndex() : row);
    UpdateAllImagePreviews();
}

// --- Loading

void BrondelMainWindow::LoadImageSets(const QStringList& filenames)
{
    if (filenames.isEmpty() || generating)
        return;
    std::vector<std::string> names;
    for (const QString& name : filenames)
        names.push_back(name.toStdString());
    core->LoadMultipleImageSets(names);
    if (ui->imageSetList->count() > 0)
        ui->imageSetList->setCurrentRow(0);
    core->SelectImageSet(0);
    UpdateAllImagePreviews();
    paramsHelper->RefreshSaveParams();
}

void BrondelMainWindow::on_loadImageSetButton_clicked()
{
    QSettings settings;
    const QString folder = settings.value(QStringLiteral("files/lastFolder")).toString();
    const QStringList files =
        QFileDialog::getOpenFileNames(this, QStringLiteral("Open Images"), folder, kImageFilter);
    if (files.isEmpty())
        return;
    settings.setValue(QStringLiteral("files/lastFolder"), QFileInfo(files.first()).absolutePath());
    LoadImageSets(files);
}

void BrondelMainWindow::LoadDroppedFiles(const QStringList& filenames, QWidget* target)
{
    if (filenames.isEmpty() || generating)
        return;
    const QStringList kept = filenames.mid(0, kMaxDroppedFiles);
    const int type = GetImageTypeFromWidget(target);
    if (type == kNoImageType)
    {
        LoadImageSets(kept);
        return;
    }
    core->LoadImageOfType(kept.first().toStdString(), static_cast<ImageType>(type));
    UpdateImagePreviewByType(static_cast<ImageType>(type));
}

void BrondelMainWindow::dragEnterEvent(QDragEnterEvent* event)
{
    event->setDropAction(Qt::MoveAction);
    event->accept();
}

void BrondelMainWindow::dropEvent(QDropEvent* event)
{
    if (!event->mimeData()->hasUrls())
        return;
    QStringList files;
    for (const QUrl& url : event->mimeData()->urls())
        if (url.isLocalFile())
            files.append(url.toLocalFile());
    LoadDroppedFiles(files, QApplication::widgetAt(QCursor::pos()));
}

void BrondelMainWindow::mousePressEvent(QMouseEvent* event)
{
    if (event->button() != Qt::RightButton || generating)
        return;
    const int kind = GetImageTypeFromWidget(QApplication::widgetAt(QCursor::pos()));
    if (kind == kNoImageType)
        return;
    const auto type = static_cast<ImageType>(kind);
    const QAction* chosen = previewMenu->exec(QCursor::pos());
    if (chosen == nullptr)
        return;
    if (chosen->text() == QStringLiteral("Load from file"))
    {
        const QString file =
            QFileDialog::getOpenFileName(this, QStringLiteral("Open Image"), QString(), kImageFilter);
        if (!file.isEmpty())
        {
            core->LoadImageOfType(file.toStdString(), type);
            UpdateImagePreviewByType(type);
        }
    }
    else if (chosen->text() == QStringLiteral("Examine image"))
    {
        auto* inspection = new InspectionWindow(this);
        inspection->setAttribute(Qt::WA_DeleteOnClose);
        if (const Image* image = core->GetCurrentBitmapByType(type))
            inspection->SetImage(*image);
        inspection->show();
    }
    else if (chosen->text() == QStringLiteral("Clear image"))
    {
        core->LoadDefaultImageOfType(type);
        UpdateImagePreviewByType(type);
    }
}

// --- The set list and its animation

void BrondelMainWindow::on_imageSetList_clicked()
{
    core->SelectImageSet(ui->imageSetList->currentRow());
    UpdateAllImagePreviews();
    if (paramsHelper != nullptr)
        paramsHelper->RefreshSaveParams();
}

void BrondelMainWindow::on_imageSetAnimateCheckbox_toggled(bool on)
{
    if (on)
        frameTimer->start(ui->millisPerFramePicker->value());
    else
        frameTimer->stop();
}

void BrondelMainWindow::on_framesPerSecondPicker_valueChanged(int fps)
{
    ui->millisPerFramePicker->setValue(1000 / fps);
}

void BrondelMainWindow::on_millisPerFramePicker_valueChanged(int milliseconds)
{
    ui->framesPerSecondPicker->setValue(1000 / milliseconds);
    if (frameTimer != nullptr)
        frameTimer->setInterval(ui->millisPerFramePicker->value());
}

void BrondelMainWindow::AdvanceFrame()
{
    const int count = ui->imageSetList->count();
    if (count == 0 || generating)
        return;
    const int row = ui->imageSetList->currentRow();
    ui->imageSetList->setCurrentRow(row >= count - 1 ? 0 : row + 1);
    core->SelectImageSet(ui->imageSetList->currentRow());
    UpdateAllImagePreviews();
}

// --- Saving the output set

void BrondelMainWindow::on_saveOutputSetButton_clicked()
{
    if (!MessageBoxYesNo(
            "This will save all the outputs that you've generated, with their default names. It will "
            "overwrite existing files with the same if there are any. Are you sure this is what you "
            "want?",
            "Save image set output?"))
        return;
    if (ui->saveAllOutputSetsCheck->isChecked())
    {
        for (int row = 0; row < ui->imageSetList->count(); ++row)
        {
            core->SelectImageSet(row);
            SaveImageSet();
        }
    }
    else
        SaveImageSet();
    ReselectCurrentSet();

    ui->saveOutputSetButton->setText(QStringLiteral("Saved!"));
    ui->saveOutputSetButton->setEnabled(false);
    saveButtonTimer->start(kSavedStateMilliseconds);
}

void BrondelMainWindow::SaveImageSet()
{
    const std::pair<QCheckBox*, ImageType> saves[] = {
        {ui->saveNormalCheck, ImageType::Normal},
        {ui->saveDepthCheck, ImageType::Depth},
        {ui->saveAoCheck, ImageType::AO},
        {ui->savePaletteCheck, ImageType::Palette},
        {ui->saveIndexCheck, ImageType::Index},
        {ui->saveAnisotropyCheck, ImageType::Aniso},
        {ui->saveNormalOpacityCheck, ImageType::NormalOpacity},
        {ui->saveNormalDepthCheck, ImageType::NormalDepth},
    };
    for (const auto& [check, type] : saves)
        if (check->isChecked())
            core->SaveCurrentImageByType(type);
}

void BrondelMainWindow::ReenableSaveButton()
{
    ui->saveOutputSetButton->setText(QStringLiteral("Save output set"));
    ui->saveOutputSetButton->setEnabled(true);
    saveButtonTimer->stop();
}

// --- Spine skeletons: the preview draws the skeleton in place of the sprite, lit with its page's maps.

void BrondelMainWindow::on_openSpineFileButton_clicked()
{
    const QString file = QFileDialog::getOpenFileName(this, QStringLiteral("Open Spine File"), QString(),
                                                      QStringLiteral("Spine JSON (*.json)"));
    if (!file.isEmpty())
        OpenSpineFile(file);
}

void BrondelMainWindow::OpenSpineFile(const QString& file)
{
    core->LoadSpineFile(file.toStdString());
    const SpineData* spine = core->GetLightingPreviewPointer()->GetSpineObject();
    if (spine == nullptr)
        return;
    UpdateSpineSelectors(spine->GetAnimationNames(), spine->GetSkinNames());
    // A skeleton that would not load leaves an empty object behind; the log says why.
    if (!spine->IsLoaded())
        ShowMessageBox("Couldn't load the Spine skeleton \"" + file.toStdString() +
                           "\". The log window says what went wrong.",
                       "Spine");
    else
        core->SetSpinePlaybackSpeed(static_cast<float>(ui->spineAnimationSpeedSlider->value()) * 0.1f);
}

void BrondelMainWindow::on_clearSpineFileButton_clicked()
{
    core->ClearSpineObject();
    UpdateSpineSelectors({}, {});
}

void BrondelMainWindow::on_spineAnimationSelector_activated(int index)
{
    core->PlaySpineAnimation(ui->spineAnimationSelector->itemText(index).toStdString());
}

void BrondelMainWindow::on_spineSkinSelector_activated(int index)
{
    core->SwitchToSpineSkin(ui->spineSkinSelector->itemText(index).toStdString());
}

void BrondelMainWindow::on_spineAnimationSpeedSlider_valueChanged(int value)
{
    core->SetSpinePlaybackSpeed(static_cast<float>(value) * 0.1f);
}

void BrondelMainWindow::on_spineAnimationBackwardsCheck_toggled(bool backwards)
{
    core->SetSpinePlayingBackwards(backwards);
}
