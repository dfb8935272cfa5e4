#include "ui/CLIParamsHelper.h"

#include "sets/BrondelCore.h"

#include <QCheckBox>
#include <QGridLayout>
#include <QGroupBox>
#include <QLabel>
#include <QLineEdit>
#include <QPlainTextEdit>
#include <QVBoxLayout>

CLIParamsHelper::CLIParamsHelper(QWidget* parent) : QWidget(parent, Qt::Window)
{
    setWindowTitle(QStringLiteral("Brondel CLI Parameters Helper"));
    resize(760, 520);
    layout = new QVBoxLayout(this);
    normalParameters = AddParameterBox(QStringLiteral("Normal generation parameters:"), "normalParameters");
    depthParameters = AddParameterBox(QStringLiteral("Depth generation parameters:"), "depthParameters");
    aoParameters = AddParameterBox(QStringLiteral("AO generation parameters:"), "aoParameters");
    paletteParameters =
        AddParameterBox(QStringLiteral("Palette generation parameters:"), "paletteParameters");
    anisotropyParameters =
        AddParameterBox(QStringLiteral("Anisotropy generation parameters:"), "anisotropyParameters");

    auto* saves = new QGroupBox(QStringLiteral("Map save parameters:"), this);
    saves->setObjectName(QStringLiteral("saveParametersGroup"));
    saveLayout = new QGridLayout(saves);
    layout->addWidget(saves);
    saveNormalCheck = AddSaveCheck(QStringLiteral("Normal map"), "saveNormalCheck");
    saveDepthCheck = AddSaveCheck(QStringLiteral("Depth map"), "saveDepthCheck");
    saveNormalDepthCheck = AddSaveCheck(QStringLiteral("Normal/depth map"), "saveNormalDepthCheck");
    saveNormalOpacityCheck = AddSaveCheck(QStringLiteral("Normal/opacity map"), "saveNormalOpacityCheck");
    saveAoCheck = AddSaveCheck(QStringLiteral("Ambient occlusion map"), "saveAoCheck");
    savePaletteCheck = AddSaveCheck(QStringLiteral("Palette map"), "savePaletteCheck");
    saveIndexCheck = AddSaveCheck(QStringLiteral("Index map"), "saveIndexCheck");
    saveAnisotropyCheck = AddSaveCheck(QStringLiteral("Anisotropy map"), "saveAnisotropyCheck");

    layout->addWidget(new QLabel(QStringLiteral("Final command:"), this));
    finalCommand = new QPlainTextEdit(this);
    finalCommand->setObjectName(QStringLiteral("finalCommand"));
    finalCommand->setReadOnly(true);
    layout->addWidget(finalCommand);
    QMetaObject::connectSlotsByName(this);
}

QLineEdit* CLIParamsHelper::AddParameterBox(const QString& label, const char* name)
{
    layout->addWidget(new QLabel(label, this));
    auto* box = new QLineEdit(this);
    box->setObjectName(QString::fromUtf8(name));
    box->setReadOnly(true);
    layout->addWidget(box);
    return box;
}

QCheckBox* CLIParamsHelper::AddSaveCheck(const QString& label, const char* name)
{
    auto* check = new QCheckBox(label, this);
    check->setObjectName(QString::fromUtf8(name));
    const int index = saveLayout->count();
    saveLayout->addWidget(check, index / 4, index % 4);
    return check;
}

void CLIParamsHelper::Refresh()
{
    RefreshSaveParams();
}

void CLIParamsHelper::RefreshSaveParams()
{
    if (core == nullptr)
        return;
    // The parameter boxes follow the window's controls, which call here after every change.
    normalParameters->setText(QString::fromStdString(core->GetNormalCLIParams()));
    depthParameters->setText(QString::fromStdString(core->GetDepthCLIParams()));
    aoParameters->setText(QString::fromStdString(core->GetAOCLIParams()));
    paletteParameters->setText(QString::fromStdString(core->GetPaletteCLIParams()));
    anisotropyParameters->setText(QString::fromStdString(core->GetAnisotropyCLIParams()));

    const std::pair<QCheckBox*, const char*> saves[] = {
        {saveNormalCheck, "-nSave "},       {saveDepthCheck, "-dSave "},
        {saveNormalDepthCheck, "-ndSave "}, {saveNormalOpacityCheck, "-noSave "},
        {saveAoCheck, "-aoSave "},          {savePaletteCheck, "-pSave "},
        {saveIndexCheck, "-iSave "},        {saveAnisotropyCheck, "-aSave "},
    };
    QString saveText;
    for (const auto& [check, option] : saves)
        if (check->isChecked())
            saveText += QString::fromUtf8(option);
    if (saveText.isEmpty() || core->GetCurrentImageSet() == nullptr)
    {
        finalCommand->setPlainText(QStringLiteral("Tick the maps to save to see the command."));
        return;
    }
    const bool needNormals = saveNormalCheck->isChecked() || saveDepthCheck->isChecked() ||
                             saveNormalDepthCheck->isChecked() || saveNormalOpacityCheck->isChecked() ||
                             saveAoCheck->isChecked();
    const bool needDepth =
        saveDepthCheck->isChecked() || saveNormalDepthCheck->isChecked() || saveAoCheck->isChecked();

    QString command = QStringLiteral("BrondelCLI -source \"") +
                      QString::fromStdString(core->GetDefaultFilenameByType(ImageType::Diffuse)) +
                      QStringLiteral("\" ");
    auto add = [&command](QLineEdit* box) { command += box->text() + QStringLiteral(" "); };
    if (needNormals)
        add(normalParameters);
    if (needDepth)
        add(depthParameters);
    if (saveAoCheck->isChecked())
        add(aoParameters);
    if (savePaletteCheck->isChecked() || saveIndexCheck->isChecked())
        add(paletteParameters);
    if (saveAnisotropyCheck->isChecked())
        add(anisotropyParameters);
    command += saveText;
    finalCommand->setPlainText(command);
}

QString CLIParamsHelper::GetFinalCommand() const
{
    return finalCommand->toPlainText();
}

void CLIParamsHelper::on_saveNormalCheck_clicked()
{
    RefreshSaveParams();
}
void CLIParamsHelper::on_saveDepthCheck_clicked()
{
    RefreshSaveParams();
}
void CLIParamsHelper::on_saveNormalDepthCheck_clicked()
{
    RefreshSaveParams();
}
void CLIParamsHelper::on_saveNormalOpacityCheck_clicked()
{
    RefreshSaveParams();
}
void CLIParamsHelper::on_saveAoCheck_clicked()
{
    RefreshSaveParams();
}
void CLIParamsHelper::on_savePaletteCheck_clicked()
{
    RefreshSaveParams();
}
void CLIParamsHelper::on_saveIndexCheck_clicked()
{
    RefreshSaveParams();
}
void CLIParamsHelper::on_saveAnisotropyCheck_clicked()
{
    RefreshSaveParams();
}
