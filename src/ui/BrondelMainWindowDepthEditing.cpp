#include "ui/BrondelMainWindow.h"

#include "deptheditor/DepthEditor.h"
#include "deptheditor/EdgeSensitivity.h"
#include "preview/LightingPreview.h"
#include "sets/BrondelCore.h"
#include "ui_BrondelMainWindow.h"

// The depth editing tab: thin slots from the controls to the current set's depth editor through the
// core. Painting itself happens in the preview, with the left button, while "Edit depth" is ticked.

void BrondelMainWindow::on_editDepthCheck_toggled(bool on)
{
    core->SetDepthEditingState(on);
    core->SelectShader(on ? static_cast<int>(ShaderEnums::DepthEditing) : ui->shaderChooser->currentIndex());
}

void BrondelMainWindow::on_addSelectionRadio_clicked(bool checked)
{
    if (!checked)
        return;
    core->SetPaintingIntensity(static_cast<float>(ui->paintingIntensityPicker->value()));
    core->SetDepthEditorMode(DepthEditMode::SelectionPainting);
}

void BrondelMainWindow::on_removeSelectionRadio_clicked(bool checked)
{
    if (!checked)
        return;
    // Taking selection away is painting with a negative intensity, not a mode of its own.
    core->SetPaintingIntensity(-static_cast<float>(ui->paintingIntensityPicker->value()));
    core->SetDepthEditorMode(DepthEditMode::SelectionPainting);
}

void BrondelMainWindow::on_addEdgesRadio_clicked()
{
    core->SetDepthEditorMode(DepthEditMode::AddEdges);
}

void BrondelMainWindow::on_removeRadioEdges_clicked()
{
    core->SetDepthEditorMode(DepthEditMode::RemoveEdges);
}

void BrondelMainWindow::on_solidPaintingRadiusPicker_valueChanged(int radius)
{
    core->SetSolidPaintingRadius(radius);
}

void BrondelMainWindow::on_paintingDropoffPicker_valueChanged(int distance)
{
    core->SetPaintingFalloffDistance(distance);
}

void BrondelMainWindow::on_paintingIntensityPicker_valueChanged(double intensity)
{
    const float sign = ui->removeSelectionRadio->isChecked() ? -1.0f : 1.0f;
    core->SetPaintingIntensity(sign * static_cast<float>(intensity));
}

void BrondelMainWindow::on_adjacentDepthPaintCheckbox_toggled(bool on)
{
    if (on)
        core->SetFalloffByDepth(static_cast<float>(ui->selectByDepthWidthSlider->value()) * 0.1f);
    else
        core->DisableFalloffByDepth();
}

void BrondelMainWindow::on_selectByDepthWidthSlider_sliderMoved(int value)
{
    if (ui->adjacentDepthPaintCheckbox->isChecked())
        core->SetFalloffByDepth(static_cast<float>(value) * 0.1f);
}

void BrondelMainWindow::on_growSelectionButton_clicked()
{
    core->ExpandSelection(static_cast<float>(ui->growthDropoffPicker->value()));
}

void BrondelMainWindow::on_clearSelectionButton_clicked()
{
    core->ClearSelection();
}

void BrondelMainWindow::on_moveSelectionForwardButton_clicked()
{
    core->ShiftSelectionForward(static_cast<float>(ui->depthMovementSlider->value()) * 0.1f);
}

void BrondelMainWindow::on_moveSelectionBackButton_clicked()
{
    core->ShiftSelectionBack(static_cast<float>(ui->depthMovementSlider->value()) * 0.1f);
}

void BrondelMainWindow::on_depthUndoButton_clicked()
{
    core->UndoDepthCommand();
}

void BrondelMainWindow::on_depthRedoButton_clicked()
{
    core->RedoDepthCommand();
}

void BrondelMainWindow::on_showDepthContoursCheckbox_toggled(bool on)
{
    core->SetContourDisplay(on);
}

void BrondelMainWindow::on_detectEdgesFromDiffuseAlphaButton_clicked()
{
    core->GetEdgesFromDiffuseAlpha(ui->edgesRespectSelectionCheck->isChecked());
}

void BrondelMainWindow::on_detectEdgesFromNormalsButton_clicked()
{
    core->GetEdgesFromNormals(NormalEdgeThreshold(ui->normalEdgeSensitivitySlider->value()),
                              ui->edgesRespectSelectionCheck->isChecked());
}

void BrondelMainWindow::on_detectSilhouetteEdgesButton_clicked()
{
    core->GetEdgesFromSilhouette(SilhouetteEdgeThreshold(ui->silhouetteEdgeSensitivitySlider->value()),
                                 ui->edgesRespectSelectionCheck->isChecked());
}

void BrondelMainWindow::on_detectDiffuseColourEdgesButton_clicked()
{
    core->GetEdgesFromDiffuseColour(DiffuseEdgeThreshold(ui->diffuseColourEdgeSensitivitySlider->value()),
                                    ui->edgesRespectSelectionCheck->isChecked());
}

void BrondelMainWindow::on_removeEdgeSpecksButton_clicked()
{
    core->RemoveEdgeSpecks();
}

void BrondelMainWindow::on_clearEdgesButton_clicked()
{
    core->ClearAllEdges();
}
