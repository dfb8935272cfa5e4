#pragma once
#include "preview/LightSettings.h"
#include "sets/ImageType.h"

#include <QImage>
#include <QMainWindow>

#include <functional>
#include <map>
#include <memory>
#include <string>
#include <vector>

class BrondelCore;
class BrondelLogWindow;
class CLIParamsHelper;
class HelpWindow;
class QDragEnterEvent;
class QDropEvent;
class QLabel;
class QMenu;
class QMouseEvent;
class QTimer;

namespace Ui {
class BrondelMainWindow;
}

// The artist's window: seven tabs of controls beside the lit preview. It owns the core controller, turns
// every control into a core call, runs the long generations on a worker thread behind a progress dialog
// and keeps the image previews in step with the current set.
class BrondelMainWindow : public QMainWindow
{
    Q_OBJECT

public:
    // Kinds returned by GetImageTypeFromWidget for a widget that shows no image.
    static constexpr int kNoImageType = 22;

    explicit BrondelMainWindow(QWidget* parent = nullptr);
    ~BrondelMainWindow() override;

    BrondelCore* GetCore() const { return core.get(); }
    Ui::BrondelMainWindow* GetUi() const { return ui; }
    CLIParamsHelper* GetParamsHelper() const { return paramsHelper; }
    BrondelLogWindow* GetLogWindow() const { return logWindow; }
    HelpWindow* GetHelpWindow() const { return helpWindow; }

    int GetImageTypeFromWidget(const QWidget* widget) const;
    const std::vector<QLabel*>& GetPreviewLabels(ImageType type) const;
    // Opens the sets of the files, as a drop on empty space does.
    void LoadImageSets(const QStringList& filenames);
    // Shows a Spine skeleton in the preview and fills the Spine tab's selectors, as the open button does.
    void OpenSpineFile(const QString& file);
    // Loads only the first file into the slot of the widget, or the sets when it shows no kind.
    void LoadDroppedFiles(const QStringList& filenames, QWidget* target);

    void UpdateAllImagePreviews();
    void UpdateImagePreviewByType(ImageType type);
    void UpdateImageSetSelectors(const std::vector<std::string>& names);
    void UpdateSpineSelectors(const std::vector<std::string>& animations,
                              const std::vector<std::string>& skins);
    void ShowMessageBox(const std::string& text, const std::string& title);
    bool MessageBoxYesNo(const std::string& text, const std::string& title);

    // Answers for the modal questions and file dialogs, so tests can drive the window without a person;
    // unset, the real dialogs open.
    std::function<bool(const QString& text)> questionAnswer;
    std::function<QString(const QString& proposed)> saveFileAnswer;
    std::function<void(const QString& text, const QString& caption)> messageShown;
    // True while a generation runs on the worker thread.
    bool IsGenerating() const { return generating; }

protected:
    void dragEnterEvent(QDragEnterEvent* event) override;
    void dropEvent(QDropEvent* event) override;
    void mousePressEvent(QMouseEvent* event) override;
    void closeEvent(QCloseEvent* event) override;

public slots:
    void AdvanceFrame();
    void SaveImageSet();
    void ReenableSaveButton();

private slots:
    // Images tab
    void on_loadImageSetButton_clicked();
    void on_imageSetList_clicked();
    void on_imageSetAnimateCheckbox_toggled(bool on);
    void on_framesPerSecondPicker_valueChanged(int fps);
    void on_millisPerFramePicker_valueChanged(int milliseconds);
    void on_saveOutputSetButton_clicked();
    void on_openSpineFileButton_clicked();
    void on_clearSpineFileButton_clicked();
    void on_spineAnimationSelector_activated(int index);
    void on_spineSkinSelector_activated(int index);
    void on_spineAnimationSpeedSlider_valueChanged(int value);
    void on_spineAnimationBackwardsCheck_toggled(bool backwards);

    // Generation parameters
    void on_bendNormalsPicker_valueChanged(double value);
    void on_bendNormalsPicker_editingFinished();
    void on_rotateNormalsDirectionPicker_valueChanged(int value);
    void on_rotateNormalsDial_sliderMoved(int value);
    void on_rotateNormalsDial_sliderPressed();
    void on_rotateNormalsAmountPicker_valueChanged(int value);
    void on_flipYCheck_toggled(bool on);
    void on_autofixFlatNormalsCheck_toggled(bool on);
    void on_lowFrequencyEmphasisSlider_sliderMoved(int value);
    void on_refinementStepsPicker_valueChanged(int value);
    void on_respectSelectedEdgesCheckbox_toggled(bool on);
    void on_aoFlatnessSlider_valueChanged(int value);
    void on_coneGradientPicker_valueChanged(double value);
    void on_boxSizePicker_valueChanged(int value);
    void on_stepSizePicker_valueChanged(int value);
    void on_paletteHeightPicker_valueChanged(int value);
    void on_sampleLightingCheck_toggled(bool on);
    void on_anisotropyExpansionsPicker_valueChanged(int value);
    void on_anisotropyFormatChooser_currentIndexChanged(int index);

    // Generation and saving
    void on_generateNormalsButton_clicked();
    void on_generateDepthButton_clicked();
    void on_generateAoButton_clicked();
    void on_generatePaletteButton_clicked();
    void on_generateIndexButton_clicked();
    void on_generateAnisotropyButton_clicked();
    void on_enablePaletteShaderButton_clicked();
    void on_enableAnisotropicShaderBUtton_clicked();
    void on_saveNormalsButton_clicked();
    void on_saveDepthButton_clicked();
    void on_saveAoButton_clicked();
    void on_savePaletteButton_clicked();
    void on_saveIndexButton_clicked();
    void on_saveAnisotropyButton_clicked();

    // Lighting, shader and geometry
    void on_directionalLightColourButton_clicked();
    void on_upperAmbientColourButton_clicked();
    void on_lowerAmbientColourButton_clicked();
    void on_backgroundColourButton_clicked();
    void on_directionalLightIntensityPicker_valueChanged(double value);
    void on_upperAmbientIntensityPicker_valueChanged(double value);
    void on_lowerAmbientIntensityPicker_valueChanged(double value);
    void on_lockAmbientLightingCheck_toggled(bool on);
    void on_wrapAroundLightingSlider_valueChanged(int value);
    void on_attenutationStrengthSlider_valueChanged(int value);
    void on_lightZPosSlider_valueChanged(int value);
    void on_useDirectionalLightCheck_toggled(bool on);
    void on_showLightCheck_toggled(bool on);
    void on_animationStyleChooser_activated(int index);
    void on_resetToDefaultLightingButton_clicked();
    void on_saveAsDefaultLightingButton_clicked();
    void on_returnFactoryDefaultsButton_clicked();
    void on_shadowsCheck_toggled(bool on);
    void on_glossFromSpecAlphaCheck_toggled(bool on);
    void on_ambientOcclusinoIntensitySlider_valueChanged(int value);
    void on_depthMultiplySlider_valueChanged(int value);
    void on_celShadingCheck_toggled(bool on);
    void on_celShadingLevelsPicker_valueChanged(int value);
    void on_shaderChooser_activated(int index);
    void on_reloadShadersButton_clicked();
    void on_textureFilteringCheckBox_toggled(bool on);
    void on_specMultiplierSlider_valueChanged(int value);
    void on_billboardRadioButton_clicked();
    void on_meshRadioButton_clicked();
    void on_tiledRadioButton_clicked();
    void on_rotationSlider_valueChanged(int value);
    void on_recentreRotationButton_clicked();
    void on_resetCameraButton_clicked();
    void on_renderLightingButton_clicked();

    // Windows and help
    void on_showLogButton_clicked();
    void on_showParamsHelperButton_clicked();
    void on_normalCLIParams_clicked();
    void on_depthCLIParams_clicked();
    void on_aoCLIParams_clicked();
    void on_paletteCLIParams_clicked();
    void on_anisotropyCLIParams_clicked();
    void on_imagesTabHelpButton_clicked();
    void on_normalMapGenHelpButton_clicked();
    void on_depthMapGenHelpButton_clicked();
    void on_aoMapGenHelpButton_clicked();
    void on_lightSetttingsHelpButton_clicked();
    void on_shaderSettingsHelpButton_clicked();
    void on_geometrySettingsHelpButton_clicked();
    void on_paletteTabHelpButton_clicked();
    void on_spineTabHelpButton_clicked();
    void on_depthEditHelpButton_clicked();

    // Depth editing tab (BrondelMainWindowDepthEditing.cpp)
    void on_editDepthCheck_toggled(bool on);
    void on_addSelectionRadio_clicked(bool checked);
    void on_removeSelectionRadio_clicked(bool checked);
    void on_addEdgesRadio_clicked();
    void on_removeRadioEdges_clicked();
    void on_solidPaintingRadiusPicker_valueChanged(int radius);
    void on_paintingDropoffPicker_valueChanged(int distance);
    void on_paintingIntensityPicker_valueChanged(double intensity);
    void on_adjacentDepthPaintCheckbox_toggled(bool on);
    void on_selectByDepthWidthSlider_sliderMoved(int value);
    void on_growSelectionButton_clicked();
    void on_clearSelectionButton_clicked();
    void on_moveSelectionForwardButton_clicked();
    void on_moveSelectionBackButton_clicked();
    void on_depthUndoButton_clicked();
    void on_depthRedoButton_clicked();
    void on_showDepthContoursCheckbox_toggled(bool on);
    void on_detectEdgesFromDiffuseAlphaButton_clicked();
    void on_detectEdgesFromNormalsButton_clicked();
    void on_detectSilhouetteEdgesButton_clicked();
    void on_detectDiffuseColourEdgesButton_clicked();
    void on_removeEdgeSpecksButton_clicked();
    void on_clearEdgesButton_clicked();
    void on_anisotropyHelpButton_clicked();
    void on_lightingPreviewHelpButton_clicked();

private:
    void InstallCoreCallbacks();
    void BuildPreviewBoxes();
    void PlaceArrows();
    void InitialiseGenerationControls();
    void InitialiseLightingSettings(bool factoryDefaults);
    void PushLightingToCore();
    void ParameterChanged();
    void ShowHelp(const char* anchor);
    void ShowCLIParams(const std::string& text);
    void SaveMapOfType(ImageType type, const char* caption, const char* text);
    void PickLightColour(QWidget* button, Colour& colour, const std::function<void()>& apply);
    void ReselectCurrentSet();
    QString AskSaveFilename(const QString& title, const QString& filter, const QString& proposed);

    // Asks before a run estimated above its limit; false when the artist said no.
    bool ConfirmLongProcess(int estimate, int limit, const char* text);
    // Runs the generation on a worker thread behind a modal progress dialog with Cancel; returns once it
    // has ended and the previews show its result.
    void RunGeneration(const QString& title, const std::function<void()>& work);
    // Core callbacks may come from the worker: widgets are touched on the GUI thread only.
    void OnGuiThread(const std::function<void()>& action);

    std::unique_ptr<BrondelCore> core;
    std::map<ImageType, std::vector<QLabel*>> previewBoxes;
    QMenu* previewMenu = nullptr;
    Ui::BrondelMainWindow* ui = nullptr;
    LightSettings lighting;
    HelpWindow* helpWindow = nullptr;
    BrondelLogWindow* logWindow = nullptr;
    CLIParamsHelper* paramsHelper = nullptr;
    QTimer* frameTimer = nullptr;
    QTimer* saveButtonTimer = nullptr;
    QImage downLeftArrow, leftUpArrow, rightArrow, longRightArrow, upArrow;
    bool generating = false;
    bool previewsStale = false;
};
