#include "ui/BrondelMainWindow.h"

#include "preview/LightingPreview.h"
#include "sets/BrondelCore.h"
#include "sets/GenerationParameters.h"
#include "ui/BrondelLogWindow.h"
#include "ui/CLIParamsHelper.h"
#include "ui/HelpWindow.h"
#include "ui_BrondelMainWindow.h"

#include <QColorDialog>
#include <QMessageBox>

#include <cmath>

// Every slot here turns one widget value into one core setting, with the scaling the control's range
// was built for in InitialiseGenerationControls.

namespace {
const ParameterDescription& Describe(GenerationParameter id)
{
    return DescribeParameter(id);
}

void Range(QSpinBox* box, GenerationParameter id)
{
    const ParameterDescription& d = Describe(id);
    box->setRange(static_cast<int>(d.minimum), static_cast<int>(d.maximum));
    box->setValue(static_cast<int>(d.interactiveDefault));
}

void Range(QDoubleSpinBox* box, GenerationParameter id, int decimals, double step)
{
    const ParameterDescription& d = Describe(id);
    box->setDecimals(decimals);
    box->setSingleStep(step);
    box->setRange(d.minimum, d.maximum);
    box->setValue(d.interactiveDefault);
}

// A slider holds the parameter times `scale` as an int.
void Range(QSlider* slider, GenerationParameter id, double scale)
{
    const ParameterDescription& d = Describe(id);
    slider->setRange(static_cast<int>(std::lround(d.minimum * scale)),
                     static_cast<int>(std::lround(d.maximum * scale)));
    slider->setValue(static_cast<int>(std::lround(d.interactiveDefault * scale)));
}

void Flag(QCheckBox* check, GenerationParameter id)
{
    check->setChecked(Describe(id).interactiveDefault != 0.0);
}

Colour Scaled(Colour colour, double multiplier)
{
    colour *= static_cast<float>(multiplier);
    return colour;
}

QColor ToQColor(const Colour& c)
{
    return QColor::fromRgbF(c.r, c.g, c.b, 1.0f);
}

void PaintButton(QWidget* button, const Colour& colour)
{
    button->setStyleSheet(QStringLiteral("background-color: %1").arg(ToQColor(colour).name()));
}
} // namespace

void BrondelMainWindow::InitialiseGenerationControls()
{
    using P = GenerationParameter;
    // The core already holds the interactive defaults: the controls only need to show them, so their
    // change signals are held back while the ranges are set.
    const QList<QWidget*> controls = {ui->bendNormalsPicker,
                                      ui->rotateNormalsDirectionPicker,
                                      ui->rotateNormalsDial,
                                      ui->rotateNormalsAmountPicker,
                                      ui->flipYCheck,
                                      ui->autofixFlatNormalsCheck,
                                      ui->lowFrequencyEmphasisSlider,
                                      ui->refinementStepsPicker,
                                      ui->respectSelectedEdgesCheckbox,
                                      ui->aoFlatnessSlider,
                                      ui->coneGradientPicker,
                                      ui->boxSizePicker,
                                      ui->stepSizePicker,
                                      ui->paletteHeightPicker,
                                      ui->sampleLightingCheck,
                                      ui->anisotropyExpansionsPicker,
                                      ui->anisotropyFormatChooser};
    std::vector<std::unique_ptr<QSignalBlocker>> blockers;
    for (QWidget* control : controls)
        blockers.push_back(std::make_unique<QSignalBlocker>(control));

    Range(ui->bendNormalsPicker, P::NormalBend, 2, 0.05);
    Range(ui->rotateNormalsDirectionPicker, P::NormalRotationDirection);
    ui->rotateNormalsDial->setRange(0, 360);
    Range(ui->rotateNormalsAmountPicker, P::NormalRotationAmount);
    Flag(ui->flipYCheck, P::NormalFlipY);
    Flag(ui->autofixFlatNormalsCheck, P::NormalFixFlat);
    Range(ui->lowFrequencyEmphasisSlider, P::DepthLowFrequencyEmphasis, 20.0);
    Range(ui->refinementStepsPicker, P::DepthRefinementSteps);
    Flag(ui->respectSelectedEdgesCheckbox, P::DepthRespectSelectedEdges);
    Range(ui->aoFlatnessSlider, P::AOLightFlatness, 10.0);
    Range(ui->coneGradientPicker, P::AOConeGradient, 3, 0.005);
    Range(ui->boxSizePicker, P::AOBoxSize);
    Range(ui->stepSizePicker, P::AOStepSize);
    Range(ui->paletteHeightPicker, P::PaletteHeight);
    Flag(ui->sampleLightingCheck, P::PaletteSampleLighting);
    Range(ui->anisotropyExpansionsPicker, P::AnisotropyExpandCount);
    ui->anisotropyFormatChooser->setCurrentIndex(
        static_cast<int>(Describe(P::AnisotropyOutputType).interactiveDefault));
    on_rotateNormalsDirectionPicker_valueChanged(ui->rotateNormalsDirectionPicker->value());
}

void BrondelMainWindow::ParameterChanged()
{
    if (paramsHelper != nullptr)
        paramsHelper->RefreshSaveParams();
}

// --- Generation parameters

void BrondelMainWindow::on_bendNormalsPicker_valueChanged(double value)
{
    core->SetNormalBend(static_cast<float>(value));
    ParameterChanged();
}

void BrondelMainWindow::on_bendNormalsPicker_editingFinished()
{
    on_bendNormalsPicker_valueChanged(ui->bendNormalsPicker->value());
}

void BrondelMainWindow::on_rotateNormalsDirectionPicker_valueChanged(int value)
{
    core->SetNormalRotationDirection(static_cast<float>(value));
    // The dial turns the other way from the picker and starts a quarter turn round, so that its pointer
    // shows the direction the normals lean on screen.
    int dial = 630 - value;
    if (dial > 360)
        dial = 270 - value;
    const QSignalBlocker block(ui->rotateNormalsDial);
    ui->rotateNormalsDial->setValue(dial);
    ParameterChanged();
}

void BrondelMainWindow::on_rotateNormalsDial_sliderMoved(int value)
{
    int direction = 270 - value;
    if (direction < 0)
        direction = 630 - value;
    ui->rotateNormalsDirectionPicker->setValue(direction);
}

void BrondelMainWindow::on_rotateNormalsDial_sliderPressed()
{
    on_rotateNormalsDial_sliderMoved(ui->rotateNormalsDial->sliderPosition());
}

void BrondelMainWindow::on_rotateNormalsAmountPicker_valueChanged(int value)
{
    core->SetNormalRotationAmount(static_cast<float>(value));
    ParameterChanged();
}

void BrondelMainWindow::on_flipYCheck_toggled(bool on)
{
    core->SetNormalsFlippedYStatus(on);
    ParameterChanged();
}

void BrondelMainWindow::on_autofixFlatNormalsCheck_toggled(bool on)
{
    core->SetAutofixFlatNormals(on);
    ParameterChanged();
}

void BrondelMainWindow::on_lowFrequencyEmphasisSlider_sliderMoved(int value)
{
    core->SetLowFrequencyEmphasis(static_cast<float>(value / 20.0));
    ParameterChanged();
}

void BrondelMainWindow::on_refinementStepsPicker_valueChanged(int value)
{
    core->SetDepthRefinementSteps(value);
    ParameterChanged();
}

void BrondelMainWindow::on_respectSelectedEdgesCheckbox_toggled(bool on)
{
    core->SetRespectSelectedEdges(on);
    ParameterChanged();
}

void BrondelMainWindow::on_aoFlatnessSlider_valueChanged(int value)
{
    core->SetAOLightFlatness(static_cast<float>(value * 0.1));
    ParameterChanged();
}

void BrondelMainWindow::on_coneGradientPicker_valueChanged(double value)
{
    core->SetAOConeGradient(static_cast<float>(value));
    ParameterChanged();
}

void BrondelMainWindow::on_boxSizePicker_valueChanged(int value)
{
    core->SetAOBoxSize(value);
    ParameterChanged();
}

void BrondelMainWindow::on_stepSizePicker_valueChanged(int value)
{
    core->SetAOStepSize(value);
    ParameterChanged();
}

void BrondelMainWindow::on_paletteHeightPicker_valueChanged(int value)
{
    core->SetPaletteHeight(value);
    ParameterChanged();
}

void BrondelMainWindow::on_sampleLightingCheck_toggled(bool on)
{
    core->SetPaletteSampleLighting(on);
    ParameterChanged();
}

void BrondelMainWindow::on_anisotropyExpansionsPicker_valueChanged(int value)
{
    core->SetAnisotropyExpandCount(value);
    ParameterChanged();
}

void BrondelMainWindow::on_anisotropyFormatChooser_currentIndexChanged(int index)
{
    if (index < 0)
        return;
    core->SetAnisotropyOutputType(index);
    ParameterChanged();
}

// --- Generation

bool BrondelMainWindow::ConfirmLongProcess(int estimate, int limit, const char* text)
{
    if (estimate <= limit)
        return true;
    return MessageBoxYesNo(text, BrondelCore::kLongProcessCaption);
}

void BrondelMainWindow::on_generateNormalsButton_clicked()
{
    const bool all = ui->processAllSetsCheck->isChecked();
    if (!ConfirmLongProcess(core->CheckNormalsTime(all), BrondelCore::kNormalsTimeLimit,
                            BrondelCore::kLongNormalsText))
        return;
    RunGeneration(QStringLiteral("Generating normals..."), [this, all] {
        all ? core->AttemptNormalGenerationAll() : core->AttemptNormalGeneration();
    });
}

void BrondelMainWindow::on_generateDepthButton_clicked()
{
    const bool all = ui->processAllSetsCheck->isChecked();
    if (!ConfirmLongProcess(core->CheckDepthTime(all), BrondelCore::kDepthTimeLimit,
                            BrondelCore::kLongDepthText))
        return;
    RunGeneration(QStringLiteral("Generating depth..."),
                  [this, all] { all ? core->AttemptDepthGenerationAll() : core->AttemptDepthGeneration(); });
}

void BrondelMainWindow::on_generateAoButton_clicked()
{
    const bool all = ui->processAllSetsCheck->isChecked();
    if (!ConfirmLongProcess(core->CheckAOTime(all), BrondelCore::kAOTimeLimit, BrondelCore::kLongAOText))
        return;
    RunGeneration(QStringLiteral("Generating ambient occlusion..."),
                  [this, all] { all ? core->AttemptAOGenerationAll() : core->AttemptAOGeneration(); });
}

void BrondelMainWindow::on_generatePaletteButton_clicked()
{
    const bool all = ui->processAllSetsCheck->isChecked();
    RunGeneration(QStringLiteral("Generating palette..."), [this, all] {
        all ? core->AttemptPaletteGenerationAll() : core->AttemptPaletteGeneration();
    });
}

void BrondelMainWindow::on_generateIndexButton_clicked()
{
    const bool all = ui->processAllSetsCheck->isChecked();
    RunGeneration(QStringLiteral("Generating index map..."),
                  [this, all] { all ? core->AttemptIndexGenerationAll() : core->AttemptIndexGeneration(); });
}

void BrondelMainWindow::on_generateAnisotropyButton_clicked()
{
    const bool all = ui->processAllSetsCheck->isChecked();
    RunGeneration(QStringLiteral("Generating anisotropy map..."), [this, all] {
        all ? core->AttemptAnisotropyGenerationAll() : core->AttemptAnisotropyGeneration();
    });
}

void BrondelMainWindow::on_enablePaletteShaderButton_clicked()
{
    core->SelectShader(1);
}

void BrondelMainWindow::on_enableAnisotropicShaderBUtton_clicked()
{
    core->SelectShader(2);
}

// --- Saving single maps

void BrondelMainWindow::SaveMapOfType(ImageType type, const char* caption, const char* text)
{
    if (!core->HasNonDefaultImageOfType(type))
    {
        ShowMessageBox(text, caption);
        return;
    }
    const QString filename =
        AskSaveFilename(QStringLiteral("Save Image"), QStringLiteral("Image Files (*.png *.jpg *.bmp)"),
                        QString::fromStdString(core->GetDefaultFilenameByType(type)));
    if (filename.isEmpty())
        return;
    core->SaveCurrentImageByType(type, filename.toStdString());
}

void BrondelMainWindow::on_saveNormalsButton_clicked()
{
    ImageType type = ImageType::Normal;
    if (ui->normalAlphaChooser->currentIndex() == 1)
        type = ImageType::NormalOpacity;
    else if (ui->normalAlphaChooser->currentIndex() == 2)
        type = ImageType::NormalDepth;
    if (!core->HasNonDefaultImageOfType(ImageType::Normal))
    {
        ShowMessageBox("You haven't created a normal map to save!", "No normal map created");
        return;
    }
    const QString filename =
        AskSaveFilename(QStringLiteral("Save Image"), QStringLiteral("Image Files (*.png *.jpg *.bmp)"),
                        QString::fromStdString(core->GetDefaultFilenameByType(type)));
    if (!filename.isEmpty())
        core->SaveCurrentImageByType(type, filename.toStdString());
}

void BrondelMainWindow::on_saveDepthButton_clicked()
{
    SaveMapOfType(ImageType::Depth, "No depth map created", "You haven't created a depth map to save!");
}

void BrondelMainWindow::on_saveAoButton_clicked()
{
    SaveMapOfType(ImageType::AO, "No AO map created", "You haven't created an AO map to save!");
}

void BrondelMainWindow::on_savePaletteButton_clicked()
{
    SaveMapOfType(ImageType::Palette, "No palette created", "You haven't created a palette to save!");
}

void BrondelMainWindow::on_saveIndexButton_clicked()
{
    SaveMapOfType(ImageType::Index, "No index map created", "You haven't created an index map to save!");
}

void BrondelMainWindow::on_saveAnisotropyButton_clicked()
{
    SaveMapOfType(ImageType::Aniso, "No anisotropy map created",
                  "You haven't created an anisotropy map to save!");
}

// --- Lighting

void BrondelMainWindow::InitialiseLightingSettings(bool factoryDefaults)
{
    lighting = LightSettings();
    if (!factoryDefaults)
        // A damaged settings file must not keep Brondel from starting: its values are simply not used.
        lighting.ReadFromFileKeepingValues(LightSettings::GetDefaultsPathForReading(core->GetRootPath()));

    const QSignalBlocker b1(ui->directionalLightIntensityPicker), b2(ui->upperAmbientIntensityPicker),
        b3(ui->lowerAmbientIntensityPicker), b4(ui->lockAmbientLightingCheck),
        b5(ui->useDirectionalLightCheck), b6(ui->showLightCheck), b7(ui->wrapAroundLightingSlider),
        b8(ui->attenutationStrengthSlider);
    ui->directionalLightIntensityPicker->setValue(lighting.directLightMultiplier);
    ui->upperAmbientIntensityPicker->setValue(lighting.upperAmbientMultiplier);
    ui->lowerAmbientIntensityPicker->setValue(lighting.lowerAmbientMultiplier);
    ui->lockAmbientLightingCheck->setChecked(lighting.ambientLock);
    ui->useDirectionalLightCheck->setChecked(lighting.usingDirectionalLight);
    ui->showLightCheck->setChecked(lighting.renderLightSourceIcon);
    ui->wrapAroundLightingSlider->setValue(static_cast<int>(std::lround(lighting.lightWrapAmount * 10.0f)));
    ui->attenutationStrengthSlider->setValue(
        static_cast<int>(std::lround(lighting.lightAttenuationFactor * 100.0f)));
    for (QWidget* widget : {static_cast<QWidget*>(ui->lowerAmbientLightLabel),
                            static_cast<QWidget*>(ui->lowerAmbientColourButton),
                            static_cast<QWidget*>(ui->lowerAmbientIntensityPicker)})
        widget->setEnabled(!lighting.ambientLock);
    PaintButton(ui->directionalLightColourButton, lighting.directLightColour);
    PaintButton(ui->upperAmbientColourButton, lighting.upperAmbientColour);
    PaintButton(ui->lowerAmbientColourButton, lighting.lowerAmbientColour);
    PaintButton(ui->backgroundColourButton, lighting.backgroundColour);
    PushLightingToCore();
}

void BrondelMainWindow::PushLightingToCore()
{
    core->SetBackgroundColour(lighting.backgroundColour);
    core->SetDirectLightColour(Scaled(lighting.directLightColour, lighting.directLightMultiplier));
    core->SetUpperAmbientColour(Scaled(lighting.upperAmbientColour, lighting.upperAmbientMultiplier));
    core->SetLowerAmbientColour(Scaled(lighting.lowerAmbientColour, lighting.lowerAmbientMultiplier));
    core->SetAmbientColourLock(lighting.ambientLock);
    core->SetLightWrapValue(lighting.lightWrapAmount);
    core->SetAttenuationStrength(lighting.lightAttenuationFactor);
    core->SetLightIconVisibility(lighting.renderLightSourceIcon);
    core->GetLightingPreviewPointer()->SetDirectionalLight(lighting.usingDirectionalLight);
    core->SetLightZPosition(1.0f - static_cast<float>(ui->lightZPosSlider->value()) / 50.0f);
    core->SetAOIntensity(static_cast<float>(ui->ambientOcclusinoIntensitySlider->value() * 0.1));
    core->SetDepthMultiplier(static_cast<float>(ui->depthMultiplySlider->value()));
    core->GetLightingPreviewPointer()->SetSpecularMultiplier(
        static_cast<float>(ui->specMultiplierSlider->value() * 0.2));
    core->SetCelShadingLevel(ui->celShadingLevelsPicker->value());
    on_animationStyleChooser_activated(ui->animationStyleChooser->currentIndex());
}

void BrondelMainWindow::PickLightColour(QWidget* button, Colour& colour, const std::function<void()>& apply)
{
    const QColor chosen = QColorDialog::getColor(ToQColor(colour), this);
    if (!chosen.isValid())
        return;
    colour = Colour(static_cast<float>(chosen.redF()), static_cast<float>(chosen.greenF()),
                    static_cast<float>(chosen.blueF()), 1.0f);
    button->setStyleSheet(QStringLiteral("background-color: %1").arg(chosen.name()));
    apply();
}

void BrondelMainWindow::on_directionalLightColourButton_clicked()
{
    PickLightColour(ui->directionalLightColourButton, lighting.directLightColour, [this] {
        core->SetDirectLightColour(Scaled(lighting.directLightColour, lighting.directLightMultiplier));
    });
}

void BrondelMainWindow::on_upperAmbientColourButton_clicked()
{
    PickLightColour(ui->upperAmbientColourButton, lighting.upperAmbientColour, [this] {
        core->SetUpperAmbientColour(Scaled(lighting.upperAmbientColour, lighting.upperAmbientMultiplier));
    });
}

void BrondelMainWindow::on_lowerAmbientColourButton_clicked()
{
    PickLightColour(ui->lowerAmbientColourButton, lighting.lowerAmbientColour, [this] {
        core->SetLowerAmbientColour(Scaled(lighting.lowerAmbientColour, lighting.lowerAmbientMultiplier));
    });
}

void BrondelMainWindow::on_backgroundColourButton_clicked()
{
    PickLightColour(ui->backgroundColourButton, lighting.backgroundColour,
                    [this] { core->SetBackgroundColour(lighting.backgroundColour); });
}

void BrondelMainWindow::on_directionalLightIntensityPicker_valueChanged(double value)
{
    lighting.directLightMultiplier = static_cast<float>(value);
    core->SetDirectLightColour(Scaled(lighting.directLightColour, lighting.directLightMultiplier));
}

void BrondelMainWindow::on_upperAmbientIntensityPicker_valueChanged(double value)
{
    lighting.upperAmbientMultiplier = static_cast<float>(value);
    core->SetUpperAmbientColour(Scaled(lighting.upperAmbientColour, lighting.upperAmbientMultiplier));
}

void BrondelMainWindow::on_lowerAmbientIntensityPicker_valueChanged(double value)
{
    lighting.lowerAmbientMultiplier = static_cast<float>(value);
    core->SetLowerAmbientColour(Scaled(lighting.lowerAmbientColour, lighting.lowerAmbientMultiplier));
}

void BrondelMainWindow::on_lockAmbientLightingCheck_toggled(bool on)
{
    lighting.ambientLock = on;
    core->SetAmbientColourLock(on);
    ui->lowerAmbientLightLabel->setEnabled(!on);
    ui->lowerAmbientColourButton->setEnabled(!on);
    ui->lowerAmbientIntensityPicker->setEnabled(!on);
}

void BrondelMainWindow::on_wrapAroundLightingSlider_valueChanged(int value)
{
    lighting.lightWrapAmount = static_cast<float>(value * 0.1);
    core->SetLightWrapValue(lighting.lightWrapAmount);
}

void BrondelMainWindow::on_attenutationStrengthSlider_valueChanged(int value)
{
    lighting.lightAttenuationFactor = static_cast<float>(value * 0.01);
    core->SetAttenuationStrength(lighting.lightAttenuationFactor);
}

void BrondelMainWindow::on_lightZPosSlider_valueChanged(int value)
{
    core->SetLightZPosition(1.0f - static_cast<float>(value) / 50.0f);
}

void BrondelMainWindow::on_useDirectionalLightCheck_toggled(bool on)
{
    lighting.usingDirectionalLight = on;
    core->GetLightingPreviewPointer()->SetDirectionalLight(on);
}

void BrondelMainWindow::on_showLightCheck_toggled(bool on)
{
    lighting.renderLightSourceIcon = on;
    core->SetLightIconVisibility(on);
}

void BrondelMainWindow::on_animationStyleChooser_activated(int index)
{
    // The chooser lists "follow the cursor" first; the renderer numbers it last.
    static constexpr int kAnimations[] = {AnimationType::NoAnimation, AnimationType::VerticalOrbit,
                                          AnimationType::HorizontalOrbit};
    if (index < 0 || index > 2)
        return;
    core->SetLightAnimation(kAnimations[index]);
    ui->lightZPosLabel->setText(index == 2 ? QStringLiteral("Light Y position")
                                           : QStringLiteral("Light Z position"));
}

void BrondelMainWindow::on_resetToDefaultLightingButton_clicked()
{
    InitialiseLightingSettings(false);
}

void BrondelMainWindow::on_saveAsDefaultLightingButton_clicked()
{
    std::string error;
    if (!lighting.WriteToFile(LightSettings::GetDefaultsPathForWriting(), &error))
        ShowMessageBox("The lighting could not be saved as the default: " + error, "Lighting not saved");
}

void BrondelMainWindow::on_returnFactoryDefaultsButton_clicked()
{
    InitialiseLightingSettings(true);
}

// --- Shader and geometry

void BrondelMainWindow::on_shadowsCheck_toggled(bool on)
{
    core->SetShadowing(on);
}

void BrondelMainWindow::on_glossFromSpecAlphaCheck_toggled(bool on)
{
    core->SetGlossFromSpecAlpha(on);
}

void BrondelMainWindow::on_ambientOcclusinoIntensitySlider_valueChanged(int value)
{
    core->SetAOIntensity(static_cast<float>(value * 0.1));
}

void BrondelMainWindow::on_depthMultiplySlider_valueChanged(int value)
{
    core->SetDepthMultiplier(static_cast<float>(value));
}

void BrondelMainWindow::on_celShadingCheck_toggled(bool on)
{
    core->SetCelShading(on);
}

void BrondelMainWindow::on_celShadingLevelsPicker_valueChanged(int value)
{
    core->SetCelShadingLevel(value);
}

void BrondelMainWindow::on_shaderChooser_activated(int index)
{
    core->SelectShader(index);
}

void BrondelMainWindow::on_reloadShadersButton_clicked()
{
    core->ReloadShaders();
}

void BrondelMainWindow::on_textureFilteringCheckBox_toggled(bool on)
{
    core->GetLightingPreviewPointer()->SetTextureFiltering(on);
}

void BrondelMainWindow::on_specMultiplierSlider_valueChanged(int value)
{
    core->GetLightingPreviewPointer()->SetSpecularMultiplier(static_cast<float>(value * 0.2));
}

void BrondelMainWindow::on_billboardRadioButton_clicked()
{
    core->SetTilePreview(false);
    core->SetDrawingAsMesh(false);
}

void BrondelMainWindow::on_meshRadioButton_clicked()
{
    core->SetTilePreview(false);
    core->SetDrawingAsMesh(true);
}

void BrondelMainWindow::on_tiledRadioButton_clicked()
{
    core->SetTilePreview(true);
    core->SetDrawingAsMesh(false);
}

void BrondelMainWindow::on_rotationSlider_valueChanged(int value)
{
    core->SetPreviewRotation(static_cast<float>(value * 10.0));
}

void BrondelMainWindow::on_recentreRotationButton_clicked()
{
    core->RecentrePreviewRotation();
    const QSignalBlocker block(ui->rotationSlider);
    ui->rotationSlider->setValue(0);
}

void BrondelMainWindow::on_resetCameraButton_clicked()
{
    core->ResetCamera();
}

void BrondelMainWindow::on_renderLightingButton_clicked()
{
    const bool animated = ui->renderWithAnimationCheck->isChecked();
    const std::string proposed =
        animated ? core->GetCustomFilename("_Preview", "gif") : core->GetCustomFilename("_Render", "png");
    const QString filename = AskSaveFilename(
        animated ? QStringLiteral("Save light animation") : QStringLiteral("Save lighting render"),
        animated ? QStringLiteral("GIF Files (*.gif)") : QStringLiteral("Image Files (*.png *.jpg *.bmp)"),
        QString::fromStdString(proposed));
    // A cancelled dialog asks for nothing: an empty name would only produce a failed write.
    if (filename.isEmpty())
        return;
    LightingPreview* preview = core->GetLightingPreviewPointer();
    if (animated)
        preview->StartRecordingGif(filename.toStdString(), ui->nativeResRenderCheck->isChecked());
    else
        preview->GrabScreenshot(filename.toStdString(), ui->nativeResRenderCheck->isChecked());
}

// --- Windows and help

void BrondelMainWindow::on_showLogButton_clicked()
{
    logWindow->show();
    logWindow->raise();
}

void BrondelMainWindow::on_showParamsHelperButton_clicked()
{
    paramsHelper->Refresh();
    paramsHelper->show();
    paramsHelper->raise();
}

void BrondelMainWindow::ShowCLIParams(const std::string& text)
{
    QMessageBox::information(this, QStringLiteral("Command line arguments"), QString::fromStdString(text));
}

void BrondelMainWindow::on_normalCLIParams_clicked()
{
    ShowCLIParams(core->GetNormalCLIParams());
}

void BrondelMainWindow::on_depthCLIParams_clicked()
{
    ShowCLIParams(core->GetDepthCLIParams());
}

void BrondelMainWindow::on_aoCLIParams_clicked()
{
    ShowCLIParams(core->GetAOCLIParams());
}

void BrondelMainWindow::on_paletteCLIParams_clicked()
{
    ShowCLIParams(core->GetPaletteCLIParams());
}

void BrondelMainWindow::on_anisotropyCLIParams_clicked()
{
    ShowCLIParams(core->GetAnisotropyCLIParams());
}

void BrondelMainWindow::ShowHelp(const char* anchor)
{
    helpWindow->show();
    helpWindow->raise();
    helpWindow->SetHelpTarget(QString::fromStdString(core->GetRootPath()) +
                                  QStringLiteral("HTMLHelp/BrondelManual.html"),
                              QString::fromUtf8(anchor));
}

void BrondelMainWindow::on_imagesTabHelpButton_clicked()
{
    ShowHelp("imagesTab");
}
void BrondelMainWindow::on_normalMapGenHelpButton_clicked()
{
    ShowHelp("normalMapParams");
}
void BrondelMainWindow::on_depthMapGenHelpButton_clicked()
{
    ShowHelp("depthMapParams");
}
void BrondelMainWindow::on_aoMapGenHelpButton_clicked()
{
    ShowHelp("aoMapParams");
}
void BrondelMainWindow::on_lightSetttingsHelpButton_clicked()
{
    ShowHelp("lightingParameters");
}
void BrondelMainWindow::on_shaderSettingsHelpButton_clicked()
{
    ShowHelp("shaderParameters");
}
void BrondelMainWindow::on_geometrySettingsHelpButton_clicked()
{
    ShowHelp("geometryParameters");
}
void BrondelMainWindow::on_paletteTabHelpButton_clicked()
{
    ShowHelp("paletteTab");
}
void BrondelMainWindow::on_spineTabHelpButton_clicked()
{
    ShowHelp("spineTab");
}
void BrondelMainWindow::on_depthEditHelpButton_clicked()
{
    ShowHelp("depthEditingTab");
}
void BrondelMainWindow::on_anisotropyHelpButton_clicked()
{
    ShowHelp("anisotropyTab");
}
void BrondelMainWindow::on_lightingPreviewHelpButton_clicked()
{
    ShowHelp("previewWindow");
}
